// Every file of the property-set fuzzer's corpus and every crasher it ever
// found goes through what the fuzzer does (fuzz/propset_walk.h), each in a
// child process with a time limit.
#include <gtest/gtest.h>

#include "../../../fuzz/propset_walk.h"
#include "support/corpus_replay.h"

namespace {

using quillbox::testing::CorpusFiles;

std::vector<std::filesystem::path> Files() {
  return CorpusFiles({"fuzz/corpus/propset", "fuzz/crashes/propset"});
}

class PropsetCorpusReplay : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(PropsetCorpusReplay, FileIsWalkedWithoutCrashOrHang) {
  const std::string failure = quillbox::testing::ReplayInChild(GetParam(), &quillbox::fuzz::RunOnePropertySet);
  EXPECT_EQ(failure, "") << GetParam();
}

// corpus/propset/x and crashes/propset/x stay apart.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(PropsetCorpusReplay);
INSTANTIATE_TEST_SUITE_P(Files, PropsetCorpusReplay, ::testing::ValuesIn(Files()),
                         [](const auto& info) { return quillbox::testing::CorpusTestName(info.param, 2); });

TEST(PropsetCorpusReplaySet, SeedCorpusIsNotEmpty) {
  size_t seeds = 0;
  for (const auto& file : Files()) seeds += file.parent_path().parent_path().filename() == "corpus";
  EXPECT_GE(seeds, 10u);
}

}  // namespace
