// EnumStorage: the enumerator behind every _NewEnum. It walks a snapshot of
// a collection's entry keys, taken when _NewEnum is called, and yields for
// each key still present either the element object (VT_DISPATCH) or, in
// names mode, its name (VT_BSTR). It holds its collection, and so the whole
// tree above it, alive.
#pragma once

#include <vector>

#include "platform/com/library_object.h"
#include "quillbox/oaidl.h"
#include "storage/element_source.h"

namespace quillbox::storage_tree {

// The enumerator's class id, used in its error reports.
inline constexpr CLSID kEnumStorageClsid = {0xC025B1AF, 0x55B0, 0x4F22,
                                            {0x83, 0x05, 0xEE, 0xB2, 0x17, 0x8E, 0x73, 0xC3}};

class EnumStorage final : public com::LibraryObject<EnumStorage, IEnumVARIANT, ISupportErrorInfo> {
 public:
  // An enumerator at the first key; source_object is the counted identity
  // of source. Null when memory runs out.
  static ComPtr<EnumStorage> Make(std::vector<LONG> keys, ComPtr<IUnknown> source_object, ElementSource* source,
                                  bool names_mode);

  EnumStorage(std::vector<LONG> keys, ComPtr<IUnknown> source_object, ElementSource* source, bool names_mode);

  // IEnumVARIANT.
  STDMETHODIMP Next(ULONG count, VARIANT* elements, ULONG* fetched) override;
  STDMETHODIMP Skip(ULONG count) override;
  STDMETHODIMP Reset() override;
  STDMETHODIMP Clone(IEnumVARIANT** clone) override;

  // ISupportErrorInfo.
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override;

 private:
  static HRESULT Report(UINT message_id, HRESULT result);
  // The next present key, or false at the end of the snapshot.
  bool Advance(LONG* key);

  std::vector<LONG> keys_;
  // The index of the next key to look at: Reset puts it before the first.
  std::size_t next_ = 0;
  bool names_mode_;
  ComPtr<IUnknown> source_object_;
  ElementSource* source_;
};

}  // namespace quillbox::storage_tree
