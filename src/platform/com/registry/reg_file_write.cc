// Writing the root trees as .reg text, laid out as the registry editor does.
#include "platform/com/registry/reg_file.h"

#include <cstdint>
#include <string>

#include "platform/com/registry/reg_value_data.h"
#include "platform/com/utf.h"

namespace quillbox::com::registry {
namespace {

// Hex lists wrap before this column, with "\" and a two-space indent.
constexpr std::size_t kHexWrapColumn = 77;
constexpr char kHexDigits[] = "0123456789abcdef";

void AppendQuoted(std::string_view utf8, std::string* out) {
  out->push_back('"');
  for (const char c : utf8) {
    if (c == '\\' || c == '"') out->push_back('\\');
    out->push_back(c);
  }
  out->push_back('"');
}

void AppendHexNumber(std::uint32_t value, std::size_t min_digits, std::string* out) {
  char digits[8];
  std::size_t n = 0;
  do {
    digits[n++] = kHexDigits[value & 0xF];
    value >>= 4;
  } while (value != 0 && n < 8);
  while (n < min_digits) digits[n++] = '0';
  while (n > 0) out->push_back(digits[--n]);
}

void AppendHexBytes(const std::vector<BYTE>& data, std::string* out) {
  std::size_t column = out->size() - (out->rfind('\n') + 1);
  for (std::size_t i = 0; i < data.size(); ++i) {
    if (column + 3 > kHexWrapColumn) {
      out->append("\\\n  ");
      column = 2;
    }
    out->push_back(kHexDigits[data[i] >> 4]);
    out->push_back(kHexDigits[data[i] & 0xF]);
    column += 2;
    if (i + 1 < data.size()) {
      out->push_back(',');
      ++column;
    }
  }
}

void AppendValue(const RegValue& value, std::string* out) {
  if (value.name.empty()) {
    out->push_back('@');
  } else {
    AppendQuoted(Utf16ToUtf8(value.name), out);
  }
  out->push_back('=');
  if (value.type == REG_SZ && IsPlainStringData(value.data)) {
    std::u16string text = BytesToWide(value.data.data(), value.data.size());
    text.pop_back();  // the terminator
    AppendQuoted(Utf16ToUtf8(text), out);
  } else if (value.type == REG_DWORD && value.data.size() == 4) {
    const auto& d = value.data;
    out->append("dword:");
    AppendHexNumber(static_cast<std::uint32_t>(d[0]) | (static_cast<std::uint32_t>(d[1]) << 8) |
                        (static_cast<std::uint32_t>(d[2]) << 16) |
                        (static_cast<std::uint32_t>(d[3]) << 24),
                    8, out);
  } else {
    if (value.type == REG_BINARY) {
      out->append("hex:");
    } else {
      out->append("hex(");
      AppendHexNumber(value.type, 1, out);
      out->append("):");
    }
    AppendHexBytes(value.data, out);
  }
  out->push_back('\n');
}

void AppendSection(std::string_view path, const RegKey& key, std::string* out) {
  out->push_back('[');
  out->append(path);
  out->append("]\n");
  for (const auto& value : key.values()) AppendValue(value, out);
  out->push_back('\n');
}

// Depth is bounded by kMaxKeyDepth, which every key path obeys.
void AppendSubtree(const RegKey& key, std::string_view path, std::string* out) {
  for (const auto& child : key.children()) {
    std::string& section = child->SectionText();
    if (section.empty()) {
      std::string child_path(path);
      child_path.push_back('\\');
      child_path.append(Utf16ToUtf8(child->name()));
      AppendSection(child_path, *child, &section);
    }
    out->append(section);
    // The section opens with "[path]" on a line of its own (names hold no line breaks).
    const std::string_view child_path = std::string_view(section).substr(1, section.find('\n') - 2);
    AppendSubtree(*child, child_path, out);
  }
}

}  // namespace

std::string FormatRegFile(const RegistryRoots& roots) {
  std::string out(kRegFileHeader);
  out.append("\n\n");
  for (std::size_t i = 0; i < kRootCount; ++i) {
    const RegKey& root = *roots.keys[i];
    const std::string_view path = RootName(static_cast<RootKind>(i));
    if (!root.values().empty()) AppendSection(path, root, &out);
    AppendSubtree(root, path, &out);
  }
  return out;
}

}  // namespace quillbox::com::registry
