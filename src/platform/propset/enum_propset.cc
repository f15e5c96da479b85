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

class PropertyEnum final : public com::ComObject<PropertyEnum, IEnumSTATPROPSTG> {
 public:
  PropertyEnum(std::shared_ptr<const PropertyEntries> entries, size_t position)
      : entries_(std::move(entries)), position_(position) {}

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
  STDMETHODIMP Skip(ULONG celt) override {
    const size_t left = entries_->size() - position_;
    position_ += std::min<size_t>(celt, left);
    return celt <= left ? S_OK : S_FALSE;
  }
  STDMETHODIMP Reset() override {
    position_ = 0;
    return S_OK;
  }
  STDMETHODIMP Clone(IEnumSTATPROPSTG** ppenum) override {
    if (!ppenum) return STG_E_INVALIDPOINTER;
    ComPtr<PropertyEnum> copy = com::MakeObject<PropertyEnum>(entries_, position_);
    if (!copy) return E_OUTOFMEMORY;
    *ppenum = copy.detach();
    return S_OK;
  }

 private:
  std::shared_ptr<const PropertyEntries> entries_;
  size_t position_;
};

class SetEnum final : public com::ComObject<SetEnum, IEnumSTATPROPSETSTG> {
 public:
  SetEnum(std::shared_ptr<const std::vector<STATPROPSETSTG>> entries, size_t position)
      : entries_(std::move(entries)), position_(position) {}

  STDMETHODIMP Next(ULONG celt, STATPROPSETSTG* rgelt, ULONG* pceltFetched) override {
    if (!rgelt || (celt > 1 && !pceltFetched)) return STG_E_INVALIDPOINTER;
    ULONG done = 0;
    while (done < celt && position_ < entries_->size()) rgelt[done++] = (*entries_)[position_++];
    if (pceltFetched) *pceltFetched = done;
    return done == celt ? S_OK : S_FALSE;
  }
  STDMETHODIMP Skip(ULONG celt) override {
    const size_t left = entries_->size() - position_;
    position_ += std::min<size_t>(celt, left);
    return celt <= left ? S_OK : S_FALSE;
  }
  STDMETHODIMP Reset() override {
    position_ = 0;
    return S_OK;
  }
  STDMETHODIMP Clone(IEnumSTATPROPSETSTG** ppenum) override {
    if (!ppenum) return STG_E_INVALIDPOINTER;
    ComPtr<SetEnum> copy = com::MakeObject<SetEnum>(entries_, position_);
    if (!copy) return E_OUTOFMEMORY;
    *ppenum = copy.detach();
    return S_OK;
  }

 private:
  std::shared_ptr<const std::vector<STATPROPSETSTG>> entries_;
  size_t position_;
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
