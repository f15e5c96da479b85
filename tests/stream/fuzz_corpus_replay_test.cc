// Every file of the Stream fuzzer's corpus and every crasher it ever found
// goes through what the fuzzer does (fuzz/stream_values_walk.h), each in a
// child process with a time limit.
#include <gtest/gtest.h>

#include "../../fuzz/stream_values_walk.h"
#include "support/corpus_replay.h"

namespace {

using quillbox::testing::CorpusFiles;

std::vector<std::filesystem::path> Files() {
  return CorpusFiles({"fuzz/corpus/stream_values", "fuzz/crashes/stream_values"});
}

class StreamValuesCorpusReplay : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(StreamValuesCorpusReplay, FileIsWalkedWithoutCrashOrHang) {
  const std::string failure =
      quillbox::testing::ReplayInChild(GetParam(), &quillbox::fuzz::RunOneStreamProgram);
  EXPECT_EQ(failure, "") << GetParam();
}

// corpus/stream_values/x and crashes/stream_values/x stay apart.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(StreamValuesCorpusReplay);
INSTANTIATE_TEST_SUITE_P(Files, StreamValuesCorpusReplay, ::testing::ValuesIn(Files()),
                         [](const auto& info) { return quillbox::testing::CorpusTestName(info.param, 2); });

TEST(StreamValuesCorpusReplaySet, SeedCorpusIsNotEmpty) {
  size_t seeds = 0;
  for (const auto& file : Files()) seeds += file.parent_path().parent_path().filename() == "corpus";
  EXPECT_GE(seeds, 10u);
}

}  // namespace
