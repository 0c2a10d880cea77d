#include <gtest/gtest.h>
#include <signal.h>

#include <string>
#include <vector>

#include "tests/desktop/desktop.h"
#include "tests/desktop/display.h"

namespace {

// Full names of the tests that are to run.
std::vector<std::string> GetTests() {
  std::vector<std::string> names;
  const testing::UnitTest& all = *testing::UnitTest::GetInstance();
  const std::string filter = GTEST_FLAG_GET(filter);
  for (int i = 0; i < all.total_test_suite_count(); ++i) {
    const testing::TestSuite& suite = *all.GetTestSuite(i);
    for (int k = 0; k < suite.total_test_count(); ++k) {
      const std::string name = std::string(suite.name()) + "." + suite.GetTestInfo(k)->name();
      if (filter == "*" || filter == name) {
        names.push_back(name);
      }
    }
  }
  return names;
}

int RunEach(const char* sSelf, const std::vector<std::string>& names) {
  int numFailed = 0;
  for (const std::string& name : names) {
    numFailed += RunToolVisibly({sSelf, "--gtest_filter=" + name}) ? 0 : 1;
  }
  return numFailed == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  // The program takes its signals on a thread of its own: no other one may get them.
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGUSR1}) {
    sigaddset(&signals, number);
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  if (GTEST_FLAG_GET(list_tests)) {
    return RUN_ALL_TESTS();
  }
  // Each test has a process of its own, as the program has.
  if (const std::vector<std::string> names = GetTests(); names.size() > 1) {
    return RunEach(argv[0], names);
  }
  const DISPLAY_SERVER display;
  return RunDesktopTests();
}
