// BSTR functions against the recorded reference vectors: lengths, embedded
// zeros, the terminator after the data, concatenation and comparison.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "reference_lines.h"
#include "quillbox/oleauto.h"

namespace quillbox::testing {
namespace {

using nlohmann::json;

// A BSTR holding exactly these bytes (null for a JSON null).
BSTR BstrFromBytes(const json& hex) {
  if (hex.is_null()) return nullptr;
  const std::vector<std::uint8_t> bytes = BytesFromHex(hex);
  return SysAllocStringByteLen(reinterpret_cast<const char*>(bytes.data()), static_cast<UINT>(bytes.size()));
}

// Compares a result string with the line's null/length/bytes/terminator fields.
std::string CheckResult(BSTR s, const json& line, bool source_was_null) {
  if (line.at("null").get<bool>() != (s == nullptr)) return "null mismatch";
  if (!s) return {};
  if (json(SysStringLen(s)) != line.at("SysStringLen")) return "SysStringLen " + std::to_string(SysStringLen(s));
  if (json(SysStringByteLen(s)) != line.at("SysStringByteLen")) return "SysStringByteLen";
  const UINT bytes = SysStringByteLen(s);
  const auto* raw = reinterpret_cast<const std::uint8_t*>(s);
  if (!source_was_null && line.contains("bytes") && HexFromBytes(s, bytes) != line.at("bytes")) return "bytes";
  if (line.contains("byte_after") && json(raw[bytes]) != line.at("byte_after")) return "byte_after";
  if (line.contains("wchar_after")) {
    const UINT even = (bytes + 1) & ~1u;
    const unsigned unit = raw[even] | (raw[even + 1] << 8);
    if (json(unit) != line.at("wchar_after")) return "wchar_after";
  }
  if (line.contains("utf16") && HexFromUtf16(s, SysStringLen(s)) != line.at("utf16")) return "utf16";
  return {};
}

std::string RunLine(const json& line) {
  const std::string op = line.at("op");
  const std::string id = line.at("id");
  if (op == "SysAllocStringLen") {
    const std::u16string in = Utf16FromHex(line.at("in_utf16"));
    BSTR s = SysAllocStringLen(in.c_str(), line.at("len").get<UINT>());
    const std::string problem = CheckResult(s, line, false);
    SysFreeString(s);
    return problem;
  }
  if (op == "SysAllocStringByteLen") {
    const bool null_source = line.at("in_bytes").is_null();
    std::vector<std::uint8_t> in = null_source ? std::vector<std::uint8_t>{} : BytesFromHex(line.at("in_bytes"));
    BSTR s = SysAllocStringByteLen(null_source ? nullptr : reinterpret_cast<const char*>(in.data()),
                                   line.at("len").get<UINT>());
    const std::string problem = CheckResult(s, line, null_source);
    SysFreeString(s);
    return problem;
  }
  if (op == "SysAllocString") {
    const std::u16string in = line.at("in_utf16").is_null() ? u"" : Utf16FromHex(line.at("in_utf16"));
    BSTR s = SysAllocString(line.at("in_utf16").is_null() ? nullptr : in.c_str());
    const std::string problem = CheckResult(s, line, false);
    SysFreeString(s);
    return problem;
  }
  if (op == "SysStringLen") return json(SysStringLen(nullptr)) == line.at("ret") ? "" : "ret";
  if (op == "SysReAllocStringLen" && id == "bstr/SysReAllocStringLen/null/2") {
    BSTR s = nullptr;
    const INT ret = SysReAllocStringLen(&s, u"xy", 2);
    std::string problem = json(ret) != line.at("ret") ? "ret" : CheckResult(s, line, false);
    SysFreeString(s);
    return problem;
  }
  if (op == "SysReAllocString" && id == "bstr/SysReAllocString/from_null") {
    BSTR s = nullptr;
    const INT ret = SysReAllocString(&s, u"new");
    std::string problem = json(ret) != line.at("ret") ? "ret" : CheckResult(s, line, false);
    SysFreeString(s);
    return problem;
  }
  if (op == "VarBstrCat") {
    BSTR left = BstrFromBytes(line.at("left_bytes"));
    BSTR right = BstrFromBytes(line.at("right_bytes"));
    BSTR result = nullptr;
    const HRESULT hr = VarBstrCat(left, right, &result);
    std::string problem = hr != static_cast<HRESULT>(std::stoul(line.at("hr").get<std::string>(), nullptr, 16))
                              ? "hr"
                              : CheckResult(result, line, false);
    SysFreeString(left);
    SysFreeString(right);
    SysFreeString(result);
    return problem;
  }
  if (op == "VarBstrCmp") {
    BSTR left = BstrFromBytes(line.at("left"));
    BSTR right = BstrFromBytes(line.at("right"));
    const HRESULT ret = VarBstrCmp(left, right, std::stoul(line.at("lcid").get<std::string>(), nullptr, 16),
                                   line.at("flags").get<ULONG>());
    SysFreeString(left);
    SysFreeString(right);
    return json(ret) == line.at("ret") ? "" : "ret " + std::to_string(ret);
  }
  return "no runner for " + id;
}

TEST(BstrReference, EveryRecordedCallMatches) {
  const auto lines = ReadReferenceLines("bstr.jsonl");
  int passed = 0;
  std::string failures;
  for (const auto& line : lines) {
    const std::string problem = RunLine(line);
    if (problem.empty()) ++passed;
    else failures += line.at("id").get<std::string>() + " " + problem + "\n";
  }
  std::printf("bstr.jsonl: %d of %zu pass\n", passed, lines.size());
  EXPECT_TRUE(failures.empty()) << failures;
}

}  // namespace
}  // namespace quillbox::testing
