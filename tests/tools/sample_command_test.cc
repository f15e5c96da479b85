// sample: the demonstration document, its tree and the bytes of its typed
// streams as the stream formats lay them out.
#include <gtest/gtest.h>

#include <cstring>

#include "quillbox/timeapi.h"
#include "tool_runner.h"

namespace qt = quillbox::testing;

namespace {

class SampleCommand : public qt::ToolTest {
 protected:
  void SetUp() override {
    file_ = Path("sample.qbx");
    Ok({"sample", file_});
  }

  std::string Cat(const std::string& path) { return Ok({"cat", file_, path}).out; }

  template <class T>
  static std::string Image(T value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
  }

  static std::string Utf16(const std::u16string& text) {
    std::string bytes;
    for (char16_t c : text) bytes += Image(static_cast<uint16_t>(c));
    return bytes;
  }

  // 2024-05-01 12:30:00 as an automation date.
  static double SampleDate() {
    SYSTEMTIME t{};
    t.wYear = 2024;
    t.wMonth = 5;
    t.wDay = 1;
    t.wHour = 12;
    t.wMinute = 30;
    double date = 0;
    EXPECT_TRUE(SystemTimeToVariantTime(&t, &date));
    return date;
  }

  std::string file_;
};

TEST_F(SampleCommand, HasStoragesThreeLevelsDeepWithTimes) {
  const nlohmann::json tree = Tree(file_);
  for (const char* storage : {"Raw", "Typed", "Typed/Strings", "Archive", "Archive/2024", "Archive/2024/May"}) {
    ASSERT_NE(Find(tree, storage), nullptr) << storage;
    EXPECT_EQ(At(tree, storage)["type"], "storage") << storage;
  }
  EXPECT_EQ(At(tree, "Archive/2024/May")["created"], "2024-05-01T09:15:00");
  EXPECT_EQ(At(tree, "Archive/2024/May")["modified"], "2024-05-31T18:00:00");
  EXPECT_EQ(Cat("Archive/2024/May/Notes"), "Three levels down.\n");
}

TEST_F(SampleCommand, RawStreamsHoldTheirBytes) {
  std::string every;
  for (int i = 0; i < 256; ++i) every += static_cast<char>(i);
  EXPECT_TRUE(Cat("Raw/Bytes") == every);
  EXPECT_TRUE(Cat("Raw/Zeros") == std::string(5000, '\0'));
  EXPECT_EQ(Cat("Raw/Greeting"), "Hello from quillbox\n");
}

TEST_F(SampleCommand, VariantsAreTypeTaggedRecords) {
  const std::string expected = Image<uint16_t>(3) + Image<int32_t>(42) +           // Long
                               Image<uint16_t>(5) + Image(3.25) +                  // Double
                               Image<uint16_t>(8) + Image<uint32_t>(18) + Utf16(u"quillbox") +
                               std::string(2, '\0') +                              // String
                               Image<uint16_t>(7) + Image(SampleDate()) +          // Date
                               Image<uint16_t>(11) + std::string("\xFF\xFF", 2);  // Boolean
  EXPECT_TRUE(Cat("Typed/Variants") == expected);
}

TEST_F(SampleCommand, ScalarsAreBareImages) {
  const std::string expected = Image<int32_t>(7) + Image(2.5) + std::string("\xFF\xFF", 2) + Image(SampleDate());
  EXPECT_TRUE(Cat("Typed/Scalars") == expected);
}

TEST_F(SampleCommand, StringsAreFramedAndEncodedAsAsked) {
  const std::u16string text = u"Grüße, Quillbox";
  EXPECT_TRUE(Cat("Typed/Strings/Utf16LengthFirst") == Image<int32_t>(15) + Utf16(text));
  EXPECT_TRUE(Cat("Typed/Strings/Utf16NullTerminated") == Utf16(text) + std::string(2, '\0'));
  // Windows-1252: ü FC, ß DF; OEM 437: ü 81, ß E1.
  EXPECT_EQ(Cat("Typed/Strings/Cp1252NullTerminated"), std::string("Gr\xFC\xDF" "e, Quillbox\0", 16));
  EXPECT_EQ(Cat("Typed/Strings/Cp437Fixed12"), "Gr\x81\xE1" "e, Quill");
  EXPECT_EQ(Cat("Typed/Strings/AnsiLengthFirst"), Image<int32_t>(15) + "Gr\xFC\xDF" "e, Quillbox");
}

TEST_F(SampleCommand, RefusesAnExistingFile) {
  const std::string before = qt::ReadFileBytes(file_);
  EXPECT_EQ(Fails({"sample", file_}).err, "quillbox: File already exist. (0x80030050)\n");
  EXPECT_TRUE(qt::ReadFileBytes(file_) == before);
}

}  // namespace
