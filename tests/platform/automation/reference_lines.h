// Reading the recorded reference vectors (one JSON object a line) and the
// small conversions their fields need (hex bytes, UTF-16 hex, DATE bits).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace quillbox::testing {

// Every line of <shared>/reference/<name>, parsed.
std::vector<nlohmann::json> ReadReferenceLines(const std::string& name);

std::vector<std::uint8_t> BytesFromHex(const std::string& hex);
std::string HexFromBytes(const void* data, std::size_t size);
// Four hex digits per code unit.
std::u16string Utf16FromHex(const std::string& hex);
std::string HexFromUtf16(const char16_t* data, std::size_t size);

double DoubleFromBits(const std::string& bits);  // "0x3FF0000000000000"
std::string BitsFromDouble(double value);

// Pass and fail counts per op, printed at the end of a table-driven test.
class OpTally {
 public:
  void Count(const std::string& op, bool passed);
  std::string Report() const;

 private:
  std::map<std::string, std::pair<int, int>> counts_;  // op -> (passed, total)
};

}  // namespace quillbox::testing
