// STATSTG filling shared by storages, streams and enumerators.
#include "platform/storage/element_stat.h"

#include <cstring>

#include "quillbox/objbase.h"

namespace quillbox::storage {

FILETIME ToFileTime(uint64_t value) {
  FILETIME f;
  f.dwLowDateTime = static_cast<DWORD>(value);
  f.dwHighDateTime = static_cast<DWORD>(value >> 32);
  return f;
}

uint64_t FromFileTime(const FILETIME& value) {
  return static_cast<uint64_t>(value.dwLowDateTime) |
         (static_cast<uint64_t>(value.dwHighDateTime) << 32);
}

void FillElementStat(CompoundFile& file, uint32_t id, DWORD mode, STATSTG* out) {
  const DirEntry& e = file.entry(id);
  STATSTG s{};
  s.type = e.type == ObjectType::kStream ? STGTY_STREAM : STGTY_STORAGE;
  s.cbSize.QuadPart = e.type == ObjectType::kStream ? e.size : 0;
  s.mtime = ToFileTime(e.modified);
  s.ctime = ToFileTime(e.created);
  s.atime = ToFileTime(0);
  s.grfMode = mode;
  s.grfLocksSupported = 0;
  s.clsid = e.clsid;
  s.grfStateBits = e.state_bits;
  *out = s;
}

LPOLESTR CopyTaskName(std::u16string_view name) {
  auto* copy = static_cast<LPOLESTR>(CoTaskMemAlloc((name.size() + 1) * sizeof(OLECHAR)));
  if (!copy) return nullptr;
  std::memcpy(copy, name.data(), name.size() * sizeof(OLECHAR));
  copy[name.size()] = 0;
  return copy;
}

}  // namespace quillbox::storage
