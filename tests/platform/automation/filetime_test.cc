// File times: SYSTEMTIME <-> FILETIME, local file times in two time zones
// (TZ set by the test and restored after), the clock and comparison.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include "quillbox/errhandlingapi.h"
#include "quillbox/timeapi.h"
#include "quillbox/winerror.h"

namespace {

std::uint64_t Ticks(const FILETIME& ft) { return (std::uint64_t{ft.dwHighDateTime} << 32) | ft.dwLowDateTime; }
FILETIME FromTicks(std::uint64_t ticks) {
  return FILETIME{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// Sets TZ for the life of the object and puts the old value back.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* zone) {
    if (const char* old = std::getenv("TZ")) old_ = old;
    setenv("TZ", zone, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    if (old_) {
      setenv("TZ", old_->c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

 private:
  std::optional<std::string> old_;
};

// What the C library says local time is ahead of UTC right now.
std::int64_t OffsetNowSeconds() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return local.tm_gmtoff;
}

TEST(Filetime, FileTimeEpochIsZero) {
  SYSTEMTIME st{1601, 1, 1, 1, 0, 0, 0, 0};
  FILETIME ft{1, 1};
  ASSERT_TRUE(SystemTimeToFileTime(&st, &ft));
  EXPECT_EQ(Ticks(ft), 0u);
}

TEST(Filetime, MillisecondsSurviveTheRoundTrip) {
  SYSTEMTIME st{2024, 2, 0, 29, 23, 59, 58, 987};
  FILETIME ft{};
  ASSERT_TRUE(SystemTimeToFileTime(&st, &ft));
  SYSTEMTIME back{};
  ASSERT_TRUE(FileTimeToSystemTime(&ft, &back));
  EXPECT_EQ(back.wYear, 2024);
  EXPECT_EQ(back.wMonth, 2);
  EXPECT_EQ(back.wDay, 29);
  EXPECT_EQ(back.wDayOfWeek, 4);  // a Thursday
  EXPECT_EQ(back.wSecond, 58);
  EXPECT_EQ(back.wMilliseconds, 987);
}

TEST(Filetime, FebruaryTwentyNinthOfACommonYearIsRefused) {
  SYSTEMTIME st{1900, 2, 0, 29, 0, 0, 0, 0};
  FILETIME ft{};
  SetLastError(0);
  EXPECT_FALSE(SystemTimeToFileTime(&st, &ft));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(Filetime, YearsBefore1601AndAfter30827AreRefused) {
  SYSTEMTIME early{1600, 12, 0, 31, 0, 0, 0, 0};
  SYSTEMTIME late{30828, 1, 0, 1, 0, 0, 0, 0};
  FILETIME ft{};
  EXPECT_FALSE(SystemTimeToFileTime(&early, &ft));
  EXPECT_FALSE(SystemTimeToFileTime(&late, &ft));
}

TEST(Filetime, FileTimeWithTheTopBitSetIsRefused) {
  const FILETIME ft = FromTicks(0x8000'0000'0000'0000ull);
  SYSTEMTIME st{};
  SetLastError(0);
  EXPECT_FALSE(FileTimeToSystemTime(&ft, &st));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

void ExpectLocalRoundTrip(const char* zone) {
  ScopedTimeZone tz(zone);
  const FILETIME utc = FromTicks(133'000'000'000'000'000ull);  // early 2022
  FILETIME local{};
  ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
  EXPECT_EQ(static_cast<std::int64_t>(Ticks(local) - Ticks(utc)), OffsetNowSeconds() * 10'000'000) << zone;
  FILETIME back{};
  ASSERT_TRUE(LocalFileTimeToFileTime(&local, &back));
  EXPECT_EQ(Ticks(back), Ticks(utc)) << zone;
}

TEST(Filetime, LocalFileTimeRoundTripsEastOfUtc) { ExpectLocalRoundTrip("JST-9"); }

TEST(Filetime, LocalFileTimeRoundTripsInAZoneWithDaylightSaving) {
  ExpectLocalRoundTrip("EST5EDT,M3.2.0,M11.1.0");
}

TEST(Filetime, LocalFileTimeInUtcIsUnchanged) {
  ScopedTimeZone tz("UTC0");
  const FILETIME utc = FromTicks(125'911'584'000'000'000ull);
  FILETIME local{};
  ASSERT_TRUE(FileTimeToLocalFileTime(&utc, &local));
  EXPECT_EQ(Ticks(local), Ticks(utc));
}

TEST(Filetime, SystemClockAgreesWithTime) {
  FILETIME ft{};
  GetSystemTimeAsFileTime(&ft);
  const auto seconds = static_cast<std::int64_t>(Ticks(ft) / 10'000'000) - 11'644'473'600;
  EXPECT_LE(std::llabs(seconds - static_cast<std::int64_t>(std::time(nullptr))), 2);
}

TEST(Filetime, LocalTimeIsSystemTimePlusTheOffset) {
  ScopedTimeZone tz("JST-9");
  SYSTEMTIME utc{}, local{};
  GetSystemTime(&utc);
  GetLocalTime(&local);
  FILETIME a{}, b{};
  ASSERT_TRUE(SystemTimeToFileTime(&utc, &a));
  ASSERT_TRUE(SystemTimeToFileTime(&local, &b));
  const auto diff = static_cast<std::int64_t>(Ticks(b) - Ticks(a)) / 10'000'000;
  EXPECT_NEAR(static_cast<double>(diff), 9 * 3600.0, 2.0);
}

TEST(Filetime, CompareFileTimeOrdersByTicks) {
  const FILETIME early = FromTicks(5);
  const FILETIME late = FromTicks(0x1'0000'0000ull);
  EXPECT_EQ(CompareFileTime(&early, &late), -1);
  EXPECT_EQ(CompareFileTime(&late, &early), 1);
  EXPECT_EQ(CompareFileTime(&late, &late), 0);
}

}  // namespace
