#include "tessline/model/TesslineError.h"
#include "tests/platform/ChildProcessContract.h"
#include "tests/support/Needs.h"
#include "tests/support/Sanitized.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace tessline::test {
namespace {

class ProcessThreads : public testing::Test {
 protected:
  void SetUp() override {
    TESSLINE_NEEDS_PROC();
    // A child that starts anew has none of the threads that other tests leave behind.
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
  }

  ObservedProcess endless() {
    return ObservedProcess::observed(*backend.processes(), backend.endless());
  }
  static bool isThere(const std::string& name) {
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
      std::string line;
      std::getline(std::ifstream(thread.path() / "comm") >> std::ws, line);
      if (line == name) return true;
    }
    return false;
  }

  HostProcessBackend backend;
};

using ProcessThreadsDeathTest = ProcessThreads;

TEST_F(ProcessThreads, AreCalledAfterWhatTheyDoAndGoWithTheProgram) {
  const ObservedProcess observed = endless();
  observed.process->launch();
  ASSERT_TRUE(backend.waitUntil([] { return isThere("tessline-io") && isThere("tessline-wait"); }));
  observed.process->terminate();
  EXPECT_TRUE(backend.waitUntil([] { return !isThere("tessline-wait"); }));
}

#if !TESSLINE_SANITIZED
TEST_F(ProcessThreadsDeathTest, NoProgramIsStartedWithoutOneThatCouldWaitForIt) {
  const auto launch = [&]() -> int {
    const ObservedProcess observed = endless();
    // Enough for a program to be started, too little for the stack of a thread.
    constexpr std::size_t enough = 2 << 20;
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit memory{};
    memory.rlim_cur = pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) + enough;
    memory.rlim_max = memory.rlim_cur;
    ::setrlimit(RLIMIT_AS, &memory);
    try {
      observed.process->launch();
    } catch (const TesslineError& error) {
      const bool isSilent = !observed.process->isRunning() && hasNoChildren();
      return error.code() == EAGAIN && isSilent ? 0 : 1;
    }
    return 2;
  };
  EXPECT_EXIT(std::_Exit(launch()), testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
}  // namespace tessline::test
