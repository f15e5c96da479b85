// What the Stream object's fuzzer does with one input, shared with the test
// that replays its corpus: the input is a short program of reading members
// and seeks plus the bytes the stream holds; the program runs on a Stream
// over a memory stream, and for some inputs again over a read-only stream of
// a compound file in memory (which can move past 4 GB, and where the write
// members are tried and must refuse). Every result is checked for shape and
// freed; a broken promise aborts, so the fuzzer reports it as a crash.
//
// Input layout:
//   byte 0    flags: bit 0 (kOnCompoundFile) runs the program on the
//             compound-file stream too
//   byte 1    the program's length L in bytes
//   L bytes   the program: opcodes (the byte modulo kOpCount) and operands;
//             past its end every byte reads as 0
//   the rest  the stream's content (at most kMaxContent bytes are used)
//
// The string members read code-page and zero-terminated text a character
// at a time, a few microseconds each under the sanitizers: the content's
// cap and the count of string reads per run (kMaxStringReads; later ones
// are skipped) keep an input well inside the fuzzer's time limit.
//
// Opcodes and their operands (s8 = signed byte, u16/i32 little-endian):
//   0 Read (a variant record)
//   1 ReadString   encoding byte (CharacterType = kCharacterTypes[b % 6],
//                  CodePage = kCodePages[b / 6 % 9]), framing byte
//                  (kFramings[b % 5]), NbChar s8 (127 and -128 stand for
//                  INT32_MAX and INT32_MIN)
//   2 ReadBytes    count u16 (as signed 16 bits; above kMaxReadBytes taken
//                  modulo kMaxReadBytes + 1, negatives kept)
//   3 a scalar     which byte (% 9: Byte, Integer, Boolean, Long, Single,
//                  Double, Currency, Date, Decimal)
//   4 Seek         origin byte (kOrigins[b % 5]), position i32
//   5 get_Size and get_Name
//   6 a write      which byte (% 8), then what that member takes (see
//                  TryWrite); on the memory stream the operands are read and
//                  nothing is called
//   7 null out-parameters, ReadPicture, ReadObject: all refused
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/com/com_object.h"
#include "quillbox/platform.h"
#include "quillbox/quillbox.h"
#include "stream/stream.h"

