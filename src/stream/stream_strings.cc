// Stream: text in three framings (length first, zero-terminated, fixed
// length) and in UTF-16 as it is or a code page. Neither is recorded in the
// stream: text must be read back with the settings it was written with.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "platform/com/exception_guard.h"
#include "quillbox/objbase.h"
#include "quillbox/oleauto.h"
#include "quillbox/winnls.h"
#include "storage/storage_messages.h"
#include "stream/stream.h"

namespace quillbox::stream_object {

using storage_tree::kMsgCodePageEmbeddedNull;
using storage_tree::kMsgCodePageNotFound;
using storage_tree::kMsgInvalidParameter;
using storage_tree::kMsgInvalidPointer;
using storage_tree::kMsgNullTerminatedEmbeddedNull;
using storage_tree::kMsgOutOfMemory;
using storage_tree::kMsgReadError;
using storage_tree::kMsgUnicodeTranslation;

namespace {

// A length prefix read from the stream may ask for a string that runs past
// the stream's end (the missing bytes read as zeros). Up to this much past
// the end is allowed; beyond it the prefix cannot be what was written, and
// four bytes of a file must not make us allocate gigabytes.
constexpr ULONGLONG kReadSlack = 64 * 1024;

// Padding comes from one zeroed block; a block this large is refused as a
// failed allocation (a negative NbChar asks for about 4 GB).
constexpr ULONGLONG kMaxPadding = INT32_MAX;

struct FreeBlock {
  void operator()(void* block) const { std::free(block); }
};
template <class T>
using Block = std::unique_ptr<T[], FreeBlock>;

// count zeroed elements, or null when they cannot be had.
template <class T>
Block<T> Zeroed(ULONGLONG count) {
  if (count > SIZE_MAX / sizeof(T)) return nullptr;
  return Block<T>(static_cast<T*>(std::calloc(count ? count : 1, sizeof(T))));
}

// How the caller wants the text encoded: UTF-16 as it is, or a code page.
struct Encoding {
  bool unicode = false;
  UINT code_page = 0;
};

// The code page check both members start with: CharacterType 1200 alone
// means no conversion; 3 takes CodePage; any other value is the code page.
HRESULT CheckEncoding(LONG character_type, LONG code_page, Encoding* encoding) {
  encoding->unicode = character_type == ssUnicodeString;
  encoding->code_page = static_cast<UINT>(character_type == ssSpecificCodePage ? code_page : character_type);
  if (encoding->unicode) return S_OK;
  CPINFO info{};
  if (!GetCPInfo(encoding->code_page, &info)) return Stream::Fail(kMsgCodePageNotFound, STG_E_INVALIDPARAMETER);
  return S_OK;
}

bool HasEmbeddedZero(const OLECHAR* text, ULONG n) { return n > 0 && std::find(text, text + n, u'\0') != text + n; }

// The first n units in the code page, explicitly counted so that no
// terminator is converted.
HRESULT ToCodePage(const OLECHAR* text, ULONG n, UINT code_page, Block<char>* bytes, ULONG* size) {
  const int units = n > INT_MAX ? 0 : static_cast<int>(n);
  const int needed = WideCharToMultiByte(code_page, 0, text, units, nullptr, 0, nullptr, nullptr);
  if (needed <= 0) return Stream::Fail(kMsgUnicodeTranslation, E_NO_UNICODE_TRANSLATION);
  Block<char> block = Zeroed<char>(static_cast<ULONGLONG>(needed));
  if (!block) return Stream::Fail(kMsgReadError, STG_E_INSUFFICIENTMEMORY);
  const int done = WideCharToMultiByte(code_page, 0, text, units, block.get(), needed, nullptr, nullptr);
  if (done <= 0) return Stream::Fail(kMsgUnicodeTranslation, E_NO_UNICODE_TRANSLATION);
  *bytes = std::move(block);
  *size = static_cast<ULONG>(done);
  return S_OK;
}

// Zero-terminated bytes of the code page to UTF-16, terminator included.
HRESULT FromCodePage(const char* bytes, UINT code_page, Block<OLECHAR>* text) {
  const int needed = MultiByteToWideChar(code_page, 0, bytes, -1, nullptr, 0);
  if (needed <= 0) return Stream::Fail(kMsgUnicodeTranslation, E_NO_UNICODE_TRANSLATION);
  Block<OLECHAR> block = Zeroed<OLECHAR>(static_cast<ULONGLONG>(needed));
  if (!block) return Stream::Fail(kMsgReadError, STG_E_INSUFFICIENTMEMORY);
  if (MultiByteToWideChar(code_page, 0, bytes, -1, block.get(), needed) <= 0) {
    return Stream::Fail(kMsgUnicodeTranslation, E_NO_UNICODE_TRANSLATION);
  }
  *text = std::move(block);
  return S_OK;
}

// A body write: the bytes go to the platform stream directly and the count
// written is not looked at. Nothing to write still passes a real address,
// since some streams refuse a null buffer whatever the count.
HRESULT PutBytes(IStream* stream, const void* bytes, ULONG count) {
  static const BYTE kNothing = 0;
  ULONG written = 0;
  return stream->Write(count ? bytes : &kNothing, count, &written);
}

// The bytes between the position and the end, when the stream tells.
bool BytesLeft(IStream* stream, ULONGLONG* left) {
  if (!stream) return false;
  STATSTG stat{};
  LARGE_INTEGER zero{};
  ULARGE_INTEGER here{};
  if (FAILED(stream->Stat(&stat, STATFLAG_NONAME))) return false;
  CoTaskMemFree(stat.pwcsName);
  if (FAILED(stream->Seek(zero, STREAM_SEEK_CUR, &here))) return false;
  *left = stat.cbSize.QuadPart > here.QuadPart ? stat.cbSize.QuadPart - here.QuadPart : 0;
  return true;
}

bool IsLeadByte(const CPINFO& info, BYTE b) {
  for (int i = 0; i + 1 < MAX_LEADBYTES && info.LeadByte[i] && info.LeadByte[i + 1]; i += 2) {
    if (info.LeadByte[i] <= b && b <= info.LeadByte[i + 1]) return true;
  }
  return false;
}

HRESULT ToBstr(const std::u16string& text, BSTR* result) {
  BSTR made = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (!made) return Stream::Fail(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY);
  *result = made;
  return S_OK;
}

}  // namespace

// The seek's own report, if it fails, must not hide the failure the member
// returns: the member never looks at the undo's outcome.
void Stream::Undo(ULONG count) {
  ComPtr<IErrorInfo> kept;
  GetErrorInfo(0, kept.put());
  LONG reached = 0;
  Seek(static_cast<LONG>(0u - count), ssSeekCurrent, &reached);
  SetErrorInfo(0, kept.get());
}

STDMETHODIMP Stream::WriteString(BSTR text, ssCharacterTypeEnum character_type, ssStringInStreamEnum string_type,
                                 LONG char_count, LONG code_page) {
  return com::GuardedCall([&]() -> HRESULT {
    Encoding encoding;
    const HRESULT hr = CheckEncoding(character_type, code_page, &encoding);
    if (FAILED(hr)) return hr;
    const ULONG n = SysStringLen(text);
    switch (static_cast<LONG>(string_type)) {
      case ssWriteLengthFirst:
        return WriteLengthFirst(text, n, encoding.code_page, encoding.unicode);
      case ssNullTerminated:
        return WriteNullTerminated(text, n, encoding.code_page, encoding.unicode);
      case ssFixedLength:
        return WriteFixedLength(text, n, char_count, encoding.code_page, encoding.unicode);
      default:
        return Report(kMsgInvalidParameter, STG_E_INVALIDPARAMETER);
    }
  });
}

// The count, then the text: units for UTF-16, converted bytes otherwise. An
// empty text is the count 0 alone, whatever the encoding.
HRESULT Stream::WriteLengthFirst(const OLECHAR* text, ULONG n, UINT code_page, bool unicode) {
  HRESULT hr = S_OK;
  const void* body = text;
  ULONG size = 2 * n;
  Block<char> converted;
  if (!unicode && n > 0) {
    if (HasEmbeddedZero(text, n)) return Report(kMsgCodePageEmbeddedNull, E_NO_UNICODE_TRANSLATION);
    hr = ToCodePage(text, n, code_page, &converted, &size);
    if (FAILED(hr)) return hr;
    body = converted.get();
  }
  hr = WriteLong(static_cast<LONG>(unicode || n == 0 ? n : size));
  if (FAILED(hr) || n == 0) return hr;
  hr = EnsureOpen();
  if (FAILED(hr)) return hr;
  hr = PutBytes(stream_.get(), body, size);
  if (FAILED(hr)) Undo(4);
  return MapWriteResult(hr);
}

// The text, then its terminator (two zero bytes for UTF-16, one otherwise).
HRESULT Stream::WriteNullTerminated(const OLECHAR* text, ULONG n, UINT code_page, bool unicode) {
  if (n == 0) return unicode ? WriteInteger(0) : WriteByte(0);
  if (HasEmbeddedZero(text, n)) return Report(kMsgNullTerminatedEmbeddedNull, E_NO_UNICODE_TRANSLATION);
  HRESULT hr = S_OK;
  if (unicode) {
    hr = EnsureOpen();
    if (FAILED(hr)) return hr;
    hr = PutBytes(stream_.get(), text, 2 * n);
    if (FAILED(hr)) return MapWriteResult(hr);
    hr = WriteInteger(0);
    if (FAILED(hr)) Undo(2 * n);
    return hr;
  }
  Block<char> converted;
  ULONG size = 0;
  hr = ToCodePage(text, n, code_page, &converted, &size);
  if (FAILED(hr)) return hr;
  hr = EnsureOpen();
  if (FAILED(hr)) return hr;
  // The terminator's write decides: a refused text shows there.
  PutBytes(stream_.get(), converted.get(), size);
  hr = WriteByte(0);
  // Back by the count of characters, not of bytes.
  if (FAILED(hr)) Undo(n);
  return hr;
}

// NbChar characters: the text cut to NbChar units, then zero padding of
// NbChar - n units. A code-page text takes its converted bytes plus the
// padding, so a double-byte character makes it longer than NbChar bytes.
HRESULT Stream::WriteFixedLength(const OLECHAR* text, ULONG n, LONG char_count, UINT code_page, bool unicode) {
  if (char_count == 0) return S_OK;
  // Compared unsigned: a negative NbChar is larger than any length.
  const ULONG wanted = static_cast<ULONG>(char_count);
  const ULONG m = std::min(n, wanted);
  HRESULT hr = S_OK;
  ULONG body_size = 0;
  if (unicode) {
    hr = EnsureOpen();
    if (FAILED(hr)) return hr;
    body_size = 2 * m;
    hr = PutBytes(stream_.get(), text, body_size);
  } else {
    if (HasEmbeddedZero(text, m)) return Report(kMsgCodePageEmbeddedNull, E_NO_UNICODE_TRANSLATION);
    Block<char> converted;
    hr = ToCodePage(text, m, code_page, &converted, &body_size);
    if (FAILED(hr)) return hr;
    hr = EnsureOpen();
    if (FAILED(hr)) return hr;
    hr = PutBytes(stream_.get(), converted.get(), body_size);
  }
  if (wanted <= n || FAILED(hr)) return MapWriteResult(hr);

  const ULONGLONG padding = static_cast<ULONGLONG>(wanted - n) * (unicode ? 2 : 1);
  Block<BYTE> zeros = padding <= kMaxPadding ? Zeroed<BYTE>(padding) : nullptr;
  if (!zeros) return Report(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY);
  hr = EnsureOpen();
  if (FAILED(hr)) return hr;
  hr = PutBytes(stream_.get(), zeros.get(), static_cast<ULONG>(padding));
  if (FAILED(hr)) Undo(body_size);
  return MapWriteResult(hr);
}

STDMETHODIMP Stream::ReadString(ssCharacterTypeEnum character_type, ssStringInStreamEnum string_type,
                                LONG char_count, LONG code_page, BSTR* result) {
  if (!result) return Report(kMsgInvalidPointer, STG_E_INVALIDPOINTER);
  return com::GuardedCall([&]() -> HRESULT {
    Encoding encoding;
    const HRESULT hr = CheckEncoding(character_type, code_page, &encoding);
    if (FAILED(hr)) return hr;
    switch (static_cast<LONG>(string_type)) {
      case ssWriteLengthFirst:
        return ReadLengthFirst(encoding.code_page, encoding.unicode, result);
      case ssNullTerminated:
        return ReadNullTerminated(encoding.code_page, encoding.unicode, result);
      case ssFixedLength:
        // A negative count of characters cannot be read: refused up front.
        if (char_count < 0) return Report(kMsgInvalidParameter, STG_E_INVALIDPARAMETER);
        return ReadFixedLength(char_count, encoding.code_page, encoding.unicode, result);
      default:
        // Not a framing: success, and no string.
        *result = nullptr;
        return S_OK;
    }
  });
}

HRESULT Stream::ReadLengthFirst(UINT code_page, bool unicode, BSTR* result) {
  LONG count = 0;
  HRESULT hr = ReadLong(&count);
  if (FAILED(hr)) return hr;
  // ReadLong has just made sure of the platform stream.
  ULONGLONG left = 0;
  const bool known = BytesLeft(stream_.get(), &left);

  if (unicode) {
    // Exactly count units, zero units included; bytes past the end are 0.
    const ULONGLONG size = 2 * static_cast<ULONGLONG>(count);
    Block<BYTE> buffer;
    if (count >= 0 && size <= std::max(known ? left : 0, kReadSlack)) buffer = Zeroed<BYTE>(size);
    if (!buffer) {
      Undo(4);
      return Report(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY);
    }
    hr = EnsureOpen();
    if (FAILED(hr)) return hr;
    ULONG got = 0;
    hr = stream_->Read(buffer.get(), static_cast<ULONG>(size), &got);
    if (FAILED(hr)) {
      Undo(4);
      return MapReadFailure(hr);
    }
    BSTR text = SysAllocStringLen(reinterpret_cast<const OLECHAR*>(buffer.get()), static_cast<UINT>(count));
    if (!text) {
      Undo(4 + 2 * static_cast<ULONG>(count));
      return Report(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY);
    }
    *result = text;
    return S_OK;
  }

  // The text ends at its first zero byte, and bytes past the end of the
  // stream would be zeros: only what the stream still holds is read.
  Block<char> buffer;
  ULONGLONG wanted = static_cast<ULONG>(count);
  if (known) wanted = std::min(wanted, left);
  if (count >= 0) buffer = Zeroed<char>(wanted + 1);
  if (!buffer) {
    Undo(4);
    return Report(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY);
  }
  hr = EnsureOpen();
  if (FAILED(hr)) return hr;
  ULONG got = 0;
  hr = stream_->Read(buffer.get(), static_cast<ULONG>(wanted), &got);
  if (FAILED(hr)) {
    Undo(4);
    return MapReadFailure(hr);
  }
  const ULONG undo = 4 + static_cast<ULONG>(count);
  Block<OLECHAR> converted;
  hr = FromCodePage(buffer.get(), code_page, &converted);
  if (FAILED(hr)) {
    Undo(undo);
    return hr;
  }
  BSTR text = SysAllocString(converted.get());
  if (!text) {
    Undo(undo);
    return Report(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY);
  }
  *result = text;
  return S_OK;
}

// One unit, or one character of the code page, at a time up to the
// terminator; at the end of the stream the read failure is the result.
HRESULT Stream::ReadNullTerminated(UINT code_page, bool unicode, BSTR* result) {
  if (!unicode) return ReadCodePageCharacters(code_page, -1, result);
  std::u16string text;
  ULONG units = 0;
  for (;;) {
    SHORT unit = 0;
    const HRESULT hr = ReadInteger(&unit);
    if (FAILED(hr)) {
      Undo(2 * units);
      return hr;
    }
    if (unit == 0) break;
    // Every unit is appended alone, those of 0x8000 and above included.
    text.push_back(static_cast<char16_t>(static_cast<uint16_t>(unit)));
    ++units;
  }
  return ToBstr(text, result);
}

HRESULT Stream::ReadCodePageCharacters(UINT code_page, LONG limit, BSTR* result) {
  CPINFO info{};
  if (!GetCPInfo(code_page, &info)) return Report(kMsgCodePageNotFound, STG_E_INVALIDPARAMETER);
  std::u16string text;
  ULONG taken = 0;  // bytes read so far, for the undo
  for (LONG step = 0; limit < 0 || step < limit; ++step) {
    BYTE bytes[2] = {};
    HRESULT hr = ReadByte(&bytes[0]);
    if (FAILED(hr)) {
      Undo(taken);
      return hr;
    }
    ++taken;
    if (limit < 0 && bytes[0] == 0) break;
    int size = 1;
    if (IsLeadByte(info, bytes[0])) {
      hr = ReadByte(&bytes[1]);
      if (FAILED(hr)) {
        Undo(taken);
        return hr;
      }
      ++taken;
      size = 2;
    }
    OLECHAR unit = 0;
    if (MultiByteToWideChar(code_page, 0, reinterpret_cast<const char*>(bytes), size, &unit, 1) <= 0) {
      Undo(taken);
      return Report(kMsgUnicodeTranslation, E_NO_UNICODE_TRANSLATION);
    }
    // A zero byte (padding) gives nothing.
    if (unit != 0) text.push_back(unit);
  }
  return ToBstr(text, result);
}

HRESULT Stream::ReadFixedLength(LONG char_count, UINT code_page, bool unicode, BSTR* result) {
  if (!unicode) return ReadCodePageCharacters(code_page, char_count, result);
  // The text ends at its first zero unit, so padding and what follows an
  // embedded zero are dropped. Bytes past the end would be zeros too, so
  // only what the stream still holds is read, which needs the stream first.
  HRESULT hr = EnsureOpen();
  if (FAILED(hr)) return hr;
  ULONGLONG wanted = 2 * static_cast<ULONGLONG>(char_count);
  ULONGLONG left = 0;
  if (BytesLeft(stream_.get(), &left)) wanted = std::min(wanted, left);
  // Whole units, and a zero unit after them.
  Block<OLECHAR> buffer = Zeroed<OLECHAR>((wanted + 1) / 2 + 1);
  if (!buffer) return Report(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY);
  ULONG got = 0;
  hr = stream_->Read(buffer.get(), static_cast<ULONG>(wanted), &got);
  if (FAILED(hr)) return MapReadFailure(hr);
  BSTR text = SysAllocString(buffer.get());
  if (!text) {
    Undo(2 * static_cast<ULONG>(char_count));
    return Report(kMsgOutOfMemory, STG_E_INSUFFICIENTMEMORY);
  }
  *result = text;
  return S_OK;
}

}  // namespace quillbox::stream_object
