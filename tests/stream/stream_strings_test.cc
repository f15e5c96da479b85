// Stream: WriteString and ReadString, in each framing and encoding, byte by
// byte, with their failures and the undo steps that follow them.
#include <gtest/gtest.h>

#include <string>

#include "platform/com/com_object.h"
#include "stream/stream.h"
#include "stream_support.h"

namespace quillbox::testing {
namespace {

constexpr ULONGLONG k4G = 0x100000000ull;
constexpr LONG kUtf16 = ssUnicodeString;
constexpr LONG kAnsi = ssCurrentCodePageString;
constexpr LONG kLengthFirst = ssWriteLengthFirst;
constexpr LONG kZeroTerminated = ssNullTerminated;
constexpr LONG kFixed = ssFixedLength;

const std::u16string kEuroText = u"\u00E9\u20AC";     // é€: E9 80 in 1252
const std::u16string kOemText = u"\u00E9\u00FC";      // éü: 82 81 in 437
const std::u16string kJapanese = u"\u65E5\u672C";     // 日本: 93 FA 96 7B in 932
const std::u16string kAccessDenied = u"Access is denied.";
const std::u16string kReadError = u"Error while reading the Stream.";
const std::u16string kOutOfMemory = u"Insufficient memory.";
const std::u16string kInvalidParameter = u"Invalid parameter.";
const std::u16string kReadOnly = u"Impossible action with a read only object.";
const std::u16string kTranslation = u"A failed attempt was made to translate a Unicode string to or from ANSI. \n";
const std::u16string kCodePageUnknown = u"Code page not found or not supported.";

HRESULT WriteText(_Stream* stream, BSTR text, LONG type, LONG framing, LONG count, LONG code_page) {
  return stream->WriteString(text, static_cast<ssCharacterTypeEnum>(type), static_cast<ssStringInStreamEnum>(framing),
                             count, code_page);
}

HRESULT WriteText(const StreamUnderTest& s, const std::u16string& text, LONG type = kUtf16,
                  LONG framing = kLengthFirst, LONG count = 0, LONG code_page = 1200) {
  OwnedBstr owned(text);
  return WriteText(s.stream.get(), owned.get(), type, framing, count, code_page);
}

HRESULT ReadText(const StreamUnderTest& s, OwnedBstr* out, LONG type = kUtf16, LONG framing = kLengthFirst,
                 LONG count = 0, LONG code_page = 1200) {
  return s.stream->ReadString(static_cast<ssCharacterTypeEnum>(type), static_cast<ssStringInStreamEnum>(framing),
                              count, code_page, out->put());
}

// Writes text, checks the bytes, reads it back from the start with the
// same settings and checks the text and that the read took every byte.
void ExpectRoundTrip(const std::u16string& text, const Bytes& expected, LONG type, LONG framing, LONG count = 0,
                     LONG code_page = 1200) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(WriteText(s, text, type, framing, count, code_page), S_OK);
  EXPECT_EQ(s.Contents(), expected);
  s.Fill(expected);
  OwnedBstr back;
  ASSERT_EQ(ReadText(s, &back, type, framing, count, code_page), S_OK);
  EXPECT_EQ(back.text(), text);
  EXPECT_EQ(s.Position(), expected.size());
}

ComPtr<_Stream> Wrap(IStream* platform, bool read_only) {
  ComPtr<stream_object::Stream> object = com::MakeObject<stream_object::Stream>();
  UINT message = 0;
  EXPECT_EQ(object->Initialize(0, platform, read_only, nullptr, nullptr, &message), S_OK);
  return ComPtr<_Stream>(static_cast<_Stream*>(object.get()));
}

// A stream of a compound file in memory. Unlike a memory stream it can be
// moved past 4 GB, so it shows where an undo step leaves the position; opened
// read-only, it refuses writes as a read-only document's streams do.
struct FileStream {
  ComPtr<IStorage> storage;
  StreamUnderTest s;
};

FileStream MakeFileStream(const Bytes& initial, bool read_only = false) {
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
  made.s.stream = Wrap(made.s.platform.get(), read_only);
  return made;
}

// Passes everything on to a stream but refuses one write (counted from 1)
// with the given code.
class WriteRefusingStream final : public com::ComObject<WriteRefusingStream, IStream> {
 public:
  WriteRefusingStream(IStream* inner, int failing_write, HRESULT code)
      : inner_(inner), failing_write_(failing_write), code_(code) {}

