// Share modes between opens of one file: in one process, and across
// processes (fork), through the byte-range locks.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "cfb_test_util.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

constexpr DWORD kReadDenyWrite = STGM_READ | STGM_SHARE_DENY_WRITE;
constexpr DWORD kWriteExclusive = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

bool IsShareConflict(HRESULT hr) { return hr == STG_E_SHAREVIOLATION || hr == STG_E_LOCKVIOLATION; }

class ModesShareTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(CreateDocfile(path_)); }
  HRESULT Open(DWORD mode, ComPtr<IStorage>* out = nullptr) {
    ComPtr<IStorage> storage;
    HRESULT hr = StgOpenStorage(name_.c_str(), nullptr, mode, nullptr, 0, storage.put());
    if (out) *out = storage;
    return hr;
  }
  // Opens in a child process; the child's result code (low byte of the
  // HRESULT's index in a small table) comes back through its exit status.
  HRESULT OpenInChild(DWORD mode) {
    const pid_t pid = fork();
    if (pid == 0) {
      ComPtr<IStorage> storage;
      const HRESULT hr = StgOpenStorage(name_.c_str(), nullptr, mode, nullptr, 0, storage.put());
      _exit(hr == S_OK ? 0 : hr == STG_E_SHAREVIOLATION ? 1 : hr == STG_E_LOCKVIOLATION ? 2 : 3);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 3;
    return code == 0 ? S_OK : code == 1 ? STG_E_SHAREVIOLATION : code == 2 ? STG_E_LOCKVIOLATION : E_FAIL;
  }
  quillbox::testing::ScratchDir dir_;
  std::filesystem::path path_ = dir_ / "shared.cfb";
  std::u16string name_ = W(path_.string());
};

TEST_F(ModesShareTest, TwoReadersInOneProcessShare) {
  ComPtr<IStorage> first;
  ASSERT_EQ(Open(kReadDenyWrite, &first), S_OK);
  EXPECT_EQ(Open(kReadDenyWrite), S_OK);
}

TEST_F(ModesShareTest, WriterExcludesReaderInOneProcess) {
  ComPtr<IStorage> writer;
  ASSERT_EQ(Open(kWriteExclusive, &writer), S_OK);
  EXPECT_TRUE(IsShareConflict(Open(kReadDenyWrite)));
  EXPECT_TRUE(IsShareConflict(Open(kWriteExclusive)));
  writer = nullptr;
  EXPECT_EQ(Open(kReadDenyWrite), S_OK);
}

TEST_F(ModesShareTest, ReaderExcludesWriterInOneProcess) {
  ComPtr<IStorage> reader;
  ASSERT_EQ(Open(kReadDenyWrite, &reader), S_OK);
  EXPECT_TRUE(IsShareConflict(Open(kWriteExclusive)));
}

TEST_F(ModesShareTest, ExclusiveReaderExcludesOtherReaders) {
  ComPtr<IStorage> reader;
  ASSERT_EQ(Open(STGM_READ | STGM_SHARE_EXCLUSIVE, &reader), S_OK);
  EXPECT_TRUE(IsShareConflict(Open(kReadDenyWrite)));
}

TEST_F(ModesShareTest, CreateOverAnOpenFileIsRefusedAndLeavesItAlone) {
  ComPtr<IStorage> reader;
  ASSERT_EQ(Open(kReadDenyWrite, &reader), S_OK);
  const auto before = ReadBytes(path_);
  ComPtr<IStorage> created;
  EXPECT_TRUE(IsShareConflict(StgCreateDocfile(name_.c_str(), STGM_CREATE | kWriteExclusive, 0, created.put())));
  EXPECT_EQ(ReadBytes(path_), before);
}

TEST_F(ModesShareTest, WriterInOtherProcessConflicts) {
  ComPtr<IStorage> writer;
  ASSERT_EQ(Open(kWriteExclusive, &writer), S_OK);
  EXPECT_TRUE(IsShareConflict(OpenInChild(kReadDenyWrite)));
  EXPECT_TRUE(IsShareConflict(OpenInChild(kWriteExclusive)));
}

TEST_F(ModesShareTest, ReadersInTwoProcessesShare) {
  ComPtr<IStorage> reader;
  ASSERT_EQ(Open(kReadDenyWrite, &reader), S_OK);
  EXPECT_EQ(OpenInChild(kReadDenyWrite), S_OK);
  EXPECT_TRUE(IsShareConflict(OpenInChild(kWriteExclusive)));
}

TEST_F(ModesShareTest, ReleasedFileOpensFromOtherProcess) {
  { ComPtr<IStorage> writer; ASSERT_EQ(Open(kWriteExclusive, &writer), S_OK); }
  EXPECT_EQ(OpenInChild(kWriteExclusive), S_OK);
}

TEST_F(ModesShareTest, TransactedReadersShareButExcludeWriters) {
  ComPtr<IStorage> reader;
  ASSERT_EQ(Open(STGM_READ | STGM_SHARE_DENY_NONE | STGM_TRANSACTED, &reader), S_OK);
  EXPECT_EQ(OpenInChild(STGM_READ | STGM_SHARE_DENY_NONE | STGM_TRANSACTED), S_OK);
  // Run as direct mode, a transacted writer would change the file under the reader.
  EXPECT_TRUE(IsShareConflict(OpenInChild(STGM_READWRITE | STGM_SHARE_DENY_NONE | STGM_TRANSACTED)));
}

}  // namespace
}  // namespace quillbox::storage::testing
