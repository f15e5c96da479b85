// Stream: variant records (Write, Read) and byte arrays (ReadBytes,
// WriteBytes), byte for byte.
#include <gtest/gtest.h>

#include <cstring>

#include "faulty_stream.h"
#include "stream_support.h"
#include "support/persistent_object.h"

namespace quillbox::testing {
namespace {

VARIANT Long(LONG value) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_I4;
  v.lVal = value;
  return v;
}

LONG WriteValue(const StreamUnderTest& s, const VARIANT& value) {
  LONG count = -1;
  EXPECT_EQ(s.stream->Write(value, &count), S_OK);
  return count;
}

void Rewind(const StreamUnderTest& s) {
  LONG reached = 0;
  ASSERT_EQ(s.stream->Seek(0, ssSeekBegin, &reached), S_OK);
}

TEST(StreamWrite, LongSevenWritesTagAndFourBytes) {
  StreamUnderTest s = MakeStream();
  EXPECT_EQ(WriteValue(s, Long(7)), 6);
  EXPECT_EQ(s.Contents(), (Bytes{0x03, 0x00, 0x07, 0x00, 0x00, 0x00}));
}

TEST(StreamWrite, EmptyWritesTagCountTwoAndATerminator) {
  StreamUnderTest s = MakeStream();
  VARIANT empty;
  VariantInit(&empty);
  EXPECT_EQ(WriteValue(s, empty), 8);
  EXPECT_EQ(s.Contents(), (Bytes{0, 0, 2, 0, 0, 0, 0, 0}));
  Rewind(s);
  VARIANT read;
  VariantInit(&read);
  read.vt = VT_I4;
  ASSERT_EQ(s.stream->Read(&read), S_OK);
  EXPECT_EQ(read.vt, VT_EMPTY);
}

TEST(StreamWrite, StringWritesByteCountWithTerminator) {
  StreamUnderTest s = MakeStream();
  VARIANT text;
  VariantInit(&text);
  text.vt = VT_BSTR;
  text.bstrVal = SysAllocString(u"ab");
  EXPECT_EQ(WriteValue(s, text), 12);
  VariantClear(&text);
  EXPECT_EQ(s.Contents(), (Bytes{0x08, 0x00, 0x06, 0x00, 0x00, 0x00, 0x61, 0x00, 0x62, 0x00, 0x00, 0x00}));
}

TEST(StreamWrite, AbsentStringWritesCountZeroAlone) {
  StreamUnderTest s = MakeStream();
  VARIANT text;
  VariantInit(&text);
  text.vt = VT_BSTR;
  text.bstrVal = nullptr;
  EXPECT_EQ(WriteValue(s, text), 6);
  EXPECT_EQ(s.Contents(), (Bytes{0x08, 0x00, 0, 0, 0, 0}));
}

TEST(StreamWrite, NullFailsInTheConversionButTheMemberSucceedsWithTheTagWritten) {
  StreamUnderTest s = MakeStream();
  VARIANT null;
  VariantInit(&null);
  null.vt = VT_NULL;
  EXPECT_EQ(WriteValue(s, null), 2);
  EXPECT_EQ(s.Contents(), (Bytes{0x01, 0x00}));
}

TEST(StreamWrite, ObjectVariantWithoutAnObjectWritesTag9AndTheNullClassId) {
  StreamUnderTest s = MakeStream();
  VARIANT object;
  VariantInit(&object);
  object.vt = VT_DISPATCH;
  object.pdispVal = nullptr;
  EXPECT_EQ(WriteValue(s, object), 18);
  Bytes expected(18, 0);
  expected[0] = 0x09;
  EXPECT_EQ(s.Contents(), expected);
}

TEST(StreamWrite, ObjectThatCannotSaveItselfWritesOnlyTheTag) {
  StreamUnderTest s = MakeStream();
  ComPtr<IUnknown> plain = MakeNonPersistentObject();
  VARIANT object;
  VariantInit(&object);
  object.vt = VT_UNKNOWN;
  object.punkVal = plain.get();
  EXPECT_EQ(WriteValue(s, object), 2);
  EXPECT_EQ(s.Contents(), (Bytes{0x0D, 0x00}));
}

TEST(StreamWrite, PersistentObjectWritesItsClassIdThenItsBytesAndReadsBack) {
  ScopedPersistentObjectClass registered;
  StreamUnderTest s = MakeStream();
  ComPtr<IUnknown> saved = MakePersistentObject(0x01020304);
  VARIANT object;
  VariantInit(&object);
  object.vt = VT_DISPATCH;
  ASSERT_EQ(saved->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&object.pdispVal)), S_OK);
  EXPECT_EQ(WriteValue(s, object), 2 + 16 + 4);
  VariantClear(&object);
  const Bytes bytes = s.Contents();
  ASSERT_EQ(bytes.size(), 22u);
  EXPECT_EQ(bytes[0], 0x09);
  // The class id in its little-endian layout: Data1 first, low byte first.
  EXPECT_EQ(bytes[2], 0x71);
  EXPECT_EQ(bytes[5], 0x07);
  EXPECT_EQ(Bytes(bytes.begin() + 18, bytes.end()), (Bytes{0x04, 0x03, 0x02, 0x01}));
  Rewind(s);
  VARIANT read;
  VariantInit(&read);
  ASSERT_EQ(s.stream->Read(&read), S_OK);
  ASSERT_EQ(read.vt, VT_DISPATCH);
  ASSERT_NE(read.pdispVal, nullptr);
  EXPECT_EQ(PersistentValue(read.pdispVal), 0x01020304);
  VariantClear(&read);
}