  STDMETHODIMP Read(void* pv, ULONG cb, ULONG* pcbRead) override { return inner_->Read(pv, cb, pcbRead); }
  STDMETHODIMP Write(const void* pv, ULONG cb, ULONG* pcbWritten) override {
    if (++writes_ == failing_write_) return code_;
    return inner_->Write(pv, cb, pcbWritten);
  }
  STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* reached) override {
    return inner_->Seek(move, origin, reached);
  }
  STDMETHODIMP SetSize(ULARGE_INTEGER size) override { return inner_->SetSize(size); }
  STDMETHODIMP CopyTo(IStream* to, ULARGE_INTEGER cb, ULARGE_INTEGER* read, ULARGE_INTEGER* written) override {
    return inner_->CopyTo(to, cb, read, written);
  }
  STDMETHODIMP Commit(DWORD flags) override { return inner_->Commit(flags); }
  STDMETHODIMP Revert() override { return inner_->Revert(); }
  STDMETHODIMP LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) override {
    return inner_->LockRegion(offset, cb, type);
  }
  STDMETHODIMP UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) override {
    return inner_->UnlockRegion(offset, cb, type);
  }
  STDMETHODIMP Stat(STATSTG* stat, DWORD flags) override { return inner_->Stat(stat, flags); }
  STDMETHODIMP Clone(IStream** clone) override { return inner_->Clone(clone); }

 private:
  ComPtr<IStream> inner_;
  int writes_ = 0;
  int failing_write_;
  HRESULT code_;
};

// A compound-file stream whose failing_write-th write is refused with code;
// the test inspects the compound-file stream underneath.
struct RefusingFileStream {
  FileStream file;
  ComPtr<_Stream> stream;
};

RefusingFileStream MakeRefusingStream(int failing_write, HRESULT code) {
  RefusingFileStream made{MakeFileStream({}), nullptr};
  ComPtr<WriteRefusingStream> refusing =
      com::MakeObject<WriteRefusingStream>(made.file.s.platform.get(), failing_write, code);
  made.stream = Wrap(refusing.get(), false);
  return made;
}

// --- The framings, in UTF-16 and the current code page ---

TEST(StreamStrings, DefaultsWriteTheUnitCountThenTheUnits) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(WriteText(s, u"AB"), S_OK);
  EXPECT_EQ(s.Contents(), (Bytes{0x02, 0, 0, 0, 0x41, 0, 0x42, 0}));
}

TEST(StreamStrings, DefaultsReadTheTextBack) {
  StreamUnderTest s = MakeStream(false, {0x02, 0, 0, 0, 0x41, 0, 0x42, 0});
  OwnedBstr text;
  ASSERT_EQ(ReadText(s, &text), S_OK);
  EXPECT_EQ(text.text(), u"AB");
  EXPECT_EQ(s.Position(), 8u);
}

TEST(StreamStrings, CurrentCodePageLengthFirstCountsConvertedBytes) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(WriteText(s, u"AB", kAnsi), S_OK);
  EXPECT_EQ(s.Contents(), (Bytes{0x02, 0, 0, 0, 0x41, 0x42}));
}

TEST(StreamStrings, EmptyTextInACodePageIsTheCountZeroAlone) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(WriteText(s, u"", kAnsi), S_OK);
  EXPECT_EQ(s.Contents(), (Bytes{0, 0, 0, 0}));
}

TEST(StreamStrings, AbsentTextIsWrittenAsTheCountZero) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(WriteText(s.stream.get(), nullptr, kUtf16, kLengthFirst, 0, 1200), S_OK);
  EXPECT_EQ(s.Contents(), (Bytes{0, 0, 0, 0}));
}

TEST(StreamStrings, EmptyLengthFirstTextReadsAsAnEmptyStringNotAnAbsentOne) {
  StreamUnderTest s = MakeStream(false, {0, 0, 0, 0, 0, 0, 0, 0});
  OwnedBstr utf16;
  ASSERT_EQ(ReadText(s, &utf16), S_OK);
  ASSERT_NE(utf16.get(), nullptr);
  EXPECT_EQ(SysStringLen(utf16.get()), 0u);
  OwnedBstr ansi;
  ASSERT_EQ(ReadText(s, &ansi, kAnsi), S_OK);
  ASSERT_NE(ansi.get(), nullptr);
  EXPECT_EQ(SysStringLen(ansi.get()), 0u);
}

TEST(StreamStrings, Utf16ZeroTerminatedWritesTheUnitsThenTwoZeroBytes) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(WriteText(s, u"AB", kUtf16, kZeroTerminated), S_OK);
  EXPECT_EQ(s.Contents(), (Bytes{0x41, 0, 0x42, 0, 0, 0}));
}

TEST(StreamStrings, CodePageZeroTerminatedWritesTheBytesThenOneZeroByte) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(WriteText(s, u"AB", kAnsi, kZeroTerminated), S_OK);
  EXPECT_EQ(s.Contents(), (Bytes{0x41, 0x42, 0}));
}

