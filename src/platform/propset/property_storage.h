// IPropertyStorage over one section of a property-set stream. Direct: every
// change is serialized and written to the medium before the call returns;
// a change that cannot be written leaves the set as it was.
// Thread-safety: calls on one object are serialized by its mutex.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "platform/com/com_object.h"
#include "platform/propset/set_host.h"
#include "platform/propset/set_image.h"
#include "platform/propset/value_codec.h"
#include "quillbox/propidl.h"

namespace quillbox::propset {

class PropertyStorage final : public com::ComObject<PropertyStorage, IPropertyStorage> {
 public:
  struct Setup {
    std::unique_ptr<SetMedium> medium;
    SetImage image;
    size_t section = 0;
    ComPtr<IStorage> set_storage;  // non-simple sets: holds CONTENTS and the sibling elements
    ComPtr<IUnknown> container;    // kept alive while the set is open
    bool writable = false;
  };
  explicit PropertyStorage(Setup setup) : setup_(std::move(setup)) {}

  STDMETHODIMP ReadMultiple(ULONG cpspec, const PROPSPEC rgpspec[], PROPVARIANT rgpropvar[]) override;
  STDMETHODIMP WriteMultiple(ULONG cpspec, const PROPSPEC rgpspec[], const PROPVARIANT rgpropvar[],
                             PROPID propidNameFirst) override;
  STDMETHODIMP DeleteMultiple(ULONG cpspec, const PROPSPEC rgpspec[]) override;
  STDMETHODIMP ReadPropertyNames(ULONG cpropid, const PROPID rgpropid[], LPOLESTR rglpwstrName[]) override;
  STDMETHODIMP WritePropertyNames(ULONG cpropid, const PROPID rgpropid[], const LPOLESTR rglpwstrName[]) override;
  STDMETHODIMP DeletePropertyNames(ULONG cpropid, const PROPID rgpropid[]) override;
  STDMETHODIMP Commit(DWORD grfCommitFlags) override;
  STDMETHODIMP Revert() override;
  STDMETHODIMP Enum(IEnumSTATPROPSTG** ppenum) override;
  STDMETHODIMP SetTimes(const FILETIME* pctime, const FILETIME* patime, const FILETIME* pmtime) override;
  STDMETHODIMP SetClass(REFCLSID clsid) override;
  STDMETHODIMP Stat(STATPROPSETSTG* pstatpsstg) override;

 private:
  Section& section() { return setup_.image.sections[setup_.section]; }
  bool non_simple() const { return static_cast<bool>(setup_.set_storage); }
  // The id a spec names (found false: a name not in the dictionary).
  HRESULT Resolve(const Section& names, const PROPSPEC& spec, PROPID* id, bool* found);
  HRESULT ReadOne(PROPID id, PROPVARIANT* out);
  HRESULT OpenIndirect(const IndirectRef& ref, PROPVARIANT* out);
  HRESULT WriteIndirect(PROPID id, const PROPVARIANT& value, IndirectRef* ref);
  void RemoveIndirect(PROPID id, const std::vector<uint8_t>& old_value);
  HRESULT CheckReserved(PROPID id, const PROPVARIANT& value, const Section& working);
  // Writes the image; on failure puts back the section and version given.
  HRESULT SaveOrRestore(Section previous, uint16_t previous_version);

  std::mutex mutex_;
  Setup setup_;
};

// Case rules of property names: equal ignoring case unless the set is
// case-sensitive (behavior property bit 0).
bool NamesMatch(std::u16string_view a, std::u16string_view b, bool case_sensitive);

// An enumerator over a snapshot of STATPROPSTG entries.
ComPtr<IEnumSTATPROPSTG> MakePropertyEnum(std::vector<std::pair<STATPROPSTG, std::u16string>> entries);
ComPtr<IEnumSTATPROPSETSTG> MakeSetEnum(std::vector<STATPROPSETSTG> entries);

}  // namespace quillbox::propset
