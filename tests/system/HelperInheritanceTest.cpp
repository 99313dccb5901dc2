#include "tests/system/HelperMachine.h"

#include <csignal>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessline::test {
namespace {

/// Runs the helper after `prepare` has happened to the process that executes it.
std::string reportAfter(const std::function<void()>& prepare) {
  Command command = helperCommand();
  command.prepare = prepare;
  const Outcome outcome = test::run(command);
  expectRun(outcome);
  return outcome.output;
}

/// The report of a tool that may have no descriptor to write to.
std::string reportWithClosed(HelperMachine& machine, const std::vector<int>& descriptors) {
  machine.let("file");
  std::filesystem::remove("/opt/tool/report");
  Command command = helperCommand();
  command.closed = descriptors;
  EXPECT_EQ(test::run(command).exitCode, 0);
  std::ostringstream text;
  text << std::ifstream("/opt/tool/report").rdbuf();
  return text.str();
}

constexpr struct {
  __rlimit_resource resource;
  rlim_t tooLow;
} lowLimits[] = {
    {RLIMIT_FSIZE, 1}, {RLIMIT_CPU, 100}, {RLIMIT_NOFILE, 10}, {RLIMIT_STACK, 2U << 20U}};

/// Lowers what a process may raise again.
void limitSoftly(__rlimit_resource resource, rlim_t soft) {
  rlimit limit = {};
  getrlimit(resource, &limit);
  limit.rlim_cur = soft;
  if (setrlimit(resource, &limit) != 0) _exit(125);
}

/// Lowers what only root may raise again, and root not in every container.
void limitFirmly(__rlimit_resource resource, rlim_t limit) {
  const rlimit both = {limit, limit};
  if (setrlimit(resource, &both) != 0) _exit(125);
}

bool canRootRaiseLimits() {
  return callAs(0, [] {
           limitFirmly(RLIMIT_CPU, 100);
           const rlimit more = {200, 200};
           return setrlimit(RLIMIT_CPU, &more);
         }) == 0;
}

void expectUsualLimits(const std::string& report) {
  EXPECT_EQ(valueOf(report, "limit of core"), "0");
  for (const char* name : {"processor", "file size", "data", "memory"}) {
    EXPECT_EQ(valueOf(report, std::string("limit of ") + name), "-1") << name;
  }
  EXPECT_EQ(valueOf(report, "limit of descriptors"), "1024");
  EXPECT_EQ(valueOf(report, "limit of stack"), "8388608");
}

TEST(HelperInheritance, PreloadsNothing) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.directory("/opt/marks", 0, 01777);
    machine.install(TESSLINE_PRELOADED_LIBRARY, "/opt/lib/preloaded.so");
    Command command = helperCommand();
    command.environment.push_back("LD_PRELOAD=/opt/lib/preloaded.so");

    Command withoutHelper = command;
    withoutHelper.program = goodTool;
    EXPECT_TRUE(hasLine(test::run(withoutHelper).output, "preloaded"));
    ASSERT_TRUE(std::filesystem::remove("/opt/marks/preloaded"));

    const Outcome outcome = test::run(command);
    expectRun(outcome);
    EXPECT_FALSE(hasLine(outcome.output, "preloaded"));
    EXPECT_EQ(outcome.output.find("LD_PRELOAD"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists("/opt/marks/preloaded"));
  });
}

TEST(HelperInheritance, HasAnEnvironmentOfItsOwn) {
  HelperMachine::run([](HelperMachine&) {
    Command command = helperCommand();
    command.environment = {"PATH=/home/someone",
                           "LD_LIBRARY_PATH=/home/someone",
                           "IFS=/",
                           "HOME=/home/someone",
                           "LC_ALL=de_DE.UTF-8",
                           "noequals",
                           "=",
                           ""};
    const std::string report = test::run(command).output;
    const std::string expected =
        "argument 4: nhdr\nvariable: PATH=/usr/bin:/bin:/usr/sbin:/sbin\nvariable: LC_ALL=C\nusers";
    EXPECT_NE(report.find(expected), std::string::npos) << report;
  });
}

TEST(HelperInheritance, GivesUpTheCallersGroups) {
  HelperMachine::run([](HelperMachine&) {
    Command command = helperCommand();
    command.groups = {4, 100};
    const std::string report = test::run(command).output;
    EXPECT_TRUE(hasLine(report, "groups: 0 0 0")) << report;
    EXPECT_TRUE(hasLine(report, "other groups: 0")) << report;
  });
}

