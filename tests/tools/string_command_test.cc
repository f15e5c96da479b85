// string: text read with ReadString in each framing (a 4-byte count first,
// a zero terminator, a fixed number of characters) and encoding (UTF-16,
// single- and double-byte code pages), over bytes written here by hand.
#include <gtest/gtest.h>

#include "tool_runner.h"

namespace qt = quillbox::testing;

namespace {

// UTF-8 of the characters the code pages below decode to.
const std::string kGrusse = "Gr\xC3\xBC\xC3\x9F" "e";  // Grüße
const std::string kNihon = "\xE6\x97\xA5\xE6\x9C\xAC";    // 日本 (U+65E5 U+672C)

class StringCommand : public qt::ToolTest {
 protected:
  // A new document holding one stream "s" with bytes.
  std::string DocumentWith(const std::string& bytes) {
    const std::string file = NewDocument("doc" + std::to_string(++documents_) + ".qbx");
    const std::string source = Path("source.bin");
    qt::WriteFileBytes(source, bytes);
    Ok({"put", file, "s", source});
    return file;
  }

  // string FILE s with the options, expected to succeed.
  std::string Read(const std::string& bytes, std::vector<std::string> options) {
    options.insert(options.begin(), {"string", DocumentWith(bytes), "s"});
    return Ok(options).out;
  }