TEST(StreamRead, ObjectOfAnUnknownClassReadsAsAnEmptyObjectVariant) {
  StreamUnderTest s = MakeStream();
  Bytes bytes(22, 0x5A);
  bytes[0] = 0x0D;
  bytes[1] = 0x00;
  s.Fill(bytes);
  VARIANT read;
  VariantInit(&read);
  ASSERT_EQ(s.stream->Read(&read), S_OK);
  EXPECT_EQ(read.vt, VT_UNKNOWN);
  EXPECT_EQ(read.punkVal, nullptr);
}

// Every fixed-width type: its tag, then its bytes as held in the variant.
TEST(StreamWrite, FixedWidthTypesWriteTheirBareImage) {
  struct Case {
    VARTYPE vt;
    LONGLONG bits;
    Bytes payload;
  };
  const Case cases[] = {
      {VT_I1, 0x80, {0x80}},
      {VT_UI1, 0xFE, {0xFE}},
      {VT_I2, 0x1234, {0x34, 0x12}},
      {VT_BOOL, 0xFFFF, {0xFF, 0xFF}},
      {VT_UI2, 0xBEEF, {0xEF, 0xBE}},
      {VT_I4, 0x01020304, {4, 3, 2, 1}},
      {VT_R4, 0x3FC00000, {0, 0, 0xC0, 0x3F}},  // 1.5f
      {VT_ERROR, static_cast<LONG>(0x80030008), {8, 0, 3, 0x80}},
      {VT_UI4, 0xA0B0C0D0, {0xD0, 0xC0, 0xB0, 0xA0}},
      {VT_INT, 5, {5, 0, 0, 0}},
      {VT_UINT, 6, {6, 0, 0, 0}},
      {VT_R8, 0x3FF8000000000000LL, {0, 0, 0, 0, 0, 0, 0xF8, 0x3F}},  // 1.5
      {VT_CY, 15000, {0x98, 0x3A, 0, 0, 0, 0, 0, 0}},
      {VT_DATE, 0x40E0000000000000LL, {0, 0, 0, 0, 0, 0, 0xE0, 0x40}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.vt);
    StreamUnderTest s = MakeStream();
    VARIANT value;
    VariantInit(&value);
    value.vt = c.vt;
    value.llVal = 0;
    std::memcpy(&value.llVal, &c.bits, c.payload.size());
    EXPECT_EQ(WriteValue(s, value), static_cast<LONG>(2 + c.payload.size()));
    Bytes expected = {static_cast<uint8_t>(c.vt), 0};
    expected.insert(expected.end(), c.payload.begin(), c.payload.end());
    EXPECT_EQ(s.Contents(), expected);
    Rewind(s);
    VARIANT read;
    VariantInit(&read);
    ASSERT_EQ(s.stream->Read(&read), S_OK);
    EXPECT_EQ(read.vt, c.vt);
    EXPECT_EQ(std::memcmp(&read.llVal, &value.llVal, c.payload.size()), 0);
  }
}

TEST(StreamRead, OtherTypesTravelAsTextAndComeBackInTheirOwnType) {
  StreamUnderTest s = MakeStream();
  VARIANT value;
  VariantInit(&value);
  value.vt = VT_I8;
  value.llVal = -1234567890123LL;
  const LONG count = WriteValue(s, value);
  const std::u16string text = u"-1234567890123";
  EXPECT_EQ(count, static_cast<LONG>(2 + 4 + 2 * text.size() + 2));
  const Bytes bytes = s.Contents();
  EXPECT_EQ(bytes[0], VT_I8);
  EXPECT_EQ(bytes[2], 2 * text.size() + 2);
  Rewind(s);
  VARIANT read;
  VariantInit(&read);
  ASSERT_EQ(s.stream->Read(&read), S_OK);
  EXPECT_EQ(read.vt, VT_I8);
  EXPECT_EQ(read.llVal, -1234567890123LL);
}

