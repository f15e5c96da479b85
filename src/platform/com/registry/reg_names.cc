// Case folding and checks of registry names.
#include "platform/com/registry/reg_names.h"

#include "quillbox/winerror.h"

namespace quillbox::com::registry {

char16_t FoldUnit(char16_t unit) {
  const unsigned c = unit;
  if (c < 0x80) return c >= 'a' && c <= 'z' ? static_cast<char16_t>(c - 0x20) : unit;
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return static_cast<char16_t>(c - 0x20);
  if (c == 0xFF) return u'\u0178';
  // Latin Extended-A pairs: upper case first, except in the two ranges that
  // start on an odd code point.
  if ((c >= 0x100 && c <= 0x137) || (c >= 0x14A && c <= 0x177)) {
    return static_cast<char16_t>(c & ~1u);
  }
  if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) {
    return (c & 1u) ? unit : static_cast<char16_t>(c - 1);
  }
  if (c >= 0x3B1 && c <= 0x3C9) return c == 0x3C2 ? u'\u03A3' : static_cast<char16_t>(c - 0x20);
  if (c >= 0x430 && c <= 0x44F) return static_cast<char16_t>(c - 0x20);
  if (c >= 0x450 && c <= 0x45F) return static_cast<char16_t>(c - 0x50);
  if (c >= 0xFF41 && c <= 0xFF5A) return static_cast<char16_t>(c - 0x20);
  return unit;
}

std::u16string FoldName(std::u16string_view name) {
  std::u16string folded(name);
  for (auto& unit : folded) unit = FoldUnit(unit);
  return folded;
}

int CompareNames(std::u16string_view a, std::u16string_view b) {
  const std::size_t n = a.size() < b.size() ? a.size() : b.size();
  for (std::size_t i = 0; i < n; ++i) {
    const char16_t x = FoldUnit(a[i]);
    const char16_t y = FoldUnit(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  if (a.size() == b.size()) return 0;
  return a.size() < b.size() ? -1 : 1;
}

bool NamesEqual(std::u16string_view a, std::u16string_view b) {
  return a.size() == b.size() && CompareNames(a, b) == 0;
}

bool IsStorableName(std::u16string_view name) {
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char16_t c = name[i];
    if (c == u'\r' || c == u'\n') return false;
    if (c >= 0xD800 && c <= 0xDBFF) {
      if (i + 1 >= name.size() || name[i + 1] < 0xDC00 || name[i + 1] > 0xDFFF) return false;
      ++i;
    } else if (c >= 0xDC00 && c <= 0xDFFF) {
      return false;
    }
  }
  return true;
}

LSTATUS SplitKeyPath(std::u16string_view path, std::vector<std::u16string_view>* names) {
  names->clear();
  if (path.empty()) return ERROR_SUCCESS;
  if (path.back() == u'\\') path.remove_suffix(1);
  std::size_t start = 0;
  while (start <= path.size()) {  // each pass consumes one name and its separator
    std::size_t end = path.find(u'\\', start);
    if (end == std::u16string_view::npos) end = path.size();
    const std::u16string_view name = path.substr(start, end - start);
    if (name.empty()) return ERROR_BAD_PATHNAME;
    if (name.size() > kMaxKeyNameLength || !IsStorableName(name)) return ERROR_INVALID_PARAMETER;
    if (names->size() >= kMaxKeyDepth) return ERROR_INVALID_PARAMETER;
    names->push_back(name);
    start = end + 1;
  }
  return ERROR_SUCCESS;
}

}  // namespace quillbox::com::registry
