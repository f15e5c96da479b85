// Non-simple sets: a storage with a CONTENTS stream, and stream and storage
// values kept in sibling elements.
#include <gtest/gtest.h>

#include "propset_test_util.h"

namespace quillbox::testing {
namespace {

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kWrite = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

TEST(NonSimple, StreamValueIsCopiedIntoSiblingAndReadBack) {
  ComPtr<IStorage> root = MemoryStorage();
  ComPtr<IPropertySetStorage> sets = SetsOf(root.get());
  {
    ComPtr<IPropertyStorage> set;
    ASSERT_EQ(sets->Create(kTestFmtid, nullptr, PROPSETFLAG_NONSIMPLE, kCreate, set.put()), S_OK);
    ComPtr<IStream> source;
    ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, source.put()), S_OK);
    ASSERT_EQ(source->Write("payload", 7, nullptr), S_OK);
    PROPVARIANT value{};
    value.vt = VT_STREAM;
    value.pStream = source.get();
    PROPSPEC spec = Id(2);
    ASSERT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), S_OK);
  }
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets->Open(kTestFmtid, kWrite, set.put()), S_OK);
  PropVar value;
  PROPSPEC spec = Id(2);
  ASSERT_EQ(set->ReadMultiple(1, &spec, &value), S_OK);
  ASSERT_EQ(value.vt, VT_STREAM);
  char text[8] = {};
  ULONG got = 0;
  ASSERT_EQ(value.pStream->Read(text, 7, &got), S_OK);
  EXPECT_STREQ(text, "payload");
  STATPROPSETSTG stat{};
  ASSERT_EQ(set->Stat(&stat), S_OK);
  EXPECT_TRUE(stat.grfFlags & PROPSETFLAG_NONSIMPLE);
}

TEST(NonSimple, StorageValueIsCopiedIntoSibling) {
  ComPtr<IStorage> root = MemoryStorage();
  ComPtr<IPropertySetStorage> sets = SetsOf(root.get());
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets->Create(kTestFmtid, nullptr, PROPSETFLAG_NONSIMPLE, kCreate, set.put()), S_OK);
  ComPtr<IStorage> source = MemoryStorage();
  ComPtr<IStream> inner;
  ASSERT_EQ(source->CreateStream(u"Inner", kCreate, 0, 0, inner.put()), S_OK);
  inner = nullptr;
  PROPVARIANT value{};
  value.vt = VT_STORAGE;
  value.pStorage = source.get();
  PROPSPEC spec = Id(3);
  ASSERT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), S_OK);
  PropVar back;
  ASSERT_EQ(set->ReadMultiple(1, &spec, &back), S_OK);
  ASSERT_EQ(back.vt, VT_STORAGE);
  ComPtr<IStream> copied;
  EXPECT_EQ(back.pStorage->OpenStream(u"Inner", nullptr, kWrite, 0, copied.put()), S_OK);
}

TEST(NonSimple, SetOutlivesItsPropertySetStorageObject) {
  ComPtr<IStorage> root = MemoryStorage();
  ComPtr<IPropertyStorage> set;
  {
    ComPtr<IPropertySetStorage> sets = SetsOf(root.get());
    ASSERT_EQ(sets->Create(kTestFmtid, nullptr, 0, kCreate, set.put()), S_OK);
  }
  root = nullptr;  // the set holds its container
  PropVar value;
  value.vt = VT_I4;
  PROPSPEC spec = Id(2);
  EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), S_OK);
}

}  // namespace
}  // namespace quillbox::testing