TEST(StreamRead, NullTagGivesNull) {
  StreamUnderTest s = MakeStream(false, {0x01, 0x00});
  VARIANT read;
  VariantInit(&read);
  ASSERT_EQ(s.stream->Read(&read), S_OK);
  EXPECT_EQ(read.vt, VT_NULL);
}

TEST(StreamRead, AtTheEndIsAFailedReadWithoutAReport) {
  StreamUnderTest s = MakeStream(false, {0x03});
  SetErrorInfo(0, nullptr);
  VARIANT read;
  VariantInit(&read);
  EXPECT_EQ(s.stream->Read(&read), E_FAIL);
  EXPECT_EQ(TakeDescription(), u"");
}

TEST(StreamRead, TruncatedPayloadIsAFailedRead) {
  StreamUnderTest s = MakeStream(false, {0x05, 0x00, 1, 2, 3});
  VARIANT read;
  VariantInit(&read);
  EXPECT_EQ(s.stream->Read(&read), E_FAIL);
  EXPECT_EQ(read.vt, VT_EMPTY);
}

TEST(StreamRead, StringCountBeyondTheEndIsRefusedBeforeAnyAllocation) {
  StreamUnderTest s = MakeStream(false, {0x08, 0x00, 0xFF, 0xFF, 0xFF, 0x7F, 0x41, 0x00});
  VARIANT read;
  VariantInit(&read);
  EXPECT_EQ(s.stream->Read(&read), E_FAIL);
}

TEST(StreamRead, MissingOutputPlaceGivesInvalidPointer) {
  StreamUnderTest s = MakeStream();
  EXPECT_STREAM_FAILURE(s.stream->Read(nullptr), STG_E_INVALIDPOINTER, u"Invalid Pointer.");
}

TEST(StreamBytes, ReadBytesPastTheEndIsZeroFilledAndKeepsTheCount) {
  StreamUnderTest s = MakeStream(false, {9, 8, 7, 6});
  LONG count = 10;
  VARIANT bytes;
  VariantInit(&bytes);
  ASSERT_EQ(s.stream->ReadBytes(&count, &bytes), S_OK);
  EXPECT_EQ(count, 10);
  ASSERT_EQ(bytes.vt, VT_ARRAY | VT_UI1);
  LONG lower = 0;
  LONG upper = 0;
  SafeArrayGetLBound(bytes.parray, 1, &lower);
  SafeArrayGetUBound(bytes.parray, 1, &upper);
  EXPECT_EQ(lower, 1);
  EXPECT_EQ(upper, 10);
  uint8_t* data = nullptr;
  ASSERT_EQ(SafeArrayAccessData(bytes.parray, reinterpret_cast<void**>(&data)), S_OK);
  EXPECT_EQ(Bytes(data, data + 10), (Bytes{9, 8, 7, 6, 0, 0, 0, 0, 0, 0}));
  SafeArrayUnaccessData(bytes.parray);
  VariantClear(&bytes);
}

TEST(StreamBytes, ReadBytesOfZeroGivesInvalidParameter) {
  StreamUnderTest s = MakeStream(false, {1});
  LONG count = 0;
  VARIANT bytes;
  VariantInit(&bytes);
  EXPECT_STREAM_FAILURE(s.stream->ReadBytes(&count, &bytes), STG_E_INVALIDPARAMETER, u"Invalid parameter.");
}

TEST(StreamBytes, ReadBytesAccessDeniedGivesMessage208) {
  ComPtr<FaultyStream> platform = com::MakeObject<FaultyStream>();
  ComPtr<_Stream> stream = MakeStreamOver(platform.get());
  platform->FailNextRead(STG_E_ACCESSDENIED);
  LONG count = 4;
  VARIANT bytes;
  VariantInit(&bytes);
  EXPECT_STREAM_FAILURE(stream->ReadBytes(&count, &bytes), STG_E_ACCESSDENIED, u"Access is denied.");
  EXPECT_EQ(bytes.vt, VT_EMPTY);
}

TEST(StreamBytes, ReadBytesFalseResultGivesMessage226) {
  ComPtr<FaultyStream> platform = com::MakeObject<FaultyStream>();
  ComPtr<_Stream> stream = MakeStreamOver(platform.get());
  platform->FailNextRead(S_FALSE);
  LONG count = 4;
  VARIANT bytes;
  VariantInit(&bytes);
  EXPECT_STREAM_FAILURE(stream->ReadBytes(&count, &bytes), STG_E_INSUFFICIENTMEMORY,
                        u"Error while reading the Stream.");
}