TEST(StreamStrings, EmptyTextZeroTerminatedIsTheTerminatorAlone) {
  StreamUnderTest utf16 = MakeStream();
  ASSERT_EQ(WriteText(utf16, u"", kUtf16, kZeroTerminated), S_OK);
  EXPECT_EQ(utf16.Contents(), (Bytes{0, 0}));
  StreamUnderTest ansi = MakeStream();
  ASSERT_EQ(WriteText(ansi, u"", kAnsi, kZeroTerminated), S_OK);
  EXPECT_EQ(ansi.Contents(), (Bytes{0}));
}

TEST(StreamStrings, Utf16FixedLengthPadsWithZeroUnitsAndReadsBack) {
  ExpectRoundTrip(u"ABC", {0x41, 0, 0x42, 0, 0x43, 0, 0, 0, 0, 0}, kUtf16, kFixed, 5);
}

TEST(StreamStrings, CodePageFixedLengthCutsTheTextToNbChar) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(WriteText(s, u"ABCDEF", kAnsi, kFixed, 3), S_OK);
  EXPECT_EQ(s.Contents(), (Bytes{0x41, 0x42, 0x43}));
}

TEST(StreamStrings, CodePageFixedLengthPadsWithZeroBytes) {
  ExpectRoundTrip(u"AB", {0x41, 0x42, 0, 0}, kAnsi, kFixed, 4);
}

TEST(StreamStrings, FixedLengthWithNbCharZeroWritesNothingAndSucceeds) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(WriteText(s, u"ABC", kUtf16, kFixed, 0), S_OK);
  ASSERT_EQ(WriteText(s, u"ABC", kAnsi, kFixed, 0), S_OK);
  EXPECT_TRUE(s.Contents().empty());
  EXPECT_EQ(s.Position(), 0u);
}

TEST(StreamStrings, EmptyTextFixedLengthInACodePageFailsTranslation) {
  StreamUnderTest s = MakeStream();
  EXPECT_STREAM_FAILURE(WriteText(s, u"", kAnsi, kFixed, 4), 0x80070459, kTranslation);
  EXPECT_TRUE(s.Contents().empty());
}

TEST(StreamStrings, EmptyUtf16TextFixedLengthIsAllPaddingEvenOnAFileStream) {
  // A compound-file stream refuses a null buffer: the empty body must not pass one.
  FileStream file = MakeFileStream({});
  ASSERT_EQ(WriteText(file.s.stream.get(), nullptr, kUtf16, kFixed, 2, 1200), S_OK);
  EXPECT_EQ(file.s.Contents(), (Bytes{0, 0, 0, 0}));
}

TEST(StreamStrings, FramingOtherThanZeroToTwoOnWriteIsAnInvalidParameter) {
  StreamUnderTest s = MakeStream();
  EXPECT_STREAM_FAILURE(WriteText(s, u"AB", kUtf16, 3), STG_E_INVALIDPARAMETER, kInvalidParameter);
  EXPECT_TRUE(s.Contents().empty());
}

TEST(StreamStrings, ReadWithFramingSevenSucceedsWithNoString) {
  StreamUnderTest s = MakeStream(false, {0x41, 0, 0, 0});
  OwnedBstr text;
  ASSERT_EQ(ReadText(s, &text, kUtf16, 7), S_OK);
  EXPECT_EQ(text.get(), nullptr);
  EXPECT_EQ(s.Position(), 0u);
}

// --- Embedded zeros ---

TEST(StreamStrings, ZeroUnitWithZeroTerminatedFramingIsRefusedInEveryEncoding) {
  StreamUnderTest s = MakeStream();
  const std::u16string text(u"A\0B", 3);
  const std::u16string message =
      u"Can't use null terminated storage for a string that contain embedded null characters.";
  EXPECT_STREAM_FAILURE(WriteText(s, text, kUtf16, kZeroTerminated), 0x80070459, message);
  EXPECT_STREAM_FAILURE(WriteText(s, text, kAnsi, kZeroTerminated), 0x80070459, message);
  EXPECT_TRUE(s.Contents().empty());
}

TEST(StreamStrings, ZeroUnitWithACodePageIsRefusedInLengthFirstAndFixedLength) {
  StreamUnderTest s = MakeStream();
  const std::u16string text(u"A\0B", 3);
  const std::u16string message = u"Cannot change CodePage for a string that contain embedded null characters.";
  EXPECT_STREAM_FAILURE(WriteText(s, text, kAnsi, kLengthFirst), 0x80070459, message);
  EXPECT_STREAM_FAILURE(WriteText(s, text, kAnsi, kFixed, 3), 0x80070459, message);
  EXPECT_TRUE(s.Contents().empty());
}