TEST(HelperInheritance, FillsClosedStandardDescriptors) {
  HelperMachine::run([](HelperMachine& machine) {
    for (const std::vector<int>& closed :
         {std::vector<int>{0}, {1}, {2}, {0, 1}, {1, 2}, {0, 2}, {0, 1, 2}}) {
      const std::string report = reportWithClosed(machine, closed);
      for (const int descriptor : closed) {
        EXPECT_TRUE(hasLine(report, "descriptor " + std::to_string(descriptor) + ": null, written"))
            << report;
      }
      EXPECT_NE(valueOf(report, "descriptor 2"), "") << report;
      EXPECT_EQ(valueOf(report, "descriptor 3"), "") << report;
    }
  });
}

TEST(HelperInheritance, RefusesWithoutStandardDescriptors) {
  HelperMachine::run([](HelperMachine&) {
    Command command = helperCommand("/bin/sh");
    command.closed = {0, 1, 2};
    EXPECT_EQ(test::run(command).exitCode, static_cast<int>(HelperExit::path));
  });
}

TEST(HelperInheritance, ReplacesAStandardOutputThatCannotBeWritten) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.let("file");
    Command command = helperCommand();
    command.prepare = [] { dup2(open("/etc/passwd", O_RDONLY), STDOUT_FILENO); };
    EXPECT_EQ(test::run(command).exitCode, 0);
    std::ostringstream text;
    text << std::ifstream("/opt/tool/report").rdbuf();
    EXPECT_TRUE(hasLine(text.str(), "descriptor 1: null, written"));
  });
}

TEST(HelperInheritance, GivesTheToolNoStandardInput) {
  HelperMachine::run([](HelperMachine&) {
    const std::string report = reportAfter([] {
      int ends[2];
      if (pipe(ends) == 0) dup2(ends[0], STDIN_FILENO);
    });
    EXPECT_TRUE(hasLine(report, "descriptor 0: null, written")) << report;
  });
}

TEST(HelperInheritance, ClosesInheritedDescriptors) {
  HelperMachine::run([](HelperMachine&) {
    const std::string report = reportAfter([] {
      const int file = open("/etc/passwd", O_RDONLY);
      dup2(file, 57);
      dup2(file, 1000);
      limitSoftly(RLIMIT_NOFILE, 20);
    });
    EXPECT_EQ(valueOf(report, "descriptor 2"), "other, written") << report;
    for (const char* number : {"3", "57", "1000"}) {
      EXPECT_EQ(valueOf(report, std::string("descriptor ") + number), "") << report;
    }
  });
}

TEST(HelperInheritance, ResetsSignals) {
  HelperMachine::run([](HelperMachine&) {
    const std::string report = reportAfter([] {
      for (int signal = 1; signal < NSIG; ++signal) std::signal(signal, SIG_IGN);
      sigset_t all;
      sigfillset(&all);
      sigprocmask(SIG_SETMASK, &all, nullptr);
    });
    EXPECT_EQ(valueOf(report, "blocked"), "") << report;
    EXPECT_EQ(valueOf(report, "ignored"), "") << report;
  });
}

TEST(HelperInheritance, ResetsTheFileMaskAndTheDirectory) {
  HelperMachine::run([](HelperMachine&) {
    const std::string report = reportAfter([] {
      umask(0);
      if (chdir(usersFolder) != 0) _exit(125);
    });
    EXPECT_EQ(valueOf(report, "mask"), "022");
    EXPECT_EQ(valueOf(report, "directory"), "/");
  });
}

TEST(HelperInheritance, ResetsResourceLimits) {
  HelperMachine::run([](HelperMachine&) {
    expectUsualLimits(reportAfter([] {
      for (const auto& [resource, tooLow] : lowLimits) limitSoftly(resource, tooLow);
    }));
  });
}

TEST(HelperInheritance, RunsNoToolWithLimitsThatCannotBeReset) {
  HelperMachine::run([](HelperMachine&) {
    for (const auto& [resource, tooLow] : lowLimits) {
      Command command = helperCommand();
      command.prepare = [=, which = resource, limit = tooLow] { limitFirmly(which, limit); };
      const Outcome outcome = test::run(command);
      if (canRootRaiseLimits()) {
        expectUsualLimits(outcome.output);
      } else {
        expectRefusal(outcome, HelperExit::notPrepared, "resource limits cannot be reset");
      }
    }
  });
}

TEST(HelperInheritance, PutsTheToolIntoASessionOfItsOwn) {
  HelperMachine::run([](HelperMachine&) {
    const std::string report = reportAfter([] {});
    EXPECT_EQ(valueOf(report, "leads its session"), "1");
    EXPECT_EQ(valueOf(report, "dies with its parent by"), "9");
  });
}

}  // namespace
}  // namespace tessline::test