namespace quillbox::fuzz {

inline constexpr std::uint8_t kOnCompoundFile = 0x01;
inline constexpr std::size_t kMaxContent = 32 * 1024;  // past the mini-stream cutoff, several sectors
inline constexpr int kMaxStringReads = 8;
inline constexpr LONG kMaxReadBytes = 4096;
inline constexpr int kOpCount = 8;

inline constexpr LONG kCharacterTypes[] = {ssUnicodeString, ssCurrentCodePageString, ssOemString,
                                           ssMacintoshString, ssSymbolString, ssSpecificCodePage};
inline constexpr LONG kCodePages[] = {1252, 437, 932, 936, 949, 950, 65001, 1200, 12345};
inline constexpr LONG kFramings[] = {ssWriteLengthFirst, ssNullTerminated, ssFixedLength, 3, 7};
inline constexpr LONG kOrigins[] = {ssSeekBegin, ssSeekCurrent, ssSeekEnd, 3, -1};

// A broken promise of the Stream object: abort, which the fuzzer and the
// replay test both see as a crash.
inline void Require(bool holds) {
  if (!holds) std::abort();
}

// The program's bytes, read front to back; past the end they are zeros.
class ProgramReader {
 public:
  ProgramReader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  bool AtEnd() const { return next_ >= size_; }
  std::uint8_t Byte() { return next_ < size_ ? data_[next_++] : (++next_, 0); }
  std::int32_t Int32() {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value |= static_cast<std::uint32_t>(Byte()) << (8 * i);
    return static_cast<std::int32_t>(value);
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t next_ = 0;
};

// String settings as the opcodes encode them.
struct StringSettings {
  ssCharacterTypeEnum character_type;
  ssStringInStreamEnum framing;
  LONG char_count;
  LONG code_page;
};

inline StringSettings ReadStringSettings(ProgramReader& program) {
  const std::uint8_t encoding = program.Byte();
  const std::uint8_t framing = program.Byte();
  const auto count = static_cast<std::int8_t>(program.Byte());
  StringSettings settings{};
  settings.character_type = static_cast<ssCharacterTypeEnum>(kCharacterTypes[encoding % 6]);
  settings.code_page = kCodePages[encoding / 6 % 9];
  settings.framing = static_cast<ssStringInStreamEnum>(kFramings[framing % 5]);
  settings.char_count = count == 127 ? INT32_MAX : count == -128 ? INT32_MIN : count;
  return settings;
}

// A BSTR handed out must read as a zero-terminated string too: its two
// bytes after the length are zero.
inline void RequireTerminated(BSTR text) {
  if (!text) return;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  const UINT length = SysStringByteLen(text);
  Require(bytes[length] == 0 && bytes[length + 1] == 0);
}

inline void ReadOneRecord(_Stream* stream) {
  VARIANT value;
  VariantInit(&value);
  if (SUCCEEDED(stream->Read(&value)) && value.vt == VT_BSTR) RequireTerminated(value.bstrVal);
  VariantClear(&value);
}

inline void ReadOneString(_Stream* stream, const StringSettings& s) {
  BSTR text = nullptr;
  if (SUCCEEDED(stream->ReadString(s.character_type, s.framing, s.char_count, s.code_page, &text))) {
    RequireTerminated(text);
  }
  SysFreeString(text);
}

inline void ReadSomeBytes(_Stream* stream, LONG count) {
  VARIANT bytes;
  VariantInit(&bytes);
  LONG asked = count;
  if (SUCCEEDED(stream->ReadBytes(&asked, &bytes))) {
    // Exactly the count asked, whatever the stream held.
    Require(bytes.vt == (VT_ARRAY | VT_UI1) && SafeArrayGetDim(bytes.parray) == 1);
    LONG lower = 0;
    LONG upper = 0;
    SafeArrayGetLBound(bytes.parray, 1, &lower);
    SafeArrayGetUBound(bytes.parray, 1, &upper);
    Require(upper - lower + 1 == count);
  }
  VariantClear(&bytes);
}

inline void ReadOneScalar(_Stream* stream, std::uint8_t which) {
  union {
    BYTE byte;
    SHORT integer;
    VARIANT_BOOL boolean;
    LONG long_value;
    FLOAT single;
    DOUBLE double_value;
    CY currency;
    DATE date;
    DECIMAL decimal;
  } value{};
  switch (which % 9) {
    case 0: stream->ReadByte(&value.byte); break;
    case 1: stream->ReadInteger(&value.integer); break;
    case 2: stream->ReadBoolean(&value.boolean); break;
    case 3: stream->ReadLong(&value.long_value); break;
    case 4: stream->ReadSingle(&value.single); break;
    case 5: stream->ReadDouble(&value.double_value); break;
    case 6: stream->ReadCurrency(&value.currency); break;
    case 7: stream->ReadDate(&value.date); break;
    default: stream->ReadDecimal(&value.decimal); break;
  }
}

inline void SizeAndName(_Stream* stream) {
  LONG size = 0;
  stream->get_Size(&size);
  BSTR name = nullptr;
  if (SUCCEEDED(stream->get_Name(&name))) RequireTerminated(name);
  SysFreeString(name);
}

inline void RefusedCalls(_Stream* stream) {
  LONG count = 1;
  VARIANT bytes;
  VariantInit(&bytes);
  Require(FAILED(stream->Read(nullptr)));
  Require(FAILED(stream->ReadBytes(nullptr, &bytes)) && FAILED(stream->ReadBytes(&count, nullptr)));
  Require(FAILED(stream->ReadString(ssUnicodeString, ssWriteLengthFirst, 0, 1200, nullptr)));
  Require(FAILED(stream->Seek(0, ssSeekCurrent, nullptr)));
  Require(FAILED(stream->ReadLong(nullptr)) && FAILED(stream->get_Size(nullptr)) && FAILED(stream->get_Name(nullptr)));
  IDispatch* object = nullptr;
  Require(FAILED(stream->ReadPicture(&object)) && FAILED(stream->ReadObject(&object)) && !object);
}

// One write member with operands from the program; called only when the
// stream is read-only, where each must refuse (a fixed-length string of no
// characters writes nothing and succeeds).
inline void TryWrite(_Stream* stream, ProgramReader& program, bool call) {
  const std::uint8_t which = program.Byte();
  HRESULT hr = E_FAIL;
  switch (which % 8) {
    case 0: {
      const std::int32_t number = program.Int32();
      if (!call) return;
      VARIANT value;
      VariantInit(&value);
      value.vt = VT_I4;
      value.lVal = number;
      LONG written = 0;
      hr = stream->Write(value, &written);
      break;
    }
    case 1: {
      const std::uint8_t length = program.Byte() % 64;
      if (!call) return;
      SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, length);
      if (!array) return;
      VARIANT value;
      VariantInit(&value);
      value.vt = VT_ARRAY | VT_UI1;
      value.parray = array;
      LONG written = 0;
      hr = stream->WriteBytes(value, &written);
      // A refused array stays the caller's.
      if (FAILED(hr)) SafeArrayDestroy(array);
      break;
    }
    case 2: {
      const std::uint8_t scalar = program.Byte();
      if (!call) return;
      switch (scalar % 9) {
        case 0: hr = stream->WriteByte(1); break;
        case 1: hr = stream->WriteInteger(2); break;
        case 2: hr = stream->WriteBoolean(VARIANT_TRUE); break;
        case 3: hr = stream->WriteLong(4); break;
        case 4: hr = stream->WriteSingle(5.0f); break;
        case 5: hr = stream->WriteDouble(6.0); break;
        case 6: hr = stream->WriteCurrency(CY{}); break;
        case 7: hr = stream->WriteDate(7.0); break;
        default: hr = stream->WriteDecimal(DECIMAL{}); break;
      }
      break;
    }
    case 3: {
      const StringSettings s = ReadStringSettings(program);
      if (!call) return;
      BSTR text = SysAllocString(u"fuzz \u00E9\u65E5\u672C");
      hr = stream->WriteString(text, s.character_type, s.framing, s.char_count, s.code_page);
      SysFreeString(text);
      if (s.framing == ssFixedLength && s.char_count == 0) return;
      break;
    }
    case 4: {
      const std::int32_t size = program.Int32();
      if (!call) return;
      hr = stream->put_Size(size);
      break;
    }
    case 5: {
      if (!call) return;
      BSTR name = SysAllocString(u"Renamed");
      hr = stream->put_Name(name);
      SysFreeString(name);
      break;
    }
    case 6:
      if (!call) return;
      hr = stream->WritePicture(nullptr);
      break;
    default:
      if (!call) return;
      hr = stream->WriteObject(nullptr);
      break;
  }
  Require(FAILED(hr));
}

inline void RunStreamProgram(_Stream* stream, const std::uint8_t* program_bytes, std::size_t program_size,
                             bool read_only) {
  ProgramReader program(program_bytes, program_size);
  int string_reads = 0;
  while (!program.AtEnd()) {
    switch (program.Byte() % kOpCount) {
      case 0: ReadOneRecord(stream); break;
      case 1: {
        const StringSettings settings = ReadStringSettings(program);
        if (string_reads++ < kMaxStringReads) ReadOneString(stream, settings);
        break;
      }
      case 2: {
        const auto low = program.Byte();
        const auto count = static_cast<std::int16_t>(low | program.Byte() << 8);
        ReadSomeBytes(stream, count > kMaxReadBytes ? count % (kMaxReadBytes + 1) : count);
        break;
      }
      case 3: ReadOneScalar(stream, program.Byte()); break;
      case 4: {
        const LONG origin = kOrigins[program.Byte() % 5];
        LONG reached = 0;
        stream->Seek(program.Int32(), static_cast<ssSeekEnum>(origin), &reached);
        break;
      }
      case 5: SizeAndName(stream); break;
      case 6: TryWrite(stream, program, read_only); break;
      default: RefusedCalls(stream); break;
    }
  }
}

// A Stream object over the platform stream, with no owner, as a memory
// stream of the object model is.
inline ComPtr<_Stream> StreamObjectOver(IStream* platform, bool read_only) {
  ComPtr<stream_object::Stream> object = com::MakeObject<stream_object::Stream>();
  if (!object) return nullptr;
  UINT message = 0;
  if (FAILED(object->Initialize(0, platform, read_only, nullptr, nullptr, &message))) return nullptr;
  return ComPtr<_Stream>(static_cast<_Stream*>(object.get()));
}

// Reading members never change the bytes, nor do refused writes.
inline void RequireContent(IStream* platform, const std::uint8_t* content, std::size_t size) {
  STATSTG stat{};
  Require(SUCCEEDED(platform->Stat(&stat, STATFLAG_NONAME)) && stat.cbSize.QuadPart == size);
  LARGE_INTEGER zero{};
  Require(SUCCEEDED(platform->Seek(zero, STREAM_SEEK_SET, nullptr)));
  std::vector<std::uint8_t> bytes(size + 1);
  ULONG got = 0;
  platform->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &got);
  Require(got == size && (size == 0 || std::memcmp(bytes.data(), content, size) == 0));
}

