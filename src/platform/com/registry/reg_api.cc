// The Win32 registry functions. Each is written once, as a template over the
// caller's character type: W callers use UTF-16, A callers UTF-8 (this
// platform's ANSI code page). Argument checks happen here; the work in reg_ops.
#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include "platform/com/registry/reg_ops.h"
#include "platform/com/registry/reg_value_data.h"
#include "platform/com/utf.h"
#include "quillbox/winerror.h"
#include "quillbox/winreg.h"

namespace quillbox::com::registry {
namespace {

template <typename Char>
struct CallerText;

template <>
struct CallerText<char16_t> {
  static std::u16string In(const char16_t* text) {
    return text == nullptr ? std::u16string() : std::u16string(text, WideLength(text));
  }
  static std::u16string Out(const std::u16string& name) { return name; }
  static std::vector<BYTE> Store(DWORD type, const BYTE* data, DWORD size) {
    return StoredFromWide(type, data, size);
  }
  static std::vector<BYTE> Show(DWORD, std::vector<BYTE> stored) { return stored; }
};

template <>
struct CallerText<char> {
  static std::u16string In(const char* text) {
    return text == nullptr ? std::u16string() : Utf8ToUtf16(text);
  }
  static std::string Out(const std::u16string& name) { return Utf16ToUtf8(name); }
  static std::vector<BYTE> Store(DWORD type, const BYTE* data, DWORD size) {
    return StoredFromNarrow(type, data, size);
  }
  static std::vector<BYTE> Show(DWORD type, const std::vector<BYTE>& stored) {
    return NarrowFromStored(type, stored);
  }
};

// A name into a buffer of *count characters that must also hold the
// terminator; *count becomes the length without it. Left alone if too small.
template <typename Char>
LSTATUS CopyName(const std::basic_string<Char>& name, Char* buffer, DWORD* count) {
  if (name.size() >= *count) return ERROR_MORE_DATA;
  std::copy(name.begin(), name.end(), buffer);
  buffer[name.size()] = Char{0};
  *count = static_cast<DWORD>(name.size());
  return ERROR_SUCCESS;
}

// Value data as RegQueryValueEx hands it out: a null buffer asks for the
// size; a small one gets ERROR_MORE_DATA and the size needed.
LSTATUS CopyData(const std::vector<BYTE>& data, BYTE* buffer, DWORD* size) {
  if (size == nullptr) return ERROR_SUCCESS;
  const DWORD needed = static_cast<DWORD>(data.size());
  if (buffer != nullptr && *size < needed) {
    *size = needed;
    return ERROR_MORE_DATA;
  }
  if (buffer != nullptr) std::copy(data.begin(), data.end(), buffer);
  *size = needed;
  return ERROR_SUCCESS;
}

// No exception leaves a Win32 function: memory running out becomes a code.
template <class Body>
LSTATUS Guarded(Body&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  } catch (...) {
    return ERROR_INVALID_FUNCTION;
  }
}

template <typename Char>
LSTATUS CreateKeyEx(HKEY key, const Char* sub_key, REGSAM access, PHKEY result,
                    LPDWORD disposition) {
  if (sub_key == nullptr || result == nullptr) return ERROR_INVALID_PARAMETER;
  return CreateKey(key, CallerText<Char>::In(sub_key), access, result, disposition);
}

template <typename Char>
LSTATUS OpenKeyEx(HKEY key, const Char* sub_key, REGSAM access, PHKEY result) {
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  return OpenKey(key, CallerText<Char>::In(sub_key), access, result);
}

template <typename Char>
LSTATUS SetValueEx(HKEY key, const Char* name, DWORD type, const BYTE* data, DWORD size) {
  if (data == nullptr && size != 0) return ERROR_INVALID_PARAMETER;
  return SetValue(key, CallerText<Char>::In(name), type, CallerText<Char>::Store(type, data, size));
}

template <typename Char>
LSTATUS QueryValueEx(HKEY key, const Char* name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                     LPDWORD size) {
  if (reserved != nullptr || (data != nullptr && size == nullptr)) return ERROR_INVALID_PARAMETER;
  DWORD stored_type = REG_NONE;
  std::vector<BYTE> stored;
  const LSTATUS status = QueryValue(key, CallerText<Char>::In(name), &stored_type, &stored);
  if (status != ERROR_SUCCESS) return status;
  if (type != nullptr) *type = stored_type;
  return CopyData(CallerText<Char>::Show(stored_type, std::move(stored)), data, size);
}

template <typename Char>
LSTATUS EnumKeyEx(HKEY key, DWORD index, Char* name, LPDWORD name_count, LPDWORD reserved,
                  Char* class_name, LPDWORD class_count, PFILETIME last_write) {
  if (name == nullptr || name_count == nullptr || reserved != nullptr ||
      (class_name != nullptr && class_count == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  std::u16string found;
  FILETIME time{};
  LSTATUS status = EnumKey(key, index, &found, &time);
  if (status != ERROR_SUCCESS) return status;
  status = CopyName(CallerText<Char>::Out(found), name, name_count);
  if (status != ERROR_SUCCESS) return status;
  // Keys have no class here: an empty one.
  if (class_name != nullptr && *class_count > 0) class_name[0] = Char{0};
  if (class_count != nullptr) *class_count = 0;
  if (last_write != nullptr) *last_write = time;
  return ERROR_SUCCESS;
}

template <typename Char>
LSTATUS EnumValueEx(HKEY key, DWORD index, Char* name, LPDWORD name_count, LPDWORD reserved,
                    LPDWORD type, LPBYTE data, LPDWORD size) {
  if (name == nullptr || name_count == nullptr || reserved != nullptr ||
      (data != nullptr && size == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  RegValue value;
  LSTATUS status = EnumValue(key, index, &value);
  if (status != ERROR_SUCCESS) return status;
  status = CopyName(CallerText<Char>::Out(value.name), name, name_count);
  if (status != ERROR_SUCCESS) return status;
  if (type != nullptr) *type = value.type;
  return CopyData(CallerText<Char>::Show(value.type, std::move(value.data)), data, size);
}

template <typename Char>
LSTATUS DeleteValueOf(HKEY key, const Char* name) {
  return DeleteValue(key, CallerText<Char>::In(name));
}

template <typename Char>
LSTATUS DeleteKeyOf(HKEY key, const Char* sub_key) {
  if (sub_key == nullptr) return ERROR_INVALID_PARAMETER;
  return DeleteKey(key, CallerText<Char>::In(sub_key));
}

// A null or empty subkey empties `key` and keeps it, as on Windows.
template <typename Char>
LSTATUS DeleteTreeOf(HKEY key, const Char* sub_key) {
  return DeleteTree(key, CallerText<Char>::In(sub_key));
}

}  // namespace
}  // namespace quillbox::com::registry

namespace reg = quillbox::com::registry;

LSTATUS RegCreateKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD, LPSTR, DWORD, REGSAM samDesired,
                        const LPSECURITY_ATTRIBUTES, PHKEY phkResult, LPDWORD lpdwDisposition) {
  return reg::Guarded(
      [&] { return reg::CreateKeyEx(hKey, lpSubKey, samDesired, phkResult, lpdwDisposition); });
}

LSTATUS RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD, LPWSTR, DWORD, REGSAM samDesired,
                        const LPSECURITY_ATTRIBUTES, PHKEY phkResult, LPDWORD lpdwDisposition) {
  return reg::Guarded(
      [&] { return reg::CreateKeyEx(hKey, lpSubKey, samDesired, phkResult, lpdwDisposition); });
}

LSTATUS RegOpenKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD, REGSAM samDesired, PHKEY phkResult) {
  return reg::Guarded([&] { return reg::OpenKeyEx(hKey, lpSubKey, samDesired, phkResult); });
}

