// The class factory of a class-table row. Factories are not counted in the
// module lock (they live as long as the process); LockServer(TRUE) is.
#pragma once

#include "frame/class_table.h"
#include "platform/com/com_object.h"

namespace quillbox::frame {

class ClassFactory final : public com::ComObject<ClassFactory, IClassFactory> {
 public:
  explicit ClassFactory(const ClassRow& row) : row_(row) {}
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override;
  STDMETHODIMP LockServer(BOOL lock) override;

 private:
  const ClassRow& row_;
};

// The row's factory, made on first request and kept.
HRESULT GetClassFactory(const ClassRow& row, REFIID riid, void** ppv);

}  // namespace quillbox::frame
