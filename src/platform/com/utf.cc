// UTF-8 and UTF-16 conversion.
#include "platform/com/utf.h"

namespace quillbox::com {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf16(std::u16string& out, char32_t c) {
  if (c < 0x10000) {
    out.push_back(static_cast<char16_t>(c));
  } else {
    c -= 0x10000;
    out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
    out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
  }
}

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (c >> 18)));
    out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

}  // namespace

std::u16string Utf8ToUtf16(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  std::size_t i = 0;
  while (i < text.size()) {
    const auto b = static_cast<unsigned char>(text[i]);
    int extra = b < 0x80 ? 0 : b >= 0xF0 && b <= 0xF4 ? 3 : b >= 0xE0 ? 2 : b >= 0xC2 && b < 0xE0 ? 1 : -1;
    if (extra < 0 || i + extra >= text.size()) {
      if (extra != 0) {  // a stray or cut-short sequence
        out.push_back(static_cast<char16_t>(kReplacement));
        ++i;
        continue;
      }
    }
    char32_t c = extra == 0 ? b : extra == 1 ? (b & 0x1F) : extra == 2 ? (b & 0x0F) : (b & 0x07);
    bool ok = true;
    for (int k = 1; k <= extra; ++k) {
      const auto cb = static_cast<unsigned char>(text[i + k]);
      if ((cb & 0xC0) != 0x80) {
        ok = false;
        break;
      }
      c = (c << 6) | (cb & 0x3F);
    }
    const bool overlong = (extra == 2 && c < 0x800) || (extra == 3 && c < 0x10000);
    if (!ok || overlong || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
      out.push_back(static_cast<char16_t>(kReplacement));
      ++i;
      continue;
    }
    AppendUtf16(out, c);
    i += extra + 1;
  }
  return out;
}

std::string Utf16ToUtf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = kReplacement;
    }
    AppendUtf8(out, c);
  }
  return out;
}

std::size_t WideLength(const char16_t* text) {
  if (!text) return 0;
  std::size_t n = 0;
  while (text[n]) ++n;
  return n;
}

}  // namespace quillbox::com
