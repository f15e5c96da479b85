// IPropertySetStorage: Create, Open, Delete and Enum over a SetHost, with
// the user-defined set kept as the second section of the document summary
// stream.
#include "platform/propset/property_set_storage.h"

#include "platform/com/exception_guard.h"
#include "platform/propset/fmtid_name.h"
#include "platform/propset/property_storage.h"
#include "platform/propset/set_image.h"
#include "platform/propset/set_text.h"
#include "quillbox/winnls.h"

namespace quillbox::propset {

namespace {

using Lock = std::lock_guard<std::mutex>;

constexpr DWORD kAccessMask = 3;
constexpr DWORD kShareMask = 0x70;
constexpr DWORD kKnownFlags =
    PROPSETFLAG_NONSIMPLE | PROPSETFLAG_ANSI | PROPSETFLAG_UNBUFFERED | PROPSETFLAG_CASE_SENSITIVE;
constexpr char16_t kContents[] = u"CONTENTS";
constexpr DWORD kReadExclusive = STGM_READ | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kWriteExclusive = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

bool IsUserDefined(const FMTID& fmtid) { return IsEqualGUID(fmtid, FMTID_UserDefinedProperties); }
bool SharesDocSummary(const FMTID& fmtid) {
  return IsUserDefined(fmtid) || IsEqualGUID(fmtid, FMTID_DocSummaryInformation);
}

// Property sets are opened exclusively; direct or (non-simple) transacted.
HRESULT CheckSetMode(DWORD mode, bool creating) {
  const DWORD access = mode & kAccessMask;
  if (access == 3 || (mode & kShareMask) != STGM_SHARE_EXCLUSIVE) return STG_E_INVALIDFLAG;
  if (creating && access == STGM_READ) return STG_E_INVALIDFLAG;
  const DWORD allowed = kAccessMask | kShareMask | STGM_TRANSACTED | (creating ? STGM_CREATE : 0);
  return (mode & ~allowed) ? STG_E_INVALIDFLAG : S_OK;
}

HRESULT ReadImage(SetMedium& medium, SetImage* image) {
  std::vector<uint8_t> bytes;
  HRESULT hr = medium.Read(&bytes);
  return FAILED(hr) ? hr : ParseSetImage(bytes, image);
}

HRESULT WriteImage(SetMedium& medium, const SetImage& image) {
  std::vector<uint8_t> bytes;
  HRESULT hr = SerializeSetImage(image, &bytes);
  return FAILED(hr) ? hr : medium.Write(bytes);
}

// The index of fmtid's section: the user-defined set by its FMTID, any
// other set is its stream's first section (whatever FMTID it carries).
bool FindSection(const SetImage& image, const FMTID& fmtid, size_t* index) {
  if (!IsUserDefined(fmtid)) {
    *index = 0;
    return !image.sections.empty() && !IsUserDefined(image.sections[0].fmtid);
  }
  for (size_t i = 1; i < image.sections.size(); ++i) {
    if (IsUserDefined(image.sections[i].fmtid)) {
      *index = i;
      return true;
    }
  }
  return false;
}

HRESULT HandOut(PropertyStorage::Setup setup, IPropertyStorage** out) {
  ComPtr<PropertyStorage> storage = com::MakeObject<PropertyStorage>(std::move(setup));
  if (!storage) return E_OUTOFMEMORY;
  *out = storage.detach();
  return S_OK;
}

}  // namespace

STDMETHODIMP PropertySetStorage::Create(REFFMTID rfmtid, const CLSID* pclsid, DWORD grfFlags, DWORD grfMode,
                                        IPropertyStorage** ppprstg) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!ppprstg) return STG_E_INVALIDPOINTER;
    *ppprstg = nullptr;
    if (grfFlags & ~kKnownFlags) return STG_E_INVALIDFLAG;
    HRESULT hr = CheckSetMode(grfMode, true);
    if (FAILED(hr)) return hr;
    const bool non_simple = grfFlags & PROPSETFLAG_NONSIMPLE;
    if (!non_simple && (grfMode & STGM_TRANSACTED)) return STG_E_INVALIDFLAG;
    if (non_simple && SharesDocSummary(rfmtid)) return STG_E_INVALIDPARAMETER;
    if (!host_->Writable()) return STG_E_ACCESSDENIED;
    const CLSID clsid = pclsid ? *pclsid : CLSID_NULL;
    Lock lock(mutex_);
    return non_simple ? CreateNonSimple(rfmtid, clsid, grfFlags, grfMode, ppprstg)
                      : CreateSimple(rfmtid, clsid, grfFlags, grfMode, ppprstg);
  });
}

