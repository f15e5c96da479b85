// Property sets of plain files, kept in extended attributes: the real
// attributes of a scratch file, and a stand-in store for file systems that
// refuse user attributes or run out of room.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/xattr.h>

#include <cerrno>
#include <fstream>
#include <map>

#include "platform/propset/attribute_store.h"
#include "platform/propset/property_set_storage.h"
#include "propset_test_util.h"
#include "support/test_support.h"

namespace quillbox::testing {
namespace {

using propset::AttributeStore;

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kWrite = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kRead = STGM_READ | STGM_SHARE_EXCLUSIVE;

std::u16string Wide(const std::filesystem::path& path) {
  const std::string text = path.string();
  return std::u16string(text.begin(), text.end());
}

// An in-memory store: refuse (ENOTSUP), or hold at most capacity bytes of
// values in all (as ext4 keeps one block per file).
class FakeStore final : public AttributeStore {
 public:
  FakeStore(bool supported, size_t capacity) : supported_(supported), capacity_(capacity) {}
  int Get(const std::string& name, std::vector<uint8_t>* value) override {
    if (!supported_) return ENOTSUP;
    auto found = values_.find(name);
    if (found == values_.end()) return ENODATA;
    *value = found->second;
    return 0;
  }
  int Set(const std::string& name, std::span<const uint8_t> value) override {
    if (!supported_) return ENOTSUP;
    if (value.size() > propset::kAttributeChunk) return E2BIG;
    size_t used = value.size();
    for (const auto& [other, bytes] : values_) used += other == name ? 0 : bytes.size();
    if (used > capacity_) return ENOSPC;
    values_[name].assign(value.begin(), value.end());
    return 0;
  }
  int Remove(const std::string& name) override {
    if (!supported_) return ENOTSUP;
    return values_.erase(name) ? 0 : ENODATA;
  }
  int List(std::vector<std::string>* names) override {
    if (!supported_) return ENOTSUP;
    for (const auto& [name, bytes] : values_) names->push_back(name);
    return 0;
  }
  void Times(FILETIME*, FILETIME*, FILETIME*) override {}
  std::map<std::string, std::vector<uint8_t>> values_;

 private:
  bool supported_;
  size_t capacity_;
};

ComPtr<IPropertySetStorage> SetsOver(std::shared_ptr<AttributeStore> store, bool writable) {
  return com::MakeObject<propset::PropertySetStorage>(propset::MakeAttributeHost(std::move(store), writable));
}

HRESULT WriteBlob(IPropertyStorage* set, PROPID id, size_t size) {
  std::vector<BYTE> data(size, 0x5A);
  PROPVARIANT value{};
  value.vt = VT_BLOB;
  value.blob.cbSize = static_cast<ULONG>(size);
  value.blob.pBlobData = data.data();
  PROPSPEC spec = Id(id);
  return set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE);
}

TEST(AttributeSets, PlainFileKeepsSummaryInAttributeAndContentUnchanged) {
  ScratchDir dir;
  const auto path = dir / "notes.txt";
  { std::ofstream(path) << "plain text"; }
  {
    ComPtr<IPropertySetStorage> sets;
    ASSERT_EQ(propset::OpenFilePropertySetStorage(Wide(path).c_str(), STGM_READWRITE, sets.put()), S_OK);
    ComPtr<IPropertyStorage> set;
    ASSERT_EQ(sets->Create(FMTID_SummaryInformation, nullptr, 0, kCreate, set.put()), S_OK);
    PropVar title;
    title.vt = VT_LPWSTR;
    title.pwszVal = static_cast<LPWSTR>(CoTaskMemAlloc(8));
    std::memcpy(title.pwszVal, u"Abc", 8);
    PROPSPEC spec = Id(PIDSI_TITLE);
    ASSERT_EQ(set->WriteMultiple(1, &spec, &title, PID_FIRST_USABLE), S_OK);
  }
  EXPECT_GT(getxattr(path.c_str(), "user.propset.SummaryInformation", nullptr, 0), 48);
  std::ifstream in(path);
  std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(content, "plain text");
  ComPtr<IPropertySetStorage> sets;
  ASSERT_EQ(propset::OpenFilePropertySetStorage(Wide(path).c_str(), STGM_READ, sets.put()), S_OK);
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets->Open(FMTID_SummaryInformation, kRead, set.put()), S_OK);
  PropVar title;
  PROPSPEC spec = Id(PIDSI_TITLE);
  ASSERT_EQ(set->ReadMultiple(1, &spec, &title), S_OK);
  EXPECT_EQ(std::u16string(title.pwszVal), u"Abc");
  ComPtr<IEnumSTATPROPSETSTG> listing;
  ASSERT_EQ(sets->Enum(listing.put()), S_OK);
  STATPROPSETSTG stat{};
  ULONG got = 0;
  ASSERT_EQ(listing->Next(1, &stat, &got), S_OK);
  EXPECT_TRUE(IsEqualGUID(stat.fmtid, FMTID_SummaryInformation));
}

TEST(AttributeSets, MissingFileIsFileNotFound) {
  ScratchDir dir;
  ComPtr<IPropertySetStorage> sets;
  EXPECT_EQ(propset::OpenFilePropertySetStorage(Wide(dir / "absent").c_str(), STGM_READ, sets.put()),
            STG_E_FILENOTFOUND);
}

