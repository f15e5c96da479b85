// Whole-path registry access for the library, on top of the handle operations.
#include "platform/com/registry/registry.h"

#include "platform/com/registry/reg_ops.h"
#include "platform/com/registry/reg_value_data.h"
#include "quillbox/winerror.h"

namespace quillbox::com::registry {
namespace {

// Closes the handle it holds when it goes out of scope.
class OpenedKey {
 public:
  OpenedKey() = default;
  OpenedKey(const OpenedKey&) = delete;
  OpenedKey& operator=(const OpenedKey&) = delete;
  ~OpenedKey() {
    if (key_ != nullptr) CloseKey(key_);
  }
  HKEY* Receive() { return &key_; }
  HKEY get() const { return key_; }

 private:
  HKEY key_ = nullptr;
};

}  // namespace

std::optional<std::u16string> ReadRegistryString(HKEY root, std::u16string_view path,
                                                 std::u16string_view value_name) {
  OpenedKey key;
  if (OpenKey(root, path, KEY_QUERY_VALUE, key.Receive()) != ERROR_SUCCESS) return std::nullopt;
  DWORD type = REG_NONE;
  std::vector<BYTE> data;
  if (QueryValue(key.get(), value_name, &type, &data) != ERROR_SUCCESS) return std::nullopt;
  if (type != REG_SZ && type != REG_EXPAND_SZ) return std::nullopt;
  std::u16string text = BytesToWide(data.data(), data.size());
  while (!text.empty() && text.back() == u'\0') text.pop_back();
  return text;
}

LSTATUS WriteRegistryString(HKEY root, std::u16string_view path, std::u16string_view value_name,
                            std::u16string_view text) {
  OpenedKey key;
  const LSTATUS status = CreateKey(root, path, KEY_ALL_ACCESS, key.Receive(), nullptr);
  if (status != ERROR_SUCCESS) return status;
  std::u16string terminated(text);
  terminated.push_back(u'\0');
  return SetValue(key.get(), value_name, REG_SZ, WideToBytes(terminated));
}

std::vector<std::u16string> ListRegistrySubkeys(HKEY root, std::u16string_view path) {
  std::vector<std::u16string> names;
  OpenedKey key;
  if (OpenKey(root, path, KEY_READ, key.Receive()) != ERROR_SUCCESS) return names;
  std::u16string name;
  FILETIME time;
  // Ends at ERROR_NO_MORE_ITEMS, or at any failure of the file meanwhile.
  for (DWORD index = 0; EnumKey(key.get(), index, &name, &time) == ERROR_SUCCESS; ++index) {
    names.push_back(name);
  }
  return names;
}

LSTATUS DeleteRegistryTree(HKEY root, std::u16string_view path) {
  if (path.empty()) return ERROR_INVALID_PARAMETER;
  return DeleteTree(root, path);
}

std::string RegistryDiagnostic() { return RegistryParseError(); }

std::string RegistryFilePath() { return RegistryPathNow(); }

}  // namespace quillbox::com::registry
