// Every file of the property-set fuzzer's corpus and every crasher it ever
// found goes through what the fuzzer does (fuzz/propset_walk.h), each in a
// child process with a time limit, so a crash or a hang fails only that
// file's test.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "../../../fuzz/propset_walk.h"

namespace {

constexpr auto kTimeLimit = std::chrono::seconds(60);  // sanitizer builds are slow

std::vector<std::filesystem::path> CorpusFiles() {
  std::vector<std::filesystem::path> files;
  for (const char* dir : {"/fuzz/corpus/propset", "/fuzz/crashes/propset"}) {
    const std::filesystem::path folder = std::string(QUILLBOX_SOURCE_DIR) + dir;
    if (!std::filesystem::is_directory(folder)) continue;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.is_regular_file() && entry.path().filename().string()[0] != '.') files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

class PropsetCorpusReplay : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(PropsetCorpusReplay, FileIsWalkedWithoutCrashOrHang) {
  std::ifstream in(GetParam(), std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    quillbox::fuzz::RunOnePropertySet(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    _exit(0);
  }
  const auto deadline = std::chrono::steady_clock::now() + kTimeLimit;
  int status = 0;
  while (waitpid(child, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      FAIL() << GetParam() << " hung (more than " << kTimeLimit.count() << " s)";
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
      << GetParam() << (WIFSIGNALED(status) ? " crashed with signal " + std::to_string(WTERMSIG(status))
                                            : " failed with exit status " + std::to_string(WEXITSTATUS(status)));
}

std::string TestName(const ::testing::TestParamInfo<std::filesystem::path>& info) {
  // corpus/propset/x and crashes/propset/x stay apart.
  std::string name = info.param.parent_path().parent_path().filename().string() + "_" + info.param.filename().string();
  for (char& c : name) {
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  }
  return name;
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(PropsetCorpusReplay);
INSTANTIATE_TEST_SUITE_P(Files, PropsetCorpusReplay, ::testing::ValuesIn(CorpusFiles()), TestName);

TEST(PropsetCorpusReplaySet, SeedCorpusIsNotEmpty) {
  size_t seeds = 0;
  for (const auto& file : CorpusFiles()) {
    seeds += file.parent_path().parent_path().filename() == "corpus";
  }
  EXPECT_GE(seeds, 10u);
}

}  // namespace
