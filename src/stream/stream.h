// Stream: one stream element of a storage, or an unnamed stream in memory.
// It moves raw bytes, self-describing variant records, bare scalar images
// and framed strings at the platform stream's current position.
//
// The members are spread over files by what they move: stream.cc (the
// object, its place in the tree, name, size, seek), stream_records.cc (Write,
// Read, ReadBytes, WriteBytes), stream_scalars.cc (the eighteen scalar
// members), stream_strings.cc (WriteString, ReadString), stream_pictures.cc
// (pictures and objects).
#pragma once

#include "frame/automation_object.h"
#include "quillbox/quillbox.h"
#include "storage/element_owner.h"

namespace quillbox::stream_object {

class Stream final : public frame::AutomationObject<Stream, _Stream>, public storage_tree::OwnedElement {
 public:
  static constexpr const CLSID& kClsid = CLSID_Stream;

  Stream() = default;
  ~Stream();

  // key: the number the owner knows this stream by (0 for a memory stream);
  // owner and parent are null for a memory stream. parent is held counted,
  // owner beside it. On failure *message_id is set and the object must be
  // released.
  HRESULT Initialize(LONG key, IStream* stream, bool read_only, storage_tree::ElementOwner* owner,
                     IUnknown* parent, UINT* message_id);

  // OwnedElement.
  void ClosePlatformElement() override;
  void TakePlatformElement(IUnknown* element) override;
  IDispatch* Dispatch() override { return static_cast<_Stream*>(this); }

  // _Stream, in slot order.
  STDMETHODIMP get_Name(BSTR* result) override;
  STDMETHODIMP get_Size(LONG* result) override;
  STDMETHODIMP Write(VARIANT data, LONG* written) override;
  STDMETHODIMP Read(VARIANT* data) override;
  STDMETHODIMP Seek(LONG position, ssSeekEnum origin, LONG* new_position) override;
  STDMETHODIMP ReadBytes(LONG* count, VARIANT* bytes) override;
  STDMETHODIMP WriteBytes(VARIANT bytes, LONG* count) override;
  STDMETHODIMP ReadLong(LONG* result) override;
  STDMETHODIMP WriteLong(LONG value) override;
  STDMETHODIMP ReadInteger(SHORT* result) override;
  STDMETHODIMP WriteInteger(SHORT value) override;
  STDMETHODIMP ReadBoolean(VARIANT_BOOL* result) override;
  STDMETHODIMP ReadSingle(FLOAT* result) override;
  STDMETHODIMP WriteString(BSTR text, ssCharacterTypeEnum character_type, ssStringInStreamEnum string_type,
                           LONG char_count, LONG code_page) override;
  STDMETHODIMP WriteByte(BYTE value) override;
  STDMETHODIMP ReadByte(BYTE* result) override;
  STDMETHODIMP put_Name(BSTR new_name) override;
  STDMETHODIMP ReadDouble(DOUBLE* result) override;
  STDMETHODIMP ReadCurrency(CY* result) override;
  STDMETHODIMP ReadDecimal(DECIMAL* result) override;
  STDMETHODIMP ReadDate(DATE* result) override;
  STDMETHODIMP ReadPicture(IDispatch** result) override;
  STDMETHODIMP ReadObject(IDispatch** result) override;
  STDMETHODIMP ReadString(ssCharacterTypeEnum character_type, ssStringInStreamEnum string_type, LONG char_count,
                          LONG code_page, BSTR* result) override;
  STDMETHODIMP WriteBoolean(VARIANT_BOOL value) override;
  STDMETHODIMP WriteSingle(FLOAT value) override;
  STDMETHODIMP WriteDouble(DOUBLE value) override;
  STDMETHODIMP WriteCurrency(CY value) override;
  STDMETHODIMP WriteDecimal(DECIMAL value) override;
  STDMETHODIMP WriteDate(DATE value) override;
  STDMETHODIMP WritePicture(IDispatch* picture) override;
  STDMETHODIMP WriteObject(IDispatch* object) override;
  STDMETHODIMP put_Size(LONG new_size) override;

  // Reports a failure as this class (CLSID_Stream, IID__Stream).
  static HRESULT Fail(UINT message_id, HRESULT result) { return Report(message_id, result); }

 private:
  // Makes sure a platform stream is held, reopening it through the owner;
  // reports the owner's message (or 1 when nothing came back) on failure.
  // Every member that touches the platform stream runs it just before, and
  // on failure reports message 1 again with the code it returned.
  HRESULT OpenCheck();
  // OpenCheck, then the member's own report of message 1 on failure.
  HRESULT EnsureOpen();

  // The common mapping of a platform write's result: success stays, each
  // failure is reported with its message (208, 209, 228, 207, else 1).
  HRESULT MapWriteResult(HRESULT hr);
  // The same for a failed platform read (208, 209, else 1).
  HRESULT MapReadFailure(HRESULT hr);

  // The shared routines of the scalar members: width bytes at the position.
  HRESULT ReadScalar(void* value, ULONG width);
  HRESULT WriteScalar(const void* value, ULONG width);

  // Variant records (Write and Read).
  HRESULT WriteRecord(const VARIANT& value);
  HRESULT ReadRecord(VARIANT* value);

  // The undo step of the string members: Seek(-count, ssSeekCurrent), which
  // does not sign-extend and so moves 2^32 - count bytes on.
  void Undo(ULONG count);

  // The string members' framings.
  HRESULT WriteLengthFirst(const OLECHAR* text, ULONG n, UINT code_page, bool unicode);
  HRESULT WriteNullTerminated(const OLECHAR* text, ULONG n, UINT code_page, bool unicode);
  HRESULT WriteFixedLength(const OLECHAR* text, ULONG n, LONG char_count, UINT code_page, bool unicode);
  HRESULT ReadLengthFirst(UINT code_page, bool unicode, BSTR* result);
  HRESULT ReadNullTerminated(UINT code_page, bool unicode, BSTR* result);
  HRESULT ReadFixedLength(LONG char_count, UINT code_page, bool unicode, BSTR* result);
  // Reads characters of a code page one at a time (lead bytes taking their
  // trail byte): until a zero byte when limit is negative, else limit
  // characters, with zero bytes dropped.
  HRESULT ReadCodePageCharacters(UINT code_page, LONG limit, BSTR* result);

  ComPtr<IStream> stream_;
  bool read_only_ = false;
  storage_tree::ElementOwner* owner_ = nullptr;
  ComPtr<IUnknown> parent_;
  LONG key_ = 0;
  // Where the platform stream stood when the parent closed it.
  ULONGLONG saved_position_ = 0;
};

}  // namespace quillbox::stream_object
