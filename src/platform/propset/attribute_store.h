// Extended attributes of one file, behind an interface so tests can stand
// in a file system that refuses them or runs out of room. Results are errno
// values (0 on success).
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/propset/set_host.h"

namespace quillbox::propset {

class AttributeStore {
 public:
  virtual ~AttributeStore() = default;
  virtual int Get(const std::string& name, std::vector<uint8_t>* value) = 0;  // ENODATA when absent
  virtual int Set(const std::string& name, std::span<const uint8_t> value) = 0;
  virtual int Remove(const std::string& name) = 0;
  virtual int List(std::vector<std::string>* names) = 0;
  // The file's times, for Stat and Enum.
  virtual void Times(FILETIME* mtime, FILETIME* ctime, FILETIME* atime) = 0;
};

// The real one: getxattr/setxattr/removexattr/listxattr on path.
std::shared_ptr<AttributeStore> MakeFileAttributeStore(std::string path);

// Attribute names: a set named "\005X" is kept in "user.propset.X", and
// when it is larger than one attribute can hold (64 KiB) it continues in
// "user.propset.X.1", "user.propset.X.2"...
inline constexpr char kAttributePrefix[] = "user.propset.";
inline constexpr size_t kAttributeChunk = 65536;

// A host over a store; writable false refuses every change.
std::unique_ptr<SetHost> MakeAttributeHost(std::shared_ptr<AttributeStore> store, bool writable);

// errno of an attribute call -> HRESULT (ENOTSUP: STG_E_INVALIDFUNCTION,
// ENOSPC/E2BIG/EDQUOT: STG_E_MEDIUMFULL, ENOENT: STG_E_FILENOTFOUND...).
HRESULT AttributeError(int error, HRESULT fallback);

}  // namespace quillbox::propset
