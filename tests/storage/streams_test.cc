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
  ComPtr<_Stream> one;
  ComPtr<_Stream> two;
  EXPECT_EQ(streams->Add(Bstr(u"one").get(), one.put()), S_OK);
  EXPECT_EQ(streams->Add(Bstr(u"two").get(), two.put()), S_OK);
  EXPECT_EQ(StreamCount(streams), 2);
  one.reset();
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

TEST(Streams, ItemOfAnExistingStreamGivesTheNamedStream) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"one$"});
  ComPtr<_Streams> streams = StreamsOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE)));
  ComPtr<_Stream> stream;
  ASSERT_EQ(streams->get_Item(Bstr(u"one").get(), stream.put()), S_OK);
  Bstr name;
  EXPECT_EQ(stream->get_Name(name.put()), S_OK);
  EXPECT_EQ(name.text(), u"one");
}

TEST(Streams, ItemGivesTheSameObjectWhileItLives) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"one$"});
  ComPtr<_Streams> streams = StreamsOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE)));
  ComPtr<_Stream> first;
  ComPtr<_Stream> second;
  ASSERT_EQ(streams->get_Item(Bstr(u"one").get(), first.put()), S_OK);
  ASSERT_EQ(streams->get_Item(Bstr(u"one").get(), second.put()), S_OK);
  EXPECT_EQ(first.get(), second.get());
}

TEST(Streams, AddGivesAnEmptyWritableStream) {
  ScratchDir dir;
  ComPtr<_Streams> streams = StreamsOf(RootOf(CreateDocument(dir / "a.doc")));
  ComPtr<_Stream> stream;
  ASSERT_EQ(streams->Add(Bstr(u"new").get(), stream.put()), S_OK);
  LONG size = -1;
  EXPECT_EQ(stream->get_Size(&size), S_OK);
  EXPECT_EQ(size, 0);
  EXPECT_EQ(stream->WriteLong(7), S_OK);
  EXPECT_EQ(stream->get_Size(&size), S_OK);
  EXPECT_EQ(size, 4);
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

TEST(Streams, RemoveOfALiveStreamIsRefusedUntilItIsReleased) {
  ScratchDir dir;
  BuildFile(dir / "a.doc", {u"one$"});
  ComPtr<_Streams> streams = StreamsOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_FALSE)));
  ComPtr<_Stream> stream;
  ASSERT_EQ(streams->get_Item(Bstr(u"one").get(), stream.put()), S_OK);
  EXPECT_EQ(streams->Remove(Bstr(u"one").get()), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible to remove an open object.");
  stream.reset();
  EXPECT_EQ(streams->Remove(Bstr(u"one").get()), S_OK);
  EXPECT_EQ(StreamCount(streams), 0);
}

TEST(Streams, RenamedStreamKeepsWorkingThroughItsReopenedElement) {
  ScratchDir dir;
  ComPtr<_Streams> streams = StreamsOf(RootOf(CreateDocument(dir / "a.doc")));
  ComPtr<_Stream> stream;
  ASSERT_EQ(streams->Add(Bstr(u"old").get(), stream.put()), S_OK);
  ASSERT_EQ(stream->WriteLong(42), S_OK);
  ASSERT_EQ(stream->put_Name(Bstr(u"new").get()), S_OK);
  Bstr name;
  ASSERT_EQ(stream->get_Name(name.put()), S_OK);
  EXPECT_EQ(name.text(), u"new");
  LONG position = -1;
  ASSERT_EQ(stream->Seek(0, ssSeekCurrent, &position), S_OK);
  EXPECT_EQ(position, 4);  // the position survives the reopening
  ASSERT_EQ(stream->Seek(0, ssSeekBegin, &position), S_OK);
  LONG value = 0;
  ASSERT_EQ(stream->ReadLong(&value), S_OK);
  EXPECT_EQ(value, 42);
  ComPtr<_Stream> again;
  ASSERT_EQ(streams->get_Item(Bstr(u"new").get(), again.put()), S_OK);
  EXPECT_EQ(again.get(), stream.get());
}

TEST(Streams, RenameToAnExistingNameGivesTheOwnersMessage) {
  ScratchDir dir;
  ComPtr<_Streams> streams = StreamsOf(RootOf(CreateDocument(dir / "a.doc")));
  ComPtr<_Stream> first;
  ComPtr<_Stream> second;
  ASSERT_EQ(streams->Add(Bstr(u"first").get(), first.put()), S_OK);
  ASSERT_EQ(streams->Add(Bstr(u"second").get(), second.put()), S_OK);
  // The owner's pairing of message 222 with "file not found" is kept.
  EXPECT_EQ(second->put_Name(Bstr(u"first").get()), STG_E_FILENOTFOUND);
  EXPECT_EQ(TakeDescription(), u"This name already exist.");
}

TEST(Streams, StreamOfAReadOnlyDocumentRefusesChangesAndKeepsItsBytes) {
  ScratchDir dir;
  {
    ComPtr<_Stream> stream;
    ASSERT_EQ(StreamsOf(RootOf(CreateDocument(dir / "a.doc")))->Add(Bstr(u"s").get(), stream.put()), S_OK);
    ASSERT_EQ(stream->WriteLong(7), S_OK);
  }
  ComPtr<_Stream> stream;
  ASSERT_EQ(StreamsOf(RootOf(OpenDocument(dir / "a.doc", VARIANT_TRUE)))->get_Item(Bstr(u"s").get(), stream.put()),
            S_OK);
  EXPECT_EQ(stream->WriteLong(8), STG_E_ACCESSDENIED);
  EXPECT_EQ(TakeDescription(), u"Impossible action with a read only object.");
  EXPECT_EQ(stream->put_Size(0), STG_E_ACCESSDENIED);
  LONG value = 0;
  ASSERT_EQ(stream->ReadLong(&value), S_OK);
  EXPECT_EQ(value, 7);
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
