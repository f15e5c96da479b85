// Reading the .reg text into fresh root trees, with line-numbered errors.
#include "platform/com/registry/reg_file.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/com/registry/reg_names.h"
#include "platform/com/registry/reg_value_data.h"
#include "platform/com/utf.h"

namespace quillbox::com::registry {
namespace {

constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16LeBom = "\xFF\xFE";
constexpr std::string_view kUtf16BeBom = "\xFE\xFF";

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view Trim(std::string_view s) {
  while (!s.empty() && IsBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back())) s.remove_suffix(1);
  return s;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// 1 to `max_digits` hexadecimal digits, the whole of `text`.
bool ParseHexNumber(std::string_view text, std::size_t max_digits, std::uint32_t* value) {
  if (text.empty() || text.size() > max_digits) return false;
  std::uint32_t v = 0;
  for (const char c : text) {
    const int d = HexDigit(c);
    if (d < 0) return false;
    v = (v << 4) | static_cast<std::uint32_t>(d);
  }
  *value = v;
  return true;
}

char AsciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
  if (text.size() < prefix.size()) return false;
  for (std::size_t i = 0; i < prefix.size(); ++i) {
    if (AsciiLower(text[i]) != AsciiLower(prefix[i])) return false;
  }
  return true;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && StartsWithNoCase(a, b);
}

// Offset of the first byte that is not well-formed UTF-8, or npos.
std::size_t FindInvalidUtf8(std::string_view s) {
  std::size_t i = 0;
  while (i < s.size()) {
    const auto b = static_cast<unsigned char>(s[i]);
    if (b < 0x80) {
      ++i;
      continue;
    }
    std::size_t extra;
    unsigned char lo = 0x80, hi = 0xBF;  // allowed range of the second byte
    if (b >= 0xC2 && b <= 0xDF) {
      extra = 1;
    } else if (b >= 0xE0 && b <= 0xEF) {
      extra = 2;
      if (b == 0xE0) lo = 0xA0;  // no overlong forms
      if (b == 0xED) hi = 0x9F;  // no surrogates
    } else if (b >= 0xF0 && b <= 0xF4) {
      extra = 3;
      if (b == 0xF0) lo = 0x90;
      if (b == 0xF4) hi = 0x8F;  // nothing past U+10FFFF
    } else {
      return i;
    }
    if (i + extra >= s.size()) return i;  // cut short
    for (std::size_t k = 1; k <= extra; ++k) {
      const auto c = static_cast<unsigned char>(s[i + k]);
      if (k == 1 ? (c < lo || c > hi) : (c < 0x80 || c > 0xBF)) return i;
    }
    i += extra + 1;
  }
  return std::string_view::npos;
}

std::size_t LineOfOffset(std::string_view text, std::size_t offset) {
  std::size_t line = 1;
  for (std::size_t i = 0; i < offset && i < text.size(); ++i) line += text[i] == '\n';
  return line;
}

// Brings the file's bytes to UTF-8 text without BOM.
bool DecodeText(std::string_view bytes, std::string* storage, std::string_view* text,
                std::string* error) {
  if (bytes.starts_with(kUtf16LeBom)) {
    bytes.remove_prefix(kUtf16LeBom.size());
    if (bytes.size() % 2 != 0) {
      *error = "UTF-16 text has an odd number of bytes";
      return false;
    }
    const std::u16string wide =
        BytesToWide(reinterpret_cast<const BYTE*>(bytes.data()), bytes.size());
    // Line breaks are checked by the parser; here only surrogate pairing.
    std::size_t line = 1;
    for (std::size_t i = 0; i < wide.size(); ++i) {
      const char16_t c = wide[i];
      if (c == u'\n') ++line;
      const bool high = c >= 0xD800 && c <= 0xDBFF;
      if (high && i + 1 < wide.size() && wide[i + 1] >= 0xDC00 && wide[i + 1] <= 0xDFFF) {
        ++i;
      } else if (high || (c >= 0xDC00 && c <= 0xDFFF)) {
        *error = "line " + std::to_string(line) + ": unpaired UTF-16 surrogate";
        return false;
      }
    }
    *storage = Utf16ToUtf8(wide);
    *text = *storage;
    return true;
  }
  if (bytes.starts_with(kUtf16BeBom)) {
    *error = "UTF-16 big-endian text is not read (use UTF-8 or UTF-16LE)";
    return false;
  }
  if (bytes.starts_with(kUtf8Bom)) bytes.remove_prefix(kUtf8Bom.size());
  const std::size_t bad = FindInvalidUtf8(bytes);
  if (bad != std::string_view::npos) {
    *error = "line " + std::to_string(LineOfOffset(bytes, bad)) + ": not valid UTF-8";
    return false;
  }
  *text = bytes;
  return true;
}

class RegParser {
 public:
  RegParser(std::string_view text, RegistryRoots* roots) : text_(text), roots_(roots) {}

