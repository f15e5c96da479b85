// GUIDs written in the data as the braced text the class table uses, turned
// into GUID values at compile time: a mistyped digit fails to build.
#pragma once

#include "quillbox/guiddef.h"

namespace quillbox::typelib {
namespace detail {

consteval unsigned HexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
  throw "not a hexadecimal digit";  // a compile error in a consteval call
}

consteval std::uint64_t HexField(const char* text, int first, int count) {
  std::uint64_t value = 0;
  for (int i = 0; i < count; ++i) value = value * 16 + HexDigit(text[first + i]);
  return value;
}

}  // namespace detail

// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" -> GUID.
consteval GUID GuidLiteral(const char (&text)[39]) {
  if (text[0] != '{' || text[9] != '-' || text[14] != '-' || text[19] != '-' || text[24] != '-' ||
      text[37] != '}') {
    throw "not a braced GUID";
  }
  GUID g{};
  g.Data1 = static_cast<std::uint32_t>(detail::HexField(text, 1, 8));
  g.Data2 = static_cast<std::uint16_t>(detail::HexField(text, 10, 4));
  g.Data3 = static_cast<std::uint16_t>(detail::HexField(text, 15, 4));
  g.Data4[0] = static_cast<std::uint8_t>(detail::HexField(text, 20, 2));
  g.Data4[1] = static_cast<std::uint8_t>(detail::HexField(text, 22, 2));
  for (int i = 0; i < 6; ++i) g.Data4[2 + i] = static_cast<std::uint8_t>(detail::HexField(text, 25 + 2 * i, 2));
  return g;
}

}  // namespace quillbox::typelib
