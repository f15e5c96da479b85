// MultiByteToWideChar and WideCharToMultiByte with Windows' rules: explicit
// lengths or -1 for a zero-terminated string (the terminator is converted
// too), a size query when the output size is 0, ERROR_INSUFFICIENT_BUFFER
// when it does not fit, and the default character for what a code page
// cannot hold. Each call converts into a local string first, so a failed
// call leaves nothing half-written that the caller could mistake for text.
#include <cstring>
#include <string>
#include <string_view>

#include "platform/automation/codepage_table.h"
#include "platform/automation/codepage_utf.h"
#include "quillbox/errhandlingapi.h"
#include "quillbox/winerror.h"
#include "quillbox/winnls.h"

namespace {

using quillbox::automation::CodePageKind;
using quillbox::automation::CodePageTable;

constexpr DWORD kMbFlags = MB_PRECOMPOSED | MB_COMPOSITE | MB_USEGLYPHCHARS | MB_ERR_INVALID_CHARS;
constexpr DWORD kWcFlags = WC_DISCARDNS | WC_SEPCHARS | WC_DEFAULTCHAR | WC_COMPOSITECHECK | WC_NO_BEST_FIT_CHARS;

int Fail(DWORD error) {
  SetLastError(error);
  return 0;
}

// The IBM PC glyphs that MB_USEGLYPHCHARS shows for the control bytes of
// the OEM code pages (0x01-0x1F, then 0x7F).
constexpr char16_t kControlGlyphs[32] = {
    0,      0x263A, 0x263B, 0x2665, 0x2666, 0x2663, 0x2660, 0x2022, 0x25D8, 0x25CB, 0x25D9,
    0x2642, 0x2640, 0x266A, 0x266B, 0x263C, 0x25BA, 0x25C4, 0x2195, 0x203C, 0x00B6, 0x00A7,
    0x25AC, 0x21A8, 0x2191, 0x2193, 0x2192, 0x2190, 0x221F, 0x2194, 0x25B2, 0x25BC};
constexpr char16_t kDeleteGlyph = 0x2302;

bool HasControlGlyphs(UINT code_page) { return code_page >= 437 && code_page < 900; }

// Bytes of a table-driven page to UTF-16; false when MB_ERR_INVALID_CHARS
// is set and a byte or pair is undefined.
bool DecodeTable(const CodePageTable& table, std::string_view in, DWORD flags, std::u16string* out) {
  const bool strict = flags & MB_ERR_INVALID_CHARS;
  const bool glyphs = (flags & MB_USEGLYPHCHARS) && HasControlGlyphs(table.code_page);
  for (std::size_t i = 0; i < in.size(); ++i) {
    const auto b = static_cast<BYTE>(in[i]);
    int unit = -1;
    if (table.IsLeadByte(b)) {
      // A lead byte at the end or before a NUL stands alone; a pair that is
      // not in the table is one unknown character.
      if (i + 1 < in.size() && in[i + 1] != '\0') {
        unit = table.Decode(b, static_cast<BYTE>(in[i + 1]));
        ++i;
      }
    } else {
      unit = table.Decode(b);
      if (glyphs && b > 0 && b < 0x20) unit = kControlGlyphs[b];
      if (glyphs && b == 0x7F) unit = kDeleteGlyph;
    }
    // Bytes a page leaves undefined come out as placeholders in U+F8F0..
    // U+F8FF; MB_ERR_INVALID_CHARS refuses them like unmapped bytes.
    if (strict && unit >= 0xF8F0 && unit <= 0xF8FF && !table.IsLeadByte(b)) return false;
    if (unit < 0) {
      if (strict) return false;
      unit = table.unicode_default_char;
    }
    out->push_back(static_cast<char16_t>(unit));
  }
  return true;
}

// UTF-16 to the bytes of a table-driven page; sets *used_default when a
// unit had no mapping (or only a best fit refused by WC_NO_BEST_FIT_CHARS).
void EncodeTable(const CodePageTable& table, std::u16string_view in, DWORD flags, std::string_view default_char,
                 std::string* out, bool* used_default) {
  const bool no_best_fit = flags & WC_NO_BEST_FIT_CHARS;
  for (const char16_t unit : in) {
    const std::uint32_t bytes = table.Encode(unit);
    if (bytes == CodePageTable::kNoMapping || (no_best_fit && (bytes & CodePageTable::kBestFitBit))) {
      out->append(default_char);
      *used_default = true;
      continue;
    }
    const std::uint32_t code = bytes & 0xFFFF;
    if (code > 0xFF) out->push_back(static_cast<char>(code >> 8));
    out->push_back(static_cast<char>(code & 0xFF));
  }
}

// The default character a table page writes: the caller's (one byte, or
// two on a double-byte page when both are given) or the page's own.
std::string DefaultCharFor(const CodePageTable& table, LPCSTR caller_default) {
  if (!caller_default) {
    return std::string(reinterpret_cast<const char*>(table.default_char),
                       table.default_char[1] ? 2 : 1);
  }
  std::string text(1, caller_default[0]);
  if (table.kind == CodePageKind::kDoubleByte && table.IsLeadByte(static_cast<BYTE>(caller_default[0])) &&
      caller_default[1]) {
    text.push_back(caller_default[1]);
  }
  return text;
}

template <typename Char>
int CopyOut(const std::basic_string<Char>& result, Char* out, int out_size) {
  if (out_size == 0) return static_cast<int>(result.size());
  if (result.size() > static_cast<std::size_t>(out_size)) return Fail(ERROR_INSUFFICIENT_BUFFER);
  std::memcpy(out, result.data(), result.size() * sizeof(Char));
  return static_cast<int>(result.size());
}

}  // namespace