LSTATUS RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD, REGSAM samDesired, PHKEY phkResult) {
  return reg::Guarded([&] { return reg::OpenKeyEx(hKey, lpSubKey, samDesired, phkResult); });
}

LSTATUS RegSetValueExA(HKEY hKey, LPCSTR lpValueName, DWORD, DWORD dwType, const BYTE* lpData,
                       DWORD cbData) {
  return reg::Guarded([&] { return reg::SetValueEx(hKey, lpValueName, dwType, lpData, cbData); });
}

LSTATUS RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD, DWORD dwType, const BYTE* lpData,
                       DWORD cbData) {
  return reg::Guarded([&] { return reg::SetValueEx(hKey, lpValueName, dwType, lpData, cbData); });
}

LSTATUS RegQueryValueExA(HKEY hKey, LPCSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType,
                         LPBYTE lpData, LPDWORD lpcbData) {
  return reg::Guarded(
      [&] { return reg::QueryValueEx(hKey, lpValueName, lpReserved, lpType, lpData, lpcbData); });
}

LSTATUS RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType,
                         LPBYTE lpData, LPDWORD lpcbData) {
  return reg::Guarded(
      [&] { return reg::QueryValueEx(hKey, lpValueName, lpReserved, lpType, lpData, lpcbData); });
}

