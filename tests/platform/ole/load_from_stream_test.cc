// OleLoadFromStream: objects made from their class id and loaded from the
// bytes after it; unknown and null class ids, short streams, classes without
// IPersistStream, and the argument checks. *ppvObj is null on every failure.
#include <gtest/gtest.h>

#include "memory_stream.h"
#include "support/persistent_object.h"

namespace quillbox::ole::testing {
namespace {

using quillbox::com::ComObject;
using quillbox::testing::kPersistentObjectClsid;
using quillbox::testing::LivePersistentObjects;
using quillbox::testing::MakeNonPersistentObject;
using quillbox::testing::MakePersistentObject;
using quillbox::testing::PersistentValue;
using quillbox::testing::ScopedPersistentObjectClass;

constexpr CLSID kUnknownClass = {0x5A1B2C3D, 0x0001, 0x0002, {0x80, 1, 2, 3, 4, 5, 6, 7}};
constexpr CLSID kNonPersistentClass = {0x5A1B2C3D, 0x0001, 0x0002, {0x80, 1, 2, 3, 4, 5, 6, 8}};

// What an out-parameter holds before the call, to see that it is cleared.
void* const kStale = reinterpret_cast<void*>(0x1);

class LoadFromStreamTest : public ::testing::Test {
 protected:
  void TearDown() override {
    stream_ = nullptr;
    EXPECT_EQ(LivePersistentObjects(), 0);
  }

  // Saves a PersistentObject holding value at the stream's position.
  void SaveValue(LONG value) {
    ComPtr<IPersistStream> persist = MakePersistentObject(value).as<IPersistStream>();
    ASSERT_EQ(OleSaveToStream(persist.get(), stream_.get()), S_OK);
  }