  bool Run(std::string* error);

 private:
  bool NextLine(std::string_view* line);
  bool Fail(const std::string& message) {
    error_ = "line " + std::to_string(line_number_) + ": " + message;
    return false;
  }
  bool ParseHeader();
  bool ParseSection(std::string_view line);
  bool ParseValue(std::string_view line);
  bool ReadQuoted(std::string_view* rest, std::string* out);
  bool ReadHexBytes(std::string_view first, std::vector<BYTE>* out);

  std::string_view text_;
  std::size_t pos_ = 0;
  std::size_t line_number_ = 0;
  RegistryRoots* roots_;
  RegKey* current_ = nullptr;
  bool in_deletion_ = false;  // values after [-KEY] are ignored
  std::string error_;
};

bool RegParser::NextLine(std::string_view* line) {
  if (pos_ >= text_.size()) return false;
  std::size_t end = text_.find('\n', pos_);
  if (end == std::string_view::npos) end = text_.size();
  std::string_view raw = text_.substr(pos_, end - pos_);
  if (!raw.empty() && raw.back() == '\r') raw.remove_suffix(1);
  pos_ = end + 1;
  ++line_number_;
  *line = raw;
  return true;
}

bool RegParser::Run(std::string* error) {
  if (text_.find_first_not_of(" \t\r\n") == std::string_view::npos) return true;  // empty file
  bool ok = ParseHeader();
  std::string_view line;
  // Each pass consumes at least one line of the finite text.
  while (ok && NextLine(&line)) {
    line = Trim(line);
    if (line.empty() || line.front() == ';') continue;
    if (line.front() == '[') {
      ok = ParseSection(line);
    } else if (line.front() == '@' || line.front() == '"') {
      ok = ParseValue(line);
    } else {
      ok = Fail("expected a [key] section or a value line, found '" +
                std::string(line.substr(0, 40)) + "'");
    }
  }
  if (!ok) *error = error_;
  return ok;
}

bool RegParser::ParseHeader() {
  std::string_view line;
  NextLine(&line);
  line = Trim(line);
  if (line == kRegFileHeader) return true;
  if (line == "REGEDIT4") {
    return Fail("REGEDIT4 files are not read; expected '" + std::string(kRegFileHeader) + "'");
  }
  return Fail("expected '" + std::string(kRegFileHeader) + "' as the first line");
}

bool RegParser::ParseSection(std::string_view line) {
  const std::size_t close = line.rfind(']');
  if (close == std::string_view::npos) return Fail("key section without closing ']'");
  if (close + 1 != line.size()) return Fail("unexpected text after ']'");
  std::string_view inner = line.substr(1, close - 1);
  const bool deletion = !inner.empty() && inner.front() == '-';
  if (deletion) inner.remove_prefix(1);
  const std::size_t slash = inner.find('\\');
  const std::string_view root_name = inner.substr(0, slash);
  static constexpr std::string_view kShortNames[kRootCount] = {"HKCR", "HKCU", "HKLM"};
  RegKey* key = nullptr;
  for (std::size_t i = 0; i < kRootCount; ++i) {
    if (EqualsNoCase(root_name, RootName(static_cast<RootKind>(i))) ||
        EqualsNoCase(root_name, kShortNames[i])) {
      key = roots_->keys[i].get();
    }
  }
  if (key == nullptr) {
    return Fail("unknown root key '" + std::string(root_name) +
                "' (expected HKEY_CLASSES_ROOT, HKEY_CURRENT_USER or HKEY_LOCAL_MACHINE)");
  }
  std::u16string path;
  std::vector<std::u16string_view> names;
  if (slash != std::string_view::npos) {
    path = Utf8ToUtf16(inner.substr(slash + 1));
    const LSTATUS split = SplitKeyPath(path, &names);
    if (split != 0 || names.empty()) {
      return Fail("bad key path '" + std::string(inner) + "' (empty name, name over " +
                  std::to_string(kMaxKeyNameLength) + " characters, or over " +
                  std::to_string(kMaxKeyDepth) + " levels)");
    }
  }
  in_deletion_ = deletion;
  current_ = nullptr;
  if (deletion) {
    if (names.empty()) return Fail("a root key cannot be deleted");
    for (std::size_t i = 0; i + 1 < names.size() && key != nullptr; ++i) {
      key = key->FindChild(names[i]).get();
    }
    if (key != nullptr) {
      if (const auto victim = key->FindChild(names.back())) key->RemoveChild(victim.get());
    }
    return true;
  }
  for (const auto name : names) {
    auto child = key->FindChild(name);
    key = child ? child.get() : key->AddChild(std::u16string(name)).get();
  }
  current_ = key;
  return true;
}

bool RegParser::ReadQuoted(std::string_view* rest, std::string* out) {
  // `rest` starts after the opening quote.
  std::string_view s = *rest;
  out->clear();
  for (std::size_t i = 0; i < s.size(); ++i) {
    const char c = s[i];
    if (c == '"') {
      *rest = s.substr(i + 1);
      return true;
    }
    if (c == '\\') {
      if (i + 1 >= s.size() || (s[i + 1] != '\\' && s[i + 1] != '"')) {
        return Fail("unknown escape in quoted text (only \\\\ and \\\" are escapes)");
      }
      ++i;
    }
    out->push_back(s[i]);
  }
  return Fail("quoted text not closed on its line");
}

bool RegParser::ReadHexBytes(std::string_view first, std::vector<BYTE>* out) {
  std::string joined;
  std::string_view piece = Trim(first);
  // A trailing backslash continues the list on the next line.
  while (!piece.empty() && piece.back() == '\\') {
    piece.remove_suffix(1);
    joined.append(piece);
    std::string_view next;
    if (!NextLine(&next)) return Fail("hex data continued past the end of the file");
    piece = Trim(next);
  }
  joined.append(piece);
  out->clear();
  const std::string_view all = Trim(joined);
  if (all.empty()) return true;
  std::size_t start = 0;
  while (start <= all.size()) {  // one byte per pass
    std::size_t comma = all.find(',', start);
    if (comma == std::string_view::npos) comma = all.size();
    std::uint32_t byte = 0;
    if (!ParseHexNumber(Trim(all.substr(start, comma - start)), 2, &byte)) {
      return Fail("hex data must be bytes of two hexadecimal digits separated by commas");
    }
    out->push_back(static_cast<BYTE>(byte));
    start = comma + 1;
  }
  return true;
}

bool RegParser::ParseValue(std::string_view line) {
  std::string name;
  std::string_view rest = line.substr(1);
  if (line.front() == '"' && !ReadQuoted(&rest, &name)) return false;
  rest = Trim(rest);
  if (rest.empty() || rest.front() != '=') return Fail("expected '=' after the value name");
  rest = Trim(rest.substr(1));

  bool remove = false;
  DWORD type = REG_SZ;
  std::vector<BYTE> data;
  std::uint32_t number = 0;
  if (rest == "-") {
    remove = true;
  } else if (!rest.empty() && rest.front() == '"') {
    std::string text;
    rest.remove_prefix(1);
    if (!ReadQuoted(&rest, &text)) return false;
    if (!Trim(rest).empty()) return Fail("unexpected text after the closing quote");
    std::u16string wide = Utf8ToUtf16(text);
    wide.push_back(u'\0');
    data = WideToBytes(wide);
  } else if (StartsWithNoCase(rest, "dword:")) {
    if (!ParseHexNumber(rest.substr(6), 8, &number))
      return Fail("dword: needs 1 to 8 hexadecimal digits");
    type = REG_DWORD;
    data = {static_cast<BYTE>(number), static_cast<BYTE>(number >> 8),
            static_cast<BYTE>(number >> 16), static_cast<BYTE>(number >> 24)};
  } else if (StartsWithNoCase(rest, "hex:") || StartsWithNoCase(rest, "hex(")) {
    const std::size_t colon = rest.find(':');
    type = REG_BINARY;
    if (rest[3] == '(') {
      const std::size_t close = rest.find(')');
      if (close == std::string_view::npos || close + 1 != colon ||
          !ParseHexNumber(rest.substr(4, close - 4), 8, &number)) {
        return Fail("hex(type): needs a hexadecimal type number");
      }
      type = number;
    }
    if (!ReadHexBytes(rest.substr(colon + 1), &data)) return false;
  } else {
    return Fail("unrecognised value data (expected \"text\", dword:, hex: or hex(type):)");
  }

  if (current_ == nullptr) {
    return in_deletion_ ? true : Fail("value line before any [key] section");
  }
  const std::u16string wide_name = Utf8ToUtf16(name);
  if (wide_name.size() > kMaxValueNameLength) return Fail("value name too long");
  if (remove) {
    current_->DeleteValue(wide_name);
  } else {
    current_->SetValue(wide_name, type, std::move(data));
  }
  return true;
}

}  // namespace

bool ParseRegFile(std::string_view bytes, RegistryRoots* roots, std::string* error) {
  *roots = RegistryRoots::MakeEmpty();
  std::string storage;
  std::string_view text;
  if (!DecodeText(bytes, &storage, &text, error)) return false;
  return RegParser(text, roots).Run(error);
}

}  // namespace quillbox::com::registry
