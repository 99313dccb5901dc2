#include "tessline/model/TesslineError.h"
#include "tests/platform/ChildProcessContract.h"
#include "tests/support/Files.h"
#include "tests/support/Sanitized.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace tessline::test {
namespace {

namespace fs = std::filesystem;

using Statuses = std::vector<std::int32_t>;

constexpr std::size_t megabyte = 1048576;

constexpr bool isSanitized = TESSLINE_SANITIZED == 1;

std::string textOf(const std::vector<std::uint8_t>& data) {
  return {data.begin(), data.end()};
}

std::size_t countOf(const fs::path& directory) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

// Those above the standard streams, and that these are all.
Program listingDescriptors() {
  return shell(
      "each=3; while [ $each -lt 400 ]; do [ -e /dev/fd/$each ] && echo $each; "
      "each=$((each + 1)); done; echo end");
}

class PosixChildProcess : public testing::Test {
 protected:
  // A child that starts anew has none of the threads that other tests leave behind.
  PosixChildProcess() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }

  static platform::ChildProcesses& processes() {
    static const auto processes = platform::hostPlatform()->childProcesses();
    return *processes;
  }
  static ObservedProcess silent(const Program& program) {
    return ObservedProcess::silent(processes(), program);
  }
  static ObservedProcess started(const Program& program) {
    ObservedProcess result = ObservedProcess::observed(processes(), program);
    result.process->launch();
    return result;
  }
  static void launchOnly(const Program& program) { silent(program).process->launch(); }
  static std::string outputOf(const Program& program) {
    const ObservedProcess observed = silent(program);
    observed.process->launch();
    return textOf(observed.output->readDataToEndOfFile());
  }
  static std::int32_t statusOf(const Program& program) {
    return started(program).process->waitUntilExit();
  }
  void waitFor(const std::function<bool()>& isDone) { ASSERT_TRUE(backend.waitUntil(isDone)); }
  void waitForEnd(const ObservedProcess& observed) {
    waitFor([&] { return observed.witness->hasEnded(); });
  }
  Witness::Account accountOf(const Program& program) {
    const ObservedProcess observed = started(program);
    waitForEnd(observed);
    return observed.witness->account();
  }
  void expectLaunchError(const std::string& path, int number) {
    try {
      launchOnly({path, {}});
      ADD_FAILURE() << path << " was launched";
    } catch (const TesslineError& error) {
      EXPECT_EQ(error.domain(), "POSIX");
      EXPECT_EQ(error.code(), number);
      EXPECT_EQ(error.localizedDescription(),
                path + ": " + std::generic_category().message(number));
    }
    EXPECT_TRUE(hasNoChildren());
  }

  // `work` returns 0 in a process of its own, which has no other threads.
  template <class Work>
  void expectWellInAFreshProcess(Work work) {
    EXPECT_EXIT(std::_Exit(work()), testing::ExitedWithCode(0), "");
  }

  HostProcessBackend backend;
};

using PosixChildProcessDeathTest = PosixChildProcess;

TEST_F(PosixChildProcess, LargeOutputArrivesWholeAndInOrder) {
  std::string expected;
  for (int line = 1; line <= 1500000; ++line) expected += std::to_string(line) + '\n';
  ASSERT_GT(expected.size(), 10 * megabyte);
  const auto account = accountOf(shell("seq 1 1500000"));
  EXPECT_TRUE(account.output == expected);
  EXPECT_EQ(account.outputAtTermination, expected.size());
}

TEST_F(PosixChildProcess, LargeOutputCanBeReadAtOnce) {
  const std::string output = outputOf(shell("head -c 10485760 /dev/zero"));
  EXPECT_TRUE(output == std::string(10 * megabyte, '\0'));
}

