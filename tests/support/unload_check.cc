// Every test must leave no library object alive: after each test the
// module lock count is zero, so DllCanUnloadNow answers S_OK. A test that
// leaves one alive is named and the program fails.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "quillbox/objbase.h"

namespace {

class UnloadCheck : public ::testing::EmptyTestEventListener {
 public:
  void OnTestEnd(const ::testing::TestInfo& info) override {
    if (DllCanUnloadNow() != S_OK) {
      offenders_.push_back(std::string(info.test_suite_name()) + "." + info.name());
      std::fprintf(stderr, "[ LIFETIME ] %s left library objects alive (DllCanUnloadNow is S_FALSE)\n",
                   offenders_.back().c_str());
    }
  }
  void OnTestProgramEnd(const ::testing::UnitTest&) override {
    if (!offenders_.empty()) {
      std::fprintf(stderr, "[ LIFETIME ] %zu test(s) left objects alive\n", offenders_.size());
      std::fflush(nullptr);
      std::_Exit(1);
    }
  }

 private:
  std::vector<std::string> offenders_;
};

// Installed before main runs the tests.
const bool g_installed = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new UnloadCheck);
  return true;
}();

}  // namespace
