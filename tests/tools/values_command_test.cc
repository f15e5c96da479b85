// values: a stream read as variant records, over the sample's records and
// over records whose bytes are written here by hand (2-byte type tag, then
// the value's little-endian image or a counted UTF-16 text).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <sstream>

#include "quillbox/timeapi.h"
#include "tool_runner.h"

namespace qt = quillbox::testing;

namespace {

// One line of the text listing: offset, type name, value text; the type
// and the value are set apart by at least two blanks.
struct Line {
  unsigned long offset = 0;
  std::string type;
  std::string value;
  bool operator==(const Line&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Line& line) {
  return out << line.offset << " [" << line.type << "] [" << line.value << "]";
}

template <class T>
std::string Image(T value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

std::string Tag(uint16_t vt) { return Image(vt); }

// A text record: the byte count of the UTF-16 text and its terminator, then
// both.
std::string TextRecord(uint16_t vt, const std::u16string& text) {
  std::string bytes = Tag(vt) + Image<uint32_t>(static_cast<uint32_t>(2 * text.size() + 2));
  for (char16_t c : text) bytes += Image(static_cast<uint16_t>(c));
  return bytes + std::string(2, '\0');
}

double DateOf(WORD year, WORD month, WORD day, WORD hour, WORD minute, WORD second) {
  SYSTEMTIME t{};
  t.wYear = year;
  t.wMonth = month;
  t.wDay = day;
  t.wHour = hour;
  t.wMinute = minute;
  t.wSecond = second;
  double date = 0;
  EXPECT_TRUE(SystemTimeToVariantTime(&t, &date));
  return date;
}

class ValuesCommand : public qt::ToolTest {
 protected:
  // A new document holding one stream "s" with bytes.
  std::string DocumentWith(const std::string& bytes) {
    const std::string file = NewDocument("doc.qbx");
    const std::string source = Path("source.bin");
    qt::WriteFileBytes(source, bytes);
    Ok({"put", file, "s", source});
    return file;
  }

  static std::vector<Line> Lines(const std::string& out) {
    std::vector<Line> lines;
    std::istringstream in(out);
    std::string text;
    while (std::getline(in, text)) {
      Line line;
      const size_t digits = text.find_first_not_of(' ');
      const size_t after = text.find(' ', digits);
      line.offset = std::stoul(text.substr(digits, after - digits));
      const size_t type = text.find_first_not_of(' ', after);
      const size_t gap = text.find("  ", type);
      line.type = text.substr(type, gap == std::string::npos ? std::string::npos : gap - type);
      if (gap != std::string::npos) line.value = text.substr(text.find_first_not_of(' ', gap));
      lines.push_back(line);
    }
    return lines;
  }

  std::vector<Line> Values(const std::string& file, const std::string& path) {
    return Lines(Ok({"values", file, path}).out);
  }

  nlohmann::json Json(const std::string& file, const std::string& path) {
    return nlohmann::json::parse(Ok({"values", "--json", file, path}).out, nullptr, false);
  }
};

TEST_F(ValuesCommand, ListsTheSamplesVariantRecordsWithOffsetsTypesAndValues) {
  const std::string file = Path("sample.qbx");
  Ok({"sample", file});
  // Record sizes: tag 2, then Long 4, Double 8, String 4 + 2 * 8 + 2,
  // Date 8, Boolean 2.
  const std::vector<Line> expected = {{0, "Long", "42"},
                                      {6, "Double", "3.25"},
                                      {16, "String", "quillbox"},
                                      {40, "Date", "2024-05-01T12:30:00"},
                                      {50, "Boolean", "True"}};
  EXPECT_EQ(Values(file, "Typed/Variants"), expected);
}

TEST_F(ValuesCommand, JsonGivesTheSamplesValuesTyped) {
  const std::string file = Path("sample.qbx");
  Ok({"sample", file});
  const nlohmann::json records = Json(file, "Typed/Variants");
  ASSERT_TRUE(records.is_array()) << records;
  ASSERT_EQ(records.size(), 5u);
  const int offsets[] = {0, 6, 16, 40, 50};
  const char* types[] = {"Long", "Double", "String", "Date", "Boolean"};
  const int vts[] = {3, 5, 8, 7, 11};
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(records[i]["offset"], offsets[i]) << i;
    EXPECT_EQ(records[i]["type"], types[i]) << i;
    EXPECT_EQ(records[i]["vt"], vts[i]) << i;
  }
  EXPECT_TRUE(records[0]["value"].is_number_integer());
  EXPECT_EQ(records[0]["value"], 42);
  EXPECT_TRUE(records[1]["value"].is_number_float());
  EXPECT_EQ(records[1]["value"], 3.25);
  EXPECT_EQ(records[2]["value"], "quillbox");
  EXPECT_EQ(records[3]["value"], "2024-05-01T12:30:00");
  EXPECT_EQ(records[4]["value"], true);
}

TEST_F(ValuesCommand, ShowsARecordOfEveryFixedWidthType) {
  const std::string bytes = Tag(2) + Image<int16_t>(-1) +                    // Integer
                            Tag(3) + Image<int32_t>(-100000) +               // Long
                            Tag(4) + Image(1.5f) +                           // Single
                            Tag(5) + Image(-0.25) +                          // Double
                            Tag(6) + Image<int64_t>(123456) +                // Currency 12.3456
                            Tag(7) + Image(DateOf(2001, 2, 3, 4, 5, 6)) +    // Date
                            Tag(10) + Image<uint32_t>(0x80004005) +          // Error
                            Tag(11) + std::string("\xFF\xFF", 2) +           // Boolean True
                            Tag(11) + std::string(2, '\0') +                 // Boolean False
                            Tag(16) + std::string("\x80", 1) +               // SByte
                            Tag(17) + std::string("\xFE", 1) +               // Byte
                            Tag(18) + Image<uint16_t>(0x1234) +              // UInteger
                            Tag(19) + Image<uint32_t>(0xFFFFFFFF) +          // ULong
                            Tag(22) + Image<int32_t>(-2) +                   // Int
                            Tag(23) + Image<uint32_t>(5);                    // UInt
  const std::vector<Line> expected = {
      {0, "Integer", "-1"},      {4, "Long", "-100000"},      {10, "Single", "1.5"},
      {16, "Double", "-0.25"},   {26, "Currency", "12.3456"}, {36, "Date", "2001-02-03T04:05:06"},
      {46, "Error", "0x80004005"}, {52, "Boolean", "True"},   {56, "Boolean", "False"},
      {60, "SByte", "-128"},     {63, "Byte", "254"},         {66, "UInteger", "4660"},
      {70, "ULong", "4294967295"}, {76, "Int", "-2"},         {82, "UInt", "5"}};
  EXPECT_EQ(Values(DocumentWith(bytes), "s"), expected);
}

TEST_F(ValuesCommand, ShowsTextNullEmptyAndObjectRecords) {
  const std::string bytes = std::string("\x08\x00\x06\x00\x00\x00\x61\x00\x62\x00\x00\x00", 12) +  // String ab
                            Tag(1) +                                          // Null: the tag alone
                            TextRecord(0, u"") +                              // Empty
                            Tag(9) + std::string(16, '\0') +                  // Object, null class id
                            TextRecord(14, u"1.5") +                          // Decimal
                            TextRecord(20, u"-7");                            // LongLong
  const std::vector<Line> expected = {{0, "String", "ab"},      {12, "Null", ""},     {14, "Empty", ""},
                                      {22, "Object", "(no object)"}, {40, "Decimal", "1.5"}, {54, "LongLong", "-7"}};
  EXPECT_EQ(Values(DocumentWith(bytes), "s"), expected);
}

TEST_F(ValuesCommand, EscapesControlCharactersAndBackslashesInText) {
  const std::string file = DocumentWith(TextRecord(8, u"a\nb\\c\u65E5"));
  const std::vector<Line> expected = {{0, "String", "a\\x0Ab\\x5Cc\xE6\x97\xA5"}};
  EXPECT_EQ(Values(file, "s"), expected);
  EXPECT_EQ(Json(file, "s")[0]["value"], "a\nb\\c\xE6\x97\xA5");
}

TEST_F(ValuesCommand, JsonTypesEachValue) {
  const std::string bytes = Tag(2) + Image<int16_t>(-1) + Tag(11) + std::string(2, '\0') + Tag(1) +
                            Tag(6) + Image<int64_t>(123456) + Tag(10) + Image<uint32_t>(0x80004005) +
                            Tag(9) + std::string(16, '\0') + TextRecord(8, u"ab");
  const nlohmann::json records = Json(DocumentWith(bytes), "s");
  ASSERT_EQ(records.size(), 7u) << records;
  EXPECT_TRUE(records[0]["value"].is_number_integer());
  EXPECT_EQ(records[0]["value"], -1);
  EXPECT_EQ(records[1]["value"], false);
  EXPECT_TRUE(records[2]["value"].is_null());
  EXPECT_EQ(records[2]["type"], "Null");
  EXPECT_TRUE(records[3]["value"].is_number());
  EXPECT_DOUBLE_EQ(records[3]["value"].get<double>(), 12.3456);
  EXPECT_EQ(records[4]["value"], 0x80004005u);
  EXPECT_TRUE(records[5]["value"].is_null());
  EXPECT_EQ(records[5]["type"], "Object");
  EXPECT_EQ(records[6]["value"], "ab");
  for (const auto& record : records) {
    EXPECT_EQ(record.size(), 4u) << record;
    EXPECT_TRUE(record["offset"].is_number_unsigned()) << record;
  }
}

TEST_F(ValuesCommand, CutShortRecordStopsTheListingWithItsOffset) {
  // A Long's tag followed by two of its four bytes.
  const std::string file = DocumentWith(Tag(2) + Image<int16_t>(-1) + Tag(3) + std::string("\x01\x02", 2));
  const qt::ToolRun run = Fails({"values", file, "s"});
  EXPECT_EQ(run.err, "quillbox: damaged variant record at offset 4 (0x80004005)\n");
  const std::vector<Line> before = {{0, "Integer", "-1"}};
  EXPECT_EQ(Lines(run.out), before);
}

TEST_F(ValuesCommand, TextCountPastTheEndIsADamagedRecord) {
  const std::string file = DocumentWith(Tag(8) + Image<uint32_t>(0x7FFFFFFF) + "ab");
  EXPECT_EQ(Fails({"values", file, "s"}).err, "quillbox: damaged variant record at offset 0 (0x80004005)\n");
}

TEST_F(ValuesCommand, RecordWhoseTextCannotTakeItsTypeGivesTheCode) {
  // Array of Byte: the text "a" does not change into an array.
  const std::string file = DocumentWith(TextRecord(0x2011, u"a"));
  EXPECT_EQ(Fails({"values", file, "s"}).err,
            "quillbox: the variant record at offset 0 cannot be read (0x80020005)\n");
}

TEST_F(ValuesCommand, JsonPrintsNothingWhenARecordFails) {
  const std::string file = DocumentWith(Tag(2) + Image<int16_t>(-1) + Tag(5) + "x");
  const qt::ToolRun run = Fails({"values", "--json", file, "s"});
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "quillbox: damaged variant record at offset 4 (0x80004005)\n");
}

TEST_F(ValuesCommand, EmptyStreamHasNoRecords) {
  const std::string file = DocumentWith("");
  EXPECT_EQ(Ok({"values", file, "s"}).out, "");
  EXPECT_EQ(Json(file, "s"), nlohmann::json::array());
}

TEST_F(ValuesCommand, StorageOrMissingStreamIsRefused) {
  const std::string file = NewDocument("doc.qbx");
  Ok({"mkdir", file, "A"});
  EXPECT_EQ(Fails({"values", file, "A"}).err, "quillbox: /A is a storage, not a stream\n");
  EXPECT_EQ(Fails({"values", file, "A/t"}).err, "quillbox: Stream not found (0x80030002)\n");
}

}  // namespace
