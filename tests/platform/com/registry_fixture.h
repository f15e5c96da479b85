// A registry file of its own for each registry test: QUILLBOX_REGISTRY names
// a file in a fresh folder while the test runs and gets its old value back
// afterwards. Also small helpers over the W functions.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quillbox/winerror.h"
#include "quillbox/winreg.h"
#include "support/test_support.h"

namespace quillbox::registry_test {

class RegistryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (const char* old = std::getenv("QUILLBOX_REGISTRY")) saved_ = old;
    path_ = (scratch_ / "registry.reg").string();
    setenv("QUILLBOX_REGISTRY", path_.c_str(), 1);
  }
  void TearDown() override {
    if (saved_) {
      setenv("QUILLBOX_REGISTRY", saved_->c_str(), 1);
    } else {
      unsetenv("QUILLBOX_REGISTRY");
    }
  }

  const std::string& RegistryPath() const { return path_; }

  std::string ReadRegistryPath() const {
    std::ifstream in(path_, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }

  // Replaced the way editors and our store do it: a new file renamed over.
  void WriteRegistryFile(std::string_view bytes) const {
    const std::string temp = path_ + ".new";
    {
      std::ofstream out(temp, std::ios::binary | std::ios::trunc);
      out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    ASSERT_EQ(std::rename(temp.c_str(), path_.c_str()), 0);
  }

  quillbox::testing::ScratchDir scratch_;
  std::string path_;
  std::optional<std::string> saved_;
};

// Creates (or opens) the key with full access; null on failure.
inline HKEY CreateKey(HKEY parent, const char16_t* path) {
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExW(parent, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  return key;
}

inline bool KeyExists(HKEY parent, const char16_t* path) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(parent, path, 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  RegCloseKey(key);
  return true;
}

// UTF-16LE bytes of the text and its terminator, as a W caller passes them.
inline std::vector<BYTE> WideBytes(std::u16string_view text) {
  std::vector<BYTE> bytes;
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<BYTE>(unit & 0xFF));
    bytes.push_back(static_cast<BYTE>(unit >> 8));
  }
  bytes.push_back(0);
  bytes.push_back(0);
  return bytes;
}

inline LSTATUS SetString(HKEY key, const char16_t* name, std::u16string_view text) {
  const std::vector<BYTE> bytes = WideBytes(text);
  return RegSetValueExW(key, name, 0, REG_SZ, bytes.data(), static_cast<DWORD>(bytes.size()));
}

inline LSTATUS SetDword(HKEY key, const char16_t* name, DWORD value) {
  return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                        sizeof value);
}

// The value's UTF-16 text without its terminator, if it is a REG_SZ.
inline std::optional<std::u16string> QueryString(HKEY key, const char16_t* name) {
  DWORD type = 0;
  DWORD size = 0;
  if (RegQueryValueExW(key, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS ||
      type != REG_SZ) {
    return std::nullopt;
  }
  std::u16string text(size / 2, u'\0');
  if (RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &size) !=
      ERROR_SUCCESS) {
    return std::nullopt;
  }
  if (!text.empty() && text.back() == u'\0') text.pop_back();
  return text;
}

inline std::vector<std::u16string> SubkeyNames(HKEY key) {
  std::vector<std::u16string> names;
  for (DWORD index = 0;; ++index) {
    char16_t name[256];
    DWORD count = 256;
    if (RegEnumKeyExW(key, index, name, &count, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      break;
    }
    names.emplace_back(name, count);
  }
  return names;
}

// Runs `work` in a forked child; returns the child's pid (0 on failure).
// The child leaves with _exit, so no test machinery runs twice.
inline pid_t StartChild(const std::function<bool()>& work) {
  const pid_t pid = fork();
  if (pid == 0) _exit(work() ? 0 : 1);
  return pid < 0 ? 0 : pid;
}

// True if the child exited with status 0.
inline bool ChildSucceeded(pid_t pid) {
  int status = 0;
  return pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
         WEXITSTATUS(status) == 0;
}

}  // namespace quillbox::registry_test