LSTATUS RegDeleteValueA(HKEY hKey, LPCSTR lpValueName) {
  return reg::Guarded([&] { return reg::DeleteValueOf(hKey, lpValueName); });
}

LSTATUS RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName) {
  return reg::Guarded([&] { return reg::DeleteValueOf(hKey, lpValueName); });
}

LSTATUS RegDeleteKeyA(HKEY hKey, LPCSTR lpSubKey) {
  return reg::Guarded([&] { return reg::DeleteKeyOf(hKey, lpSubKey); });
}

LSTATUS RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey) {
  return reg::Guarded([&] { return reg::DeleteKeyOf(hKey, lpSubKey); });
}

LSTATUS RegDeleteTreeA(HKEY hKey, LPCSTR lpSubKey) {
  return reg::Guarded([&] { return reg::DeleteTreeOf(hKey, lpSubKey); });
}

LSTATUS RegDeleteTreeW(HKEY hKey, LPCWSTR lpSubKey) {
  return reg::Guarded([&] { return reg::DeleteTreeOf(hKey, lpSubKey); });
}

LSTATUS RegEnumKeyExA(HKEY hKey, DWORD dwIndex, LPSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                      LPSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime) {
  return reg::Guarded([&] {
    return reg::EnumKeyEx(hKey, dwIndex, lpName, lpcchName, lpReserved, lpClass, lpcchClass,
                          lpftLastWriteTime);
  });
}

LSTATUS RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName,
                      LPDWORD lpReserved, LPWSTR lpClass, LPDWORD lpcchClass,
                      PFILETIME lpftLastWriteTime) {
  return reg::Guarded([&] {
    return reg::EnumKeyEx(hKey, dwIndex, lpName, lpcchName, lpReserved, lpClass, lpcchClass,
                          lpftLastWriteTime);
  });
}

LSTATUS RegEnumValueA(HKEY hKey, DWORD dwIndex, LPSTR lpValueName, LPDWORD lpcchValueName,
                      LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) {
  return reg::Guarded([&] {
    return reg::EnumValueEx(hKey, dwIndex, lpValueName, lpcchValueName, lpReserved, lpType, lpData,
                            lpcbData);
  });
}

LSTATUS RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName,
                      LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) {
  return reg::Guarded([&] {
    return reg::EnumValueEx(hKey, dwIndex, lpValueName, lpcchValueName, lpReserved, lpType, lpData,
                            lpcbData);
  });
}

LSTATUS RegCloseKey(HKEY hKey) {
  return reg::Guarded([&] { return reg::CloseKey(hKey); });
}
