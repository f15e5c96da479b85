// The message table: every id and text exactly, as LoadStringA gives them.
#include <gtest/gtest.h>

#include <string>

#include "frame/module.h"
#include "quillbox/platform.h"

namespace {

std::string Load(UINT id) {
  char buffer[1024];
  const int n = LoadStringA(quillbox::frame::ModuleInstance(), id, buffer, sizeof buffer);
  return std::string(buffer, static_cast<std::size_t>(n));
}

TEST(MessageTable, TextsAreExactIncludingTrailingBlanks) {
  EXPECT_EQ(Load(1), "Unexpected Error.");
  EXPECT_EQ(Load(201), "Fail to create storage ");
  EXPECT_EQ(Load(224), "Error reading the storage. ");
  EXPECT_EQ(Load(225), "A failed attempt was made to translate a Unicode string to or from ANSI. \n");
  EXPECT_EQ(Load(229), "Impossible to remove an open object.");
  EXPECT_EQ(Load(243), "Value is not a clipboard format. Use \"Value\" property to access data.");
  EXPECT_EQ(Load(261), "You must use a VB Ole control in argument.");
}

TEST(MessageTable, ThereIsNoMessage211) { EXPECT_EQ(Load(211), ""); }

TEST(MessageTable, EveryMessageFrom200To261ButOneIsPresent) {
  for (UINT id = 200; id <= 261; ++id) {
    if (id == 211) continue;
    EXPECT_FALSE(Load(id).empty()) << id;
  }
  EXPECT_TRUE(Load(262).empty());
  EXPECT_TRUE(Load(199).empty());
}

TEST(MessageTable, DescriptionsAreStringsToo) {
  EXPECT_EQ(Load(11), "Quillbox Library");
  EXPECT_EQ(Load(100), "Quillbox");
  EXPECT_EQ(Load(108), "EnumStorage Class");
  EXPECT_EQ(Load(117), "MyDataObj Class");
  EXPECT_EQ(Load(119), "EnumFormatEtc Class");
}

TEST(LoadString, ShortBufferTruncatesAndTerminates) {
  char buffer[6];
  EXPECT_EQ(LoadStringA(quillbox::frame::ModuleInstance(), 204, buffer, sizeof buffer), 5);
  EXPECT_STREQ(buffer, "Strea");
}

TEST(LoadString, WideVersionConvertsFromTheAnsiCodePage) {
  WCHAR buffer[64];
  EXPECT_EQ(LoadStringW(quillbox::frame::ModuleInstance(), 204, buffer, 64), 16);
  EXPECT_EQ(std::u16string(buffer), u"Stream not found");
}

TEST(LoadString, UnknownInstanceHasNoStrings) {
  char buffer[16] = "x";
  EXPECT_EQ(LoadStringA(reinterpret_cast<HINSTANCE>(0x1234), 204, buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "");
}

}  // namespace
