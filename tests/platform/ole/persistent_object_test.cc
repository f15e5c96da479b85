// The shared persistent test object: its IPersistStream / IPersistStreamInit
// rules, its IDispatch, its class registration, and that it stays out of the
// module lock.
#include <gtest/gtest.h>

#include "memory_stream.h"
#include "support/persistent_object.h"

namespace quillbox::ole::testing {
namespace {

using quillbox::testing::AsPersistentObject;
using quillbox::testing::kPersistentObjectClsid;
using quillbox::testing::LivePersistentObjects;
using quillbox::testing::MakeNonPersistentObject;
using quillbox::testing::MakePersistentObject;
using quillbox::testing::PersistentValue;
using quillbox::testing::ScopedPersistentObjectClass;

class PersistentObjectTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(LivePersistentObjects(), 0); }
};

TEST_F(PersistentObjectTest, SaveWritesFourBytesLittleEndianWithoutClassId) {
  ComPtr<IPersistStream> object = MakePersistentObject(0x01020304).as<IPersistStream>();
  ComPtr<IStream> stream = MakeMemoryStream();
  ASSERT_EQ(object->Save(stream.get(), FALSE), S_OK);
  EXPECT_EQ(StreamBytes(stream.get()), (Bytes{0x04, 0x03, 0x02, 0x01}));
  EXPECT_EQ(object->IsDirty(), S_OK) << "FALSE leaves the dirty flag";
}

TEST_F(PersistentObjectTest, ReportsItsClassAndSize) {
  ComPtr<IPersist> object = MakePersistentObject(1).as<IPersist>();
  ASSERT_TRUE(object);
  CLSID clsid{};
  ASSERT_EQ(object->GetClassID(&clsid), S_OK);
  EXPECT_EQ(clsid, kPersistentObjectClsid);
  ULARGE_INTEGER size{};
  ASSERT_EQ(object.as<IPersistStream>()->GetSizeMax(&size), S_OK);
  EXPECT_EQ(size.QuadPart, 4u);
}

TEST_F(PersistentObjectTest, LoadAfterInitNewIsUnexpected) {
  ComPtr<IPersistStreamInit> object;
  ScopedPersistentObjectClass registration;
  ASSERT_EQ(CoCreateInstance(kPersistentObjectClsid, nullptr, CLSCTX_INPROC_SERVER,
                             IID_PPV_ARGS(object.put())),
            S_OK);
  ASSERT_EQ(object->InitNew(), S_OK);
  ComPtr<IStream> stream = MakeMemoryStream({1, 0, 0, 0});
  EXPECT_EQ(object->Load(stream.get()), E_UNEXPECTED);
  EXPECT_EQ(PersistentValue(object.get()), 0);
}

TEST_F(PersistentObjectTest, InitNewAfterLoadIsUnexpected) {
  ComPtr<IUnknown> object = MakePersistentObject(0);
  ComPtr<IStream> stream = MakeMemoryStream({9, 0, 0, 0});
  ASSERT_EQ(object.as<IPersistStream>()->Load(stream.get()), S_OK);
  EXPECT_EQ(object.as<IPersistStreamInit>()->InitNew(), E_UNEXPECTED);
  EXPECT_EQ(PersistentValue(object.get()), 9);
}

TEST_F(PersistentObjectTest, DispatchHasNoTypeInformation) {
  ComPtr<IDispatch> object = MakePersistentObject(1).as<IDispatch>();
  ASSERT_TRUE(object);
  UINT count = 7;
  EXPECT_EQ(object->GetTypeInfoCount(&count), S_OK);
  EXPECT_EQ(count, 0u);
  ComPtr<ITypeInfo> info;
  EXPECT_EQ(object->GetTypeInfo(0, 0, info.put()), E_NOTIMPL);
}

TEST_F(PersistentObjectTest, NonPersistentObjectAnswersDispatchOnly) {
  ComPtr<IUnknown> object = MakeNonPersistentObject();
  EXPECT_TRUE(object.as<IDispatch>());
  ComPtr<IPersistStream> persist;
  EXPECT_EQ(object.try_as(persist), E_NOINTERFACE);
  EXPECT_FALSE(object.as<IPersist>());
  EXPECT_EQ(AsPersistentObject(object.get()), nullptr);
}

TEST_F(PersistentObjectTest, ValueIsFoundFromAnyInterface) {
  ComPtr<IUnknown> object = MakePersistentObject(42);
  EXPECT_EQ(PersistentValue(object.as<IPersistStreamInit>().get()), 42);
  EXPECT_EQ(PersistentValue(object.as<IDispatch>().get()), 42);
}

TEST_F(PersistentObjectTest, RegistrationEndsWithItsScope) {
  {
    ScopedPersistentObjectClass registration;
    ASSERT_EQ(registration.result(), S_OK);
    ComPtr<IDispatch> object;
    EXPECT_EQ(CoCreateInstance(kPersistentObjectClsid, nullptr, CLSCTX_INPROC_SERVER,
                               IID_PPV_ARGS(object.put())),
              S_OK);
    EXPECT_EQ(registration.created(), 1);
  }
  ComPtr<IDispatch> object;
  EXPECT_EQ(CoCreateInstance(kPersistentObjectClsid, nullptr, CLSCTX_INPROC_SERVER,
                             IID_PPV_ARGS(object.put())),
            REGDB_E_CLASSNOTREG);
}

TEST_F(PersistentObjectTest, LiveObjectsDoNotHoldTheModule) {
  ComPtr<IUnknown> persistent = MakePersistentObject(1);
  ComPtr<IUnknown> plain = MakeNonPersistentObject();
  ScopedPersistentObjectClass registration;
  EXPECT_EQ(LivePersistentObjects(), 2);
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
  persistent = nullptr;
  plain = nullptr;
}

}  // namespace
}  // namespace quillbox::ole::testing
