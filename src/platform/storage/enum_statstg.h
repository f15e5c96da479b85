// IEnumSTATSTG over a snapshot of a storage's children, taken when the
// enumerator is made (later changes to the storage do not show).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/com/com_object.h"
#include "quillbox/objidl.h"

namespace quillbox::storage {

struct ElementSnapshot {
  std::u16string name;
  STATSTG stat;  // pwcsName unused
};

class EnumStatStg final : public com::ComObject<EnumStatStg, IEnumSTATSTG> {
 public:
  explicit EnumStatStg(std::shared_ptr<const std::vector<ElementSnapshot>> items, size_t position = 0)
      : items_(std::move(items)), position_(position) {}

  STDMETHODIMP Next(ULONG celt, STATSTG* rgelt, ULONG* pceltFetched) override;
  STDMETHODIMP Skip(ULONG celt) override;
  STDMETHODIMP Reset() override;
  STDMETHODIMP Clone(IEnumSTATSTG** ppenum) override;

 private:
  std::shared_ptr<const std::vector<ElementSnapshot>> items_;
  size_t position_;
};

}  // namespace quillbox::storage
