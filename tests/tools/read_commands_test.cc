// put, cat and hexdump: bytes in and out of streams, whole and in ranges.
#include <gtest/gtest.h>

#include "tool_runner.h"

namespace qt = quillbox::testing;

namespace {

class StreamCommands : public qt::ToolTest {
 protected:
  // A new document holding one stream with bytes at path.
  std::string DocumentWith(const std::string& path, const std::string& bytes) {
    const std::string file = NewDocument("doc.qbx");
    const std::string source = Path("source.bin");
    qt::WriteFileBytes(source, bytes);
    Ok({"put", file, path, source});
    return file;
  }
};

TEST_F(StreamCommands, PutThenCatRoundTripsBinaryBytesOverManyChunks) {
  const std::string bytes = qt::PatternBytes(300 * 1024, 7);
  ASSERT_NE(bytes.find('\0'), std::string::npos);
  ASSERT_NE(bytes.find('\xFF'), std::string::npos);
  const std::string file = DocumentWith("Data/Big", bytes);
  const qt::ToolRun run = Ok({"cat", file, "Data/Big"});
  EXPECT_EQ(run.out.size(), bytes.size());
  EXPECT_TRUE(run.out == bytes);
  EXPECT_EQ(At(Tree(file), "Data/Big")["size"], bytes.size());
}

TEST_F(StreamCommands, PutReadsStandardInputWithoutSource) {
  const std::string file = NewDocument("doc.qbx");
  const std::string source = Path("stdin.bin");
  qt::WriteFileBytes(source, qt::PatternBytes(70000, 2));
  Ok({"put", file, "s"}, source);
  Ok({"put", file, "t", "-"}, source);
  EXPECT_TRUE(Ok({"cat", file, "s"}).out == qt::PatternBytes(70000, 2));
  EXPECT_TRUE(Ok({"cat", file, "t"}).out == qt::PatternBytes(70000, 2));
}

TEST_F(StreamCommands, PutReplacesTheContentOfAnExistingStream) {
  const std::string file = DocumentWith("s", qt::PatternBytes(10000, 3));
  const std::string shorter = Path("short.bin");
  qt::WriteFileBytes(shorter, "short");
  Ok({"put", file, "s", shorter});
  EXPECT_EQ(Ok({"cat", file, "s"}).out, "short");
  EXPECT_EQ(At(Tree(file), "s")["size"], 5);
}

TEST_F(StreamCommands, PutOfAnEmptySourceLeavesAnEmptyStream) {
  const std::string file = DocumentWith("s", "something");
  const std::string empty = Path("empty.bin");
  qt::WriteFileBytes(empty, "");
  Ok({"put", file, "s", empty});
  EXPECT_EQ(Ok({"cat", file, "s"}).out, "");
  EXPECT_EQ(At(Tree(file), "s")["size"], 0);
}

TEST_F(StreamCommands, PutCreatesTheStoragesOnTheWay) {
  const std::string file = DocumentWith("A/B/C/s", "x");
  const nlohmann::json tree = Tree(file);
  for (const char* storage : {"A", "A/B", "A/B/C"}) {
    ASSERT_NE(Find(tree, storage), nullptr) << storage;
    EXPECT_EQ(At(tree, storage)["type"], "storage");
  }
  EXPECT_EQ(At(tree, "A/B/C/s")["type"], "stream");
}

TEST_F(StreamCommands, PutFromAMissingSourceFailsAndChangesNothing) {
  const std::string file = NewDocument("doc.qbx");
  const qt::ToolRun run = Fails({"put", file, "s", Path("no-such-file")});
  EXPECT_NE(run.err.find("cannot open"), std::string::npos) << run.err;
  EXPECT_TRUE(Tree(file)["children"].empty());
}

TEST_F(StreamCommands, PutOverAStorageIsRefusedByTheLibrary) {
  const std::string file = NewDocument("doc.qbx");
  Ok({"mkdir", file, "A"});
  const std::string source = Path("s.bin");
  qt::WriteFileBytes(source, "x");
  const qt::ToolRun run = Fails({"put", file, "A", source});
  EXPECT_EQ(run.err, "quillbox: This name already exist. (0x80030050)\n");
}

TEST_F(StreamCommands, CatOffsetAndLengthSelectARangeAcrossChunks) {
  const std::string bytes = qt::PatternBytes(200000, 4);
  const std::string file = DocumentWith("s", bytes);
  EXPECT_TRUE(Ok({"cat", file, "s", "--offset", "70000", "--length", "100000"}).out == bytes.substr(70000, 100000));
  EXPECT_TRUE(Ok({"cat", file, "s", "--offset", "199990"}).out == bytes.substr(199990));
  EXPECT_TRUE(Ok({"cat", file, "s", "--length", "3"}).out == bytes.substr(0, 3));
}

TEST_F(StreamCommands, CatStopsAtTheEndOfTheStream) {
  const std::string file = DocumentWith("s", "0123456789");
  EXPECT_EQ(Ok({"cat", file, "s", "--offset", "8", "--length", "100"}).out, "89");
  EXPECT_EQ(Ok({"cat", file, "s", "--offset", "10"}).out, "");
  EXPECT_EQ(Ok({"cat", file, "s", "--offset", "5000000"}).out, "");
}

TEST_F(StreamCommands, CatOfAStorageSaysSo) {
  const std::string file = DocumentWith("A/s", "x");
  EXPECT_EQ(Fails({"cat", file, "A"}).err, "quillbox: /A is a storage, not a stream\n");
  EXPECT_EQ(Fails({"cat", file, "/"}).err, "quillbox: / is the root storage, not a stream\n");
}

TEST_F(StreamCommands, CatOfAMissingStreamGivesTheLibrarysMessage) {
  const std::string file = DocumentWith("A/s", "x");
  EXPECT_EQ(Fails({"cat", file, "A/t"}).err, "quillbox: Stream not found (0x80030002)\n");
  EXPECT_EQ(Fails({"cat", file, "B/s"}).err, "quillbox: Storage not found (0x80030002)\n");
}

// The expected lines follow hexdump -C's canonical format: offset, two
// groups of eight bytes, the printable ones between bars, the end offset.
TEST_F(StreamCommands, HexdumpShowsOffsetsBytesAndPrintableCharacters) {
  const std::string file = DocumentWith("s", std::string("Hello world\n\0\xFF\x7F" "ABCDEFGHIJKLMNOPQRSTU", 36));
  EXPECT_EQ(Ok({"hexdump", file, "s"}).out,
            "00000000  48 65 6c 6c 6f 20 77 6f  72 6c 64 0a 00 ff 7f 41  |Hello world....A|\n"
            "00000010  42 43 44 45 46 47 48 49  4a 4b 4c 4d 4e 4f 50 51  |BCDEFGHIJKLMNOPQ|\n"
            "00000020  52 53 54 55                                       |RSTU|\n"
            "00000024\n");
}

TEST_F(StreamCommands, HexdumpShortLineKeepsTheGapAfterEightBytes) {
  const std::string file = DocumentWith("s", "ABCDEFGHIJ");
  EXPECT_EQ(Ok({"hexdump", file, "s"}).out,
            "00000000  41 42 43 44 45 46 47 48  49 4a                    |ABCDEFGHIJ|\n"
            "0000000a\n");
}

TEST_F(StreamCommands, HexdumpSqueezesRepeatedLinesUnlessAskedNotTo) {
  const std::string file = DocumentWith("s", std::string(64, '\0') + "z");
  const std::string zeros = "00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  |................|\n";
  EXPECT_EQ(Ok({"hexdump", file, "s"}).out,
            "00000000  " + zeros + "*\n00000040  7a" + std::string(48, ' ') + "|z|\n00000041\n");
  EXPECT_EQ(Ok({"hexdump", "-v", file, "s"}).out,
            "00000000  " + zeros + "00000010  " + zeros + "00000020  " + zeros + "00000030  " + zeros +
                "00000040  7a" + std::string(48, ' ') + "|z|\n00000041\n");
}

TEST_F(StreamCommands, HexdumpOffsetColumnCountsFromTheStreamsStart) {
  std::string bytes;
  for (int i = 0; i < 40; ++i) bytes += static_cast<char>(i);
  const std::string file = DocumentWith("s", bytes);
  EXPECT_EQ(Ok({"hexdump", file, "s", "--offset", "20", "--length", "18"}).out,
            "00000014  14 15 16 17 18 19 1a 1b  1c 1d 1e 1f 20 21 22 23  |............ !\"#|\n"
            "00000024  24 25                                             |$%|\n"
            "00000026\n");
}

TEST_F(StreamCommands, HexdumpOfAnEmptyStreamPrintsNothing) {
  const std::string file = DocumentWith("s", "");
  EXPECT_EQ(Ok({"hexdump", file, "s"}).out, "");
}

}  // namespace
