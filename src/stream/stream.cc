// Stream: the object, its place in the storage tree, its name, size and
// position.
#include "stream/stream.h"

#include "quillbox/objbase.h"
#include "quillbox/oleauto.h"
#include "storage/storage_messages.h"

namespace quillbox::stream_object {

using storage_tree::kMsgAccessDenied;
using storage_tree::kMsgCannotRename;
using storage_tree::kMsgInvalidParameter;
using storage_tree::kMsgInvalidPointer;
using storage_tree::kMsgMediumFull;
using storage_tree::kMsgReadOnly;
using storage_tree::kMsgUnexpected;
using storage_tree::kMsgWriteFault;

Stream::~Stream() {
  // The parent forgets this child before the reference on it goes.
  if (owner_) owner_->ReleaseChild(key_);
  stream_.reset();
  parent_.reset();
}

HRESULT Stream::Initialize(LONG key, IStream* stream, bool read_only, storage_tree::ElementOwner* owner,
                           IUnknown* parent, UINT* message_id) {
  key_ = key;
  owner_ = owner;
  parent_ = ComPtr<IUnknown>(parent);
  read_only_ = read_only;
  stream_ = ComPtr<IStream>(stream);
  if (!stream) {
    *message_id = kMsgUnexpected;
    return E_UNEXPECTED;
  }
  return S_OK;
}

// The position belongs to the platform stream, which goes while the parent
// renames: it is kept here and restored on reopening, so the client never
// sees the gap.
void Stream::ClosePlatformElement() {
  if (!stream_) return;
  LARGE_INTEGER zero{};
  ULARGE_INTEGER here{};
  saved_position_ = SUCCEEDED(stream_->Seek(zero, STREAM_SEEK_CUR, &here)) ? here.QuadPart : 0;
  stream_.reset();
}

void Stream::TakePlatformElement(IUnknown* element) {
  ComPtr<IStream> stream;
  if (FAILED(ComPtr<IUnknown>(element).try_as(stream))) return;
  LARGE_INTEGER position{};
  position.QuadPart = static_cast<LONGLONG>(saved_position_);
  stream->Seek(position, STREAM_SEEK_SET, nullptr);
  stream_ = stream;
}

HRESULT Stream::OpenCheck() {
  if (stream_) return S_OK;
  if (owner_) {
    UINT message = kMsgUnexpected;
    const HRESULT hr = owner_->ReopenChild(key_, &message);
    if (FAILED(hr)) return Report(message, hr);
  }
  if (!stream_) return Report(kMsgUnexpected, E_UNEXPECTED);
  return S_OK;
}

// The member reports again, so the client sees message 1 whatever the owner
// said.
HRESULT Stream::EnsureOpen() {
  const HRESULT hr = OpenCheck();
  return FAILED(hr) ? Report(kMsgUnexpected, hr) : S_OK;
}

HRESULT Stream::MapWriteResult(HRESULT hr) {
  if (SUCCEEDED(hr)) return hr;
  if (hr == STG_E_ACCESSDENIED) return Report(kMsgAccessDenied, hr);
  if (hr == STG_E_INVALIDPOINTER) return Report(kMsgInvalidPointer, hr);
  if (hr == STG_E_WRITEFAULT || hr == STG_E_CANTSAVE) return Report(kMsgWriteFault, hr);
  if (hr == STG_E_MEDIUMFULL) return Report(kMsgMediumFull, hr);
  return Report(kMsgUnexpected, hr);
}

HRESULT Stream::MapReadFailure(HRESULT hr) {
  if (hr == STG_E_ACCESSDENIED) return Report(kMsgAccessDenied, hr);
  if (hr == STG_E_INVALIDPOINTER) return Report(kMsgInvalidPointer, hr);
  return Report(kMsgUnexpected, hr);
}

STDMETHODIMP Stream::get_Name(BSTR* result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  HRESULT hr = EnsureOpen();
  if (FAILED(hr)) return hr;
  STATSTG stat{};
  hr = stream_->Stat(&stat, STATFLAG_DEFAULT);
  if (FAILED(hr)) return Report(hr == STG_E_ACCESSDENIED ? kMsgAccessDenied : kMsgUnexpected, hr);
  // A memory stream has no name.
  BSTR name = SysAllocString(stat.pwcsName ? stat.pwcsName : u"");
  CoTaskMemFree(stat.pwcsName);
  if (!name) return Report(storage_tree::kMsgOutOfMemory, E_OUTOFMEMORY);
  *result = name;
  return S_OK;
}

STDMETHODIMP Stream::put_Name(BSTR new_name) {
  if (read_only_) return Report(kMsgReadOnly, STG_E_ACCESSDENIED);
  if (!owner_) return Report(kMsgCannotRename, STG_E_ACCESSDENIED);
  UINT message = kMsgUnexpected;
  const HRESULT hr = owner_->RenameChild(key_, new_name ? new_name : u"", &message);
  return FAILED(hr) ? Report(message, hr) : S_OK;
}

STDMETHODIMP Stream::get_Size(LONG* result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  HRESULT hr = EnsureOpen();
  if (FAILED(hr)) return hr;
  STATSTG stat{};
  hr = stream_->Stat(&stat, STATFLAG_NONAME);
  if (FAILED(hr)) return Report(hr == STG_E_ACCESSDENIED ? kMsgAccessDenied : kMsgUnexpected, hr);
  *result = static_cast<LONG>(static_cast<ULONG>(stat.cbSize.QuadPart));
  return S_OK;
}

STDMETHODIMP Stream::put_Size(LONG new_size) {
  if (read_only_) return Report(kMsgReadOnly, STG_E_ACCESSDENIED);
  HRESULT hr = EnsureOpen();
  if (FAILED(hr)) return hr;
  ULARGE_INTEGER size{};
  size.QuadPart = static_cast<ULONG>(new_size);  // taken as unsigned 32 bits
  hr = stream_->SetSize(size);
  if (FAILED(hr)) return Report(hr == STG_E_MEDIUMFULL ? kMsgMediumFull : kMsgUnexpected, hr);
  return S_OK;
}

// The displacement is the 32-bit position as the low half and 0 as the high
// half: never sign-extended, so a negative position moves forward by
// 2^32 + position. The string members' undo steps rely on this.
STDMETHODIMP Stream::Seek(LONG position, ssSeekEnum origin, LONG* new_position) {
  if (!new_position) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  HRESULT hr = EnsureOpen();
  if (FAILED(hr)) return hr;
  LARGE_INTEGER move{};
  move.QuadPart = static_cast<LONGLONG>(static_cast<ULONG>(position));
  ULARGE_INTEGER reached{};
  hr = stream_->Seek(move, static_cast<DWORD>(origin), &reached);
  if (FAILED(hr)) {
    if (hr == STG_E_INVALIDFUNCTION) return Report(kMsgInvalidParameter, hr);
    if (hr == STG_E_INVALIDPOINTER) return Report(kMsgInvalidPointer, hr);
    return Report(kMsgUnexpected, hr);
  }
  *new_position = static_cast<LONG>(static_cast<ULONG>(reached.QuadPart));
  return S_OK;
}

}  // namespace quillbox::stream_object
