// Every file of the compound-file fuzzer's corpus and every crasher it ever
// found goes through what the fuzzer does (fuzz/cfb_walk.h), each in a
// child process with a time limit.
#include <gtest/gtest.h>

#include "../../../fuzz/cfb_walk.h"
#include "support/corpus_replay.h"

namespace {

using quillbox::testing::CorpusFiles;

std::vector<std::filesystem::path> Files() { return CorpusFiles({"fuzz/corpus/cfb", "fuzz/crashes"}); }

class CorpusReplay : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(CorpusReplay, FileIsWalkedWithoutCrashOrHang) {
  const std::string failure = quillbox::testing::ReplayInChild(GetParam(), &quillbox::fuzz::RunOneInput);
  EXPECT_EQ(failure, "") << GetParam();
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CorpusReplay);
INSTANTIATE_TEST_SUITE_P(Files, CorpusReplay, ::testing::ValuesIn(Files()),
                         [](const auto& info) { return quillbox::testing::CorpusTestName(info.param, 1); });

TEST(CorpusReplaySet, SeedCorpusIsNotEmpty) {
  size_t seeds = 0;
  for (const auto& file : Files()) seeds += file.parent_path().filename() == "cfb";
  EXPECT_GE(seeds, 10u);
}

}  // namespace