HRESULT PropertySetStorage::CreateSimple(REFFMTID fmtid, const CLSID& clsid, DWORD flags, DWORD mode,
                                         IPropertyStorage** out) {
  const uint32_t code_page = (flags & PROPSETFLAG_ANSI) ? GetACP() : kCodePageUnicode;
  const bool case_sensitive = flags & PROPSETFLAG_CASE_SENSITIVE;
  const std::u16string name = SetElementName(fmtid);
  PropertyStorage::Setup setup;
  setup.writable = true;
  setup.container = ComPtr<IUnknown>(host_->Container());
  SetImage& image = setup.image;
  image.clsid = clsid;
  Section section = MakeSection(fmtid, code_page, case_sensitive);
  HRESULT hr = S_OK;
  if (SharesDocSummary(fmtid)) {
    // The document summary stream may hold the other of its two sets: keep it.
    hr = host_->OpenSimple(name, kWriteExclusive, &setup.medium);
    if (SUCCEEDED(hr)) {
      SetImage existing;
      if (SUCCEEDED(ReadImage(*setup.medium, &existing))) {
        size_t index = 0;
        if (FindSection(existing, fmtid, &index) && !(mode & STGM_CREATE)) return STG_E_FILEALREADYEXISTS;
        image = std::move(existing);
      } else if (!(mode & STGM_CREATE)) {
        return STG_E_FILEALREADYEXISTS;  // something is there, and it is not ours to replace
      }
    } else if (hr == STG_E_FILENOTFOUND) {
      if (FAILED(hr = host_->CreateSimple(name, kWriteExclusive | (mode & STGM_CREATE), &setup.medium))) return hr;
    } else {
      return hr;
    }
    size_t index = 0;
    if (IsUserDefined(fmtid)) {
      if (image.sections.empty() || IsUserDefined(image.sections[0].fmtid)) {
        image.sections.insert(image.sections.begin(), MakeSection(FMTID_DocSummaryInformation, code_page, false));
      }
      if (FindSection(image, fmtid, &index)) {
        image.sections[index] = std::move(section);
      } else {
        image.sections.push_back(std::move(section));
        index = image.sections.size() - 1;
      }
    } else {
      if (FindSection(image, fmtid, &index)) {
        image.sections[0] = std::move(section);
      } else {
        image.sections.insert(image.sections.begin(), std::move(section));
      }
      image.clsid = clsid;
    }
    setup.section = index;
  } else {
    if (FAILED(hr = host_->CreateSimple(name, kWriteExclusive | (mode & STGM_CREATE), &setup.medium))) return hr;
    image.sections.push_back(std::move(section));
  }
  if (case_sensitive) image.version = 1;
  if (FAILED(hr = WriteImage(*setup.medium, image))) return hr;
  return HandOut(std::move(setup), out);
}

HRESULT PropertySetStorage::CreateNonSimple(REFFMTID fmtid, const CLSID& clsid, DWORD flags, DWORD mode,
                                            IPropertyStorage** out) {
  const uint32_t code_page = (flags & PROPSETFLAG_ANSI) ? GetACP() : kCodePageUnicode;
  const bool case_sensitive = flags & PROPSETFLAG_CASE_SENSITIVE;
  PropertyStorage::Setup setup;
  setup.writable = true;
  setup.container = ComPtr<IUnknown>(host_->Container());
  HRESULT hr = host_->CreateNonSimple(SetElementName(fmtid), mode, &setup.set_storage);
  if (FAILED(hr)) return hr;
  ComPtr<IStream> contents;
  if (FAILED(hr = setup.set_storage->CreateStream(kContents, STGM_CREATE | kWriteExclusive, 0, 0, contents.put()))) {
    return hr;
  }
  setup.medium = MakeStreamMedium(std::move(contents));
  setup.image.clsid = clsid;
  setup.image.version = case_sensitive ? 1 : 0;
  setup.image.sections.push_back(MakeSection(fmtid, code_page, case_sensitive));
  if (FAILED(hr = WriteImage(*setup.medium, setup.image))) return hr;
  if (FAILED(hr = setup.set_storage->SetClass(clsid))) return hr;
  return HandOut(std::move(setup), out);
}

STDMETHODIMP PropertySetStorage::Open(REFFMTID rfmtid, DWORD grfMode, IPropertyStorage** ppprstg) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!ppprstg) return STG_E_INVALIDPOINTER;
    *ppprstg = nullptr;
    HRESULT hr = CheckSetMode(grfMode, false);
    if (FAILED(hr)) return hr;
    const bool writing = (grfMode & kAccessMask) != STGM_READ;
    if (writing && !host_->Writable()) return STG_E_ACCESSDENIED;
    Lock lock(mutex_);
    const std::u16string name = SetElementName(rfmtid);
    PropertyStorage::Setup setup;
    setup.writable = writing;
    setup.container = ComPtr<IUnknown>(host_->Container());
    const DWORD element_mode = grfMode & ~STGM_TRANSACTED;
    hr = host_->OpenSimple(name, element_mode, &setup.medium);
    if (hr == STG_E_FILENOTFOUND && !SharesDocSummary(rfmtid)) {
      if (FAILED(hr = host_->OpenNonSimple(name, grfMode, &setup.set_storage))) return hr;
      ComPtr<IStream> contents;
      if (FAILED(hr = setup.set_storage->OpenStream(kContents, nullptr, element_mode, 0, contents.put()))) {
        return hr == STG_E_FILENOTFOUND ? STG_E_INVALIDHEADER : hr;
      }
      setup.medium = MakeStreamMedium(std::move(contents));
    }
    if (FAILED(hr)) return hr;
    if (FAILED(hr = ReadImage(*setup.medium, &setup.image))) return hr;
    if (!FindSection(setup.image, rfmtid, &setup.section)) {
      return IsUserDefined(rfmtid) ? STG_E_FILENOTFOUND : STG_E_INVALIDHEADER;
    }
    return HandOut(std::move(setup), ppprstg);
  });
}