 private:
  int documents_ = 0;
};

TEST_F(StringCommand, Utf16LengthFirstIsTheDefault) {
  EXPECT_EQ(Read(std::string("\x02\x00\x00\x00" "a\0b\0", 8), {}), "ab\n");
  EXPECT_EQ(Read(std::string("\x02\x00\x00\x00" "a\0b\0", 8), {"--encoding", "1200", "--framing", "length"}),
            "ab\n");
}

TEST_F(StringCommand, Utf16ZeroTerminated) {
  EXPECT_EQ(Read(std::string("a\0b\0\0\0", 6), {"--framing", "zero"}), "ab\n");
}

TEST_F(StringCommand, Utf16FixedLengthDropsThePadding) {
  EXPECT_EQ(Read(std::string("a\0b\0\0\0\0\0", 8), {"--framing", "fixed", "--count", "4"}), "ab\n");
}

TEST_F(StringCommand, CodePage1252InEachFraming) {
  EXPECT_EQ(Read(std::string("\x05\x00\x00\x00" "Gr\xFC\xDF" "e", 9), {"--encoding", "1252"}), kGrusse + "\n");
  EXPECT_EQ(Read(std::string("Gr\xFC\xDF" "e\0", 6), {"--encoding", "1252", "--framing", "zero"}), kGrusse + "\n");
  EXPECT_EQ(Read(std::string("Gr\xFC\xDF" "e\0\0", 7), {"--encoding", "1252", "--framing", "fixed", "--count", "7"}),
            kGrusse + "\n");
}

TEST_F(StringCommand, CodePage437FixedLength) {
  // OEM 437: u-umlaut is 81, sharp s E1.
  EXPECT_EQ(Read("Gr\x81\xE1" "e", {"--encoding", "437", "--framing", "fixed", "--count", "5"}), kGrusse + "\n");
}

TEST_F(StringCommand, CodePage932TakesDoubleByteCharacters) {
  // Shift-JIS: 93 FA and 96 7B.
  EXPECT_EQ(Read(std::string("\x93\xFA\x96\x7B\x00", 5), {"--encoding", "932", "--framing", "zero"}), kNihon + "\n");
  // The count of a length-first code-page string is in bytes, the count of
  // a fixed-length one in characters.
  EXPECT_EQ(Read(std::string("\x04\x00\x00\x00\x93\xFA\x96\x7B", 8), {"--encoding", "932"}), kNihon + "\n");
  EXPECT_EQ(Read("\x93\xFA\x96\x7B", {"--encoding", "932", "--framing", "fixed", "--count", "2"}), kNihon + "\n");
}

TEST_F(StringCommand, ReadsTheSamplesStringsWithTheirSettings) {
  const std::string file = Path("sample.qbx");
  Ok({"sample", file});
  const std::string text = kGrusse + ", Quillbox\n";
  EXPECT_EQ(Ok({"string", file, "Typed/Strings/Utf16LengthFirst"}).out, text);
  EXPECT_EQ(Ok({"string", file, "Typed/Strings/Utf16NullTerminated", "--framing", "zero"}).out, text);
  EXPECT_EQ(Ok({"string", file, "Typed/Strings/Cp1252NullTerminated", "--encoding", "1252", "--framing", "zero"}).out,
            text);
  EXPECT_EQ(Ok({"string", file, "Typed/Strings/Cp437Fixed12", "--encoding", "437", "--framing", "fixed", "--count",
                "12"})
                .out,
            kGrusse + ", Quill\n");
}

TEST_F(StringCommand, MissingTerminatorIsAReadError) {
  EXPECT_EQ(Fails({"string", DocumentWith(std::string("a\0b\0", 4)), "s", "--framing", "zero"}).err,
            "quillbox: Error while reading the Stream. (0x80030008)\n");
  EXPECT_EQ(Fails({"string", DocumentWith("ab"), "s", "--framing", "zero", "--encoding", "1252"}).err,
            "quillbox: Error while reading the Stream. (0x80030008)\n");
}

TEST_F(StringCommand, OffsetStartsPartWayIn) {
  EXPECT_EQ(Read(std::string("skip" "ab\0", 7), {"--offset", "4", "--encoding", "1252", "--framing", "zero"}),
            "ab\n");
}

TEST_F(StringCommand, AllReadsSuccessiveStringsToTheEnd) {
  const std::string bytes = std::string("\x02\x00\x00\x00" "hi" "\x00\x00\x00\x00" "\x03\x00\x00\x00" "abc", 17);
  EXPECT_EQ(Read(bytes, {"--encoding", "1252", "--all"}), "hi\n\nabc\n");
  EXPECT_EQ(Read(std::string("a\0\0\0b\0c\0\0\0", 10), {"--framing", "zero", "--all"}), "a\nbc\n");
}

TEST_F(StringCommand, AllStopsAtTheFirstFailureKeepingWhatCameBefore) {
  const std::string file = DocumentWith(std::string("hi\0ab", 5));
  const qt::ToolRun run = Fails({"string", file, "s", "--encoding", "1252", "--framing", "zero", "--all"});
  EXPECT_EQ(run.out, "hi\n");
  EXPECT_EQ(run.err, "quillbox: Error while reading the Stream. (0x80030008)\n");
}

TEST_F(StringCommand, AllOverAnEmptyStreamPrintsNothing) {
  const std::string file = DocumentWith("");
  EXPECT_EQ(Ok({"string", file, "s", "--all"}).out, "");
  EXPECT_EQ(Fails({"string", file, "s"}).err, "quillbox: Error while reading the Stream. (0x80030008)\n");
}

TEST_F(StringCommand, AllRefusesStringsThatTakeNoBytes) {
  const std::string file = DocumentWith("ab");
  EXPECT_EQ(Fails({"string", file, "s", "--framing", "fixed", "--count", "0", "--all"}).err,
            "quillbox: the string at offset 0 takes no bytes: --all stops\n");
}

TEST_F(StringCommand, EscapesControlCharactersToKeepOneStringALine) {
  EXPECT_EQ(Read(std::string("a\nb\\\0", 5), {"--encoding", "1252", "--framing", "zero"}), "a\\x0Ab\\x5C\n");
}

TEST_F(StringCommand, UnknownCodePageGivesTheLibrarysMessage) {
  const std::string file = DocumentWith(std::string("ab\0", 3));
  EXPECT_EQ(Fails({"string", file, "s", "--encoding", "42", "--framing", "zero"}).err,
            "quillbox: Code page not found or not supported. (0x80030057)\n");
}

TEST_F(StringCommand, CountGoesWithFixedFramingOnly) {
  const std::string file = DocumentWith("ab");
  EXPECT_EQ(Fails({"string", file, "s", "--framing", "fixed"}).err, "quillbox: --framing fixed needs --count\n");
  EXPECT_EQ(Fails({"string", file, "s", "--count", "2"}).err, "quillbox: --count goes with --framing fixed\n");
}

TEST_F(StringCommand, UnknownFramingOrNegativeNumbersAreUsageErrors) {
  const std::string file = DocumentWith("ab");
  // The options, the last of them the one refused.
  for (const std::vector<std::string>& options :
       {std::vector<std::string>{"--framing", "Zero"}, {"--offset", "-1"}, {"--framing", "fixed", "--count", "-2"},
        {"--encoding", "-5"}}) {
    const std::string refused = options[options.size() - 2];
    std::vector<std::string> args = {"string", file, "s"};
    args.insert(args.end(), options.begin(), options.end());
    const qt::ToolRun run = qt::RunTool(args);
    EXPECT_NE(run.status, 0) << refused;
    EXPECT_NE(run.status, 1) << refused;
    EXPECT_EQ(run.err.rfind(refused + ": ", 0), 0u) << run.err;
  }
}

}  // namespace
