// Stream: scalar values as bare little-endian images.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "faulty_stream.h"
#include "stream_support.h"

namespace quillbox::testing {
namespace {

constexpr char16_t kReadError[] = u"Error while reading the Stream.";

void Rewind(const StreamUnderTest& s) {
  LONG reached = 0;
  ASSERT_EQ(s.stream->Seek(0, ssSeekBegin, &reached), S_OK);
}

TEST(StreamScalars, LongOneReadsBackAsTheSmallestSingle) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(s.stream->WriteLong(1), S_OK);
  Rewind(s);
  FLOAT value = 0;
  ASSERT_EQ(s.stream->ReadSingle(&value), S_OK);
  uint32_t bits = 0;
  std::memcpy(&bits, &value, 4);
  EXPECT_EQ(bits, 1u);
  EXPECT_NEAR(value, 1.4e-45, 1e-46);
}

TEST(StreamScalars, BooleanTrueAndIntegerMinusOneWriteTheSameTwoBytes) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(s.stream->WriteBoolean(VARIANT_TRUE), S_OK);
  ASSERT_EQ(s.stream->WriteInteger(-1), S_OK);
  EXPECT_EQ(s.Contents(), (Bytes{0xFF, 0xFF, 0xFF, 0xFF}));
  Rewind(s);
  SHORT value = 0;
  ASSERT_EQ(s.stream->ReadInteger(&value), S_OK);
  EXPECT_EQ(value, -1);
}

TEST(StreamScalars, ReadBooleanReturnsTheStoredBitsAsTheyAre) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(s.stream->WriteByte(1), S_OK);
  ASSERT_EQ(s.stream->WriteByte(0), S_OK);
  Rewind(s);
  VARIANT_BOOL value = 0;
  ASSERT_EQ(s.stream->ReadBoolean(&value), S_OK);
  EXPECT_EQ(value, 1);
}

TEST(StreamScalars, ReadLongWithThreeBytesLeftFailsWith226AndMovesToTheEnd) {
  StreamUnderTest s = MakeStream(false, {1, 2, 3});
  LONG value = 0;
  EXPECT_STREAM_FAILURE(s.stream->ReadLong(&value), STG_E_INSUFFICIENTMEMORY, kReadError);
  EXPECT_EQ(s.Position(), 3u);
}

TEST(StreamScalars, ReadByteAtTheEndFailsWith226) {
  StreamUnderTest s = MakeStream();
  BYTE value = 0;
  EXPECT_STREAM_FAILURE(s.stream->ReadByte(&value), STG_E_INSUFFICIENTMEMORY, kReadError);
}

TEST(StreamScalars, DecimalIsWrittenWholeWithItsReservedBytesAsPassed) {
  StreamUnderTest s = MakeStream();
  DECIMAL value{};
  value.wReserved = 0x1234;
  value.scale = 1;
  value.sign = 0;
  value.Hi32 = 0;
  value.Lo64 = 15;  // 1.5
  ASSERT_EQ(s.stream->WriteDecimal(value), S_OK);
  EXPECT_EQ(s.Contents(), (Bytes{0x34, 0x12, 0x01, 0x00, 0, 0, 0, 0, 0x0F, 0, 0, 0, 0, 0, 0, 0}));
  Rewind(s);
  DECIMAL read{};
  ASSERT_EQ(s.stream->ReadDecimal(&read), S_OK);
  EXPECT_EQ(std::memcmp(&read, &value, sizeof value), 0);
}