TEST(StreamStrings, FixedLengthLooksForZerosOnlyInTheKeptPart) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(WriteText(s, std::u16string(u"AB\0C", 4), kAnsi, kFixed, 2), S_OK);
  EXPECT_EQ(s.Contents(), (Bytes{0x41, 0x42}));
}

TEST(StreamStrings, ZeroUnitInUtf16LengthFirstIsWrittenAndReadBackWhole) {
  ExpectRoundTrip(std::u16string(u"A\0B", 3), {0x03, 0, 0, 0, 0x41, 0, 0, 0, 0x42, 0}, kUtf16, kLengthFirst);
}

// --- Code pages ---

TEST(StreamStrings, Code1252InEveryFraming) {
  ExpectRoundTrip(kEuroText, {0x02, 0, 0, 0, 0xE9, 0x80}, 1252, kLengthFirst);
  ExpectRoundTrip(kEuroText, {0xE9, 0x80, 0}, 1252, kZeroTerminated);
  ExpectRoundTrip(kEuroText, {0xE9, 0x80, 0, 0}, 1252, kFixed, 4);
}

TEST(StreamStrings, Code437InEveryFraming) {
  ExpectRoundTrip(kOemText, {0x02, 0, 0, 0, 0x82, 0x81}, 437, kLengthFirst);
  ExpectRoundTrip(kOemText, {0x82, 0x81, 0}, 437, kZeroTerminated);
  ExpectRoundTrip(kOemText, {0x82, 0x81, 0}, 437, kFixed, 3);
}

TEST(StreamStrings, ShiftJisLengthFirstCountsBytesNotCharacters) {
  ExpectRoundTrip(kJapanese, {0x04, 0, 0, 0, 0x93, 0xFA, 0x96, 0x7B}, 932, kLengthFirst);
}

TEST(StreamStrings, ShiftJisZeroTerminatedReadsLeadAndTrailBytesAsOneCharacter) {
  ExpectRoundTrip(u"A" + kJapanese + u"B", {0x41, 0x93, 0xFA, 0x96, 0x7B, 0x42, 0}, 932, kZeroTerminated);
}

TEST(StreamStrings, ShiftJisFixedLengthTakesMoreThanNbCharBytes) {
  // Two characters of two bytes, then one unit of padding: five bytes for
  // NbChar 3; reading three characters takes the padding byte too.
  ExpectRoundTrip(kJapanese, {0x93, 0xFA, 0x96, 0x7B, 0}, 932, kFixed, 3);
}

TEST(StreamStrings, ShiftJisFixedLengthReadCountsADoubleByteCharacterOnce) {
  StreamUnderTest s = MakeStream(false, {0x93, 0xFA, 0x41, 0x42});
  OwnedBstr text;
  ASSERT_EQ(ReadText(s, &text, 932, kFixed, 2), S_OK);
  EXPECT_EQ(text.text(), u"\u65E5A");
  EXPECT_EQ(s.Position(), 3u);
}

TEST(StreamStrings, Utf16InEveryFraming) {
  ExpectRoundTrip(kJapanese, {0x02, 0, 0, 0, 0xE5, 0x65, 0x2C, 0x67}, kUtf16, kLengthFirst);
  ExpectRoundTrip(kJapanese, {0xE5, 0x65, 0x2C, 0x67, 0, 0}, kUtf16, kZeroTerminated);
  ExpectRoundTrip(kJapanese, {0xE5, 0x65, 0x2C, 0x67, 0, 0}, kUtf16, kFixed, 3);
}

TEST(StreamStrings, SpecificCodePageTakesCodePage) {
  ExpectRoundTrip(kEuroText, {0x02, 0, 0, 0, 0xE9, 0x80}, ssSpecificCodePage, kLengthFirst, 0, 1252);
  ExpectRoundTrip(kJapanese, {0x93, 0xFA, 0x96, 0x7B, 0}, ssSpecificCodePage, kZeroTerminated, 0, 932);
}

TEST(StreamStrings, CodePageIsIgnoredUnlessCharacterTypeIsSpecific) {
  ExpectRoundTrip(kEuroText, {0xE9, 0x80, 0}, 1252, kZeroTerminated, 0, 932);
}

TEST(StreamStrings, OemAndMacintoshCharacterTypesUseTheSystemsPages) {
  ExpectRoundTrip(u"\u00E9", {0x82, 0}, ssOemString, kZeroTerminated);        // 437
  ExpectRoundTrip(u"\u00E9", {0x8E, 0}, ssMacintoshString, kZeroTerminated);  // Mac Roman
}