  ScopedPersistentObjectClass class_;
  ComPtr<IStream> stream_ = MakeMemoryStream();
};

TEST_F(LoadFromStreamTest, RestoresTheSavedValue) {
  SaveValue(-123456);
  Rewind(stream_.get());
  ComPtr<IDispatch> object;
  ASSERT_EQ(OleLoadFromStream(stream_.get(), IID_PPV_ARGS(object.put())), S_OK);
  EXPECT_EQ(PersistentValue(object.get()), -123456);
  EXPECT_EQ(class_.created(), 1);
  EXPECT_EQ(StreamPosition(stream_.get()), 20u) << "the object read its own bytes, no more";
}

TEST_F(LoadFromStreamTest, ReadsBytesWrittenByHand) {
  stream_ = MakeMemoryStream(Concat(kPersistentClassBytes, {0x78, 0x56, 0x34, 0x12, 0xEE}));
  ComPtr<IUnknown> object;
  ASSERT_EQ(OleLoadFromStream(stream_.get(), IID_PPV_ARGS(object.put())), S_OK);
  EXPECT_EQ(PersistentValue(object.get()), 0x12345678);
  EXPECT_EQ(StreamPosition(stream_.get()), 20u);
}

TEST_F(LoadFromStreamTest, AnswersTheRequestedInterface) {
  SaveValue(7);
  Rewind(stream_.get());
  ComPtr<IPersistStreamInit> object;
  ASSERT_EQ(OleLoadFromStream(stream_.get(), IID_PPV_ARGS(object.put())), S_OK);
  EXPECT_EQ(object->IsDirty(), S_FALSE) << "a freshly loaded object is clean";
  EXPECT_EQ(object->InitNew(), E_UNEXPECTED) << "it was initialised by Load";
}

TEST_F(LoadFromStreamTest, ObjectsFollowOneAnotherInOneStream) {
  SaveValue(1);
  ASSERT_EQ(OleSaveToStream(nullptr, stream_.get()), OLE_E_BLANK);
  SaveValue(2);
  Rewind(stream_.get());

  ComPtr<IUnknown> first, second;
  ASSERT_EQ(OleLoadFromStream(stream_.get(), IID_PPV_ARGS(first.put())), S_OK);
  void* blank = kStale;
  EXPECT_EQ(OleLoadFromStream(stream_.get(), IID_IUnknown, &blank), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(blank, nullptr);
  ASSERT_EQ(OleLoadFromStream(stream_.get(), IID_PPV_ARGS(second.put())), S_OK);
  EXPECT_EQ(PersistentValue(first.get()), 1);
  EXPECT_EQ(PersistentValue(second.get()), 2);
  EXPECT_EQ(StreamPosition(stream_.get()), 56u);
}

TEST_F(LoadFromStreamTest, UnknownClassGivesTheCreationFailure) {
  ASSERT_EQ(WriteClassStm(stream_.get(), kUnknownClass), S_OK);
  Rewind(stream_.get());
  void* object = kStale;
  EXPECT_EQ(OleLoadFromStream(stream_.get(), IID_IUnknown, &object), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(object, nullptr);
}

TEST_F(LoadFromStreamTest, NullClassIdGivesNull) {
  stream_ = MakeMemoryStream(Bytes(16, 0));
  void* object = kStale;
  EXPECT_EQ(OleLoadFromStream(stream_.get(), IID_IUnknown, &object), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(object, nullptr);
}

TEST_F(LoadFromStreamTest, NullClassIdIsNeverCreatedEvenWhenRegistered) {
  ScopedPersistentObjectClass under_null(CLSID_NULL);
  stream_ = MakeMemoryStream(Concat(Bytes(16, 0), {1, 0, 0, 0}));
  void* object = kStale;
  EXPECT_EQ(OleLoadFromStream(stream_.get(), IID_IUnknown, &object), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(under_null.created(), 0);
}

TEST_F(LoadFromStreamTest, ShortClassIdFailsCleanly) {
  stream_ = MakeMemoryStream(Bytes(kPersistentClassBytes.begin(), kPersistentClassBytes.begin() + 10));
  void* object = kStale;
  EXPECT_EQ(OleLoadFromStream(stream_.get(), IID_IUnknown, &object), STG_E_READFAULT);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(class_.created(), 0);
}

TEST_F(LoadFromStreamTest, EmptyStreamFailsCleanly) {
  void* object = kStale;
  EXPECT_EQ(OleLoadFromStream(stream_.get(), IID_IUnknown, &object), STG_E_READFAULT);
  EXPECT_EQ(object, nullptr);
}

TEST_F(LoadFromStreamTest, LoadFailureReleasesTheNewObject) {
  stream_ = MakeMemoryStream(Concat(kPersistentClassBytes, {0x01, 0x02}));
  void* object = kStale;
  EXPECT_EQ(OleLoadFromStream(stream_.get(), IID_IUnknown, &object), E_FAIL);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(class_.created(), 1);
  EXPECT_EQ(LivePersistentObjects(), 0);
}

TEST_F(LoadFromStreamTest, RequestedInterfaceMissingGivesNoInterface) {
  SaveValue(5);
  Rewind(stream_.get());
  void* object = kStale;
  EXPECT_EQ(OleLoadFromStream(stream_.get(), IID_IStorage, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(LivePersistentObjects(), 0);
}

// A class whose objects answer IDispatch only.
class NonPersistentFactory final : public ComObject<NonPersistentFactory, IClassFactory> {
 public:
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override {
    if (outer) return CLASS_E_NOAGGREGATION;
    ComPtr<IUnknown> object = MakeNonPersistentObject();
    if (!object) return E_OUTOFMEMORY;
    return object->QueryInterface(riid, ppv);
  }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

TEST_F(LoadFromStreamTest, ClassWithoutPersistStreamGivesNoInterface) {
  ComPtr<NonPersistentFactory> factory = quillbox::com::MakeObject<NonPersistentFactory>();
  DWORD cookie = 0;
  ASSERT_EQ(CoRegisterClassObject(kNonPersistentClass, factory->GetUnknown(), CLSCTX_INPROC_SERVER,
                                  REGCLS_MULTIPLEUSE, &cookie),
            S_OK);
  ASSERT_EQ(WriteClassStm(stream_.get(), kNonPersistentClass), S_OK);
  Rewind(stream_.get());
  void* object = kStale;
  EXPECT_EQ(OleLoadFromStream(stream_.get(), IID_IDispatch, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
}

TEST_F(LoadFromStreamTest, NullStreamIsRefusedAndClearsTheResult) {
  void* object = kStale;
  EXPECT_EQ(OleLoadFromStream(nullptr, IID_IUnknown, &object), E_INVALIDARG);
  EXPECT_EQ(object, nullptr);
}

TEST_F(LoadFromStreamTest, NullResultPointerIsRefused) {
  SaveValue(9);
  Rewind(stream_.get());
  EXPECT_EQ(OleLoadFromStream(stream_.get(), IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(StreamPosition(stream_.get()), 0u) << "nothing was read";
  EXPECT_EQ(class_.created(), 0);
}

TEST_F(LoadFromStreamTest, SavedClassIdIsTheObjectsOwn) {
  SaveValue(3);
  Rewind(stream_.get());
  CLSID clsid{};
  ASSERT_EQ(ReadClassStm(stream_.get(), &clsid), S_OK);
  EXPECT_EQ(clsid, kPersistentObjectClsid);
}

}  // namespace
}  // namespace quillbox::ole::testing