TEST_F(PosixChildProcess, EndIsAlwaysReportedAfterASmallOutput) {
  for (int count = 0; count < 200; ++count) {
    const auto account = accountOf(shell("echo out; echo error >&2"));
    ASSERT_EQ(account.outputAtTermination, 4U);
    ASSERT_EQ(account.errorsAtTermination, 6U);
    ASSERT_EQ(account.statuses, Statuses{0});
  }
}

TEST_F(PosixChildProcess, EndIsAlwaysReportedAfterALargeOutput) {
  for (int count = 0; count < 200; ++count) {
    ASSERT_EQ(accountOf(shell("head -c 300000 /dev/zero")).outputAtTermination, 300000U);
  }
}

TEST_F(PosixChildProcess, EndIsReportedThoughAnotherKeepsThePipe) {
  HostProcessBackend gated;
  Program program = gated.writingTwice("x", "later");
  program.arguments[1] = "printf x; (read -r line <\"$3\"; printf later) &";
  const ObservedProcess observed = started(program);
  waitForEnd(observed);
  EXPECT_EQ(observed.witness->output(), "x");
  EXPECT_EQ(observed.witness->account().outputEnds, 0);
  gated.proceed();
  waitFor([&] { return observed.witness->account().outputEnds == 1; });
  EXPECT_EQ(observed.witness->output(), "xlater");
}

TEST_F(PosixChildProcess, EndIsReportedThoughAnotherFloodsThePipe) {
  Program program = backend.writingTwice("", "");
  program.arguments[1] = "yes & read -r line <\"$3\"; exit 3";
  ObservedProcess observed = ObservedProcess::observed(processes(), program);
  const auto calls = std::make_shared<std::atomic<int>>(0);
  observed.output->setReadabilityHandler([this, calls, process = observed.process.get()](auto) {
    if (++*calls == 1) backend.proceed();
    // So slow that the pipe fills up again.
    backend.waitUntil([&, looks = 0]() mutable { return ++looks > 50 && !process->isRunning(); });
  });
  observed.process->launch();
  waitForEnd(observed);
  EXPECT_LE(*calls, 5);
  EXPECT_EQ(observed.witness->statuses(), Statuses{3});
  observed.output.reset();
  waitFor([&] { return calls.use_count() == 1; });
}

TEST_F(PosixChildProcess, EveryExitStatusIsReported) {
  for (int status = 0; status <= 255; ++status) {
    ASSERT_EQ(statusOf(shell("exit " + std::to_string(status))), status);
  }
}

TEST_F(PosixChildProcess, EveryDeadlySignalIsReported) {
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGABRT, SIGKILL, SIGSEGV, SIGPIPE, SIGTERM}) {
    ASSERT_EQ(statusOf(backend.dyingOf(signal)), signal);
  }
}

TEST_F(PosixChildProcess, MissingProgramCannotBeLaunched) {
  const TemporaryDirectory directory;
  expectLaunchError(directory / "nothing", ENOENT);
}

TEST_F(PosixChildProcess, DirectoryCannotBeLaunched) {
  const TemporaryDirectory directory;
  expectLaunchError(directory.path(), EACCES);
}

TEST_F(PosixChildProcess, FileThatIsNotExecutableCannotBeLaunched) {
  const TemporaryDirectory directory;
  expectLaunchError(directory.file("data", "#!/bin/sh\n"), EACCES);
}

TEST_F(PosixChildProcess, TextWithoutAnInterpreterCannotBeLaunched) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("text", "echo hello\n");
  fs::permissions(path, fs::perms::owner_all);
  expectLaunchError(path, ENOEXEC);
}

TEST_F(PosixChildProcess, PipeOfAnotherProgramIsALaunchError) {
  const ObservedProcess first = started({"/bin/echo", {}});
  const auto second = processes().makeProcess({.executable = "/bin/echo",
                                               .arguments = {},
                                               .standardOutput = first.output,
                                               .standardError = nullptr});
  try {
    second->launch();
    ADD_FAILURE() << "it would write elsewhere";
  } catch (const TesslineError& error) {
    EXPECT_EQ(error.code(), EBADF);
    EXPECT_TRUE(error.localizedDescription().starts_with("/bin/echo: "));
  }
  EXPECT_FALSE(second->isRunning());
  waitForEnd(first);
  EXPECT_TRUE(hasNoChildren());
}