TEST(AttributeSets, ReadOnlyOpenRefusesWrites) {
  ScratchDir dir;
  const auto path = dir / "file.bin";
  { std::ofstream(path) << "x"; }
  ComPtr<IPropertySetStorage> sets;
  ASSERT_EQ(propset::OpenFilePropertySetStorage(Wide(path).c_str(), STGM_READ, sets.put()), S_OK);
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(sets->Create(kTestFmtid, nullptr, 0, kCreate, set.put()), STG_E_ACCESSDENIED);
  EXPECT_EQ(sets->Open(kTestFmtid, kWrite, set.put()), STG_E_ACCESSDENIED);
  EXPECT_EQ(sets->Delete(kTestFmtid), STG_E_ACCESSDENIED);
}

TEST(AttributeSets, FileSystemWithoutUserAttributesIsInvalidFunction) {
  auto sets = SetsOver(std::make_shared<FakeStore>(false, 0), true);
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(sets->Create(FMTID_SummaryInformation, nullptr, 0, kCreate, set.put()), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(sets->Open(FMTID_SummaryInformation, kRead, set.put()), STG_E_INVALIDFUNCTION);
}

TEST(AttributeSets, NoRoomIsMediumFullAndTheSetStaysAsItWas) {
  auto store = std::make_shared<FakeStore>(true, 4000);
  auto sets = SetsOver(store, true);
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets->Create(kTestFmtid, nullptr, 0, kCreate, set.put()), S_OK);
  ASSERT_EQ(WriteBlob(set.get(), 2, 100), S_OK);
  EXPECT_EQ(WriteBlob(set.get(), 3, 8000), STG_E_MEDIUMFULL);
  PropVar value;
  PROPSPEC spec = Id(3);
  EXPECT_EQ(set->ReadMultiple(1, &spec, &value), S_FALSE);
}

TEST(AttributeSets, LargeSetIsSplitOverNumberedAttributesAndShrinks) {
  auto store = std::make_shared<FakeStore>(true, 1u << 24);
  auto sets = SetsOver(store, true);
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets->Create(kTestFmtid, nullptr, 0, kCreate, set.put()), S_OK);
  ASSERT_EQ(WriteBlob(set.get(), 2, 150000), S_OK);
  OLECHAR name[CCH_MAX_PROPSTG_NAME + 1];
  FmtIdToPropStgName(&kTestFmtid, name);
  std::string base = "user.propset.";
  for (const char16_t* p = name + 1; *p; ++p) base += static_cast<char>(*p);
  EXPECT_EQ(store->values_.count(base), 1u);
  EXPECT_EQ(store->values_.count(base + ".1"), 1u);
  EXPECT_EQ(store->values_.count(base + ".2"), 1u);
  set = nullptr;
  ASSERT_EQ(sets->Open(kTestFmtid, kWrite, set.put()), S_OK);
  PropVar value;
  PROPSPEC spec = Id(2);
  ASSERT_EQ(set->ReadMultiple(1, &spec, &value), S_OK);
  EXPECT_EQ(value.blob.cbSize, 150000u);
  ASSERT_EQ(set->DeleteMultiple(1, &spec), S_OK);
  EXPECT_EQ(store->values_.count(base + ".1"), 0u);
  EXPECT_EQ(store->values_.count(base + ".2"), 0u);
}

TEST(AttributeSets, UserDefinedSetLivesBesideDocumentSummaryInOneAttribute) {
  auto store = std::make_shared<FakeStore>(true, 1u << 20);
  auto sets = SetsOver(store, true);
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets->Create(FMTID_UserDefinedProperties, nullptr, 0, kCreate, set.put()), S_OK);
  set = nullptr;
  EXPECT_EQ(store->values_.size(), 1u);
  EXPECT_EQ(store->values_.count("user.propset.DocumentSummaryInformation"), 1u);
}

TEST(AttributeSets, NonSimpleSetOnFileIsInvalidFlag) {
  auto sets = SetsOver(std::make_shared<FakeStore>(true, 1u << 20), true);
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(sets->Create(kTestFmtid, nullptr, PROPSETFLAG_NONSIMPLE, kCreate, set.put()), STG_E_INVALIDFLAG);
}

TEST(AttributeSets, Ext4RefusesASetLargerThanItsAttributeBlock) {
  ScratchDir dir;
  struct statfs info {};
  ASSERT_EQ(statfs(dir.path().c_str(), &info), 0);
  if (info.f_type != 0xEF53) GTEST_SKIP() << "scratch folder is not on ext4; the stand-in store covers this";
  const auto path = dir / "small.txt";
  { std::ofstream(path) << "y"; }
  ComPtr<IPropertySetStorage> sets;
  ASSERT_EQ(propset::OpenFilePropertySetStorage(Wide(path).c_str(), STGM_READWRITE, sets.put()), S_OK);
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets->Create(kTestFmtid, nullptr, 0, kCreate, set.put()), S_OK);
  EXPECT_EQ(WriteBlob(set.get(), 2, 16000), STG_E_MEDIUMFULL);
}

}  // namespace
}  // namespace quillbox::testing
