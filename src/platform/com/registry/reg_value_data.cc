// Conversions of value data for storage and for A callers.
#include "platform/com/registry/reg_value_data.h"

#include "platform/com/registry/reg_names.h"
#include "platform/com/utf.h"

namespace quillbox::com::registry {
namespace {

bool IsTerminatedType(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ; }

void EnsureTerminator(std::u16string* text) {
  if (text->empty() || text->back() != u'\0') text->push_back(u'\0');
}

}  // namespace

bool IsStringType(DWORD type) { return IsTerminatedType(type) || type == REG_MULTI_SZ; }

std::vector<BYTE> WideToBytes(std::u16string_view text) {
  std::vector<BYTE> bytes;
  bytes.reserve(text.size() * 2);
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<BYTE>(unit & 0xFF));
    bytes.push_back(static_cast<BYTE>(unit >> 8));
  }
  return bytes;
}

std::u16string BytesToWide(const BYTE* bytes, std::size_t size) {
  std::u16string text;
  text.reserve(size / 2);
  for (std::size_t i = 0; i + 1 < size; i += 2) {
    text.push_back(static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8)));
  }
  return text;
}

bool IsPlainStringData(const std::vector<BYTE>& data) {
  if (data.size() < 2 || data.size() % 2 != 0) return false;
  std::u16string text = BytesToWide(data.data(), data.size());
  if (text.back() != u'\0') return false;
  text.pop_back();
  if (text.find(u'\0') != std::u16string::npos) return false;
  return IsStorableName(text);  // no line breaks, no unpaired surrogates
}

std::vector<BYTE> StoredFromWide(DWORD type, const BYTE* data, DWORD size) {
  if (!IsTerminatedType(type)) {
    return data == nullptr ? std::vector<BYTE>() : std::vector<BYTE>(data, data + size);
  }
  std::u16string text = data == nullptr ? std::u16string() : BytesToWide(data, size);
  EnsureTerminator(&text);
  return WideToBytes(text);
}

std::vector<BYTE> StoredFromNarrow(DWORD type, const BYTE* data, DWORD size) {
  if (!IsStringType(type)) return StoredFromWide(type, data, size);
  const std::string_view utf8 = data == nullptr
                                    ? std::string_view()
                                    : std::string_view(reinterpret_cast<const char*>(data), size);
  std::u16string text = Utf8ToUtf16(utf8);
  if (IsTerminatedType(type)) EnsureTerminator(&text);
  return WideToBytes(text);
}

std::vector<BYTE> NarrowFromStored(DWORD type, const std::vector<BYTE>& stored) {
  if (!IsStringType(type)) return stored;
  const std::string utf8 = Utf16ToUtf8(BytesToWide(stored.data(), stored.size()));
  return std::vector<BYTE>(utf8.begin(), utf8.end());
}

}  // namespace quillbox::com::registry
