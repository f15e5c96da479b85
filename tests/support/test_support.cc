// Test-process setup: a private registry file, so tests never touch the
// user's registry, and scratch folders.
#include "support/test_support.h"

#include <stdlib.h>
#include <unistd.h>

#include <stdexcept>

namespace quillbox::testing {
namespace {

std::filesystem::path MakeTempDir(const char* prefix) {
  std::string pattern = (std::filesystem::temp_directory_path() / prefix).string() + "XXXXXX";
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  return pattern;
}

struct RegistrySandbox {
  std::filesystem::path dir;
  pid_t owner = getpid();  // forked children must not remove it on exit
  RegistrySandbox() {
    dir = MakeTempDir("quillbox-test-registry-");
    setenv("QUILLBOX_REGISTRY", (dir / "registry.reg").c_str(), 1);
  }
  ~RegistrySandbox() {
    if (getpid() != owner) return;
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
  }
};

RegistrySandbox g_registry_sandbox;

}  // namespace

ScratchDir::ScratchDir() : path_(MakeTempDir("quillbox-test-")) {}
ScratchDir::~ScratchDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TestRegistryPath() { return (g_registry_sandbox.dir / "registry.reg").string(); }

}  // namespace quillbox::testing
