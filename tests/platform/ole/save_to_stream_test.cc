// OleSaveToStream: the class id, then the object's own bytes; a null object;
// failures of each step and what they leave in the stream.
#include <gtest/gtest.h>

#include "memory_stream.h"
#include "support/persistent_object.h"

namespace quillbox::ole::testing {
namespace {

using quillbox::testing::AsPersistentObject;
using quillbox::testing::LivePersistentObjects;
using quillbox::testing::MakePersistentObject;

class SaveToStreamTest : public ::testing::Test {
 protected:
  void TearDown() override {
    persist_ = nullptr;
    object_ = nullptr;
    stream_ = nullptr;
    EXPECT_EQ(LivePersistentObjects(), 0);
  }
  IPersistStream* Persist() {
    persist_ = object_.as<IPersistStream>();
    return persist_.get();
  }

  ComPtr<IStream> stream_ = MakeMemoryStream();
  ComPtr<IUnknown> object_ = MakePersistentObject(0x11223344);
  ComPtr<IPersistStream> persist_;
};

TEST_F(SaveToStreamTest, WritesClassIdThenTheObjectsBytes) {
  ASSERT_EQ(OleSaveToStream(Persist(), stream_.get()), S_OK);
  persist_ = nullptr;
  EXPECT_EQ(StreamBytes(stream_.get()), Concat(kPersistentClassBytes, {0x44, 0x33, 0x22, 0x11}));
  EXPECT_EQ(StreamPosition(stream_.get()), 20u);
}

TEST_F(SaveToStreamTest, WritesAtTheCurrentPosition) {
  ASSERT_EQ(stream_->Write("ab", 2, nullptr), S_OK);
  ASSERT_EQ(OleSaveToStream(Persist(), stream_.get()), S_OK);
  const Bytes bytes = StreamBytes(stream_.get());
  ASSERT_EQ(bytes.size(), 22u);
  EXPECT_EQ(Bytes(bytes.begin() + 2, bytes.begin() + 18), kPersistentClassBytes);
}

TEST_F(SaveToStreamTest, ClearsTheDirtyFlag) {
  ASSERT_EQ(Persist()->IsDirty(), S_OK);
  ASSERT_EQ(OleSaveToStream(Persist(), stream_.get()), S_OK);
  EXPECT_EQ(persist_->IsDirty(), S_FALSE);
}

TEST_F(SaveToStreamTest, NullObjectWritesTheNullClassIdAndAnswersBlank) {
  EXPECT_EQ(OleSaveToStream(nullptr, stream_.get()), OLE_E_BLANK);
  EXPECT_EQ(StreamBytes(stream_.get()), Bytes(16, 0));
  EXPECT_EQ(StreamPosition(stream_.get()), 16u);
}

TEST_F(SaveToStreamTest, NullStreamIsRefused) {
  EXPECT_EQ(OleSaveToStream(Persist(), nullptr), E_INVALIDARG);
  EXPECT_EQ(OleSaveToStream(nullptr, nullptr), E_INVALIDARG);
  EXPECT_EQ(persist_->IsDirty(), S_OK) << "nothing was saved";
}

TEST_F(SaveToStreamTest, SaveFailureIsPassedOnAfterTheClassId) {
  AsPersistentObject(object_.get())->FailSaveWith(STG_E_CANTSAVE);
  EXPECT_EQ(OleSaveToStream(Persist(), stream_.get()), STG_E_CANTSAVE);
  EXPECT_EQ(StreamBytes(stream_.get()), kPersistentClassBytes);
  EXPECT_EQ(persist_->IsDirty(), S_OK);
}

TEST_F(SaveToStreamTest, ClassIdFailureWritesNothing) {
  AsPersistentObject(object_.get())->FailGetClassIdWith(E_UNEXPECTED);
  EXPECT_EQ(OleSaveToStream(Persist(), stream_.get()), E_UNEXPECTED);
  EXPECT_TRUE(StreamBytes(stream_.get()).empty());
  EXPECT_EQ(persist_->IsDirty(), S_OK);
}

// A stream that refuses writes: the class id cannot be written, and the
// object is never asked to save.
TEST_F(SaveToStreamTest, StreamWriteFailureStopsBeforeTheObjectSaves) {
  ComPtr<ILockBytes> bytes;
  ASSERT_EQ(CreateILockBytesOnHGlobal(nullptr, TRUE, bytes.put()), S_OK);
  ComPtr<IStorage> storage;
  constexpr DWORD kExclusive = STGM_SHARE_EXCLUSIVE;
  ASSERT_EQ(StgCreateDocfileOnILockBytes(bytes.get(), STGM_CREATE | STGM_READWRITE | kExclusive, 0,
                                         storage.put()),
            S_OK);
  ComPtr<IStream> created;
  ASSERT_EQ(storage->CreateStream(u"object", STGM_READWRITE | kExclusive, 0, 0, created.put()), S_OK);
  created = nullptr;
  ComPtr<IStream> reader;
  ASSERT_EQ(storage->OpenStream(u"object", nullptr, STGM_READ | kExclusive, 0, reader.put()), S_OK);

  EXPECT_EQ(OleSaveToStream(Persist(), reader.get()), STG_E_ACCESSDENIED);
  EXPECT_EQ(persist_->IsDirty(), S_OK);
  EXPECT_TRUE(StreamBytes(reader.get()).empty());
  EXPECT_EQ(OleSaveToStream(nullptr, reader.get()), STG_E_ACCESSDENIED);
}

}  // namespace
}  // namespace quillbox::ole::testing
