// IPropertyStorage: the dictionary's names, and the set as a whole
// (enumeration, class, times, Stat, Commit and Revert).
#include <cstring>

#include "platform/com/exception_guard.h"
#include "platform/propset/property_storage.h"
#include "platform/propset/set_text.h"
#include "quillbox/objbase.h"

namespace quillbox::propset {

namespace {

using Lock = std::lock_guard<std::mutex>;

LPOLESTR TaskString(const std::u16string& text) {
  auto* copy = static_cast<LPOLESTR>(CoTaskMemAlloc((text.size() + 1) * sizeof(char16_t)));
  if (!copy) throw std::bad_alloc();
  std::memcpy(copy, text.c_str(), (text.size() + 1) * sizeof(char16_t));
  return copy;
}

bool IsNameableId(PROPID id) { return id != PID_DICTIONARY && id != PID_CODEPAGE && id < PID_MIN_READONLY; }

}  // namespace

STDMETHODIMP PropertyStorage::ReadPropertyNames(ULONG cpropid, const PROPID rgpropid[], LPOLESTR rglpwstrName[]) {
  return com::GuardedCall([&]() -> HRESULT {
    if (cpropid == 0) return S_FALSE;
    if (!rgpropid || !rglpwstrName) return STG_E_INVALIDPOINTER;
    Lock lock(mutex_);
    for (ULONG i = 0; i < cpropid; ++i) rglpwstrName[i] = nullptr;
    bool any = false;
    try {
      for (ULONG i = 0; i < cpropid; ++i) {
        const auto found = section().names.find(rgpropid[i]);
        if (found == section().names.end()) continue;
        rglpwstrName[i] = TaskString(found->second);
        any = true;
      }
    } catch (...) {
      for (ULONG i = 0; i < cpropid; ++i) CoTaskMemFree(std::exchange(rglpwstrName[i], nullptr));
      throw;
    }
    return any ? S_OK : S_FALSE;
  });
}

STDMETHODIMP PropertyStorage::WritePropertyNames(ULONG cpropid, const PROPID rgpropid[],
                                                 const LPOLESTR rglpwstrName[]) {
  return com::GuardedCall([&]() -> HRESULT {
    if (cpropid == 0) return S_OK;
    if (!rgpropid || !rglpwstrName) return STG_E_INVALIDPOINTER;
    Lock lock(mutex_);
    if (!setup_.writable) return STG_E_ACCESSDENIED;
    Section working = section();
    uint16_t version = setup_.image.version;
    const bool case_sensitive = working.CaseSensitive();
    for (ULONG i = 0; i < cpropid; ++i) {
      if (!IsNameableId(rgpropid[i]) || !rglpwstrName[i] || !rglpwstrName[i][0]) return STG_E_INVALIDPARAMETER;
      const std::u16string name(rglpwstrName[i]);
      for (const auto& [id, text] : working.names) {
        if (id != rgpropid[i] && NamesMatch(text, name, case_sensitive)) return STG_E_INVALIDPARAMETER;
      }
      if (name.size() > kMaxVersion0NameChars) version = 1;
      working.names[rgpropid[i]] = name;
    }
    working.has_dictionary = true;
    Section previous = std::move(section());
    section() = std::move(working);
    const uint16_t previous_version = setup_.image.version;
    setup_.image.version = version;
    return SaveOrRestore(std::move(previous), previous_version);
  });
}

STDMETHODIMP PropertyStorage::DeletePropertyNames(ULONG cpropid, const PROPID rgpropid[]) {
  return com::GuardedCall([&]() -> HRESULT {
    if (cpropid == 0) return S_OK;
    if (!rgpropid) return STG_E_INVALIDPOINTER;
    Lock lock(mutex_);
    if (!setup_.writable) return STG_E_ACCESSDENIED;
    Section working = section();
    for (ULONG i = 0; i < cpropid; ++i) {
      if (!IsNameableId(rgpropid[i])) return STG_E_INVALIDPARAMETER;
      working.names.erase(rgpropid[i]);
    }
    Section previous = std::move(section());
    section() = std::move(working);
    return SaveOrRestore(std::move(previous), setup_.image.version);
  });
}

STDMETHODIMP PropertyStorage::Commit(DWORD grfCommitFlags) {
  Lock lock(mutex_);
  // Direct: the set is already in its stream; a non-simple set's storage
  // commits whatever its own mode keeps back.
  if (non_simple() && setup_.writable) return setup_.set_storage->Commit(grfCommitFlags);
  return S_OK;
}

STDMETHODIMP PropertyStorage::Revert() { return S_OK; }  // direct: nothing is held back

STDMETHODIMP PropertyStorage::Enum(IEnumSTATPROPSTG** ppenum) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!ppenum) return STG_E_INVALIDPOINTER;
    *ppenum = nullptr;
    Lock lock(mutex_);
    std::vector<std::pair<STATPROPSTG, std::u16string>> entries;
    for (const auto& [id, value] : section().values) {
      // The code page and the reserved ids above 0x80000000 describe the
      // set; the enumeration lists its properties.
      if (id == PID_CODEPAGE || id >= PID_MIN_READONLY) continue;
      STATPROPSTG stat{};
      stat.propid = id;
      stat.vt = value.size() >= 2 ? static_cast<VARTYPE>(value[0] | value[1] << 8) : static_cast<VARTYPE>(VT_EMPTY);
      const auto name = section().names.find(id);
      entries.emplace_back(stat, name == section().names.end() ? std::u16string() : name->second);
    }
    ComPtr<IEnumSTATPROPSTG> listing = MakePropertyEnum(std::move(entries));
    if (!listing) return E_OUTOFMEMORY;
    *ppenum = listing.detach();
    return S_OK;
  });
}

STDMETHODIMP PropertyStorage::SetTimes(const FILETIME*, const FILETIME*, const FILETIME*) {
  // The times are those of the set's element, kept by its container.
  return S_OK;
}

STDMETHODIMP PropertyStorage::SetClass(REFCLSID clsid) {
  return com::GuardedCall([&]() -> HRESULT {
    Lock lock(mutex_);
    if (!setup_.writable) return STG_E_ACCESSDENIED;
    const CLSID previous_class = setup_.image.clsid;
    setup_.image.clsid = clsid;
    HRESULT hr = SaveOrRestore(section(), setup_.image.version);
    if (FAILED(hr)) {
      setup_.image.clsid = previous_class;
      return hr;
    }
    if (non_simple()) hr = setup_.set_storage->SetClass(clsid);
    return hr;
  });
}

STDMETHODIMP PropertyStorage::Stat(STATPROPSETSTG* pstatpsstg) {
  return com::GuardedCall([&]() -> HRESULT {
    if (!pstatpsstg) return STG_E_INVALIDPOINTER;
    Lock lock(mutex_);
    STATPROPSETSTG stat{};
    stat.fmtid = section().fmtid;
    stat.clsid = setup_.image.clsid;
    stat.grfFlags = (non_simple() ? PROPSETFLAG_NONSIMPLE : 0) |
                    (section().CodePage() != kCodePageUnicode ? PROPSETFLAG_ANSI : 0) |
                    (section().CaseSensitive() ? PROPSETFLAG_CASE_SENSITIVE : 0);
    setup_.medium->Times(&stat.mtime, &stat.ctime, &stat.atime);
    stat.dwOSVersion = setup_.image.system_identifier;
    *pstatpsstg = stat;
    return S_OK;
  });
}

}  // namespace quillbox::propset
