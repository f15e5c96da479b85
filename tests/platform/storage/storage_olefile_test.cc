// Smoke test against an independent reader: python3-olefile lists and reads
// back a file we wrote (the wider interoperability matrix lives elsewhere).
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "cfb_test_util.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

std::string RunPython(const std::string& script_path, const std::string& file) {
  const std::string command = "/usr/bin/python3 " + script_path + " " + file + " 2>&1";
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return "popen failed";
  std::string out;
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
  pclose(pipe);
  return out;
}

TEST(StorageOlefileTest, OlefileListsAndReadsOurFile) {
  ASSERT_EQ(std::system("/usr/bin/python3 -c 'import olefile' 2>/dev/null"), 0)
      << "python3-olefile is needed for this test";
  quillbox::testing::ScratchDir dir;
  const auto path = dir / "ours.cfb";
  const auto small = Pattern(1000, 7), large = Pattern(70000, 8), inner = Pattern(5000, 9);
  {
    auto root = CreateDocfile(path);
    PutStream(root.get(), "small", small);
    PutStream(root.get(), "large", large);
    ComPtr<IStorage> sub;
    ASSERT_EQ(root->CreateStorage(u"Folder", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, sub.put()), S_OK);
    PutStream(sub.get(), "inner", inner);
  }
  WriteBytes(dir / "small.bin", small);
  WriteBytes(dir / "large.bin", large);
  WriteBytes(dir / "inner.bin", inner);
  const auto script = dir / "check.py";
  std::ofstream(script) << R"(import sys, os, olefile
ole = olefile.OleFileIO(sys.argv[1])
folder = os.path.dirname(sys.argv[1])
for entry in sorted('/'.join(p) for p in ole.listdir(streams=True, storages=True)):
    print('entry', entry)
for name, expected in [('small', 'small.bin'), ('large', 'large.bin'), ('Folder/inner', 'inner.bin')]:
    data = ole.openstream(name).read()
    print(name, 'same' if data == open(os.path.join(folder, expected), 'rb').read() else 'different')
)";
  const std::string out = RunPython(script.string(), path.string());
  EXPECT_EQ(out,
            "entry Folder\nentry Folder/inner\nentry large\nentry small\n"
            "small same\nlarge same\nFolder/inner same\n");
}

}  // namespace
}  // namespace quillbox::storage::testing
