// Streams: the streams of a storage, by name, up to the making of Stream
// objects (which belong to the Stream class, not part of the library yet).
#include <gtest/gtest.h>

#include "tree_support.h"

namespace quillbox::testing {
namespace {

LONG StreamCount(const ComPtr<_Streams>& streams) {
  LONG count = -1;
  EXPECT_EQ(streams->get_Count(&count), S_OK);
  return count;
}

TEST(Streams, CountListsOnlyTheStreamsOfTheStorage) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"one$", u"two$", u"sub", u"sub/deep$"});
  ComPtr<_Storage> root = RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE));
  EXPECT_EQ(StreamCount(StreamsOf(root)), 2);
  EXPECT_EQ(CountOf(StoragesOf(root)), 1);
}

TEST(Streams, CountIsZeroThenTwoAfterTwoCreationsThenOneAfterRemove) {
  ScratchDir dir;
  ComPtr<_Streams> streams = StreamsOf(RootOf(CreateDocument(dir / "a.doc")));
  EXPECT_EQ(StreamCount(streams), 0);
  // Add makes the element, then stops where the Stream object would be made.
  ComPtr<_Stream> stream;
  EXPECT_EQ(streams->Add(Bstr(u"one").get(), stream.put()), E_NOTIMPL);
  EXPECT_EQ(streams->Add(Bstr(u"two").get(), stream.put()), E_NOTIMPL);
  EXPECT_EQ(StreamCount(streams), 2);
  ASSERT_EQ(streams->Remove(Bstr(u"one").get()), S_OK);
  EXPECT_EQ(StreamCount(streams), 1);
}

TEST(Streams, AddOfAnExistingNameFailsAndLeavesTheTableUnchanged) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"one$"});
  ComPtr<_Streams> streams = StreamsOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_FALSE)));
  ComPtr<_Stream> stream;
  EXPECT_EQ(streams->Add(Bstr(u"one").get(), stream.put()), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(TakeDescription(), u"This name already exist.");
  EXPECT_EQ(StreamCount(streams), 1);
}

TEST(Streams, ItemOfAMissingNameGivesStreamNotFound) {
  ScratchDir dir;
  ComPtr<_Streams> streams = StreamsOf(RootOf(CreateDocument(dir / "a.doc")));
  ComPtr<_Stream> stream;
  EXPECT_EQ(streams->get_Item(Bstr(u"missing").get(), stream.put()), STG_E_FILENOTFOUND);
  EXPECT_EQ(TakeDescription(), u"Stream not found");
}

TEST(Streams, ItemOfAStorageNameGivesStreamNotFound) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"sub"});
  ComPtr<_Streams> streams = StreamsOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE)));
  ComPtr<_Stream> stream;
  EXPECT_EQ(streams->get_Item(Bstr(u"sub").get(), stream.put()), STG_E_FILENOTFOUND);
  EXPECT_EQ(TakeDescription(), u"Stream not found");
}

TEST(Streams, ItemOfAnExistingStreamIsNotSupportedUntilStreamsExist) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"one$"});
  ComPtr<_Streams> streams = StreamsOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE)));
  ComPtr<_Stream> stream;
  EXPECT_EQ(streams->get_Item(Bstr(u"one").get(), stream.put()), E_NOTIMPL);
  EXPECT_EQ(TakeDescription(), u"Not supported.");
  EXPECT_FALSE(stream);
}

TEST(Streams, MissingOutputPlaceComesBeforeTheLookUp) {
  ScratchDir dir;
  ComPtr<_Streams> streams = StreamsOf(RootOf(CreateDocument(dir / "a.doc")));
  EXPECT_EQ(streams->get_Item(Bstr(u"missing").get(), nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(TakeDescription(), u"Invalid Pointer.");
  EXPECT_EQ(streams->Add(Bstr(u"x").get(), nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(StreamCount(streams), 0);
}

TEST(Streams, RemoveOfAMissingNameGivesStreamNotFound) {
  ScratchDir dir;
  ComPtr<_Streams> streams = StreamsOf(RootOf(CreateDocument(dir / "a.doc")));
  EXPECT_EQ(streams->Remove(Bstr(u"missing").get()), STG_E_FILENOTFOUND);
  EXPECT_EQ(TakeDescription(), u"Stream not found");
}

TEST(Streams, RemoveAfterAnItemThatOpenedTheStreamSucceeds) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"one$"});
  ComPtr<_Streams> streams = StreamsOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_FALSE)));
  ComPtr<_Stream> stream;
  ASSERT_EQ(streams->get_Item(Bstr(u"one").get(), stream.put()), E_NOTIMPL);
  EXPECT_EQ(streams->Remove(Bstr(u"one").get()), S_OK);
  EXPECT_EQ(StreamCount(streams), 0);
}

TEST(Streams, OnAReadOnlyDocumentAddAndRemoveAreRefused) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"one$"});
  ComPtr<_Streams> streams = StreamsOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE)));
  ComPtr<_Stream> stream;
  EXPECT_EQ(streams->Add(Bstr(u"two").get(), stream.put()), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible action with a read only object.");
  EXPECT_EQ(streams->Remove(Bstr(u"one").get()), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible action with a read only object.");
}

TEST(Streams, ErrorsNameTheStreamsInterface) {
  ScratchDir dir;
  ComPtr<_Streams> streams = StreamsOf(RootOf(CreateDocument(dir / "a.doc")));
  EXPECT_EQ(streams->Remove(Bstr(u"missing").get()), STG_E_FILENOTFOUND);
  ComPtr<IErrorInfo> info;
  ASSERT_EQ(GetErrorInfo(0, info.put()), S_OK);
  GUID guid{};
  ASSERT_EQ(info->GetGUID(&guid), S_OK);
  EXPECT_TRUE(IsEqualGUID(guid, IID__Streams));
}

}  // namespace
}  // namespace quillbox::testing
