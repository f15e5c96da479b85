// Stream: the string members' failures, the undo steps that follow them and
// read-only streams.
#include <gtest/gtest.h>

#include "string_test_support.h"

namespace quillbox::testing {
namespace {

// --- Undo steps: Seek(-n) does not sign-extend, so they move 2^32 - n on ---

TEST(StreamStrings, NegativeUtf16CountUndoesThePrefixForwards) {
  FileStream file = MakeFileStream({0xFF, 0xFF, 0xFF, 0xFF, 0x41, 0});
  Bstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text), STG_E_INSUFFICIENTMEMORY, kOutOfMemory);
  EXPECT_EQ(file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, NegativeCodePageCountUndoesThePrefixForwards) {
  FileStream file = MakeFileStream({0xFE, 0xFF, 0xFF, 0xFF, 0x41});
  Bstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text, kAnsi), STG_E_INSUFFICIENTMEMORY, kOutOfMemory);
  EXPECT_EQ(file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, Utf16CountFarPastTheEndIsRefusedAsAnAllocationFailure) {
  FileStream file = MakeFileStream({0x00, 0x00, 0x00, 0x40, 0x41, 0});
  Bstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text), STG_E_INSUFFICIENTMEMORY, kOutOfMemory);
  EXPECT_EQ(file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, ZeroTerminatedUtf16ReadFailureUndoesTheUnitsRead) {
  FileStream file = MakeFileStream({0x41, 0, 0x42, 0});
  Bstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text, kUtf16, kZeroTerminated), STG_E_INSUFFICIENTMEMORY, kReadError);
  EXPECT_EQ(file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, ZeroTerminatedUtf16ReadFailureUndoesWholeUnitsOnly) {
  // The half unit at the end moved the position but is not counted.
  FileStream file = MakeFileStream({0x41, 0, 0x42});
  Bstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text, kUtf16, kZeroTerminated), STG_E_INSUFFICIENTMEMORY, kReadError);
  EXPECT_EQ(file.s.Position(), 3 + (k4G - 2));
}

TEST(StreamStrings, ZeroTerminatedCodePageReadFailureUndoesTheBytesRead) {
  FileStream file = MakeFileStream({0x41, 0x93});  // a lead byte with no trail byte
  Bstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text, 932, kZeroTerminated), STG_E_INSUFFICIENTMEMORY, kReadError);
  EXPECT_EQ(file.s.Position(), 2 + (k4G - 2));
}

TEST(StreamStrings, LeadByteBeforeAZeroByteFailsTranslationAndUndoes) {
  // The platform makes two units of a lead byte and a zero byte, not one.
  FileStream file = MakeFileStream({0x41, 0x93, 0x00, 0x42});
  Bstr text;
  EXPECT_STREAM_FAILURE(ReadText(file.s, &text, 932, kZeroTerminated), 0x80070459, kTranslation);
  EXPECT_EQ(file.s.Position(), 3 + (k4G - 3));
}

TEST(StreamStrings, UndoThatAMemoryStreamRefusesKeepsTheFailureReported) {
  // A memory stream cannot go past 4 GB: the undo's Seek fails, and the
  // read failure reported before it is still the one the client sees.
  StreamUnderTest s = MakeStream(false, {0x41, 0x42});
  Bstr text;
  EXPECT_STREAM_FAILURE(ReadText(s, &text, kAnsi, kZeroTerminated), STG_E_INSUFFICIENTMEMORY, kReadError);
  EXPECT_EQ(s.Position(), 2u);
}

// --- Body writes refused by the platform ---

TEST(StreamStrings, LengthFirstBodyFailureUndoesThePrefixAndIsMapped) {
  RefusingFileStream refusing = MakeRefusingStream(2, STG_E_MEDIUMFULL);
  Bstr text(u"AB");
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
    Bstr text(u"AB");
    EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), kAnsi, kLengthFirst, 0, 1200), c.code,
                          c.message);
  }
}

TEST(StreamStrings, Utf16TerminatorFailureUndoesTheText) {
  RefusingFileStream refusing = MakeRefusingStream(2, STG_E_MEDIUMFULL);
  Bstr text(u"AB");
  EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), kUtf16, kZeroTerminated, 0, 1200),
                        STG_E_MEDIUMFULL, u"Destination Medium is full.");
  EXPECT_EQ(refusing.file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, Utf16ZeroTerminatedBodyFailureIsMappedBeforeTheTerminator) {
  RefusingFileStream refusing = MakeRefusingStream(1, STG_E_WRITEFAULT);
  Bstr text(u"AB");
  EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), kUtf16, kZeroTerminated, 0, 1200),
                        STG_E_WRITEFAULT, u"Write fault.");
  EXPECT_TRUE(refusing.file.s.Contents().empty());
}

TEST(StreamStrings, CodePageTerminatorFailureUndoesByCharactersNotBytes) {
  RefusingFileStream refusing = MakeRefusingStream(2, STG_E_MEDIUMFULL);
  Bstr text(kJapanese);
  EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), 932, kZeroTerminated, 0, 1200),
                        STG_E_MEDIUMFULL, u"Destination Medium is full.");
  EXPECT_EQ(refusing.file.s.Contents(), (Bytes{0x93, 0xFA, 0x96, 0x7B}));
  EXPECT_EQ(refusing.file.s.Position(), 4 + (k4G - 2));
}

TEST(StreamStrings, CodePageZeroTerminatedIgnoresARefusedBody) {
  RefusingFileStream refusing = MakeRefusingStream(1, STG_E_MEDIUMFULL);
  Bstr text(u"AB");
  ASSERT_EQ(WriteText(refusing.stream.get(), text.get(), kAnsi, kZeroTerminated, 0, 1200), S_OK);
  EXPECT_EQ(refusing.file.s.Contents(), (Bytes{0}));
}

TEST(StreamStrings, Utf16PaddingFailureUndoesTheText) {
  RefusingFileStream refusing = MakeRefusingStream(2, STG_E_MEDIUMFULL);
  Bstr text(u"AB");
  EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), kUtf16, kFixed, 4, 1200), STG_E_MEDIUMFULL,
                        u"Destination Medium is full.");
  EXPECT_EQ(refusing.file.s.Position(), 4 + (k4G - 4));
}

TEST(StreamStrings, CodePagePaddingFailureUndoesTheConvertedBytes) {
  RefusingFileStream refusing = MakeRefusingStream(2, STG_E_MEDIUMFULL);
  Bstr text(u"\u65E5");
  EXPECT_STREAM_FAILURE(WriteText(refusing.stream.get(), text.get(), 932, kFixed, 3, 1200), STG_E_MEDIUMFULL,
                        u"Destination Medium is full.");
  EXPECT_EQ(refusing.file.s.Contents(), (Bytes{0x93, 0xFA}));
  EXPECT_EQ(refusing.file.s.Position(), 2 + (k4G - 2));
}

TEST(StreamStrings, FixedLengthBodyFailureSkipsThePadding) {
  RefusingFileStream refusing = MakeRefusingStream(1, STG_E_MEDIUMFULL);
  Bstr text(u"AB");
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
  Bstr text;
  ASSERT_EQ(ReadText(file.s, &text, kAnsi), S_OK);
  EXPECT_EQ(text.text(), u"AB");
}

}  // namespace
}  // namespace quillbox::testing
