// IEnumSTATPROPSTG and IEnumSTATPROPSETSTG over snapshots taken when the
// enumeration starts; names are copied out with CoTaskMemAlloc.
#include <cstring>
#include <memory>

#include "platform/com/exception_guard.h"
#include "platform/propset/property_storage.h"
#include "quillbox/objbase.h"

namespace quillbox::propset {

namespace {

using PropertyEntries = std::vector<std::pair<STATPROPSTG, std::u16string>>;

// What both enumerators share: a snapshot shared with their clones and a
// position in it.
template <class Derived, class Interface, class Entry>
class SnapshotEnum : public com::ComObject<Derived, Interface> {
 public:
  SnapshotEnum(std::shared_ptr<const std::vector<Entry>> entries, size_t position)
      : entries_(std::move(entries)), position_(position) {}

  STDMETHODIMP Skip(ULONG celt) override {
    const size_t left = entries_->size() - position_;
    position_ += std::min<size_t>(celt, left);
    return celt <= left ? S_OK : S_FALSE;
  }
  STDMETHODIMP Reset() override {
    position_ = 0;
    return S_OK;
  }
  STDMETHODIMP Clone(Interface** ppenum) override {
    if (!ppenum) return STG_E_INVALIDPOINTER;
    ComPtr<Derived> copy = com::MakeObject<Derived>(entries_, position_);
    if (!copy) return E_OUTOFMEMORY;
    *ppenum = copy.detach();
    return S_OK;
  }

 protected:
  ~SnapshotEnum() = default;

  std::shared_ptr<const std::vector<Entry>> entries_;
  size_t position_;
};

class PropertyEnum final
    : public SnapshotEnum<PropertyEnum, IEnumSTATPROPSTG, PropertyEntries::value_type> {
 public:
  using SnapshotEnum::SnapshotEnum;

  STDMETHODIMP Next(ULONG celt, STATPROPSTG* rgelt, ULONG* pceltFetched) override {
    return com::GuardedCall([&]() -> HRESULT {
      if (!rgelt || (celt > 1 && !pceltFetched)) return STG_E_INVALIDPOINTER;
      ULONG done = 0;
      while (done < celt && position_ < entries_->size()) {
        const auto& [stat, name] = (*entries_)[position_];
        STATPROPSTG out = stat;
        out.lpwstrName = nullptr;
        if (!name.empty()) {
          out.lpwstrName = static_cast<LPOLESTR>(CoTaskMemAlloc((name.size() + 1) * sizeof(char16_t)));
          if (!out.lpwstrName) {
            for (ULONG i = 0; i < done; ++i) CoTaskMemFree(rgelt[i].lpwstrName);
            return E_OUTOFMEMORY;
          }
          std::memcpy(out.lpwstrName, name.c_str(), (name.size() + 1) * sizeof(char16_t));
        }
        rgelt[done++] = out;
        ++position_;
      }
      if (pceltFetched) *pceltFetched = done;
      return done == celt ? S_OK : S_FALSE;
    });
  }
};

class SetEnum final : public SnapshotEnum<SetEnum, IEnumSTATPROPSETSTG, STATPROPSETSTG> {
 public:
  using SnapshotEnum::SnapshotEnum;

  STDMETHODIMP Next(ULONG celt, STATPROPSETSTG* rgelt, ULONG* pceltFetched) override {
    if (!rgelt || (celt > 1 && !pceltFetched)) return STG_E_INVALIDPOINTER;
    ULONG done = 0;
    while (done < celt && position_ < entries_->size()) rgelt[done++] = (*entries_)[position_++];
    if (pceltFetched) *pceltFetched = done;
    return done == celt ? S_OK : S_FALSE;
  }
};

}  // namespace

ComPtr<IEnumSTATPROPSTG> MakePropertyEnum(PropertyEntries entries) {
  auto shared = std::make_shared<const PropertyEntries>(std::move(entries));
  return com::MakeObject<PropertyEnum>(std::move(shared), size_t{0});
}

ComPtr<IEnumSTATPROPSETSTG> MakeSetEnum(std::vector<STATPROPSETSTG> entries) {
  auto shared = std::make_shared<const std::vector<STATPROPSETSTG>>(std::move(entries));
  return com::MakeObject<SetEnum>(std::move(shared), size_t{0});
}

}  // namespace quillbox::propset
