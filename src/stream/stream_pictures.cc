// Stream: pictures and objects, which come with picture support. Until then
// they answer "Not supported."; the write members still refuse a read-only
// stream first, as every changing member does.
#include "storage/storage_messages.h"
#include "stream/stream.h"

namespace quillbox::stream_object {

using storage_tree::kMsgInvalidPointer;
using storage_tree::kMsgNotSupported;
using storage_tree::kMsgReadOnly;

STDMETHODIMP Stream::ReadPicture(IDispatch** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP Stream::ReadObject(IDispatch** result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP Stream::WritePicture(IDispatch*) {
  if (read_only_) return Report(kMsgReadOnly, STG_E_ACCESSDENIED);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

STDMETHODIMP Stream::WriteObject(IDispatch*) {
  if (read_only_) return Report(kMsgReadOnly, STG_E_ACCESSDENIED);
  return Report(kMsgNotSupported, E_NOTIMPL);
}

}  // namespace quillbox::stream_object
