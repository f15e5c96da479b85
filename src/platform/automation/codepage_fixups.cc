// Windows' own table entries where iconv's differ, and Windows' best-fit
// approximations (see codepage_fixups.h).
#include "platform/automation/codepage_fixups.h"

#include <array>
#include <string_view>

namespace quillbox::automation {
namespace {

// Single bytes and pairs whose Windows mapping iconv lacks or places
// elsewhere.
constexpr ByteOverride kByteOverrides[] = {
    // Windows' 932 gives the bytes outside its lead ranges a unit each.
    {932, 0x80, u'\u0080'}, {932, 0xA0, u'\uF8F0'}, {932, 0xFD, u'\uF8F1'}, {932, 0xFE, u'\uF8F2'},
    {932, 0xFF, u'\uF8F3'},
    {936, 0x80, u'\u20AC'}, {936, 0xFF, u'\uF8F5'},
    {949, 0x80, u'\u0080'}, {949, 0xFF, u'\uF8F7'},
    {950, 0x80, u'\u0080'}, {950, 0xFF, u'\uF8F8'},
    // Johab: the backslash is a backslash, not the won sign.
    {1361, 0x5C, u'\\'}, {1361, 0x80, u'\u0080'}, {1361, 0x81, u'\u0081'}, {1361, 0x82, u'\u0082'},
    {1361, 0x83, u'\u0083'}, {1361, 0xD4, u'\uF8EC'}, {1361, 0xD5, u'\uF8ED'}, {1361, 0xD6, u'\uF8EE'},
    {1361, 0xD7, u'\uF8EF'}, {1361, 0xFA, u'\uF8F1'}, {1361, 0xFB, u'\uF8F2'}, {1361, 0xFC, u'\uF8F3'},
    {1361, 0xFD, u'\uF8F4'}, {1361, 0xFE, u'\uF8F5'}, {1361, 0xFF, u'\uF8F6'},
    // Greek and Baltic bytes that Windows gives to the private-use block.
    {1253, 0xAA, u'\uF8F9'}, {1253, 0xD2, u'\uF8FA'}, {1253, 0xFF, u'\uF8FB'},
    {1257, 0xA1, u'\uF8FC'}, {1257, 0xA5, u'\uF8FD'},
    // Mac Roman: the ohm and increment signs, and the Apple logo.
    {10000, 0xBD, u'\u2126'}, {10000, 0xC6, u'\u2206'}, {10000, 0xF0, u'\uF8FF'},
};

// Windows' 20127 reads the high bit away.
struct AsciiHighBytes {
  std::array<ByteOverride, 128> entries{};
  constexpr AsciiHighBytes() {
    for (int b = 0; b < 128; ++b) {
      entries[b] = ByteOverride{20127, static_cast<WORD>(0x80 + b), static_cast<WCHAR>(b)};
    }
  }
};
constexpr AsciiHighBytes kAsciiHighBytes;

constexpr UserDefinedArea kUserDefinedAreas[] = {
    {936, 0xAA, 0xAF, {{0xA1, 0xFE}, {0, 0}}, 0xE000},
    {936, 0xF8, 0xFE, {{0xA1, 0xFE}, {0, 0}}, 0xE234},
    {936, 0xA1, 0xA7, {{0x40, 0x7E}, {0x80, 0xA0}}, 0xE4C6},
    {949, 0xC9, 0xC9, {{0xA1, 0xFE}, {0, 0}}, 0xE000},
    {949, 0xFE, 0xFE, {{0xA1, 0xFE}, {0, 0}}, 0xE05E},
    {950, 0xFA, 0xFE, {{0x40, 0x7E}, {0xA1, 0xFE}}, 0xE000},
    {950, 0x8E, 0xA0, {{0x40, 0x7E}, {0xA1, 0xFE}}, 0xE311},
    {950, 0x81, 0x8D, {{0x40, 0x7E}, {0xA1, 0xFE}}, 0xEEB8},
    {950, 0xC6, 0xC6, {{0xA1, 0xFE}, {0, 0}}, 0xF6B1},
    {950, 0xC7, 0xC8, {{0x40, 0x7E}, {0xA1, 0xFE}}, 0xF70F},
    {1361, 0xD8, 0xD8, {{0x31, 0x7E}, {0x91, 0xFE}}, 0xE000},
};

// Best fit as (unit, candidates): the first candidate the page maps
// exactly is used. Shared lists name what several pages have in common;
// each page picks the lists it uses.
struct FitRule {
  WCHAR unit;
  std::u16string_view candidates;
};

constexpr FitRule kDashes[] = {{u'\u2010', u"-"}, {u'\u2011', u"-"}};
constexpr FitRule kMinus[] = {{u'\u2212', u"-"}};
constexpr FitRule kInfinity[] = {{u'\u221E', u"8"}};
constexpr FitRule kTradeMark[] = {{u'\u2122', u"T"}};
constexpr FitRule kSmallTradeMark[] = {{u'\u2122', u"t"}};
constexpr FitRule kSuperscriptOne[] = {{u'\u00B9', u"1"}};
constexpr FitRule kHalfAsOne[] = {{u'\u00BD', u"1"}};
constexpr FitRule kSuperscriptZeroDegree[] = {{u'\u2070', u"\u00B0"}};
constexpr FitRule kSuperscriptZeroDigit[] = {{u'\u2070', u"0"}};
constexpr FitRule kLowQuoteComma[] = {{u'\u201A', u","}};
constexpr FitRule kLowQuoteApostrophe[] = {{u'\u201A', u"'"}};
constexpr FitRule kDotlessI[] = {{u'\u0131', u"i"}};
constexpr FitRule kGreekLatin[] = {{u'\u03B1', u"a"}, {u'\u03B2', u"\u00DF"}};
constexpr FitRule kGreekSharpS[] = {{u'\u03B2', u"\u00DF"}};
constexpr FitRule kCombining[] = {{u'\u0300', u"`"},      {u'\u0301', u"\u00B4'"}, {u'\u0302', u"^"},
                                  {u'\u0303', u"~"},      {u'\u0308', u"\u00A8"},  {u'\u030A', u"\u00B0"},
                                  {u'\u0327', u"\u00B8"}, {u'\u0331', u"_"},       {u'\u0332', u"_"}};
// The 1252 punctuation on pages that lack it.
constexpr FitRule kPunctuation[] = {
    {u'\u0152', u"O"},  {u'\u0153', u"o"},  {u'\u0192', u"f"},  {u'\u02C6', u"^"},  {u'\u02DC', u"~"},
    {u'\u2013', u"-"},  {u'\u2014', u"-"},  {u'\u2018', u"`'"}, {u'\u2019', u"'"},  {u'\u201C', u"\""},
    {u'\u201D', u"\""}, {u'\u2039', u"<"},  {u'\u203A', u">"},
};
constexpr FitRule kPermille[] = {{u'\u2030', u"%"}};
constexpr FitRule kLatin1Signs[] = {{u'\u00A1', u"!"}, {u'\u00A5', u"Y"}, {u'\u00BC', u"1"}, {u'\u00BE', u"3"}};
// The OEM pages draw some of it with box and control glyphs.
constexpr FitRule kOemPunctuation[] = {
    {u'\u00A9', u"c"},      {u'\u00AE', u"r"},      {u'\u00B6', u"\u0014"}, {u'\u00BE', u"_"},
    {u'\u00D7', u"x"},      {u'\u201E', u","},      {u'\u2020', u"+"},      {u'\u2021', u"\u256A"},
    {u'\u2022', u"\u0007"}, {u'\u2026', u"."},
};
constexpr FitRule k852Punctuation[] = {
    {u'\u00A9', u"c"},      {u'\u00AE', u"R"},      {u'\u00B1', u"+"},      {u'\u00B5', u"u"},
    {u'\u00B6', u"\u0014"}, {u'\u00B7', u"\u0007"}, {u'\u0301', u"\u00B4"}, {u'\u201E', u"\""},
    {u'\u2018', u"'"},      {u'\u2020', u"\u253C"}, {u'\u2021', u"\u253C"}, {u'\u2022', u"\u0007"},
    {u'\u2026', u"\u0007"},
};
constexpr FitRule kIsoPunctuation[] = {
    {u'\u00A0', u" "}, {u'\u00A1', u"!"}, {u'\u00A5', u"Y"}, {u'\u00A9', u"C"}, {u'\u00AE', u"R"},
    {u'\u00B7', u"."}, {u'\u2018', u"'"},
    {u'\u201E', u"\""}, {u'\u2022', u"."}, {u'\u2026', u"."},
};
// The East Asian pages: Latin-1 signs to their nearest full-width or
// ASCII form.
constexpr FitRule kEastAsianLatin1[] = {
    {u'\u00A1', u"!"}, {u'\u00A9', u"c"}, {u'\u00AE', u"R"}, {u'\u00B5', u"\u03BC"}, {u'\u00B7', u"\u30FB"},
};
constexpr FitRule kYenAscii[] = {{u'\u00A5', u"\\"}};
constexpr FitRule k936Signs[] = {{u'\u00B5', u"\u03BC"}, {u'\u00FD', u"y"}, {u'\u203E', u"\uFFE3"}};
constexpr FitRule kYenOverlineFullwidth[] = {{u'\u00A5', u"\uFFE5"}, {u'\u203E', u"\uFFE3"}, {u'\u2022', u"\u2027"}};
// Upper-case pinyin vowels to the lower-case letters that 936 holds.
constexpr FitRule kPinyinCapitals[] = {
    {u'\u0100', u"\u0101"}, {u'\u00C1', u"\u00E1"}, {u'\u01CD', u"\u01CE"}, {u'\u00C0', u"\u00E0"},
    {u'\u0112', u"\u0113"}, {u'\u00C9', u"\u00E9"}, {u'\u011A', u"\u011B"}, {u'\u00C8', u"\u00E8"},
    {u'\u012A', u"\u012B"}, {u'\u00CD', u"\u00ED"}, {u'\u01CF', u"\u01D0"}, {u'\u00CC', u"\u00EC"},
    {u'\u014C', u"\u014D"}, {u'\u00D3', u"\u00F3"}, {u'\u01D1', u"\u01D2"}, {u'\u00D2', u"\u00F2"},
    {u'\u016A', u"\u016B"}, {u'\u00DA', u"\u00FA"}, {u'\u01D3', u"\u01D4"}, {u'\u00D9', u"\u00F9"},
};
constexpr FitRule kWonSign[] = {{u'\u20A9', u"\\"}};
constexpr FitRule kSharpS[] = {{u'\u00DF', u"s"}};
constexpr FitRule kArabicDigits[] = {
    {u'\u0660', u"0"}, {u'\u0661', u"1"}, {u'\u0662', u"2"}, {u'\u0663', u"3"}, {u'\u0664', u"4"},
    {u'\u0665', u"5"}, {u'\u0666', u"6"}, {u'\u0667', u"7"}, {u'\u0668', u"8"}, {u'\u0669', u"9"},
};

using RuleList = std::span<const FitRule>;

struct PageFits {
  UINT code_page;
  WCHAR fold_limit;  // last unit folded to its base letter, 0 for none
  std::array<RuleList, 12> lists;
};

constexpr WCHAR kLatinExtended = 0x024F;
constexpr WCHAR kLatin1 = 0x00FF;

const PageFits kPages[] = {
    {437, kLatinExtended, {kDashes, kMinus, kTradeMark, kSuperscriptOne, kSuperscriptZeroDegree, kLowQuoteComma,
                           kDotlessI, kCombining, kOemPunctuation, kPunctuation, kPermille}},
    {850, kLatinExtended, {kDashes, kMinus, kInfinity, kTradeMark, kSuperscriptZeroDigit, kLowQuoteApostrophe,
                           kDotlessI, kCombining, kOemPunctuation, kPunctuation, kPermille}},
    {852, kLatinExtended, {kDashes, kMinus, kSmallTradeMark, kHalfAsOne, kSuperscriptOne, kSuperscriptZeroDigit,
                           kLowQuoteApostrophe, kDotlessI, k852Punctuation, kPunctuation, kPermille, kLatin1Signs}},
    {866, kLatinExtended, {kTradeMark, kLowQuoteApostrophe, kDotlessI}},
    {874, 0, {}},
    {932, kLatin1, {kEastAsianLatin1, kSharpS, kYenAscii, kSuperscriptOne}},
    {936, 0, {kPinyinCapitals, kSuperscriptOne, k936Signs}},
    {949, kLatin1, {kEastAsianLatin1}},
    {950, kLatin1, {kEastAsianLatin1, kSharpS, kYenOverlineFullwidth, kSuperscriptOne}},
    {1250, kLatinExtended, {kDashes, kMinus, kHalfAsOne, kSuperscriptOne, kSuperscriptZeroDegree, kDotlessI,
                            kGreekSharpS, kCombining, kPunctuation, kLatin1Signs}},
    {1251, kLatinExtended, {}},
    {1252, kLatinExtended, {kDashes, kMinus, kInfinity, kSuperscriptZeroDegree, kDotlessI, kGreekLatin, kCombining}},
    {1253, kLatinExtended, {}},
    {1254, kLatinExtended, {kDashes, kMinus, kSuperscriptZeroDegree, kGreekLatin, kCombining}},
    {1255, 0, {}},
    {1256, 0, {kArabicDigits}},
    {1257, 0, {}},
    {1258, 0, {}},
    {1361, 0, {kWonSign}},
    {20127, kLatinExtended, {kDashes, kTradeMark, kSuperscriptOne, kLowQuoteComma, kDotlessI, kIsoPunctuation,
                             kPunctuation}},
    {28591, kLatinExtended, {kDashes, kTradeMark, kLowQuoteComma, kDotlessI}},
    {28595, kLatinExtended, {kDashes, kTradeMark, kSuperscriptOne, kLowQuoteComma, kDotlessI, kIsoPunctuation,
                             kPunctuation}},
};

// Base letters of U+00C0..U+024F ('.' where the letter has none): the
// letter without its diacritic, plus the stroked letters (D with stroke,
// L with stroke ...) that Windows folds the same way.
constexpr std::string_view kBaseLetters =
    "AAAAAA.CEEEEIIII.NOOOOO..UUUUY..aaaaaa.ceeeeiiii.nooooo..uuuuy.y"   // U+00C0
    "AaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiI...JjKk.LlLlLl."   // U+0100
    ".LlNnNnNn...OoOoOo..RrRrRrSsSsSsSsTtTtTtUuUuUuUuUuUuWwYyYZzZzZz."   // U+0140
    "b......................I........Oo.............Uu....Zz........."   // U+0180
    ".............AaIiOoUuUuUuUuUu.AaAa....GgKkOoOo..j...Gg..NnAa...."   // U+01C0
    "AaAaEeEeIiIiOoOoRrRrUuUuSsTt..Hh......AaEeOoOoOoOoYy............"   // U+0200
    "................";                                                 // U+0240

// Hangul compatibility jamo U+3131..U+318E and the conjoining jamo they
// stand for. Windows' Johab table gives the jamo codes conjoining jamo;
// the compatibility jamo then reach those codes only by best fit.
constexpr WCHAR kCompatibilityJamoBase = 0x3131;
constexpr WCHAR kConjoiningJamo[94] = {
    0x1100, 0x1101, 0x11AA, 0x1102, 0x11AC, 0x11AD, 0x1103, 0x1104, 0x1105, 0x11B0, 0x11B1, 0x11B2,
    0x11B3, 0x11B4, 0x11B5, 0x111A, 0x1106, 0x1107, 0x1108, 0x1121, 0x1109, 0x110A, 0x110B, 0x110C,
    0x110D, 0x110E, 0x110F, 0x1110, 0x1111, 0x1112, 0x1161, 0x1162, 0x1163, 0x1164, 0x1165, 0x1166,
    0x1167, 0x1168, 0x1169, 0x116A, 0x116B, 0x116C, 0x116D, 0x116E, 0x116F, 0x1170, 0x1171, 0x1172,
    0x1173, 0x1174, 0x1175, 0x1160, 0x1114, 0x1115, 0x11C7, 0x11C8, 0x11CC, 0x11CE, 0x11D3, 0x11D7,
    0x11D9, 0x111C, 0x11DD, 0x11DF, 0x111D, 0x111E, 0x1120, 0x1122, 0x1123, 0x1127, 0x1129, 0x112B,
    0x112C, 0x112D, 0x112E, 0x112F, 0x1132, 0x1136, 0x1140, 0x1147, 0x114C, 0x11F1, 0x11F2, 0x1157,
    0x1158, 0x1159, 0x1184, 0x1185, 0x1188, 0x1191, 0x1192, 0x1194, 0x119E, 0x11A1,
};

const PageFits* FindPage(UINT code_page) {
  for (const auto& page : kPages) {
    if (page.code_page == code_page) return &page;
  }
  return nullptr;
}

// Fullwidth ASCII folds to ASCII on every page with best fit.
constexpr std::u16string_view kAscii =
    u"!\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~";

}  // namespace

std::span<const ByteOverride> ByteOverrides() {
  static const std::vector<ByteOverride> all = [] {
    std::vector<ByteOverride> list(std::begin(kByteOverrides), std::end(kByteOverrides));
    list.insert(list.end(), kAsciiHighBytes.entries.begin(), kAsciiHighBytes.entries.end());
    return list;
  }();
  return all;
}

std::span<const UserDefinedArea> UserDefinedAreas() { return kUserDefinedAreas; }

std::vector<BestFitRule> BestFitRulesFor(UINT code_page) {
  std::vector<BestFitRule> rules;
  const PageFits* page = FindPage(code_page);
  if (!page) return rules;
  for (const RuleList& list : page->lists) {
    for (const FitRule& rule : list) rules.push_back(BestFitRule{rule.unit, rule.candidates});
  }
  for (std::size_t i = 0; i < kAscii.size(); ++i) {
    rules.push_back(BestFitRule{static_cast<WCHAR>(0xFF01 + i), kAscii.substr(i, 1)});
  }
  if (code_page == 1361) {
    for (std::size_t i = 0; i < std::size(kConjoiningJamo); ++i) {
      rules.push_back(BestFitRule{static_cast<WCHAR>(kCompatibilityJamoBase + i),
                                  std::u16string_view(&kConjoiningJamo[i], 1)});
    }
  }
  return rules;
}

WCHAR ConjoiningJamo(UINT code_page, WCHAR unit) {
  if (code_page != 1361 || unit < kCompatibilityJamoBase || unit >= kCompatibilityJamoBase + 94) return 0;
  return kConjoiningJamo[unit - kCompatibilityJamoBase];
}

WCHAR DiacriticFoldingLimit(UINT code_page) {
  const PageFits* page = FindPage(code_page);
  return page ? page->fold_limit : 0;
}

WCHAR BaseLetter(WCHAR unit) {
  if (unit < 0xC0 || unit >= 0xC0 + kBaseLetters.size()) return 0;
  const char base = kBaseLetters[unit - 0xC0];
  return base == '.' ? 0 : static_cast<WCHAR>(base);
}

}  // namespace quillbox::automation
