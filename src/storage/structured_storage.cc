// StructuredStorage's members. Every failure is reported as this class.
#include "storage/structured_storage.h"

#include "frame/class_table.h"
#include "quillbox/coml2api.h"
#include "quillbox/hglobal.h"
#include "storage/compound_document.h"
#include "storage/storage.h"
#include "storage/storage_messages.h"
#include "stream/stream.h"

namespace quillbox::storage_tree {
namespace {

// Direct mode throughout: every write reaches the file at once.
constexpr DWORD kCreateDocumentMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;    // 0x12, never overwrites
constexpr DWORD kOpenReadWriteMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;     // 0x12
constexpr DWORD kOpenReadOnlyMode = STGM_READ | STGM_SHARE_DENY_WRITE;          // 0x20
constexpr DWORD kMemoryStorageMode = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;  // 0x1012

const bool g_registered = frame::RegisterClassCreator(CLSID_StructuredStorage, &StructuredStorage::Create);

// Wraps a platform root storage in a new document.
HRESULT MakeDocument(IStorage* root, BSTR filename, bool read_only, ComPtr<CompoundDocument>* document) {
  ComPtr<CompoundDocument> made = com::MakeObject<CompoundDocument>();
  if (!made) return E_OUTOFMEMORY;
  made->Initialize(root, filename, read_only);
  *document = std::move(made);
  return S_OK;
}

}  // namespace

HRESULT StructuredStorage::Create(REFIID riid, void** ppv) {
  ComPtr<StructuredStorage> object = com::MakeObject<StructuredStorage>();
  if (!object) return E_OUTOFMEMORY;
  return object->QueryInterface(riid, ppv);
}

STDMETHODIMP StructuredStorage::CreateDocument(BSTR filename, _CompoundDocument** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  ComPtr<IStorage> root;
  HRESULT hr = StgCreateDocfile(filename ? filename : u"", kCreateDocumentMode, 0, root.put());
  if (FAILED(hr)) return Report(MessageFor(hr, kCreateFileMessages), hr);
  ComPtr<CompoundDocument> document;
  hr = MakeDocument(root.get(), filename, false, &document);
  if (FAILED(hr)) return Report(kMsgOutOfMemory, hr);  // the new file stays on disk, empty
  *result = document.detach();
  return S_OK;
}

// readOnly non-zero opens the file read-only, but only True (-1) makes the
// document read-only: with 1 the platform refuses later writes (208)
// instead of the library (205).
STDMETHODIMP StructuredStorage::OpenDocument(BSTR filename, VARIANT_BOOL read_only, _CompoundDocument** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  ComPtr<IStorage> root;
  const DWORD mode = read_only != 0 ? kOpenReadOnlyMode : kOpenReadWriteMode;
  HRESULT hr = StgOpenStorage(filename ? filename : u"", nullptr, mode, nullptr, 0, root.put());
  if (FAILED(hr)) return Report(MessageFor(hr, kOpenFileMessages), hr);
  ComPtr<CompoundDocument> document;
  hr = MakeDocument(root.get(), filename, read_only == VARIANT_TRUE, &document);
  if (FAILED(hr)) return Report(kMsgOutOfMemory, hr);
  *result = document.detach();
  return S_OK;
}

STDMETHODIMP StructuredStorage::NtfsFilePropertySets(BSTR, VARIANT_BOOL, _NtfsFilePropertySets** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

// A stream in memory: no name, no parent, gone with its last reference.
STDMETHODIMP StructuredStorage::CreateMemoryStream(_Stream** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  ComPtr<IStream> platform;
  HRESULT hr = CreateStreamOnHGlobal(nullptr, TRUE, platform.put());
  if (FAILED(hr)) return Report(hr == E_OUTOFMEMORY ? kMsgOutOfMemory : kMsgUnexpected, hr);
  ComPtr<stream_object::Stream> stream = com::MakeObject<stream_object::Stream>();
  if (!stream) return Report(kMsgOutOfMemory, E_OUTOFMEMORY);
  UINT message = kMsgUnexpected;
  hr = stream->Initialize(0, platform.get(), false, nullptr, nullptr, &message);
  if (FAILED(hr)) return Report(message, hr);
  *result = static_cast<_Stream*>(stream.detach());
  return S_OK;
}

// A storage in memory: a root without parent or document, gone with its
// last reference.
STDMETHODIMP StructuredStorage::CreateMemoryStorage(_Storage** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  ComPtr<ILockBytes> bytes;
  if (FAILED(CreateILockBytesOnHGlobal(nullptr, TRUE, bytes.put()))) return Report(kMsgUnexpected, E_UNEXPECTED);
  ComPtr<IStorage> storage;
  if (FAILED(StgCreateDocfileOnILockBytes(bytes.get(), kMemoryStorageMode, 0, storage.put()))) {
    return Report(kMsgUnexpected, E_UNEXPECTED);
  }
  bytes.reset();  // the storage keeps the bytes alive
  ComPtr<Storage> made = com::MakeObject<Storage>();
  if (!made) return Report(kMsgOutOfMemory, E_OUTOFMEMORY);
  UINT message = kMsgUnexpected;
  const HRESULT hr = made->Initialize(0, &message, storage.get(), false, nullptr, nullptr);
  if (FAILED(hr)) return Report(message, hr);
  *result = made.detach();
  return S_OK;
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
