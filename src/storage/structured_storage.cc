// StructuredStorage's members. Every failure is reported as this class.
#include "storage/structured_storage.h"

#include "frame/class_table.h"
#include "quillbox/coml2api.h"

namespace quillbox::storage_tree {
namespace {

// Messages of the library's table used here.
constexpr UINT kMsgInvalidPointer = 209;
constexpr UINT kMsgNotSupported = 230;

const bool g_registered = frame::RegisterClassCreator(CLSID_StructuredStorage, &StructuredStorage::Create);

}  // namespace

HRESULT StructuredStorage::Create(REFIID riid, void** ppv) {
  ComPtr<StructuredStorage> object = com::MakeObject<StructuredStorage>();
  if (!object) return E_OUTOFMEMORY;
  return object->QueryInterface(riid, ppv);
}

// The members that hand out documents, storages, streams and file property
// sets wait for those classes: until then they refuse before touching any
// file, so nothing is created that no object could own.
STDMETHODIMP StructuredStorage::CreateDocument(BSTR, _CompoundDocument** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP StructuredStorage::OpenDocument(BSTR, VARIANT_BOOL, _CompoundDocument** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP StructuredStorage::NtfsFilePropertySets(BSTR, VARIANT_BOOL, _NtfsFilePropertySets** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP StructuredStorage::CreateMemoryStream(_Stream** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP StructuredStorage::CreateMemoryStorage(_Storage** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP StructuredStorage::RegisterDocument(BSTR, BSTR, BSTR, BSTR, BSTR, LONG, VARIANT_BOOL) {
  return Report(kMsgNotSupported, E_NOTIMPL);
}

// Never fails for a bad file: anything but a compound file is False.
STDMETHODIMP StructuredStorage::IsCompoundDocument(BSTR filename, VARIANT_BOOL* result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  *result = StgIsStorageFile(filename ? filename : u"") == S_OK ? VARIANT_TRUE : VARIANT_FALSE;
  return S_OK;
}

}  // namespace quillbox::storage_tree
