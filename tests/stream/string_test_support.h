// Helpers for the string members' tests: settings by name, write and read
// shorthands, compound-file streams (which can move past 4 GB, so undo steps
// show) and a stream that refuses its n-th write.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "platform/com/com_object.h"
#include "stream/stream.h"
#include "faulty_stream.h"
#include "stream_support.h"

namespace quillbox::testing {


inline constexpr ULONGLONG k4G = 0x100000000ull;
inline constexpr LONG kUtf16 = ssUnicodeString;
inline constexpr LONG kAnsi = ssCurrentCodePageString;
inline constexpr LONG kLengthFirst = ssWriteLengthFirst;
inline constexpr LONG kZeroTerminated = ssNullTerminated;
inline constexpr LONG kFixed = ssFixedLength;

inline const std::u16string kEuroText = u"\u00E9\u20AC";     // é€: E9 80 in 1252
inline const std::u16string kOemText = u"\u00E9\u00FC";      // éü: 82 81 in 437
inline const std::u16string kJapanese = u"\u65E5\u672C";     // 日本: 93 FA 96 7B in 932
inline const std::u16string kAccessDenied = u"Access is denied.";
inline const std::u16string kReadError = u"Error while reading the Stream.";
inline const std::u16string kOutOfMemory = u"Insufficient memory.";
inline const std::u16string kInvalidParameter = u"Invalid parameter.";
inline const std::u16string kReadOnly = u"Impossible action with a read only object.";
inline const std::u16string kTranslation = u"A failed attempt was made to translate a Unicode string to or from ANSI. \n";
inline const std::u16string kCodePageUnknown = u"Code page not found or not supported.";

inline HRESULT WriteText(_Stream* stream, BSTR text, LONG type, LONG framing, LONG count, LONG code_page) {
  return stream->WriteString(text, static_cast<ssCharacterTypeEnum>(type), static_cast<ssStringInStreamEnum>(framing),
                             count, code_page);
}

inline HRESULT WriteText(const StreamUnderTest& s, const std::u16string& text, LONG type = kUtf16,
                  LONG framing = kLengthFirst, LONG count = 0, LONG code_page = 1200) {
  Bstr owned(text);
  return WriteText(s.stream.get(), owned.get(), type, framing, count, code_page);
}

inline HRESULT ReadText(const StreamUnderTest& s, Bstr* out, LONG type = kUtf16, LONG framing = kLengthFirst,
                 LONG count = 0, LONG code_page = 1200) {
  return s.stream->ReadString(static_cast<ssCharacterTypeEnum>(type), static_cast<ssStringInStreamEnum>(framing),
                              count, code_page, out->put());
}

// Writes text, checks the bytes, reads it back from the start with the
// same settings and checks the text and that the read took every byte.
inline void ExpectRoundTrip(const std::u16string& text, const Bytes& expected, LONG type, LONG framing, LONG count = 0,
                     LONG code_page = 1200) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(WriteText(s, text, type, framing, count, code_page), S_OK);
  EXPECT_EQ(s.Contents(), expected);
  s.Fill(expected);
  Bstr back;
  ASSERT_EQ(ReadText(s, &back, type, framing, count, code_page), S_OK);
  EXPECT_EQ(back.text(), text);
  EXPECT_EQ(s.Position(), expected.size());
}

// A stream of a compound file in memory. Unlike a memory stream it can be
// moved past 4 GB, so it shows where an undo step leaves the position; opened
// read-only, it refuses writes as a read-only document's streams do.
struct FileStream {
  ComPtr<IStorage> storage;
  StreamUnderTest s;
};

inline FileStream MakeFileStream(const Bytes& initial, bool read_only = false) {
  FileStream made;
  ComPtr<ILockBytes> bytes;
  EXPECT_EQ(CreateILockBytesOnHGlobal(nullptr, TRUE, bytes.put()), S_OK);
  EXPECT_EQ(StgCreateDocfileOnILockBytes(bytes.get(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0,
                                         made.storage.put()),
            S_OK);
  EXPECT_EQ(made.storage->CreateStream(u"s", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, made.s.platform.put()),
            S_OK);
  made.s.Fill(initial);
  if (read_only) {
    made.s.platform.reset();
    EXPECT_EQ(made.storage->Commit(0), S_OK);
    made.storage.reset();
    EXPECT_EQ(StgOpenStorageOnILockBytes(bytes.get(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0,
                                         made.storage.put()),
              S_OK);
    EXPECT_EQ(made.storage->OpenStream(u"s", nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, made.s.platform.put()),
              S_OK);
  }
  made.s.stream = MakeStreamOver(made.s.platform.get(), read_only);
  return made;
}

// A compound-file stream whose failing_write-th write is refused with code;
// the test inspects the compound-file stream underneath.
struct RefusingFileStream {
  FileStream file;
  ComPtr<_Stream> stream;
};

inline RefusingFileStream MakeRefusingStream(int failing_write, HRESULT code) {
  RefusingFileStream made{MakeFileStream({}), nullptr};
  ComPtr<FaultyStream> refusing = com::MakeObject<FaultyStream>(made.file.s.platform.get());
  refusing->FailWriteNumber(failing_write, code);
  made.stream = MakeStreamOver(refusing.get(), false);
  return made;
}

}  // namespace quillbox::testing
