// Table-driven check of the date conversions against the recorded reference
// lines (shared/reference/datetime.jsonl): same inputs, same return, same
// last error, same output fields. Lines marked suspect where we follow the
// Windows documentation instead are checked against that rule.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <iostream>
#include <string>

#include "quillbox/errhandlingapi.h"
#include "quillbox/timeapi.h"
#include "quillbox/winerror.h"
#include "reference_lines.h"

namespace {

using nlohmann::json;
using quillbox::testing::BitsFromDouble;
using quillbox::testing::DoubleFromBits;

SYSTEMTIME SystemTimeFrom(const json& a) {
  SYSTEMTIME st{};
  WORD* fields[] = {&st.wYear, &st.wMonth, &st.wDayOfWeek, &st.wDay, &st.wHour, &st.wMinute, &st.wSecond,
                    &st.wMilliseconds};
  for (int i = 0; i < 8; ++i) *fields[i] = a.at(i).get<WORD>();
  return st;
}

json JsonFrom(const SYSTEMTIME& st) {
  return json::array({st.wYear, st.wMonth, st.wDayOfWeek, st.wDay, st.wHour, st.wMinute, st.wSecond,
                      st.wMilliseconds});
}

json DateJson(double date) { return json{{"bits", BitsFromDouble(date)}}; }

std::string HrText(HRESULT hr) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "0x%08X", static_cast<unsigned>(hr));
  return buffer;
}

FILETIME FileTimeFrom(const std::string& text) {
  const std::uint64_t ticks = std::stoull(text);
  return FILETIME{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::string TextFrom(const FILETIME& ft) {
  return std::to_string((std::uint64_t{ft.dwHighDateTime} << 32) | ft.dwLowDateTime);
}

// Runs the line's op; returns what we produced in the line's own field names.
json RunLine(const json& line) {
  const std::string op = line.at("op");
  json out;
  if (op == "SystemTimeToVariantTime") {
    SYSTEMTIME st = SystemTimeFrom(line.at("st"));
    double date = 0;
    const INT ok = SystemTimeToVariantTime(&st, &date);
    out["ok"] = ok;
    out["date"] = ok ? DateJson(date) : json(nullptr);
  } else if (op == "VariantTimeToSystemTime") {
    SYSTEMTIME st{};
    const INT ok = VariantTimeToSystemTime(DoubleFromBits(line.at("date").at("bits")), &st);
    out["ok"] = ok;
    out["st"] = ok ? JsonFrom(st) : json(nullptr);
  } else if (op == "VarDateFromUdate") {
    UDATE udate{SystemTimeFrom(line.at("udate").at("st")), line.at("udate").at("wDayOfYear").get<USHORT>()};
    DATE date = 0;
    const HRESULT hr = VarDateFromUdate(&udate, line.at("flags").get<ULONG>(), &date);
    out["hr"] = HrText(hr);
    out["date"] = SUCCEEDED(hr) ? DateJson(date) : json(nullptr);
  } else if (op == "VarUdateFromDate") {
    UDATE udate{};
    const HRESULT hr = VarUdateFromDate(DoubleFromBits(line.at("date").at("bits")), line.at("flags"), &udate);
    out["hr"] = HrText(hr);
    out["udate"] = SUCCEEDED(hr) ? json{{"st", JsonFrom(udate.st)}, {"wDayOfYear", udate.wDayOfYear}} : json(nullptr);
  } else if (op == "SystemTimeToFileTime") {
    SYSTEMTIME st = SystemTimeFrom(line.at("st"));
    FILETIME ft{};
    SetLastError(0);
    const BOOL ok = SystemTimeToFileTime(&st, &ft);
    out["ok"] = ok;
    out["err"] = ok ? 0 : GetLastError();
    out["ft"] = ok ? json(TextFrom(ft)) : json(nullptr);
  } else if (op == "FileTimeToSystemTime") {
    const FILETIME ft = FileTimeFrom(line.at("ft"));
    SYSTEMTIME st{};
    SetLastError(0);
    const BOOL ok = FileTimeToSystemTime(&ft, &st);
    out["ok"] = ok;
    out["err"] = ok ? 0 : GetLastError();
    out["st"] = ok ? JsonFrom(st) : json(nullptr);
  }
  return out;
}

// The recorded values of the fields RunLine produced (a DATE by its bits).
json Expected(const json& line, const json& got) {
  json want;
  for (const auto& [key, value] : got.items()) {
    if (!line.contains(key)) continue;
    want[key] = line[key];
    if (key == "date" && !line[key].is_null()) want[key] = json{{"bits", line[key]["bits"]}};
  }
  return want;
}

// Where a suspect line and we part, what we do must be the rule the
// Windows documentation gives for that case.
bool FollowsDocumentedRule(const json& line, const json& got) {
  const std::string why = line.value("why", "");
  const bool refused = (got.contains("ok") && got["ok"] == 0) ||
                       (got.contains("hr") && got["hr"] == HrText(E_INVALIDARG));
  if (why.find("kept the weekday") != std::string::npos) {
    // The recorded weekday (and day of the year) are those of the day before
    // the rounding; ours belong to the rounded date itself.
    const json& want_st = line.contains("st") ? line["st"] : line["udate"]["st"];
    const json& got_st = got.contains("st") ? got["st"] : got["udate"]["st"];
    for (int i : {0, 1, 3, 4, 5, 6, 7}) {
      if (want_st[i] != got_st[i]) return false;
    }
    return got_st[2] == (want_st[2].get<int>() + 1) % 7;
  }
  if (why.find("NaN") != std::string::npos) return refused;            // not a date
  if (why.find("10000") != std::string::npos) return refused;          // past 9999-12-31
  if (why.find("non-leap") != std::string::npos) return refused && got["err"] == ERROR_INVALID_PARAMETER;
  if (why.find("2^63") != std::string::npos) return refused && got["err"] == ERROR_INVALID_PARAMETER;
  return false;
}

TEST(DatetimeReference, EveryRecordedLineMatches) {
  quillbox::testing::OpTally tally;
  int deviations = 0;
  for (const json& line : quillbox::testing::ReadReferenceLines("datetime.jsonl")) {
    const json got = RunLine(line);
    const json want = Expected(line, got);
    bool passed = got == want;
    if (!passed && line.value("suspect", false)) {
      EXPECT_TRUE(FollowsDocumentedRule(line, got)) << line.at("id") << " got " << got.dump();
      ++deviations;
      passed = true;
    }
    EXPECT_TRUE(passed) << line.at("id") << "\n want " << want.dump() << "\n got  " << got.dump();
    tally.Count(line.at("op"), got == want);
  }
  std::cout << tally.Report() << "suspect lines where we follow the documented rule: " << deviations << "\n";
}

}  // namespace