TEST(StreamStrings, SpecificCodePage1200GoesToThePlatformWhichRefusesIt) {
  StreamUnderTest s = MakeStream(false, {0x02, 0, 0, 0, 0x41, 0, 0x42, 0});
  EXPECT_STREAM_FAILURE(WriteText(s, u"AB", ssSpecificCodePage, kLengthFirst, 0, 1200), STG_E_INVALIDPARAMETER,
                        kCodePageUnknown);
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(s, &text, ssSpecificCodePage, kLengthFirst, 0, 1200), STG_E_INVALIDPARAMETER,
                        kCodePageUnknown);
  EXPECT_EQ(s.Position(), 0u);
}

TEST(StreamStrings, SymbolCharacterTypeHasNoCodePageInfoOnThePlatform) {
  StreamUnderTest s = MakeStream();
  EXPECT_STREAM_FAILURE(WriteText(s, u"AB", ssSymbolString), STG_E_INVALIDPARAMETER, kCodePageUnknown);
  EXPECT_TRUE(s.Contents().empty());
}

TEST(StreamStrings, UnknownSpecificCodePageFailsBeforeAnythingIsWritten) {
  StreamUnderTest s = MakeStream(false, {1, 2, 3});
  BYTE first = 0;
  ASSERT_EQ(s.stream->ReadByte(&first), S_OK);
  EXPECT_STREAM_FAILURE(WriteText(s, u"AB", ssSpecificCodePage, kLengthFirst, 0, 12345), STG_E_INVALIDPARAMETER,
                        kCodePageUnknown);
  EXPECT_EQ(s.Contents(), (Bytes{1, 2, 3}));
  EXPECT_EQ(s.Position(), 1u);
}

TEST(StreamStrings, UnknownSpecificCodePageFailsBeforeAnythingIsRead) {
  StreamUnderTest s = MakeStream(false, {0x02, 0, 0, 0, 0x41, 0x42});
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(s, &text, ssSpecificCodePage, kZeroTerminated, 0, 12345), STG_E_INVALIDPARAMETER,
                        kCodePageUnknown);
  EXPECT_EQ(s.Position(), 0u);
}

// --- Reading ---

TEST(StreamStrings, CodePageLengthFirstReadStopsAtTheFirstZeroByte) {
  StreamUnderTest s = MakeStream(false, {0x04, 0, 0, 0, 0x41, 0, 0x42, 0x43, 0x44});
  OwnedBstr text;
  ASSERT_EQ(ReadText(s, &text, kAnsi), S_OK);
  EXPECT_EQ(text.text(), u"A");
  EXPECT_EQ(s.Position(), 8u);
}

TEST(StreamStrings, Utf16LengthFirstReadPastTheEndGivesZeroUnits) {
  StreamUnderTest s = MakeStream(false, {0x03, 0, 0, 0, 0x41, 0});
  OwnedBstr text;
  ASSERT_EQ(ReadText(s, &text), S_OK);
  EXPECT_EQ(text.text(), std::u16string(u"A\0\0", 3));
  EXPECT_EQ(s.Position(), 6u);
}

TEST(StreamStrings, LengthFirstReadWithAShortPrefixFailsWithoutUndo) {
  StreamUnderTest s = MakeStream(false, {0x01, 0, 0});
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(s, &text), STG_E_INSUFFICIENTMEMORY, kReadError);
  EXPECT_EQ(s.Position(), 3u);
}

TEST(StreamStrings, ZeroTerminatedReadWithoutTerminatorFailsWithReadError) {
  StreamUnderTest utf16 = MakeStream(false, {0x41, 0, 0x42, 0});
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(utf16, &text, kUtf16, kZeroTerminated), STG_E_INSUFFICIENTMEMORY, kReadError);
  StreamUnderTest ansi = MakeStream(false, {0x41, 0x42});
  EXPECT_STREAM_FAILURE(ReadText(ansi, &text, kAnsi, kZeroTerminated), STG_E_INSUFFICIENTMEMORY, kReadError);
}

TEST(StreamStrings, ZeroTerminatedUtf16ReadAppendsUnitsFrom0x8000Alone) {
  StreamUnderTest s = MakeStream(false, {0x00, 0x80, 0xFF, 0xFF, 0x41, 0x00, 0x00, 0x00});
  OwnedBstr text;
  ASSERT_EQ(ReadText(s, &text, kUtf16, kZeroTerminated), S_OK);
  EXPECT_EQ(text.text(), u"\u8000\uFFFFA");
  EXPECT_EQ(s.Position(), 8u);
}