TEST_F(PosixChildProcess, ProgramKnowsItsPathAndArguments) {
  const TemporaryDirectory directory;
  const std::string path = directory.file("script", "#!/bin/sh\nprintf '%s|' \"$0\" \"$@\"\n");
  fs::permissions(path, fs::perms::owner_all);
  EXPECT_EQ(outputOf({path, {"a b", "", "\"'$x"}}), path + "|a b||\"'$x|");
}

TEST_F(PosixChildProcessDeathTest, EnvironmentIsInherited) {
  expectWellInAFreshProcess([&]() -> int {
    ::setenv("TESSLINE_TEST", "from here", 1);
    return outputOf(shell("printf %s \"$TESSLINE_TEST\"")) == "from here" ? 0 : 1;
  });
}

TEST_F(PosixChildProcess, StandardInputIsEmpty) {
  EXPECT_EQ(outputOf(shell("cat; echo end")), "end\n");
}

TEST_F(PosixChildProcess, NoDescriptorLeaks) {
  const auto openPipe = processes().makePipe();
  EXPECT_EQ(outputOf(listingDescriptors()), "end\n");
}

TEST_F(PosixChildProcess, DescriptorsThatOthersLeftToInheritDoNotLeak) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  const int high = ::fcntl(ends[0], F_DUPFD, 300);
  ASSERT_GE(high, 300);
  EXPECT_EQ(outputOf(listingDescriptors()), "end\n");
  for (const int each : {ends[0], ends[1], high}) ::close(each);
}

TEST_F(PosixChildProcessDeathTest, WorksWithoutStandardStreams) {
  expectWellInAFreshProcess([&]() -> int {
    // Whatever is opened once for all programs is so now, and does not take their places.
    processes().makePipe();
    for (const int stream : {0, 1, 2}) ::close(stream);
    const ObservedProcess observed = started(shell("echo out; echo error >&2; cat; exit 3"));
    if (observed.process->waitUntilExit() != 3) return 1;
    if (!backend.waitUntil([&] { return observed.witness->hasEnded(); })) return 2;
    if (observed.witness->output() != "out\n") return 3;
    if (observed.witness->account().errors != "error\n") return 4;
    return 0;
  });
}

TEST_F(PosixChildProcessDeathTest, StreamWithoutAPipeIsInherited) {
  EXPECT_EXIT(
      {
        const auto process = processes().makeProcess({.executable = "/bin/sh",
                                                      .arguments = {"-c", "echo inherited >&2"},
                                                      .standardOutput = nullptr,
                                                      .standardError = nullptr});
        process->launch();
        std::_Exit(process->waitUntilExit());
      },
      testing::ExitedWithCode(0), "inherited");
}

TEST_F(PosixChildProcessDeathTest, SignalsIgnoredHereAreDefaultThere) {
  expectWellInAFreshProcess([&]() -> int {
    for (const int signal : {SIGTERM, SIGPIPE, SIGINT}) std::signal(signal, SIG_IGN);
    for (const int signal : {SIGTERM, SIGPIPE, SIGINT}) {
      if (statusOf(backend.dyingOf(signal)) != signal) return signal;
    }
    return 0;
  });
}

TEST_F(PosixChildProcessDeathTest, SignalsHeldBackHereAreDeliveredThere) {
  expectWellInAFreshProcess([&]() -> int {
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
    return statusOf(backend.dyingOf(SIGTERM)) == SIGTERM ? 0 : 1;
  });
}

TEST_F(PosixChildProcessDeathTest, EndIsReportedThoughOthersCollectChildren) {
  expectWellInAFreshProcess([&]() -> int {
    std::signal(SIGCHLD, SIG_IGN);
    return statusOf(shell("exit 3")) == -1 ? 0 : 1;
  });
}

