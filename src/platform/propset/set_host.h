// Where property sets live, seen from IPropertySetStorage: the elements of
// a storage, or the extended attributes of a plain file. A SetMedium holds
// one set's bytes; a SetHost finds, makes, removes and lists them.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "quillbox/com_ptr.h"
#include "quillbox/propidl.h"

namespace quillbox::propset {

class SetMedium {
 public:
  virtual ~SetMedium() = default;
  virtual HRESULT Read(std::vector<uint8_t>* bytes) = 0;
  // Replaces the whole set; direct: the bytes are in place when it returns.
  virtual HRESULT Write(std::span<const uint8_t> bytes) = 0;
  virtual void Times(FILETIME* mtime, FILETIME* ctime, FILETIME* atime) = 0;
};

struct HostElement {
  std::u16string name;
  bool is_storage = false;
  FILETIME mtime{}, ctime{}, atime{};
};

class SetHost {
 public:
  virtual ~SetHost() = default;
  // STG_E_FILENOTFOUND when there is no such simple set.
  virtual HRESULT OpenSimple(const std::u16string& name, DWORD mode, std::unique_ptr<SetMedium>* medium) = 0;
  // Makes an empty one; STGM_CREATE in mode replaces whatever has the name.
  virtual HRESULT CreateSimple(const std::u16string& name, DWORD mode, std::unique_ptr<SetMedium>* medium) = 0;
  // Non-simple sets: a storage per set (hosts without storages answer
  // STG_E_INVALIDFLAG to Create and STG_E_FILENOTFOUND to Open).
  virtual HRESULT OpenNonSimple(const std::u16string& name, DWORD mode, ComPtr<IStorage>* storage) = 0;
  virtual HRESULT CreateNonSimple(const std::u16string& name, DWORD mode, ComPtr<IStorage>* storage) = 0;
  virtual HRESULT Remove(const std::u16string& name) = 0;
  virtual HRESULT List(std::vector<HostElement>* elements) = 0;
  // What a property storage holds on to so its container stays usable.
  virtual IUnknown* Container() = 0;
  // False when every open is read-only (a file opened for reading).
  virtual bool Writable() const = 0;
};

// A medium over a stream (simple sets, and the CONTENTS of non-simple ones).
std::unique_ptr<SetMedium> MakeStreamMedium(ComPtr<IStream> stream);

// A host over a storage's elements; holds a reference to the storage.
std::unique_ptr<SetHost> MakeStorageHost(IStorage* storage);

}  // namespace quillbox::propset