TEST(StreamStrings, Utf16FixedLengthReadStopsAtTheFirstZeroUnit) {
  StreamUnderTest s = MakeStream(false, {0x41, 0, 0, 0, 0x42, 0, 0, 0});
  OwnedBstr text;
  ASSERT_EQ(ReadText(s, &text, kUtf16, kFixed, 4), S_OK);
  EXPECT_EQ(text.text(), u"A");
  EXPECT_EQ(s.Position(), 8u);
}

TEST(StreamStrings, Utf16FixedLengthReadPastTheEndGivesWhatThereIs) {
  StreamUnderTest s = MakeStream(false, {0x41, 0, 0x42});
  OwnedBstr text;
  ASSERT_EQ(ReadText(s, &text, kUtf16, kFixed, 1000000), S_OK);
  EXPECT_EQ(text.text(), u"AB");
  EXPECT_EQ(s.Position(), 3u);
}

TEST(StreamStrings, CodePageFixedLengthReadDropsZeroBytes) {
  StreamUnderTest s = MakeStream(false, {0x41, 0, 0x42, 0, 0x43});
  OwnedBstr text;
  ASSERT_EQ(ReadText(s, &text, kAnsi, kFixed, 4), S_OK);
  EXPECT_EQ(text.text(), u"AB");
  EXPECT_EQ(s.Position(), 4u);
}

TEST(StreamStrings, CodePageFixedLengthReadOfNoCharactersReadsNothing) {
  StreamUnderTest s = MakeStream(false, {0x41});
  OwnedBstr text;
  ASSERT_EQ(ReadText(s, &text, kAnsi, kFixed, 0), S_OK);
  ASSERT_NE(text.get(), nullptr);
  EXPECT_EQ(SysStringLen(text.get()), 0u);
  EXPECT_EQ(s.Position(), 0u);
}

TEST(StreamStrings, NegativeNbCharOnReadIsRefusedBeforeReading) {
  StreamUnderTest s = MakeStream(false, {0x41, 0, 0x42, 0});
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(s, &text, kUtf16, kFixed, -1), STG_E_INVALIDPARAMETER, kInvalidParameter);
  EXPECT_STREAM_FAILURE(ReadText(s, &text, kAnsi, kFixed, -2), STG_E_INVALIDPARAMETER, kInvalidParameter);
  EXPECT_EQ(s.Position(), 0u);
}

TEST(StreamStrings, ReadWithANullResultIsAnInvalidPointer) {
  StreamUnderTest s = MakeStream(false, {0, 0, 0, 0});
  EXPECT_STREAM_FAILURE(s.stream->ReadString(ssUnicodeString, ssWriteLengthFirst, 0, 1200, nullptr),
                        STG_E_INVALIDPOINTER, u"Invalid Pointer.");
  EXPECT_EQ(s.Position(), 0u);
}

TEST(StreamStrings, NegativeNbCharOnWriteKeepsTheTextAndRefusesThePadding) {
  // Compared unsigned, NbChar -1 is longer than the text: the text goes in
  // whole and the padding (about 4 GB) cannot be allocated.
  StreamUnderTest s = MakeStream();
  EXPECT_STREAM_FAILURE(WriteText(s, u"AB", kAnsi, kFixed, -1), STG_E_INSUFFICIENTMEMORY, kOutOfMemory);
  EXPECT_EQ(s.Contents(), (Bytes{0x41, 0x42}));
}

// --- Undo steps: Seek(-n) does not sign-extend, so they move 2^32 - n on ---

TEST(StreamStrings, NegativeUtf16CountUndoesThePrefixForwards) {
  FileStream file = MakeFileStream({0xFF, 0xFF, 0xFF, 0xFF, 0x41, 0});
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text), STG_E_INSUFFICIENTMEMORY, kOutOfMemory);
  EXPECT_EQ(file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, NegativeCodePageCountUndoesThePrefixForwards) {
  FileStream file = MakeFileStream({0xFE, 0xFF, 0xFF, 0xFF, 0x41});
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text, kAnsi), STG_E_INSUFFICIENTMEMORY, kOutOfMemory);
  EXPECT_EQ(file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, Utf16CountFarPastTheEndIsRefusedAsAnAllocationFailure) {
  FileStream file = MakeFileStream({0x00, 0x00, 0x00, 0x40, 0x41, 0});
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text), STG_E_INSUFFICIENTMEMORY, kOutOfMemory);
  EXPECT_EQ(file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, ZeroTerminatedUtf16ReadFailureUndoesTheUnitsRead) {
  FileStream file = MakeFileStream({0x41, 0, 0x42, 0});
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text, kUtf16, kZeroTerminated), STG_E_INSUFFICIENTMEMORY, kReadError);
  EXPECT_EQ(file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, ZeroTerminatedUtf16ReadFailureUndoesWholeUnitsOnly) {
  // The half unit at the end moved the position but is not counted.
  FileStream file = MakeFileStream({0x41, 0, 0x42});
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text, kUtf16, kZeroTerminated), STG_E_INSUFFICIENTMEMORY, kReadError);
  EXPECT_EQ(file.s.Position(), 3 + (k4G - 2));
}