// Sanitizers need memory and descriptors of their own.
#if !TESSLINE_SANITIZED
TEST_F(PosixChildProcessDeathTest, WantOfDescriptorsIsAnError) {
  expectWellInAFreshProcess([&]() -> int {
    const rlimit none{3, 3};
    ::setrlimit(RLIMIT_NOFILE, &none);
    try {
      processes().makePipe();
    } catch (const TesslineError& error) {
      return error.domain() == "POSIX" && error.code() == EMFILE ? 0 : 1;
    }
    return 2;
  });
}

#endif

TEST_F(PosixChildProcess, ProcessThatIsLetGoOfIsCollected) {
  ObservedProcess observed = started(backend.deafAndWritingTwice("x", "y"));
  waitFor([&] { return observed.witness->output() == "x"; });
  observed.process.reset();
  EXPECT_FALSE(hasNoChildren());
  backend.proceed();
  waitFor([] { return hasNoChildren(); });
  EXPECT_EQ(observed.witness->output(), "xy");
}

TEST_F(PosixChildProcess, ProgramWritingToPipesLetGoOfIsEnded) {
  ObservedProcess observed = started(shell("trap '' TERM; exec yes"));
  waitFor([&] { return !observed.witness->output().empty(); });
  observed.letGo();
  waitFor([] { return hasNoChildren(); });
}

TEST_F(PosixChildProcess, ProcessKeepsItsPipes) {
  ObservedProcess observed = started(backend.writingTwice("x", "y"));
  observed.output.reset();
  observed.errors.reset();
  backend.proceed();
  waitForEnd(observed);
  EXPECT_EQ(observed.witness->output(), "xy");
  EXPECT_EQ(observed.witness->statuses(), Statuses{0});
}

TEST_F(PosixChildProcess, ManyStartsLeaveNothingBehind) {
  // What stays comes with the first.
  waitForEnd(started({"/bin/echo", {}}));
  const std::size_t descriptors = countOf("/dev/fd");
  const int starts = isSanitized ? 1000 : 10000;
  for (int count = 0; count < starts; ++count) {
    ASSERT_EQ(statusOf({"/bin/echo", {}}), 0);
  }
  EXPECT_TRUE(hasNoChildren());
  // Pipes go when their last handlers have returned.
  EXPECT_TRUE(backend.waitUntil([&] { return countOf("/dev/fd") <= descriptors; }));
}

TEST_F(PosixChildProcess, FailedLaunchesLeaveNothingBehind) {
  const Program nothing{backend.pathOfNothing(), {}};
  EXPECT_THROW(launchOnly(nothing), TesslineError);
  const std::size_t descriptors = countOf("/dev/fd");
  for (int count = 0; count < 1000; ++count) EXPECT_THROW(launchOnly(nothing), TesslineError);
  EXPECT_EQ(countOf("/dev/fd"), descriptors);
  EXPECT_TRUE(hasNoChildren());
}

TEST_F(PosixChildProcess, ManyMayRunAtTheSameTime) {
  constexpr int perThread = 50;
  std::vector<ObservedProcess> all(4 * perThread);
  std::vector<std::thread> threads;
  for (int first = 0; first < static_cast<int>(all.size()); first += perThread) {
    threads.emplace_back([&all, first] {
      for (int number = first; number < first + perThread; ++number) {
        all[static_cast<std::size_t>(number)] =
            started(shell("echo " + std::to_string(number) + "; exit " + std::to_string(number)));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int number = 0; number < static_cast<int>(all.size()); ++number) {
    const ObservedProcess& observed = all[static_cast<std::size_t>(number)];
    waitForEnd(observed);
    EXPECT_EQ(observed.witness->output(), std::to_string(number) + '\n');
    EXPECT_EQ(observed.witness->statuses(), Statuses{number});
  }
}

}  // namespace
}  // namespace tessline::test
