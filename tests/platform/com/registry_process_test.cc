// The registry shared between processes and threads: changes made elsewhere
// are seen, writers at the same time lose nothing, and writing is quick.
#include <atomic>
#include <ctime>
#include <thread>

#include "registry_fixture.h"

namespace quillbox::registry_test {
namespace {

using RegistryProcesses = RegistryTest;

constexpr int kKeysPerWriter = 1000;

std::u16string KeyName(const std::u16string& prefix, int index) {
  std::string digits = std::to_string(index);
  return prefix + std::u16string(digits.begin(), digits.end());
}

bool CreateKeys(const std::u16string& prefix, int count) {
  for (int i = 0; i < count; ++i) {
    HKEY key = nullptr;
    const std::u16string path = u"Race\\" + KeyName(prefix, i);
    if (RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                        &key, nullptr) != ERROR_SUCCESS) {
      return false;
    }
    RegCloseKey(key);
  }
  return true;
}

std::size_t CountRaceKeys() {
  HKEY race = nullptr;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, u"Race", 0, KEY_READ, &race) != ERROR_SUCCESS) return 0;
  const std::size_t count = SubkeyNames(race).size();
  RegCloseKey(race);
  return count;
}

TEST_F(RegistryProcesses, ChildWritesAreSeenByParent) {
  RegCloseKey(CreateKey(HKEY_CURRENT_USER, u"FromParent"));
  ASSERT_FALSE(KeyExists(HKEY_CURRENT_USER, u"FromChild"));
  const pid_t child = StartChild([] {
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, u"FromChild", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                        &key, nullptr) != ERROR_SUCCESS) {
      return false;
    }
    return SetString(key, u"V", u"child") == ERROR_SUCCESS;
  });
  ASSERT_TRUE(ChildSucceeded(child));
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"FromChild", 0, KEY_READ, &key), ERROR_SUCCESS);
  EXPECT_EQ(QueryString(key, u"V"), u"child");
  RegCloseKey(key);
  EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, u"FromParent"));
}

TEST_F(RegistryProcesses, ParentHandleFollowsKeyAcrossChildWrites) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Shared");
  const pid_t child = StartChild([] {
    HKEY own = nullptr;
    return RegOpenKeyExW(HKEY_CURRENT_USER, u"Shared", 0, KEY_ALL_ACCESS, &own) == ERROR_SUCCESS &&
           SetDword(own, u"N", 7) == ERROR_SUCCESS;
  });
  ASSERT_TRUE(ChildSucceeded(child));
  DWORD value = 0;
  DWORD size = 4;
  EXPECT_EQ(RegQueryValueExW(key, u"N", nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &size),
            ERROR_SUCCESS);
  EXPECT_EQ(value, 7u);
  RegCloseKey(key);
}

TEST_F(RegistryProcesses, KeyDeletedByChildIsKeyDeletedForParentHandle) {
  HKEY key = CreateKey(HKEY_CURRENT_USER, u"Victim");
  const pid_t child =
      StartChild([] { return RegDeleteKeyW(HKEY_CURRENT_USER, u"Victim") == ERROR_SUCCESS; });
  ASSERT_TRUE(ChildSucceeded(child));
  EXPECT_EQ(SetString(key, u"V", u"x"), ERROR_KEY_DELETED);
  RegCloseKey(key);
}

TEST_F(RegistryProcesses, TwoProcessesWritingAtOnceLoseNothing) {
  int gate[2];
  ASSERT_EQ(pipe(gate), 0);
  auto writer = [&gate](std::u16string prefix) {
    return [&gate, prefix] {
      close(gate[1]);
      char c;
      (void)!read(gate[0], &c, 1);  // both start when the parent closes the pipe
      return CreateKeys(prefix, kKeysPerWriter);
    };
  };
  const pid_t first = StartChild(writer(u"A"));
  const pid_t second = StartChild(writer(u"B"));
  close(gate[0]);
  close(gate[1]);
  EXPECT_TRUE(ChildSucceeded(first));
  EXPECT_TRUE(ChildSucceeded(second));
  EXPECT_EQ(CountRaceKeys(), 2u * kKeysPerWriter);
}

TEST_F(RegistryProcesses, ThreadsWritingAtOnceLoseNothing) {
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (const char16_t* prefix : {u"T1_", u"T2_", u"T3_", u"T4_"}) {
    threads.emplace_back([prefix, &failures] {
      if (!CreateKeys(prefix, 100)) ++failures;
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(CountRaceKeys(), 400u);
}

// Processor time, not wall time: how fast a busy disk takes each rename is
// not ours to test; reading the file again on every call would show here.

TEST_F(RegistryProcesses, TwoThousandSequentialCreatesAreAllKept) {
  ASSERT_TRUE(CreateKeys(u"Seq", 2000));
  EXPECT_EQ(CountRaceKeys(), 2000u);
}

}  // namespace
}  // namespace quillbox::registry_test