TEST(StreamStrings, ZeroTerminatedCodePageReadFailureUndoesTheBytesRead) {
  FileStream file = MakeFileStream({0x41, 0x93});  // a lead byte with no trail byte
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text, 932, kZeroTerminated), STG_E_INSUFFICIENTMEMORY, kReadError);
  EXPECT_EQ(file.s.Position(), 2 + (k4G - 2));
}

TEST(StreamStrings, LeadByteBeforeAZeroByteFailsTranslationAndUndoes) {
  // The platform makes two units of a lead byte and a zero byte, not one.
  FileStream file = MakeFileStream({0x41, 0x93, 0x00, 0x42});
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text, 932, kZeroTerminated), 0x80070459, kTranslation);
  EXPECT_EQ(file.s.Position(), 3 + (k4G - 3));
}

TEST(StreamStrings, UndoThatAMemoryStreamRefusesKeepsTheFailureReported) {
  // A memory stream cannot go past 4 GB: the undo's Seek fails, and the
  // read failure reported before it is still the one the client sees.
  StreamUnderTest s = MakeStream(false, {0x41, 0x42});
  OwnedBstr text;
  EXPECT_STREAM_FAILURE(ReadText(s, &text, kAnsi, kZeroTerminated), STG_E_INSUFFICIENTMEMORY, kReadError);
  EXPECT_EQ(s.Position(), 2u);
}

// --- Body writes refused by the platform ---

TEST(StreamStrings, LengthFirstBodyFailureUndoesThePrefixAndIsMapped) {
  RefusingFileStream refusing = MakeRefusingStream(2, STG_E_MEDIUMFULL);
  OwnedBstr text(u"AB");
  EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), kUtf16, kLengthFirst, 0, 1200), STG_E_MEDIUMFULL,
                        u"Destination Medium is full.");
  EXPECT_EQ(refusing.file.s.Contents(), (Bytes{0x02, 0, 0, 0}));
  EXPECT_EQ(refusing.file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, BodyWriteFailuresMapToTheirMessages) {
  const struct {
    HRESULT code;
    std::u16string message;
  } cases[] = {
      {STG_E_ACCESSDENIED, kAccessDenied},          {STG_E_INVALIDPOINTER, u"Invalid Pointer."},
      {STG_E_WRITEFAULT, u"Write fault."},          {STG_E_CANTSAVE, u"Write fault."},
      {STG_E_MEDIUMFULL, u"Destination Medium is full."}, {E_FAIL, u"Unexpected Error."},
  };
  for (const auto& c : cases) {
    RefusingFileStream refusing = MakeRefusingStream(2, c.code);
    OwnedBstr text(u"AB");
    EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), kAnsi, kLengthFirst, 0, 1200), c.code,
                          c.message);
  }
}

TEST(StreamStrings, Utf16TerminatorFailureUndoesTheText) {
  RefusingFileStream refusing = MakeRefusingStream(2, STG_E_MEDIUMFULL);
  OwnedBstr text(u"AB");
  EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), kUtf16, kZeroTerminated, 0, 1200),
                        STG_E_MEDIUMFULL, u"Destination Medium is full.");
  EXPECT_EQ(refusing.file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, Utf16ZeroTerminatedBodyFailureIsMappedBeforeTheTerminator) {
  RefusingFileStream refusing = MakeRefusingStream(1, STG_E_WRITEFAULT);
  OwnedBstr text(u"AB");
  EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), kUtf16, kZeroTerminated, 0, 1200),
                        STG_E_WRITEFAULT, u"Write fault.");
  EXPECT_TRUE(refusing.file.s.Contents().empty());
}

TEST(StreamStrings, CodePageTerminatorFailureUndoesByCharactersNotBytes) {
  RefusingFileStream refusing = MakeRefusingStream(2, STG_E_MEDIUMFULL);
  OwnedBstr text(kJapanese);
  EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), 932, kZeroTerminated, 0, 1200),
                        STG_E_MEDIUMFULL, u"Destination Medium is full.");
  EXPECT_EQ(refusing.file.s.Contents(), (Bytes{0x93, 0xFA, 0x96, 0x7B}));
  EXPECT_EQ(refusing.file.s.Position(), 4 + (k4G - 2));
}