inline void RunOnMemoryStream(const std::uint8_t* program, std::size_t program_size, const std::uint8_t* content,
                              std::size_t size) {
  ComPtr<IStream> platform;
  if (FAILED(CreateStreamOnHGlobal(nullptr, TRUE, platform.put()))) return;
  if (size) platform->Write(content, static_cast<ULONG>(size), nullptr);
  LARGE_INTEGER zero{};
  platform->Seek(zero, STREAM_SEEK_SET, nullptr);
  if (ComPtr<_Stream> stream = StreamObjectOver(platform.get(), false)) {
    RunStreamProgram(stream.get(), program, program_size, false);
  }
  RequireContent(platform.get(), content, size);
}

// The content as a stream of a compound file, opened read-only as a
// read-only storage's streams are.
inline void RunOnCompoundFileStream(const std::uint8_t* program, std::size_t program_size,
                                    const std::uint8_t* content, std::size_t size) {
  constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
  ComPtr<ILockBytes> memory;
  ComPtr<IStorage> root;
  if (FAILED(CreateILockBytesOnHGlobal(nullptr, TRUE, memory.put())) ||
      FAILED(StgCreateDocfileOnILockBytes(memory.get(), kCreate, 0, root.put()))) {
    return;
  }
  {
    ComPtr<IStream> writer;
    if (FAILED(root->CreateStream(u"Values", kCreate, 0, 0, writer.put()))) return;
    if (size) writer->Write(content, static_cast<ULONG>(size), nullptr);
  }
  ComPtr<IStream> platform;
  if (FAILED(root->OpenStream(u"Values", nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, platform.put()))) return;
  if (ComPtr<_Stream> stream = StreamObjectOver(platform.get(), true)) {
    RunStreamProgram(stream.get(), program, program_size, true);
  }
  RequireContent(platform.get(), content, size);
}

inline void RunOneStreamProgram(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return;
  const std::uint8_t flags = data[0];
  const std::size_t program_size = std::min<std::size_t>(data[1], size - 2);
  const std::uint8_t* program = data + 2;
  const std::uint8_t* content = program + program_size;
  const std::size_t content_size = std::min(size - 2 - program_size, kMaxContent);
  RunOnMemoryStream(program, program_size, content, content_size);
  if (flags & kOnCompoundFile) RunOnCompoundFileStream(program, program_size, content, content_size);
  // The failures' reports are not looked at; none outlives the input, and
  // neither does any object of the library.
  SetErrorInfo(0, nullptr);
  Require(DllCanUnloadNow() == S_OK);
}

}  // namespace quillbox::fuzz
