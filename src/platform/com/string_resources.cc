// String resources by module instance.
#include "platform/com/string_resources.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <mutex>

#include "quillbox/winnls.h"
#include "quillbox/winuser.h"

namespace quillbox::com {
namespace {

struct Tables {
  std::mutex mutex;
  std::map<HINSTANCE, const StringTable*> by_instance;
};

Tables& AllTables() {
  static Tables tables;
  return tables;
}

const std::string* FindString(HINSTANCE instance, UINT id) {
  Tables& t = AllTables();
  std::lock_guard lock(t.mutex);
  auto table = t.by_instance.find(instance);
  if (table == t.by_instance.end()) return nullptr;
  auto text = table->second->find(id);
  return text == table->second->end() ? nullptr : &text->second;
}

}  // namespace

void RegisterStringTable(HINSTANCE instance, const StringTable* table) {
  Tables& t = AllTables();
  std::lock_guard lock(t.mutex);
  t.by_instance[instance] = table;
}

HINSTANCE ThisModuleInstance() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&ThisModuleInstance), &info) == 0) return nullptr;
  return static_cast<HINSTANCE>(info.dli_fbase);
}

}  // namespace quillbox::com

int LoadStringA(HINSTANCE hInstance, UINT uID, LPSTR lpBuffer, int cchBufferMax) {
  if (!lpBuffer || cchBufferMax <= 0) return 0;
  const std::string* text = quillbox::com::FindString(hInstance, uID);
  if (!text) {
    lpBuffer[0] = '\0';
    return 0;
  }
  const std::size_t n = std::min<std::size_t>(text->size(), static_cast<std::size_t>(cchBufferMax - 1));
  std::memcpy(lpBuffer, text->data(), n);
  lpBuffer[n] = '\0';
  return static_cast<int>(n);
}

int LoadStringW(HINSTANCE hInstance, UINT uID, LPWSTR lpBuffer, int cchBufferMax) {
  if (!lpBuffer || cchBufferMax <= 0) return 0;
  const std::string* text = quillbox::com::FindString(hInstance, uID);
  if (!text || text->empty()) {
    lpBuffer[0] = u'\0';
    return 0;
  }
  int n = MultiByteToWideChar(CP_ACP, 0, text->data(), static_cast<int>(text->size()), lpBuffer,
                              cchBufferMax - 1);
  if (n == 0) {
    // The buffer is short: convert whole, then keep what fits.
    const int need = MultiByteToWideChar(CP_ACP, 0, text->data(), static_cast<int>(text->size()), nullptr, 0);
    std::u16string whole(static_cast<std::size_t>(need), u'\0');
    MultiByteToWideChar(CP_ACP, 0, text->data(), static_cast<int>(text->size()), whole.data(), need);
    n = std::min(need, cchBufferMax - 1);
    std::memcpy(lpBuffer, whole.data(), static_cast<std::size_t>(n) * sizeof(WCHAR));
  }
  lpBuffer[n] = u'\0';
  return n;
}