TEST(StreamStrings, CodePageZeroTerminatedIgnoresARefusedBody) {
  RefusingFileStream refusing = MakeRefusingStream(1, STG_E_MEDIUMFULL);
  OwnedBstr text(u"AB");
  ASSERT_EQ(WriteText(refusing.stream.get(), text.get(), kAnsi, kZeroTerminated, 0, 1200), S_OK);
  EXPECT_EQ(refusing.file.s.Contents(), (Bytes{0}));
}

TEST(StreamStrings, Utf16PaddingFailureUndoesTheText) {
  RefusingFileStream refusing = MakeRefusingStream(2, STG_E_MEDIUMFULL);
  OwnedBstr text(u"AB");
  EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), kUtf16, kFixed, 4, 1200), STG_E_MEDIUMFULL,
                        u"Destination Medium is full.");
  EXPECT_EQ(refusing.file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, CodePagePaddingFailureUndoesTheConvertedBytes) {
  RefusingFileStream refusing = MakeRefusingStream(2, STG_E_MEDIUMFULL);
  OwnedBstr text(u"\u65E5");
  EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), 932, kFixed, 3, 1200), STG_E_MEDIUMFULL,
                        u"Destination Medium is full.");
  EXPECT_EQ(refusing.file.s.Contents(), (Bytes{0x93, 0xFA}));
  EXPECT_EQ(refusing.file.s.Position(), 2 + (k4G - 2));
}

TEST(StreamStrings, FixedLengthBodyFailureSkipsThePadding) {
  RefusingFileStream refusing = MakeRefusingStream(1, STG_E_MEDIUMFULL);
  OwnedBstr text(u"AB");
  EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), kUtf16, kFixed, 4, 1200), STG_E_MEDIUMFULL,
                        u"Destination Medium is full.");
  EXPECT_TRUE(refusing.file.s.Contents().empty());
  EXPECT_EQ(refusing.file.s.Position(), 0u);
}

// --- Read-only streams: WriteString leaves the check to what it calls ---

TEST(StreamStrings, ReadOnlyLengthFirstIsRefusedByWriteLong) {
  FileStream file = MakeFileStream({1, 2}, true);
  EXPECT_STREAM_FAILURE(WriteText(file.s, u"AB"), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(WriteText(file.s, u"AB", kAnsi), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_EQ(file.s.Contents(), (Bytes{1, 2}));
  EXPECT_EQ(file.s.Position(), 0u);
}

TEST(StreamStrings, ReadOnlyEmptyZeroTerminatedIsRefusedByTheTerminator) {
  FileStream file = MakeFileStream({1, 2}, true);
  EXPECT_STREAM_FAILURE(WriteText(file.s, u"", kUtf16, kZeroTerminated), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(WriteText(file.s, u"", kAnsi, kZeroTerminated), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_EQ(file.s.Contents(), (Bytes{1, 2}));
}

TEST(StreamStrings, ReadOnlyCodePageZeroTerminatedIsRefusedByTheTerminator) {
  FileStream file = MakeFileStream({1, 2}, true);
  EXPECT_STREAM_FAILURE(WriteText(file.s, u"AB", kAnsi, kZeroTerminated), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_EQ(file.s.Contents(), (Bytes{1, 2}));
}

TEST(StreamStrings, ReadOnlyUtf16ZeroTerminatedIsRefusedByThePlatform) {
  FileStream file = MakeFileStream({1, 2}, true);
  EXPECT_STREAM_FAILURE(WriteText(file.s, u"AB", kUtf16, kZeroTerminated), STG_E_ACCESSDENIED, kAccessDenied);
  EXPECT_EQ(file.s.Contents(), (Bytes{1, 2}));
}

TEST(StreamStrings, ReadOnlyFixedLengthIsRefusedByThePlatform) {
  FileStream file = MakeFileStream({1, 2}, true);
  EXPECT_STREAM_FAILURE(WriteText(file.s, u"AB", kUtf16, kFixed, 4), STG_E_ACCESSDENIED, kAccessDenied);
  EXPECT_STREAM_FAILURE(WriteText(file.s, u"AB", kAnsi, kFixed, 4), STG_E_ACCESSDENIED, kAccessDenied);
  EXPECT_EQ(file.s.Contents(), (Bytes{1, 2}));
}

TEST(StreamStrings, ReadOnlyStreamsReadStrings) {
  FileStream file = MakeFileStream({0x02, 0, 0, 0, 0x41, 0x42}, true);
  OwnedBstr text;
  ASSERT_EQ(ReadText(file.s, &text, kAnsi), S_OK);
  EXPECT_EQ(text.text(), u"AB");
}

}  // namespace
}  // namespace quillbox::testing
