#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
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

// In a process of its own, as the program has, and on a display of its own.
bool Run(const std::string& name) {
  const pid_t pid = fork();
  if (pid == 0) {
    GTEST_FLAG_SET(filter, name);
    int result = 1;
    {
      const DISPLAY_SERVER display;
      result = RunDesktopTests();
    }
    std::exit(result);
  }
  int status = -1;
  return waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
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
  int numFailed = 0;
  for (const std::string& name : GetTests()) {
    numFailed += Run(name) ? 0 : 1;
  }
  return numFailed == 0 ? 0 : 1;
}
