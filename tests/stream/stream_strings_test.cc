// Stream: WriteString and ReadString in each framing and encoding, byte by
// byte.
#include <gtest/gtest.h>

#include "string_test_support.h"

namespace quillbox::testing {
namespace {

// --- The framings, in UTF-16 and the current code page ---

TEST(StreamStrings, DefaultsWriteTheUnitCountThenTheUnits) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(WriteText(s, u"AB"), S_OK);
  EXPECT_EQ(s.Contents(), (Bytes{0x02, 0, 0, 0, 0x41, 0, 0x42, 0}));
}

TEST(StreamStrings, DefaultsReadTheTextBack) {
  StreamUnderTest s = MakeStream(false, {0x02, 0, 0, 0, 0x41, 0, 0x42, 0});
  Bstr text;
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
  Bstr utf16;
  ASSERT_EQ(ReadText(s, &utf16), S_OK);
  ASSERT_NE(utf16.get(), nullptr);
  EXPECT_EQ(SysStringLen(utf16.get()), 0u);
  Bstr ansi;
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
  Bstr text;
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
  Bstr text;
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
  Bstr text;
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
  Bstr text;
  EXPECT_STREAM_FAILURE(ReadText(s, &text, ssSpecificCodePage, kZeroTerminated, 0, 12345), STG_E_INVALIDPARAMETER,
                        kCodePageUnknown);
  EXPECT_EQ(s.Position(), 0u);
}

// --- Reading ---

TEST(StreamStrings, CodePageLengthFirstReadStopsAtTheFirstZeroByte) {
  StreamUnderTest s = MakeStream(false, {0x04, 0, 0, 0, 0x41, 0, 0x42, 0x43, 0x44});
  Bstr text;
  ASSERT_EQ(ReadText(s, &text, kAnsi), S_OK);
  EXPECT_EQ(text.text(), u"A");
  EXPECT_EQ(s.Position(), 8u);
}

TEST(StreamStrings, Utf16LengthFirstReadPastTheEndGivesZeroUnits) {
  StreamUnderTest s = MakeStream(false, {0x03, 0, 0, 0, 0x41, 0});
  Bstr text;
  ASSERT_EQ(ReadText(s, &text), S_OK);
  EXPECT_EQ(text.text(), std::u16string(u"A\0\0", 3));
  EXPECT_EQ(s.Position(), 6u);
}

TEST(StreamStrings, LengthFirstReadWithAShortPrefixFailsWithoutUndo) {
  StreamUnderTest s = MakeStream(false, {0x01, 0, 0});
  Bstr text;
  EXPECT_STREAM_FAILURE(ReadText(s, &text), STG_E_INSUFFICIENTMEMORY, kReadError);
  EXPECT_EQ(s.Position(), 3u);
}

TEST(StreamStrings, ZeroTerminatedReadWithoutTerminatorFailsWithReadError) {
  StreamUnderTest utf16 = MakeStream(false, {0x41, 0, 0x42, 0});
  Bstr text;
  EXPECT_STREAM_FAILURE(ReadText(utf16, &text, kUtf16, kZeroTerminated), STG_E_INSUFFICIENTMEMORY, kReadError);
  StreamUnderTest ansi = MakeStream(false, {0x41, 0x42});
  EXPECT_STREAM_FAILURE(ReadText(ansi, &text, kAnsi, kZeroTerminated), STG_E_INSUFFICIENTMEMORY, kReadError);
}

TEST(StreamStrings, ZeroTerminatedUtf16ReadAppendsUnitsFrom0x8000Alone) {
  StreamUnderTest s = MakeStream(false, {0x00, 0x80, 0xFF, 0xFF, 0x41, 0x00, 0x00, 0x00});
  Bstr text;
  ASSERT_EQ(ReadText(s, &text, kUtf16, kZeroTerminated), S_OK);
  EXPECT_EQ(text.text(), u"\u8000\uFFFFA");
  EXPECT_EQ(s.Position(), 8u);
}

TEST(StreamStrings, Utf16FixedLengthReadStopsAtTheFirstZeroUnit) {
  StreamUnderTest s = MakeStream(false, {0x41, 0, 0, 0, 0x42, 0, 0, 0});
  Bstr text;
  ASSERT_EQ(ReadText(s, &text, kUtf16, kFixed, 4), S_OK);
  EXPECT_EQ(text.text(), u"A");
  EXPECT_EQ(s.Position(), 8u);
}

TEST(StreamStrings, Utf16FixedLengthReadPastTheEndGivesWhatThereIs) {
  StreamUnderTest s = MakeStream(false, {0x41, 0, 0x42});
  Bstr text;
  ASSERT_EQ(ReadText(s, &text, kUtf16, kFixed, 1000000), S_OK);
  EXPECT_EQ(text.text(), u"AB");
  EXPECT_EQ(s.Position(), 3u);
}

TEST(StreamStrings, CodePageFixedLengthReadDropsZeroBytes) {
  StreamUnderTest s = MakeStream(false, {0x41, 0, 0x42, 0, 0x43});
  Bstr text;
  ASSERT_EQ(ReadText(s, &text, kAnsi, kFixed, 4), S_OK);
  EXPECT_EQ(text.text(), u"AB");
  EXPECT_EQ(s.Position(), 4u);
}

TEST(StreamStrings, CodePageFixedLengthReadOfNoCharactersReadsNothing) {
  StreamUnderTest s = MakeStream(false, {0x41});
  Bstr text;
  ASSERT_EQ(ReadText(s, &text, kAnsi, kFixed, 0), S_OK);
  ASSERT_NE(text.get(), nullptr);
  EXPECT_EQ(SysStringLen(text.get()), 0u);
  EXPECT_EQ(s.Position(), 0u);
}

TEST(StreamStrings, NegativeNbCharOnReadIsRefusedBeforeReading) {
  StreamUnderTest s = MakeStream(false, {0x41, 0, 0x42, 0});
  Bstr text;
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

}  // namespace
}  // namespace quillbox::testing
