// How property sets are reached from the storage service: a storage's
// QueryInterface, and StgOpenStorageEx with STGFMT_FILE on a plain file.
#include <gtest/gtest.h>

#include <fstream>

#include "quillbox/platform.h"
#include "quillbox/propidl.h"
#include "support/test_support.h"

using quillbox::ComPtr;

namespace {

std::u16string Wide(const std::string& s) { return std::u16string(s.begin(), s.end()); }

TEST(PropertySetHooks, StorageAnswersPropertySetStorage) {
  quillbox::testing::ScratchDir dir;
  ComPtr<IStorage> stg;
  ASSERT_EQ(StgCreateDocfile(Wide((dir / "a.doc").string()).c_str(),
                             STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, stg.put()),
            S_OK);
  ComPtr<IPropertySetStorage> sets = stg.as<IPropertySetStorage>();
  ASSERT_TRUE(sets);
  ComPtr<IPropertyStorage> props;
  ASSERT_EQ(sets->Create(FMTID_SummaryInformation, nullptr, PROPSETFLAG_DEFAULT,
                         STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, props.put()),
            S_OK);
  props.reset();
  sets.reset();
  ComPtr<IStream> stream;
  EXPECT_EQ(stg->OpenStream(u"\005SummaryInformation", nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0,
                            stream.put()),
            S_OK);
}

TEST(PropertySetHooks, PlainFileOffersItsPropertySets) {
  quillbox::testing::ScratchDir dir;
  std::ofstream(dir / "notes.txt") << "plain";
  ComPtr<IPropertySetStorage> sets;
  const std::u16string path = Wide((dir / "notes.txt").string());
  const HRESULT hr = StgOpenStorageEx(path.c_str(), STGM_READWRITE | STGM_SHARE_EXCLUSIVE, STGFMT_FILE, 0,
                                      nullptr, nullptr, IID_IPropertySetStorage, sets.put_void());
  if (hr == STG_E_INVALIDFUNCTION) GTEST_SKIP() << "the scratch folder's file system keeps no user attributes";
  ASSERT_EQ(hr, S_OK);
  EXPECT_TRUE(sets);
}

TEST(PropertySetHooks, PlainFileOffersNoStorage) {
  quillbox::testing::ScratchDir dir;
  std::ofstream(dir / "notes.txt") << "plain";
  ComPtr<IStorage> stg;
  EXPECT_EQ(StgOpenStorageEx(Wide((dir / "notes.txt").string()).c_str(), STGM_READ | STGM_SHARE_DENY_WRITE,
                             STGFMT_FILE, 0, nullptr, nullptr, IID_IStorage, stg.put_void()),
            STG_E_INVALIDPARAMETER);
}

TEST(PropertySetHooks, MissingPlainFileIsNotFound) {
  quillbox::testing::ScratchDir dir;
  ComPtr<IPropertySetStorage> sets;
  EXPECT_EQ(StgOpenStorageEx(Wide((dir / "none.txt").string()).c_str(), STGM_READ | STGM_SHARE_DENY_WRITE,
                             STGFMT_FILE, 0, nullptr, nullptr, IID_IPropertySetStorage, sets.put_void()),
            STG_E_FILENOTFOUND);
}

}  // namespace