HRESULT PropertySetStorage::DeleteUserDefined() {
  std::unique_ptr<SetMedium> medium;
  HRESULT hr = host_->OpenSimple(kDocSummaryName, kWriteExclusive, &medium);
  if (FAILED(hr)) return hr;
  SetImage image;
  if (FAILED(hr = ReadImage(*medium, &image))) return hr;
  size_t index = 0;
  if (!FindSection(image, FMTID_UserDefinedProperties, &index)) return STG_E_FILENOTFOUND;
  image.sections.erase(image.sections.begin() + static_cast<std::ptrdiff_t>(index));
  return WriteImage(*medium, image);
}

STDMETHODIMP PropertySetStorage::Delete(REFFMTID rfmtid) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!host_->Writable()) return STG_E_ACCESSDENIED;
    Lock lock(mutex_);
    if (IsUserDefined(rfmtid)) return DeleteUserDefined();
    return host_->Remove(SetElementName(rfmtid));
  });
}

STDMETHODIMP PropertySetStorage::Enum(IEnumSTATPROPSETSTG** ppenum) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!ppenum) return STG_E_INVALIDPOINTER;
    *ppenum = nullptr;
    Lock lock(mutex_);
    std::vector<HostElement> elements;
    HRESULT hr = host_->List(&elements);
    if (FAILED(hr)) return hr;
    std::vector<STATPROPSETSTG> entries;
    for (const HostElement& element : elements) {
      STATPROPSETSTG stat{};
      if (!FmtIdFromElementName(element.name, &stat.fmtid)) continue;
      stat.mtime = element.mtime;
      stat.ctime = element.ctime;
      stat.atime = element.atime;
      stat.dwOSVersion = PROPSETHDR_OSVERSION_UNKNOWN;
      // The class and the flags come from the set's header; a set open
      // elsewhere (or damaged) is listed with what its element tells.
      std::unique_ptr<SetMedium> medium;
      ComPtr<IStorage> set_storage;
      ComPtr<IStream> contents;
      if (element.is_storage) {
        stat.grfFlags |= PROPSETFLAG_NONSIMPLE;
        if (SUCCEEDED(host_->OpenNonSimple(element.name, kReadExclusive, &set_storage)) &&
            SUCCEEDED(set_storage->OpenStream(kContents, nullptr, kReadExclusive, 0, contents.put()))) {
          medium = MakeStreamMedium(std::move(contents));
        }
      } else {
        host_->OpenSimple(element.name, kReadExclusive, &medium);
      }
      SetImage image;
      if (medium && SUCCEEDED(ReadImage(*medium, &image)) && !image.sections.empty()) {
        stat.clsid = image.clsid;
        stat.dwOSVersion = image.system_identifier;
        if (image.sections[0].CodePage() != kCodePageUnicode) stat.grfFlags |= PROPSETFLAG_ANSI;
        if (image.sections[0].CaseSensitive()) stat.grfFlags |= PROPSETFLAG_CASE_SENSITIVE;
      }
      entries.push_back(stat);
    }
    ComPtr<IEnumSTATPROPSETSTG> listing = MakeSetEnum(std::move(entries));
    if (!listing) return E_OUTOFMEMORY;
    *ppenum = listing.detach();
    return S_OK;
  });
}

HRESULT CreatePropertySetStorageFor(IStorage* storage, IPropertySetStorage** out) {
  if (!out) return STG_E_INVALIDPOINTER;
  *out = nullptr;
  if (!storage) return STG_E_INVALIDPOINTER;
  return com::GuardedCall([&]() -> HRESULT {
    ComPtr<PropertySetStorage> sets = com::MakeObject<PropertySetStorage>(MakeStorageHost(storage));
    if (!sets) return E_OUTOFMEMORY;
    *out = sets.detach();
    return S_OK;
  });
}

}  // namespace quillbox::propset

WINOLEAPI StgCreatePropSetStg(IStorage* pStorage, DWORD dwReserved, IPropertySetStorage** ppPropSetStg) {
  if (!ppPropSetStg) return STG_E_INVALIDPOINTER;
  *ppPropSetStg = nullptr;
  if (dwReserved != 0) return STG_E_INVALIDPARAMETER;
  return quillbox::propset::CreatePropertySetStorageFor(pStorage, ppPropSetStg);
}
