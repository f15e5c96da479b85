// Stream: the open check, name, size, seek and the read-only rule.
#include <gtest/gtest.h>

#include "faulty_stream.h"
#include "storage/element_owner.h"
#include "storage/tree_support.h"
#include "stream/stream.h"
#include "stream_support.h"

namespace quillbox::testing {
namespace {

constexpr char16_t kInvalidParameter[] = u"Invalid parameter.";
constexpr char16_t kReadOnly[] = u"Impossible action with a read only object.";
constexpr char16_t kUnexpected[] = u"Unexpected Error.";

LONG SeekTo(const ComPtr<_Stream>& stream, LONG position, ssSeekEnum origin) {
  LONG reached = -1;
  EXPECT_EQ(stream->Seek(position, origin, &reached), S_OK);
  return reached;
}

TEST(StreamSeek, NegativeDisplacementMovesForwardNotBack) {
  ScratchDir dir;
  ComPtr<_CompoundDocument> document;
  ASSERT_EQ(MakeStructuredStorage()->CreateDocument(Bstr(Wide((dir / "a.doc").string())).get(), document.put()),
            S_OK);
  ComPtr<_Storage> root;
  ASSERT_EQ(document->get_RootStorage(root.put()), S_OK);
  ComPtr<_Streams> streams;
  ASSERT_EQ(root->get_Streams(streams.put()), S_OK);
  ComPtr<_Stream> stream;
  ASSERT_EQ(streams->Add(Bstr(u"s").get(), stream.put()), S_OK);
  for (int i = 0; i < 3; ++i) ASSERT_EQ(stream->WriteLong(i), S_OK);
  EXPECT_EQ(SeekTo(stream, 10, ssSeekBegin), 10);
  // The 32-bit position is never sign-extended: -4 is 4294967292 bytes on,
  // far past the end, and the result is the low 32 bits of 4294967302.
  EXPECT_EQ(SeekTo(stream, -4, ssSeekCurrent), 6);
  BYTE byte = 0;
  EXPECT_STREAM_FAILURE(stream->ReadByte(&byte), STG_E_INSUFFICIENTMEMORY, u"Error while reading the Stream.");
  LONG size = 0;
  ASSERT_EQ(stream->get_Size(&size), S_OK);
  EXPECT_EQ(size, 12);
}

// A memory stream holds at most 2^32 - 1 bytes: the platform refuses to
// move that far.
TEST(StreamSeek, NegativeDisplacementOnAMemoryStreamIsRefusedByThePlatform) {
  StreamUnderTest s = MakeStream(false, Bytes(12, 0xAA));
  EXPECT_EQ(SeekTo(s.stream, 10, ssSeekBegin), 10);
  LONG reached = -1;
  EXPECT_STREAM_FAILURE(s.stream->Seek(-4, ssSeekCurrent, &reached), STG_E_INVALIDFUNCTION, kInvalidParameter);
  EXPECT_EQ(s.Position(), 10u);
}

TEST(StreamSeek, ZeroFromTheEndGivesTheSize) {
  StreamUnderTest s = MakeStream(false, Bytes(37, 1));
  EXPECT_EQ(SeekTo(s.stream, 0, ssSeekEnd), 37);
}

TEST(StreamSeek, OriginOutsideTheThreeGivesInvalidParameter) {
  StreamUnderTest s = MakeStream(false, Bytes(4, 1));
  LONG reached = -1;
  EXPECT_STREAM_FAILURE(s.stream->Seek(0, static_cast<ssSeekEnum>(3), &reached), STG_E_INVALIDFUNCTION,
                        kInvalidParameter);
}

TEST(StreamSeek, MissingOutputPlaceGivesInvalidPointer) {
  StreamUnderTest s = MakeStream();
  EXPECT_STREAM_FAILURE(s.stream->Seek(0, ssSeekBegin, nullptr), STG_E_INVALIDPOINTER, u"Invalid Pointer.");
}

TEST(StreamName, MemoryStreamHasTheEmptyName) {
  StreamUnderTest s = MakeStream();
  Bstr name;
  ASSERT_EQ(s.stream->get_Name(name.put()), S_OK);
  ASSERT_NE(name.get(), nullptr);
  EXPECT_EQ(name.text(), u"");
}

TEST(StreamName, RenamingAMemoryStreamGivesMessage256) {
  StreamUnderTest s = MakeStream();
  EXPECT_STREAM_FAILURE(s.stream->put_Name(Bstr(u"x").get()), STG_E_ACCESSDENIED,
                        u"Impossible to rename this object by this way.");
}

TEST(StreamName, RenamingAReadOnlyStreamGivesMessage205First) {
  StreamUnderTest s = MakeStream(true);
  EXPECT_STREAM_FAILURE(s.stream->put_Name(Bstr(u"x").get()), STG_E_ACCESSDENIED, kReadOnly);
}

TEST(StreamSize, SizeIsTheLow32BitsOfTheStreamSize) {
  StreamUnderTest s = MakeStream(false, Bytes(300, 7));
  LONG size = -1;
  ASSERT_EQ(s.stream->get_Size(&size), S_OK);
  EXPECT_EQ(size, 300);
}

TEST(StreamSize, SettingTheSizeKeepsThePosition) {
  StreamUnderTest s = MakeStream(false, Bytes(10, 7));
  SeekTo(s.stream, 6, ssSeekBegin);
  ASSERT_EQ(s.stream->put_Size(3), S_OK);
  EXPECT_EQ(s.Contents(), Bytes(3, 7));
  EXPECT_EQ(s.Position(), 6u);
}

TEST(StreamSize, MediumFullOnResizeGivesMessage207) {
  ComPtr<FaultyStream> platform = com::MakeObject<FaultyStream>();
  ComPtr<_Stream> stream = MakeStreamOver(platform.get());
  platform->FailNextSetSize(STG_E_MEDIUMFULL);
  EXPECT_STREAM_FAILURE(stream->put_Size(10), STG_E_MEDIUMFULL, u"Destination Medium is full.");
}

TEST(StreamSize, OtherResizeFailureGivesMessage1WithItsCode) {
  ComPtr<FaultyStream> platform = com::MakeObject<FaultyStream>();
  ComPtr<_Stream> stream = MakeStreamOver(platform.get());
  platform->FailNextSetSize(STG_E_REVERTED);
  EXPECT_STREAM_FAILURE(stream->put_Size(10), STG_E_REVERTED, kUnexpected);
}

TEST(StreamSize, MissingOutputPlaceGivesInvalidPointer) {
  StreamUnderTest s = MakeStream();
  EXPECT_STREAM_FAILURE(s.stream->get_Size(nullptr), STG_E_INVALIDPOINTER, u"Invalid Pointer.");
}

// Every changing member refuses a read-only stream before it touches it.
TEST(StreamReadOnly, EveryChangingMemberFailsWith205AndLeavesTheStreamUntouched) {
  const Bytes initial = {1, 2, 3, 4, 5};
  StreamUnderTest s = MakeStream(true, initial);
  SeekTo(s.stream, 2, ssSeekBegin);
  VARIANT value;
  VariantInit(&value);
  value.vt = VT_I4;
  value.lVal = 9;
  LONG count = -1;
  EXPECT_STREAM_FAILURE(s.stream->Write(value, &count), STG_E_ACCESSDENIED, kReadOnly);
  VARIANT bytes;
  VariantInit(&bytes);
  bytes.vt = VT_ARRAY | VT_UI1;
  bytes.parray = SafeArrayCreateVector(VT_UI1, 0, 3);
  EXPECT_STREAM_FAILURE(s.stream->WriteBytes(bytes, &count), STG_E_ACCESSDENIED, kReadOnly);
  SafeArrayDestroy(bytes.parray);  // refused before it was taken over
  EXPECT_STREAM_FAILURE(s.stream->put_Size(1), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(s.stream->put_Name(Bstr(u"x").get()), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(s.stream->WriteByte(1), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(s.stream->WriteInteger(1), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(s.stream->WriteBoolean(VARIANT_TRUE), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(s.stream->WriteLong(1), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(s.stream->WriteSingle(1), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(s.stream->WriteDouble(1), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(s.stream->WriteCurrency(CY{}), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(s.stream->WriteDecimal(DECIMAL{}), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(s.stream->WriteDate(1), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(s.stream->WritePicture(nullptr), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_STREAM_FAILURE(s.stream->WriteObject(nullptr), STG_E_ACCESSDENIED, kReadOnly);
  EXPECT_EQ(s.Contents(), initial);
  EXPECT_EQ(s.Position(), 2u);
}

TEST(StreamReadOnly, ReadingMembersWorkOnAReadOnlyStream) {
  StreamUnderTest s = MakeStream(true, {7, 0, 0, 0});
  LONG value = 0;
  EXPECT_EQ(s.stream->ReadLong(&value), S_OK);
  EXPECT_EQ(value, 7);
}

TEST(StreamPictures, PictureAndObjectMembersAreNotSupportedYet) {
  StreamUnderTest s = MakeStream();
  ComPtr<IDispatch> picture;
  EXPECT_STREAM_FAILURE(s.stream->ReadPicture(picture.put()), E_NOTIMPL, u"Not supported.");
  EXPECT_STREAM_FAILURE(s.stream->ReadObject(picture.put()), E_NOTIMPL, u"Not supported.");
  EXPECT_STREAM_FAILURE(s.stream->WritePicture(nullptr), E_NOTIMPL, u"Not supported.");
  EXPECT_STREAM_FAILURE(s.stream->WriteObject(nullptr), E_NOTIMPL, u"Not supported.");
}

// An owner that cannot reopen its child, to see the open check's reports.
class RefusingOwner final : public storage_tree::ElementOwner {
 public:
  void ReleaseChild(LONG key) override { released_key = key; }
  HRESULT RenameChild(LONG, const OLECHAR*, UINT* message_id) override {
    *message_id = 222;
    return STG_E_FILEALREADYEXISTS;
  }
  HRESULT SetChildTime(LONG, DATE, storage_tree::ElementTime, UINT*) override { return S_OK; }
  HRESULT ReopenChild(LONG, UINT* message_id) override {
    *message_id = 204;
    return reopen_result;
  }
  HRESULT reopen_result = STG_E_FILENOTFOUND;
  LONG released_key = 0;
};

struct ClosedStream {
  RefusingOwner owner;
  ComPtr<stream_object::Stream> object;
  ComPtr<IStream> platform;

  ClosedStream() {
    CreateStreamOnHGlobal(nullptr, TRUE, platform.put());
    object = com::MakeObject<stream_object::Stream>();
    UINT message = 0;
    EXPECT_EQ(object->Initialize(42, platform.get(), false, &owner, nullptr, &message), S_OK);
    object->ClosePlatformElement();
  }
};

TEST(StreamOpenCheck, FailedReopenIsReportedAsMessage1WithTheOwnersCode) {
  ClosedStream s;
  LONG value = 0;
  EXPECT_STREAM_FAILURE(s.object->ReadLong(&value), STG_E_FILENOTFOUND, kUnexpected);
}

TEST(StreamOpenCheck, ReopenThatGivesNoStreamIsUnexpected) {
  ClosedStream s;
  s.owner.reopen_result = S_OK;  // succeeds, but hands nothing over
  LONG size = 0;
  EXPECT_STREAM_FAILURE(s.object->get_Size(&size), E_UNEXPECTED, kUnexpected);
}

TEST(StreamOpenCheck, ReopenHandingTheStreamBackLetsTheMemberGoOn) {
  ClosedStream s;
  s.object->TakePlatformElement(s.platform.get());
  EXPECT_EQ(s.object->WriteLong(5), S_OK);
}

TEST(StreamOwner, RenameFailureCarriesTheOwnersMessage) {
  ClosedStream s;
  EXPECT_STREAM_FAILURE(s.object->put_Name(Bstr(u"taken").get()), STG_E_FILEALREADYEXISTS,
                        u"This name already exist.");
}

TEST(StreamOwner, DestroyedStreamTellsItsOwnerItsKey) {
  RefusingOwner owner;
  {
    ComPtr<IStream> platform;
    CreateStreamOnHGlobal(nullptr, TRUE, platform.put());
    ComPtr<stream_object::Stream> object = com::MakeObject<stream_object::Stream>();
    UINT message = 0;
    ASSERT_EQ(object->Initialize(42, platform.get(), false, &owner, nullptr, &message), S_OK);
  }
  EXPECT_EQ(owner.released_key, 42);
}

}  // namespace
}  // namespace quillbox::testing
