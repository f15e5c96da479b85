// Code pages: lead bytes and round trips of the double-byte pages, the
// buffer and error rules, default characters, UTF-8 and UTF-7, and the
// environment's choice of the ANSI code page.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "quillbox/errhandlingapi.h"
#include "quillbox/winerror.h"
#include "quillbox/winnls.h"

namespace {

std::string ToBytes(UINT cp, const std::u16string& text, DWORD flags = 0) {
  const int n = WideCharToMultiByte(cp, flags, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<std::size_t>(n), '\0');
  EXPECT_EQ(WideCharToMultiByte(cp, flags, text.data(), static_cast<int>(text.size()), out.data(), n, nullptr, nullptr), n);
  return out;
}

std::u16string ToText(UINT cp, const std::string& bytes, DWORD flags = 0) {
  const int n = MultiByteToWideChar(cp, flags, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
  std::u16string out(static_cast<std::size_t>(n), u'\0');
  EXPECT_EQ(MultiByteToWideChar(cp, flags, bytes.data(), static_cast<int>(bytes.size()), out.data(), n), n);
  return out;
}

// Sets an environment variable for the life of the object.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    setenv(name, value, 1);
  }
  ~ScopedEnv() {
    if (old_) {
      setenv(name_, old_->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(Codepage, ShiftJisLeadByteRanges) {
  CPINFO info{};
  ASSERT_TRUE(GetCPInfo(932, &info));
  EXPECT_EQ(info.MaxCharSize, 2u);
  const BYTE expected[12] = {0x81, 0x9F, 0xE0, 0xFC};
  EXPECT_EQ(0, std::memcmp(info.LeadByte, expected, sizeof expected));
}

TEST(Codepage, GbkLeadByteRange) {
  CPINFO info{};
  ASSERT_TRUE(GetCPInfo(936, &info));
  const BYTE expected[12] = {0x81, 0xFE};
  EXPECT_EQ(0, std::memcmp(info.LeadByte, expected, sizeof expected));
}

TEST(Codepage, JapaneseRoundTripsThrough932) {
  const std::u16string text = u"\u65E5\u672C\u8A9E\u30C6\u30AD\u30B9\u30C8 abc \uFF71";
  const std::string bytes = ToBytes(932, text);
  EXPECT_EQ(bytes.substr(0, 2), "\x93\xFA");  // 日
  EXPECT_EQ(ToText(932, bytes), text);
}

TEST(Codepage, ChineseRoundTripsThrough936) {
  const std::u16string text = u"\u4E2D\u6587\u7B80\u4F53 \u6C49\u5B57";
  const std::string bytes = ToBytes(936, text);
  EXPECT_EQ(bytes.substr(0, 2), "\xD6\xD0");  // 中
  EXPECT_EQ(ToText(936, bytes), text);
}

TEST(Codepage, LoneLeadByteAtTheEndIsTheDefaultCharacter) {
  EXPECT_EQ(ToText(932, "a\x82"), u"a\u30FB");
  SetLastError(0);
  EXPECT_EQ(MultiByteToWideChar(932, MB_ERR_INVALID_CHARS, "a\x82", 2, nullptr, 0), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
}

TEST(Codepage, MinusOneLengthConvertsTheTerminatorToo) {
  WCHAR out[8] = {1, 1, 1, 1, 1, 1, 1, 1};
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "ab", -1, out, 8), 3);
  EXPECT_EQ(out[2], 0);
}

TEST(Codepage, ZeroLengthInputIsAnInvalidParameter) {
  WCHAR out[4];
  SetLastError(0);
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "ab", 0, out, 4), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(Codepage, ShortBufferGivesInsufficientBuffer) {
  char out[3];
  SetLastError(0);
  EXPECT_EQ(WideCharToMultiByte(1252, 0, u"abcd", 4, out, 3, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
}

TEST(Codepage, UnicodeCodePagesAreRefusedHere) {
  WCHAR out[4];
  SetLastError(0);
  EXPECT_EQ(MultiByteToWideChar(1200, 0, "ab", 2, out, 4), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  EXPECT_FALSE(IsValidCodePage(1201));
}

TEST(Codepage, UnmappableCharacterUsesTheDefaultAndSaysSo) {
  char out[8] = {};
  BOOL used = FALSE;
  ASSERT_EQ(WideCharToMultiByte(1252, 0, u"a\u4E2Db", 3, out, 8, nullptr, &used), 3);
  EXPECT_EQ(std::string(out, 3), "a?b");
  EXPECT_TRUE(used);
  ASSERT_EQ(WideCharToMultiByte(1252, 0, u"a\u4E2Db", 3, out, 8, "*", &used), 3);
  EXPECT_EQ(std::string(out, 3), "a*b");
}

TEST(Codepage, BestFitUnlessRefused) {
  EXPECT_EQ(ToBytes(1252, u"\u0100\uFF21"), "AA");
  char out[4] = {};
  BOOL used = FALSE;
  ASSERT_EQ(WideCharToMultiByte(1252, WC_NO_BEST_FIT_CHARS, u"\u0100", 1, out, 4, nullptr, &used), 1);
  EXPECT_EQ(out[0], '?');
  EXPECT_TRUE(used);
}

TEST(Codepage, Windows1252KeepsItsUndefinedBytes) {
  EXPECT_EQ(ToText(1252, "\x80\x81\x8D\x9D"), u"\u20AC\u0081\u008D\u009D");
  EXPECT_EQ(ToBytes(1252, u"\u0081\u009D"), "\x81\x9D");
}

TEST(Codepage, Utf8IllFormedBytesBecomeReplacementCharacters) {
  EXPECT_EQ(ToText(CP_UTF8, "a\xC0\xAF" "b"), u"a\uFFFD\uFFFDb");
  SetLastError(0);
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "a\xC0\xAF", 3, nullptr, 0), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
}

TEST(Codepage, Utf8LoneSurrogateIsRefusedOnlyWhenAsked) {
  EXPECT_EQ(ToBytes(CP_UTF8, u"a\xD800"), "a\xEF\xBF\xBD");
  SetLastError(0);
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, u"a\xD800", 2, nullptr, 0, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
}

TEST(Codepage, Utf8SurrogatePairIsOneFourByteSequence) {
  EXPECT_EQ(ToBytes(CP_UTF8, u"\U0001F600"), "\xF0\x9F\x98\x80");
  EXPECT_EQ(ToText(CP_UTF8, "\xF0\x9F\x98\x80"), u"\U0001F600");
}

TEST(Codepage, Utf7DecodesBase64RunsAndPlusMinus) {
  // RFC 2152's example: the run ends at '.' without a '-'.
  EXPECT_EQ(ToText(CP_UTF7, "A+ImIDkQ."), u"A\u2262\u0391.");
  EXPECT_EQ(ToText(CP_UTF7, "1 +- 1"), u"1 + 1");
}

TEST(Codepage, Utf7RoundTrips) {
  const std::u16string text = u"Hi Mom -\u263A-! 1+1 \u65E5\u672C\u8A9E";
  const std::string bytes = ToBytes(CP_UTF7, text);
  EXPECT_EQ(bytes.substr(0, 9), "Hi Mom -+");
  EXPECT_EQ(ToText(CP_UTF7, bytes), text);
}

TEST(Codepage, Utf7TakesNoFlags) {
  SetLastError(0);
  EXPECT_EQ(MultiByteToWideChar(CP_UTF7, MB_ERR_INVALID_CHARS, "abc", 3, nullptr, 0), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_FLAGS));
}

TEST(Codepage, AnsiCodePageFollowsTheEnvironment) {
  EXPECT_EQ(ToText(CP_ACP, "\xC0"), u"\u00C0");
  {
    ScopedEnv acp("QUILLBOX_ACP", "1251");
    EXPECT_EQ(GetACP(), 1251u);
    EXPECT_EQ(ToText(CP_ACP, "\xC0"), u"\u0410");
    EXPECT_EQ(ToText(CP_THREAD_ACP, "\xC0"), u"\u0410");
  }
  EXPECT_EQ(GetACP(), 1252u);
}

TEST(Codepage, UnknownAnsiCodePageInTheEnvironmentIsIgnored) {
  ScopedEnv acp("QUILLBOX_ACP", "12345");
  EXPECT_EQ(GetACP(), 1252u);
}

TEST(Codepage, OemCodePageFollowsTheEnvironment) {
  EXPECT_EQ(GetOEMCP(), 437u);
  ScopedEnv oem("QUILLBOX_OEMCP", "850");
  EXPECT_EQ(GetOEMCP(), 850u);
  EXPECT_EQ(ToText(CP_OEMCP, "\xD5"), u"\u0131");
}

TEST(Codepage, SymbolPageUsesThePrivateUseBlock) {
  EXPECT_EQ(ToText(CP_SYMBOL, "A"), u"\uF041");
  EXPECT_FALSE(IsValidCodePage(CP_SYMBOL));
}

}  // namespace
