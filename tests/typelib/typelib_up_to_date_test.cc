// The IDL and C++ header in the tree are what the generator makes of the
// data: a change to the data without `make typelib` fails here.
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "typelib/header_writer.h"
#include "typelib/idl_writer.h"

namespace quillbox::typelib {
namespace {

std::string ReadTreeFile(const std::string& relative) {
  std::ifstream in(std::string(QUILLBOX_SOURCE_DIR) + "/" + relative, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(TypeLibraryFiles, IdlInTheTreeMatchesTheData) {
  const std::string path = "src/typelib/quillbox.idl";
  EXPECT_TRUE(ReadTreeFile(path) == WriteIdl(QuillboxLibrary()))
      << path << " is out of date with the data in src/typelib; regenerate it with `make typelib`.";
}

TEST(TypeLibraryFiles, HeaderInTheTreeMatchesTheData) {
  const std::string path = "include/quillbox/quillbox.h";
  EXPECT_TRUE(ReadTreeFile(path) == WriteHeader(QuillboxLibrary()))
      << path << " is out of date with the data in src/typelib; regenerate it with `make typelib`.";
}

}  // namespace
}  // namespace quillbox::typelib
