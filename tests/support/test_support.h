// Helpers every test program shares: scratch folders and the checks that a
// test left no library object alive.
#pragma once

#include <filesystem>
#include <string>

namespace quillbox::testing {

// A fresh folder under the system's temporary folder, removed with the object.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// The registry file this test process uses (a private one, set up before
// main through QUILLBOX_REGISTRY unless the environment already names one).
std::string TestRegistryPath();

}  // namespace quillbox::testing
