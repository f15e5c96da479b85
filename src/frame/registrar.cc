// Runs a parsed registry script against the registry.
#include "frame/registrar.h"

#include "frame/registrar_parse.h"
#include "quillbox/winreg.h"

namespace quillbox::frame {
namespace {

class OpenKey {
 public:
  OpenKey() = default;
  ~OpenKey() {
    if (key_) RegCloseKey(key_);
  }
  OpenKey(const OpenKey&) = delete;
  OpenKey& operator=(const OpenKey&) = delete;
  HKEY* put() { return &key_; }
  HKEY get() const { return key_; }

 private:
  HKEY key_ = nullptr;
};

LPCWSTR W(const std::u16string& s) { return s.c_str(); }

LSTATUS SetValue(HKEY key, const ScriptValue& v) {
  const LPCWSTR name = v.name.empty() ? nullptr : W(v.name);
  if (v.is_dword) {
    return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&v.number), sizeof v.number);
  }
  return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(v.text.c_str()),
                        static_cast<DWORD>((v.text.size() + 1) * sizeof(char16_t)));
}

LSTATUS RegisterKey(HKEY parent, const ScriptKey& key) {
  using Marker = ScriptKey::Marker;
  if (key.marker == Marker::kDelete) {
    const LSTATUS s = RegDeleteTreeW(parent, W(key.name));
    return s == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : s;
  }
  if (key.marker == Marker::kForceRemove) {
    const LSTATUS s = RegDeleteTreeW(parent, W(key.name));
    if (s != ERROR_SUCCESS && s != ERROR_FILE_NOT_FOUND) return s;
  }
  OpenKey k;
  LSTATUS s = RegCreateKeyExW(parent, W(key.name), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, k.put(), nullptr);
  if (s != ERROR_SUCCESS) return s;
  if (key.default_value && (s = SetValue(k.get(), *key.default_value)) != ERROR_SUCCESS) return s;
  for (const ScriptValue& v : key.values) {
    if ((s = SetValue(k.get(), v)) != ERROR_SUCCESS) return s;
  }
  for (const ScriptKey& child : key.children) {
    if ((s = RegisterKey(k.get(), child)) != ERROR_SUCCESS) return s;
  }
  return ERROR_SUCCESS;
}

bool HasSubkeys(HKEY key) {
  WCHAR name[256];
  DWORD size = 256;
  return RegEnumKeyExW(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr) != ERROR_NO_MORE_ITEMS;
}

LSTATUS RemoveKey(HKEY parent, const ScriptKey& key) {
  using Marker = ScriptKey::Marker;
  if (key.marker == Marker::kDelete) return ERROR_SUCCESS;
  if (key.marker == Marker::kForceRemove) {
    const LSTATUS s = RegDeleteTreeW(parent, W(key.name));
    return s == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : s;
  }
  bool empty = false;
  {
    OpenKey k;
    LSTATUS s = RegOpenKeyExW(parent, W(key.name), 0, KEY_ALL_ACCESS, k.put());
    if (s == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;  // nothing to remove
    if (s != ERROR_SUCCESS) return s;
    for (const ScriptKey& child : key.children) {
      if ((s = RemoveKey(k.get(), child)) != ERROR_SUCCESS) return s;
    }
    for (const ScriptValue& v : key.values) {
      s = RegDeleteValueW(k.get(), v.name.empty() ? nullptr : W(v.name));
      if (s != ERROR_SUCCESS && s != ERROR_FILE_NOT_FOUND) return s;
    }
    empty = !HasSubkeys(k.get());
  }
  if (key.marker == Marker::kNoRemove || !empty) return ERROR_SUCCESS;
  return RegDeleteTreeW(parent, W(key.name));
}

}  // namespace

HRESULT RunRegistryScript(const char16_t* script, RegistrarMode mode, const Replacements& replacements) {
  const auto roots = ParseRegistryScript(script, replacements);
  if (!roots) return DISP_E_EXCEPTION;
  for (const ScriptRoot& root : *roots) {
    for (const ScriptKey& key : root.keys) {
      const LSTATUS s = mode == RegistrarMode::kRegister ? RegisterKey(root.root, key) : RemoveKey(root.root, key);
      if (s != ERROR_SUCCESS) return HRESULT_FROM_WIN32(static_cast<unsigned long>(s));
    }
  }
  return S_OK;
}

}  // namespace quillbox::frame