VARIANT ByteArray(const Bytes& content, LONG lower = 0) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_ARRAY | VT_UI1;
  v.parray = SafeArrayCreateVector(VT_UI1, lower, static_cast<ULONG>(content.size()));
  void* data = nullptr;
  SafeArrayAccessData(v.parray, &data);
  if (!content.empty()) std::memcpy(data, content.data(), content.size());
  SafeArrayUnaccessData(v.parray);
  return v;
}

// The array is taken over: the member destroys it (a leak would show in the
// sanitizer build).
TEST(StreamBytes, WriteBytesWritesTheArrayAndTakesItOver) {
  StreamUnderTest s = MakeStream();
  LONG count = -1;
  ASSERT_EQ(s.stream->WriteBytes(ByteArray({0, 0xFF, 0x10}, 5), &count), S_OK);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(s.Contents(), (Bytes{0, 0xFF, 0x10}));
}

TEST(StreamBytes, WriteBytesOfAnArrayHeldByReferenceGivesMessage227) {
  StreamUnderTest s = MakeStream();
  VARIANT held = ByteArray({1, 2});
  VARIANT by_reference;
  VariantInit(&by_reference);
  by_reference.vt = VT_BYREF | VT_ARRAY | VT_UI1;
  by_reference.pparray = &held.parray;
  LONG count = -1;
  EXPECT_STREAM_FAILURE(s.stream->WriteBytes(by_reference, &count), STG_E_INSUFFICIENTMEMORY,
                        u"The first argument must be a one dimensional bytes array.");
  EXPECT_EQ(s.Contents(), Bytes{});
  VariantClear(&held);  // not taken over
}

TEST(StreamBytes, WriteBytesOfATwoDimensionalArrayGivesMessage227AndTakesItOver) {
  StreamUnderTest s = MakeStream();
  SAFEARRAYBOUND bounds[2] = {{2, 0}, {2, 0}};
  VARIANT grid;
  VariantInit(&grid);
  grid.vt = VT_ARRAY | VT_UI1;
  grid.parray = SafeArrayCreate(VT_UI1, 2, bounds);
  LONG count = -1;
  EXPECT_STREAM_FAILURE(s.stream->WriteBytes(grid, &count), STG_E_INSUFFICIENTMEMORY,
                        u"The first argument must be a one dimensional bytes array.");
}

TEST(StreamBytes, WriteBytesOfAnotherTypeGivesMessage227) {
  StreamUnderTest s = MakeStream();
  LONG count = -1;
  EXPECT_STREAM_FAILURE(s.stream->WriteBytes(Long(3), &count), STG_E_INSUFFICIENTMEMORY,
                        u"The first argument must be a one dimensional bytes array.");
}

TEST(StreamBytes, WriteBytesMediumFullGivesMessage207AndLeavesTheArrayToTheCaller) {
  ComPtr<FaultyStream> platform = com::MakeObject<FaultyStream>();
  ComPtr<_Stream> stream = MakeStreamOver(platform.get());
  platform->FailNextWrite(STG_E_MEDIUMFULL);
  VARIANT bytes = ByteArray({1, 2, 3});
  LONG count = -1;
  EXPECT_STREAM_FAILURE(stream->WriteBytes(bytes, &count), STG_E_MEDIUMFULL, u"Destination Medium is full.");
  VariantClear(&bytes);
}

TEST(StreamBytes, WriteBytesWriteFaultGivesMessage228) {
  ComPtr<FaultyStream> platform = com::MakeObject<FaultyStream>();
  ComPtr<_Stream> stream = MakeStreamOver(platform.get());
  platform->FailNextWrite(STG_E_CANTSAVE);
  VARIANT bytes = ByteArray({1});
  LONG count = -1;
  EXPECT_STREAM_FAILURE(stream->WriteBytes(bytes, &count), STG_E_CANTSAVE, u"Write fault.");
  VariantClear(&bytes);
}

TEST(StreamBytes, WriteBytesMissingCountPlaceGivesInvalidPointer) {
  StreamUnderTest s = MakeStream();
  VARIANT bytes = ByteArray({1});
  EXPECT_STREAM_FAILURE(s.stream->WriteBytes(bytes, nullptr), STG_E_INVALIDPOINTER, u"Invalid Pointer.");
  VariantClear(&bytes);
}

}  // namespace
}  // namespace quillbox::testing
