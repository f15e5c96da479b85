// Reading the recorded reference vectors (see reference_lines.h).
#include "reference_lines.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace quillbox::testing {

std::vector<nlohmann::json> ReadReferenceLines(const std::string& name) {
  std::ifstream in(std::string(QUILLBOX_SHARED_DIR) + "/reference/" + name);
  if (!in) throw std::runtime_error("cannot open reference file " + name);
  std::vector<nlohmann::json> lines;
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty()) lines.push_back(nlohmann::json::parse(line));
  }
  return lines;
}

std::vector<std::uint8_t> BytesFromHex(const std::string& hex) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

std::string HexFromBytes(const void* data, std::size_t size) {
  std::string hex;
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  char buffer[3];
  for (std::size_t i = 0; i < size; ++i) {
    std::snprintf(buffer, sizeof buffer, "%02x", bytes[i]);
    hex += buffer;
  }
  return hex;
}

std::u16string Utf16FromHex(const std::string& hex) {
  std::u16string text;
  for (std::size_t i = 0; i + 3 < hex.size(); i += 4) {
    text.push_back(static_cast<char16_t>(std::stoul(hex.substr(i, 4), nullptr, 16)));
  }
  return text;
}

std::string HexFromUtf16(const char16_t* data, std::size_t size) {
  std::string hex;
  char buffer[5];
  for (std::size_t i = 0; i < size; ++i) {
    std::snprintf(buffer, sizeof buffer, "%04x", static_cast<unsigned>(data[i]));
    hex += buffer;
  }
  return hex;
}

double DoubleFromBits(const std::string& bits) {
  const std::uint64_t raw = std::stoull(bits, nullptr, 16);
  double value = 0;
  std::memcpy(&value, &raw, sizeof value);
  return value;
}

std::string BitsFromDouble(double value) {
  std::uint64_t raw = 0;
  std::memcpy(&raw, &value, sizeof raw);
  char buffer[24];
  std::snprintf(buffer, sizeof buffer, "0x%016llX", static_cast<unsigned long long>(raw));
  return buffer;
}

void OpTally::Count(const std::string& op, bool passed) {
  auto& [ok, total] = counts_[op];
  ok += passed ? 1 : 0;
  ++total;
}

std::string OpTally::Report() const {
  std::string text;
  for (const auto& [op, count] : counts_) {
    text += op + ": " + std::to_string(count.first) + "/" + std::to_string(count.second) + " passed\n";
  }
  return text;
}

}  // namespace quillbox::testing
