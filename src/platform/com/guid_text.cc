// GUID text: write and parse the braced form.
#include "platform/com/guid_text.h"

namespace quillbox::com {
namespace {

constexpr char kHex[] = "0123456789ABCDEF";

int HexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  return -1;
}

// Reads `digits` hex digits at text[pos]; false on any other character.
template <class Char>
bool ReadHex(std::basic_string_view<Char> text, std::size_t pos, int digits, std::uint64_t& out) {
  out = 0;
  for (int i = 0; i < digits; ++i) {
    const int v = HexValue(static_cast<char16_t>(text[pos + i]));
    if (v < 0) return false;
    out = (out << 4) | static_cast<std::uint64_t>(v);
  }
  return true;
}

template <class Char>
std::optional<GUID> Parse(std::basic_string_view<Char> text) {
  if (text.size() != kGuidTextLength) return std::nullopt;
  if (text[0] != '{' || text[37] != '}' || text[9] != '-' || text[14] != '-' ||
      text[19] != '-' || text[24] != '-') {
    return std::nullopt;
  }
  GUID g{};
  std::uint64_t v;
  if (!ReadHex(text, 1, 8, v)) return std::nullopt;
  g.Data1 = static_cast<std::uint32_t>(v);
  if (!ReadHex(text, 10, 4, v)) return std::nullopt;
  g.Data2 = static_cast<std::uint16_t>(v);
  if (!ReadHex(text, 15, 4, v)) return std::nullopt;
  g.Data3 = static_cast<std::uint16_t>(v);
  // Data4: two bytes before the fourth dash, six after it.
  static constexpr std::size_t kByteAt[8] = {20, 22, 25, 27, 29, 31, 33, 35};
  for (int i = 0; i < 8; ++i) {
    if (!ReadHex(text, kByteAt[i], 2, v)) return std::nullopt;
    g.Data4[i] = static_cast<std::uint8_t>(v);
  }
  return g;
}

template <class String>
String Format(const GUID& g) {
  String s;
  s.reserve(kGuidTextLength);
  auto put = [&s](std::uint64_t value, int digits) {
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) {
      s.push_back(static_cast<typename String::value_type>(kHex[(value >> shift) & 0xF]));
    }
  };
  s.push_back('{');
  put(g.Data1, 8);
  s.push_back('-');
  put(g.Data2, 4);
  s.push_back('-');
  put(g.Data3, 4);
  s.push_back('-');
  put(g.Data4[0], 2);
  put(g.Data4[1], 2);
  s.push_back('-');
  for (int i = 2; i < 8; ++i) put(g.Data4[i], 2);
  s.push_back('}');
  return s;
}

}  // namespace

std::u16string GuidToText(const GUID& guid) { return Format<std::u16string>(guid); }
std::string GuidToNarrowText(const GUID& guid) { return Format<std::string>(guid); }
std::optional<GUID> GuidFromText(std::u16string_view text) { return Parse(text); }
std::optional<GUID> GuidFromNarrowText(std::string_view text) { return Parse(text); }

}  // namespace quillbox::com