int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCSTR lpMultiByteStr, int cbMultiByte, LPWSTR lpWideCharStr,
                        int cchWideChar) {
  if (!lpMultiByteStr || cbMultiByte == 0 || cbMultiByte < -1 || cchWideChar < 0 ||
      (cchWideChar > 0 && !lpWideCharStr) ||
      (cchWideChar > 0 && static_cast<const void*>(lpMultiByteStr) == static_cast<const void*>(lpWideCharStr))) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const std::size_t length = cbMultiByte == -1 ? std::strlen(lpMultiByteStr) + 1 : static_cast<std::size_t>(cbMultiByte);
  const std::string_view in(lpMultiByteStr, length);
  std::u16string result;
  const UINT code_page = quillbox::automation::ResolveCodePage(CodePage);
  if (code_page == CP_SYMBOL) {
    // The symbol page puts bytes from 0x20 up into the private-use block.
    if (dwFlags != 0) return Fail(ERROR_INVALID_FLAGS);
    for (const char c : in) {
      const auto b = static_cast<BYTE>(c);
      result.push_back(b < 0x20 ? b : static_cast<char16_t>(0xF000 + b));
    }
    return CopyOut(result, lpWideCharStr, cchWideChar);
  }
  const CodePageTable* table = quillbox::automation::FindCodePageTable(code_page);
  if (!table) return Fail(ERROR_INVALID_PARAMETER);
  if (dwFlags & ~kMbFlags) return Fail(ERROR_INVALID_FLAGS);
  switch (table->kind) {
    case CodePageKind::kUtf7:
      if (dwFlags != 0) return Fail(ERROR_INVALID_FLAGS);
      quillbox::automation::DecodeUtf7(in, &result);
      break;
    case CodePageKind::kUtf8:
      if (!quillbox::automation::DecodeUtf8(in, &result) && (dwFlags & MB_ERR_INVALID_CHARS)) {
        return Fail(ERROR_NO_UNICODE_TRANSLATION);
      }
      break;
    default:
      if ((dwFlags & MB_PRECOMPOSED) && (dwFlags & MB_COMPOSITE)) return Fail(ERROR_INVALID_FLAGS);
      if (!DecodeTable(*table, in, dwFlags, &result)) return Fail(ERROR_NO_UNICODE_TRANSLATION);
      break;
  }
  return CopyOut(result, lpWideCharStr, cchWideChar);
}

int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWSTR lpWideCharStr, int cchWideChar, LPSTR lpMultiByteStr,
                        int cbMultiByte, LPCSTR lpDefaultChar, BOOL* lpUsedDefaultChar) {
  if (!lpWideCharStr || cchWideChar == 0 || cchWideChar < -1 || cbMultiByte < 0 ||
      (cbMultiByte > 0 && !lpMultiByteStr) ||
      (cbMultiByte > 0 && static_cast<const void*>(lpMultiByteStr) == static_cast<const void*>(lpWideCharStr))) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  std::size_t length = 0;
  if (cchWideChar == -1) {
    while (lpWideCharStr[length]) ++length;
    ++length;
  } else {
    length = static_cast<std::size_t>(cchWideChar);
  }
  const std::u16string_view in(lpWideCharStr, length);
  std::string result;
  const UINT code_page = quillbox::automation::ResolveCodePage(CodePage);
  if (code_page == CP_SYMBOL) {
    if (dwFlags != 0) return Fail(ERROR_INVALID_FLAGS);
    if (lpDefaultChar || lpUsedDefaultChar) return Fail(ERROR_INVALID_PARAMETER);
    // The size query only counts; the conversion takes back exactly what
    // the symbol page gives out.
    if (cbMultiByte == 0) return static_cast<int>(in.size());
    for (const char16_t unit : in) {
      if (unit < 0x20) {
        result.push_back(static_cast<char>(unit));
      } else if (unit >= 0xF020 && unit <= 0xF0FF) {
        result.push_back(static_cast<char>(unit - 0xF000));
      } else {
        return Fail(ERROR_NO_UNICODE_TRANSLATION);
      }
    }
    return CopyOut(result, lpMultiByteStr, cbMultiByte);
  }
  const CodePageTable* table = quillbox::automation::FindCodePageTable(code_page);
  if (!table) return Fail(ERROR_INVALID_PARAMETER);
  switch (table->kind) {
    case CodePageKind::kUtf7:
      if (dwFlags != 0) return Fail(ERROR_INVALID_FLAGS);
      if (lpDefaultChar || lpUsedDefaultChar) return Fail(ERROR_INVALID_PARAMETER);
      quillbox::automation::EncodeUtf7(in, &result);
      break;
    case CodePageKind::kUtf8:
      // The flags other code pages take are ignored here, and the default
      // character arguments are not used (UTF-8 holds every character).
      if (dwFlags & ~(kWcFlags | WC_ERR_INVALID_CHARS)) return Fail(ERROR_INVALID_FLAGS);
      if (!quillbox::automation::EncodeUtf8(in, &result) && (dwFlags & WC_ERR_INVALID_CHARS)) {
        return Fail(ERROR_NO_UNICODE_TRANSLATION);
      }
      if (lpUsedDefaultChar) *lpUsedDefaultChar = FALSE;
      break;
    default: {
      if (dwFlags & ~kWcFlags) return Fail(ERROR_INVALID_FLAGS);
      bool used_default = false;
      EncodeTable(*table, in, dwFlags, DefaultCharFor(*table, lpDefaultChar), &result, &used_default);
      if (lpUsedDefaultChar) *lpUsedDefaultChar = used_default ? TRUE : FALSE;
      break;
    }
  }
  return CopyOut(result, lpMultiByteStr, cbMultiByte);
}
