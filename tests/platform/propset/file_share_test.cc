// Share modes of a plain file's property sets: a conflicting second open,
// from this process or another, is refused as it is for compound files,
// and the file is free again once the last set is released.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "propset_test_util.h"
#include "support/test_support.h"

namespace quillbox::testing {
namespace {

constexpr DWORD kWrite = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kReadShared = STGM_READ | STGM_SHARE_DENY_WRITE;

std::u16string Wide(const std::filesystem::path& path) {
  const std::string text = path.string();
  return std::u16string(text.begin(), text.end());
}

HRESULT OpenSets(const std::filesystem::path& path, DWORD mode, ComPtr<IPropertySetStorage>* sets) {
  *sets = nullptr;
  return StgOpenStorageEx(Wide(path).c_str(), mode, STGFMT_FILE, 0, nullptr, nullptr, IID_IPropertySetStorage,
                          sets->put_void());
}

bool IsConflict(HRESULT hr) { return hr == STG_E_SHAREVIOLATION || hr == STG_E_LOCKVIOLATION; }

class FileShare : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = dir_.path() / "plain.txt";
    std::ofstream(path_) << "plain text";
  }
  ScratchDir dir_;
  std::filesystem::path path_;
};

TEST_F(FileShare, SecondOpenWhileAWriterHoldsTheFileIsRefused) {
  ComPtr<IPropertySetStorage> first, second;
  ASSERT_EQ(OpenSets(path_, kWrite, &first), S_OK);
  for (DWORD mode : {kWrite, kReadShared, DWORD{STGM_READ | STGM_SHARE_DENY_NONE}}) {
    const HRESULT hr = OpenSets(path_, mode, &second);
    EXPECT_TRUE(IsConflict(hr)) << std::hex << "mode 0x" << mode << " gave 0x" << hr;
  }
}

TEST_F(FileShare, WriterIsRefusedWhileAReaderHoldsTheFile) {
  ComPtr<IPropertySetStorage> reader, writer;
  ASSERT_EQ(OpenSets(path_, kReadShared, &reader), S_OK);
  const HRESULT hr = OpenSets(path_, kWrite, &writer);
  EXPECT_TRUE(IsConflict(hr)) << std::hex << "0x" << hr;
}

TEST_F(FileShare, ReadersThatDenyOnlyWritersShareTheFile) {
  ComPtr<IPropertySetStorage> a, b;
  ASSERT_EQ(OpenSets(path_, kReadShared, &a), S_OK);
  EXPECT_EQ(OpenSets(path_, kReadShared, &b), S_OK);
}

TEST_F(FileShare, ReleasingTheLastSetFreesTheFile) {
  ComPtr<IPropertySetStorage> sets;
  ASSERT_EQ(OpenSets(path_, kWrite, &sets), S_OK);
  ComPtr<IPropertyStorage> summary;
  ASSERT_EQ(sets->Create(FMTID_SummaryInformation, nullptr, PROPSETFLAG_DEFAULT, kWrite | STGM_CREATE, summary.put()),
            S_OK);
  sets = nullptr;
  ComPtr<IPropertySetStorage> again;
  // An open property storage still holds the file.
  EXPECT_TRUE(IsConflict(OpenSets(path_, kWrite, &again)));
  summary = nullptr;
  EXPECT_EQ(OpenSets(path_, kWrite, &again), S_OK);
}

TEST_F(FileShare, OpenInAnotherProcessIsRefusedWhileAWriterHoldsTheFile) {
  ComPtr<IPropertySetStorage> sets;
  ASSERT_EQ(OpenSets(path_, kWrite, &sets), S_OK);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ComPtr<IPropertySetStorage> other;
    const HRESULT hr = OpenSets(path_, kReadShared, &other);
    _exit(hr == STG_E_SHAREVIOLATION ? 10 : hr == STG_E_LOCKVIOLATION ? 11 : hr == S_OK ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_TRUE(WEXITSTATUS(status) == 10 || WEXITSTATUS(status) == 11) << "child exit " << WEXITSTATUS(status);
}

TEST_F(FileShare, CompoundFileOpenConflictsWithAnOpenOfItsSetsAsAPlainFile) {
  const std::filesystem::path doc = dir_.path() / "doc.cfb";
  {
    ComPtr<IStorage> root;
    ASSERT_EQ(StgCreateDocfile(Wide(doc).c_str(), kWrite | STGM_CREATE, 0, root.put()), S_OK);
  }
  ComPtr<IStorage> root;
  ASSERT_EQ(StgOpenStorage(Wide(doc).c_str(), nullptr, kWrite, nullptr, 0, root.put()), S_OK);
  ComPtr<IPropertySetStorage> sets;
  EXPECT_TRUE(IsConflict(OpenSets(doc, kReadShared, &sets)));
}

}  // namespace
}  // namespace quillbox::testing