TEST(StreamScalars, EachTypeWritesItsLittleEndianImageAndReadsBack) {
  StreamUnderTest s = MakeStream();
  CY money{};
  money.int64 = 12345678;  // 1234.5678
  ASSERT_EQ(s.stream->WriteByte(0xAB), S_OK);
  ASSERT_EQ(s.stream->WriteInteger(0x1234), S_OK);
  ASSERT_EQ(s.stream->WriteBoolean(VARIANT_FALSE), S_OK);
  ASSERT_EQ(s.stream->WriteLong(-2), S_OK);
  ASSERT_EQ(s.stream->WriteSingle(1.5f), S_OK);
  ASSERT_EQ(s.stream->WriteDouble(-2.0), S_OK);
  ASSERT_EQ(s.stream->WriteCurrency(money), S_OK);
  ASSERT_EQ(s.stream->WriteDate(36526.5), S_OK);  // 2000-01-01 12:00
  const Bytes expected = {
      0xAB,                                            // byte
      0x34, 0x12,                                      // integer
      0x00, 0x00,                                      // Boolean False
      0xFE, 0xFF, 0xFF, 0xFF,                          // long -2
      0x00, 0x00, 0xC0, 0x3F,                          // single 1.5
      0, 0, 0, 0, 0, 0, 0x00, 0xC0,                    // double -2
      0x4E, 0x61, 0xBC, 0x00, 0, 0, 0, 0,              // currency 12345678
      0, 0, 0, 0, 0xD0, 0xD5, 0xE1, 0x40,              // date 36526.5
  };
  EXPECT_EQ(s.Contents(), expected);
  Rewind(s);
  BYTE b = 0;
  SHORT i = 0;
  VARIANT_BOOL flag = -1;
  LONG l = 0;
  FLOAT f = 0;
  DOUBLE d = 0;
  CY c{};
  DATE date = 0;
  ASSERT_EQ(s.stream->ReadByte(&b), S_OK);
  ASSERT_EQ(s.stream->ReadInteger(&i), S_OK);
  ASSERT_EQ(s.stream->ReadBoolean(&flag), S_OK);
  ASSERT_EQ(s.stream->ReadLong(&l), S_OK);
  ASSERT_EQ(s.stream->ReadSingle(&f), S_OK);
  ASSERT_EQ(s.stream->ReadDouble(&d), S_OK);
  ASSERT_EQ(s.stream->ReadCurrency(&c), S_OK);
  ASSERT_EQ(s.stream->ReadDate(&date), S_OK);
  EXPECT_EQ(b, 0xAB);
  EXPECT_EQ(i, 0x1234);
  EXPECT_EQ(flag, VARIANT_FALSE);
  EXPECT_EQ(l, -2);
  EXPECT_EQ(f, 1.5f);
  EXPECT_EQ(d, -2.0);
  EXPECT_EQ(c.int64, 12345678);
  EXPECT_EQ(date, 36526.5);
}

TEST(StreamScalars, EightByteMembersShareOneImage) {
  StreamUnderTest s = MakeStream();
  ASSERT_EQ(s.stream->WriteDouble(2.5), S_OK);
  Rewind(s);
  DATE date = 0;
  ASSERT_EQ(s.stream->ReadDate(&date), S_OK);
  EXPECT_EQ(date, 2.5);
}

TEST(StreamScalars, ShortWriteGivesWriteFault) {
  ComPtr<FaultyStream> platform = com::MakeObject<FaultyStream>();
  ComPtr<_Stream> stream = MakeStreamOver(platform.get());
  platform->ShortenNextWrite(2);
  EXPECT_STREAM_FAILURE(stream->WriteLong(7), STG_E_WRITEFAULT, u"Write fault.");
}

TEST(StreamScalars, WriteFailuresAreMappedToTheirMessages) {
  struct Case {
    HRESULT platform;
    const char16_t* text;
  };
  const Case cases[] = {
      {STG_E_ACCESSDENIED, u"Access is denied."},    {STG_E_INVALIDPOINTER, u"Invalid Pointer."},
      {STG_E_WRITEFAULT, u"Write fault."},           {STG_E_CANTSAVE, u"Write fault."},
      {STG_E_MEDIUMFULL, u"Destination Medium is full."}, {STG_E_REVERTED, u"Unexpected Error."},
  };
  for (const Case& c : cases) {
    ComPtr<FaultyStream> platform = com::MakeObject<FaultyStream>();
    ComPtr<_Stream> stream = MakeStreamOver(platform.get());
    platform->FailNextWrite(c.platform);
    EXPECT_STREAM_FAILURE(stream->WriteDouble(1), c.platform, c.text);
  }
}

TEST(StreamScalars, ReadFailuresAreMappedToTheirMessages) {
  struct Case {
    HRESULT platform;
    HRESULT reported;
    const char16_t* text;
  };
  const Case cases[] = {
      {STG_E_ACCESSDENIED, STG_E_ACCESSDENIED, u"Access is denied."},
      {STG_E_INVALIDPOINTER, STG_E_INVALIDPOINTER, u"Invalid Pointer."},
      {S_FALSE, STG_E_INSUFFICIENTMEMORY, kReadError},
      {STG_E_REVERTED, STG_E_REVERTED, u"Unexpected Error."},
  };
  for (const Case& c : cases) {
    ComPtr<FaultyStream> platform = com::MakeObject<FaultyStream>();
    ComPtr<_Stream> stream = MakeStreamOver(platform.get());
    platform->FailNextRead(c.platform);
    SHORT value = 0;
    EXPECT_STREAM_FAILURE(stream->ReadInteger(&value), c.reported, c.text);
  }
}

TEST(StreamScalars, MissingResultPlaceGivesInvalidPointer) {
  StreamUnderTest s = MakeStream(false, Bytes(16, 0));
  EXPECT_STREAM_FAILURE(s.stream->ReadDecimal(nullptr), STG_E_INVALIDPOINTER, u"Invalid Pointer.");
  EXPECT_EQ(s.Position(), 0u);
}

}  // namespace
}  // namespace quillbox::testing
