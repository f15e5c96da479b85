// UTF-8 and UTF-7 for the code page functions (see codepage_utf.h).
#include "platform/automation/codepage_utf.h"

#include <cstdint>

namespace quillbox::automation {
namespace {

constexpr char16_t kReplacement = u'\uFFFD';

bool IsContinuation(unsigned char b) { return (b & 0xC0) == 0x80; }

void AppendCodePoint(char32_t cp, std::u16string* out) {
  if (cp >= 0x10000) {
    cp -= 0x10000;
    out->push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
    out->push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
  } else {
    out->push_back(static_cast<char16_t>(cp));
  }
}

constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int Base64Value(unsigned char c) {
  const auto pos = kBase64.find(static_cast<char>(c));
  return pos == std::string_view::npos ? -1 : static_cast<int>(pos);
}

// Characters UTF-7 writes as themselves; every other unit goes in base64
// (including the "optional direct" punctuation, as Windows does).
bool IsDirect(char16_t u) {
  if ((u >= u'A' && u <= u'Z') || (u >= u'a' && u <= u'z') || (u >= u'0' && u <= u'9')) return true;
  return std::u16string_view(u"'(),-./:? \t\r\n").find(u) != std::u16string_view::npos || u == 0;
}

}  // namespace

bool DecodeUtf8(std::string_view bytes, std::u16string* out) {
  bool clean = true;
  std::size_t i = 0;
  while (i < bytes.size()) {
    const auto lead = static_cast<unsigned char>(bytes[i]);
    if (lead < 0x80) {
      out->push_back(lead);
      ++i;
      continue;
    }
    int length = 0;
    char32_t cp = 0;
    unsigned char low = 0x80, high = 0xBF;  // range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2, cp = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3, cp = lead & 0x0F;
      if (lead == 0xE0) low = 0xA0;
      if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4, cp = lead & 0x07;
      if (lead == 0xF0) low = 0x90;
      if (lead == 0xF4) high = 0x8F;
    }
    if (length == 0 || i + 1 >= bytes.size() || !IsContinuation(static_cast<unsigned char>(bytes[i + 1]))) {
      // Not a lead byte, or a lead byte with nothing to continue it.
      out->push_back(kReplacement);
      clean = false;
      ++i;
      continue;
    }
    const auto second = static_cast<unsigned char>(bytes[i + 1]);
    if (second < low || second > high) {
      // Overlong, surrogate or past U+10FFFF: the lead and its first
      // continuation go together as one replacement.
      out->push_back(kReplacement);
      clean = false;
      i += 2;
      continue;
    }
    cp = (cp << 6) | (second & 0x3F);
    std::size_t used = 2;
    while (static_cast<int>(used) < length && i + used < bytes.size() &&
           IsContinuation(static_cast<unsigned char>(bytes[i + used]))) {
      cp = (cp << 6) | (static_cast<unsigned char>(bytes[i + used]) & 0x3F);
      ++used;
    }
    i += used;
    if (static_cast<int>(used) < length) {
      out->push_back(kReplacement);  // cut short: one replacement for the part seen
      clean = false;
      continue;
    }
    AppendCodePoint(cp, out);
  }
  return clean;
}

bool EncodeUtf8(std::u16string_view text, std::string* out) {
  bool clean = true;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t cp = text[i];
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    } else if (cp >= 0xD800 && cp <= 0xDFFF) {
      cp = kReplacement;
      clean = false;
    }
    if (cp < 0x80) {
      out->push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
      out->push_back(static_cast<char>(0xC0 | (cp >> 6)));
      out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
      out->push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
      out->push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out->push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
  }
  return clean;
}

void DecodeUtf7(std::string_view bytes, std::u16string* out) {
  std::size_t i = 0;
  while (i < bytes.size()) {
    const auto c = static_cast<unsigned char>(bytes[i]);
    if (c != '+') {
      out->push_back(c);
      ++i;
      continue;
    }
    ++i;
    if (i < bytes.size() && bytes[i] == '-') {  // "+-" is a plus sign
      out->push_back(u'+');
      ++i;
      continue;
    }
    std::uint32_t bits = 0;
    int bit_count = 0;
    while (i < bytes.size()) {
      const int value = Base64Value(static_cast<unsigned char>(bytes[i]));
      if (value < 0) break;
      bits = (bits << 6) | static_cast<std::uint32_t>(value);
      bit_count += 6;
      if (bit_count >= 16) {
        bit_count -= 16;
        out->push_back(static_cast<char16_t>(bits >> bit_count));
        bits &= (1u << bit_count) - 1;
      }
      ++i;
    }
    // A '-' closing the run is absorbed; anything else is read as text.
    if (i < bytes.size() && bytes[i] == '-') ++i;
  }
}

void EncodeUtf7(std::u16string_view text, std::string* out) {
  std::size_t i = 0;
  while (i < text.size()) {
    const char16_t u = text[i];
    if (u == u'+') {
      out->append("+-");
      ++i;
      continue;
    }
    if (IsDirect(u)) {
      out->push_back(static_cast<char>(u));
      ++i;
      continue;
    }
    out->push_back('+');
    std::uint32_t bits = 0;
    int bit_count = 0;
    while (i < text.size() && !IsDirect(text[i]) && text[i] != u'+') {
      bits = (bits << 16) | text[i];
      bit_count += 16;
      while (bit_count >= 6) {
        bit_count -= 6;
        out->push_back(kBase64[(bits >> bit_count) & 0x3F]);
      }
      bits &= (1u << bit_count) - 1;
      ++i;
    }
    if (bit_count > 0) out->push_back(kBase64[(bits << (6 - bit_count)) & 0x3F]);
    out->push_back('-');
  }
}

}  // namespace quillbox::automation
