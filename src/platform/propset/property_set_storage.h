// IPropertySetStorage: the property sets of a storage (elements named from
// their FMTIDs) or of a plain file (its extended attributes). The object
// holds a reference to its storage; the storage holds none back.
#pragma once

#include <memory>
#include <mutex>

#include "platform/com/com_object.h"
#include "platform/propset/set_host.h"
#include "quillbox/propidl.h"

namespace quillbox::propset {

class PropertySetStorage final : public com::ComObject<PropertySetStorage, IPropertySetStorage> {
 public:
  explicit PropertySetStorage(std::unique_ptr<SetHost> host) : host_(std::move(host)) {}

  STDMETHODIMP Create(REFFMTID rfmtid, const CLSID* pclsid, DWORD grfFlags, DWORD grfMode,
                      IPropertyStorage** ppprstg) override;
  STDMETHODIMP Open(REFFMTID rfmtid, DWORD grfMode, IPropertyStorage** ppprstg) override;
  STDMETHODIMP Delete(REFFMTID rfmtid) override;
  STDMETHODIMP Enum(IEnumSTATPROPSETSTG** ppenum) override;

 private:
  HRESULT CreateSimple(REFFMTID fmtid, const CLSID& clsid, DWORD flags, DWORD mode, IPropertyStorage** out);
  HRESULT CreateNonSimple(REFFMTID fmtid, const CLSID& clsid, DWORD flags, DWORD mode, IPropertyStorage** out);
  HRESULT DeleteUserDefined();

  std::mutex mutex_;
  std::unique_ptr<SetHost> host_;
};

// What a storage's QueryInterface(IID_IPropertySetStorage) hands out: a new
// object over storage, holding one reference to it.
HRESULT CreatePropertySetStorageFor(IStorage* storage, IPropertySetStorage** out);

// The property sets of any file, kept in its extended attributes (see
// docs/platform/propset.md). mode: STGM_READ or STGM_READWRITE (sharing
// bits are accepted and not enforced). STG_E_FILENOTFOUND for a missing
// file; STG_E_INVALIDFUNCTION where the file system keeps no user
// attributes.
HRESULT OpenFilePropertySetStorage(const char16_t* path, DWORD mode, IPropertySetStorage** out);

}  // namespace quillbox::propset
