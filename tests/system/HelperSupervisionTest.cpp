#include "tests/system/HelperMachine.h"

#include <cerrno>
#include <csignal>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessline::test {
namespace {

constexpr uid_t somebodyElse = 65533;

/// Starts the helper and waits until the tool has said that it waits.
class RunningHelper : public RunningCommand {
 public:
  explicit RunningHelper(const Command& command = helperCommand()) : RunningCommand(command) {
    EXPECT_TRUE(readUntil("ready\n")) << wait().errors;
  }

  pid_t tool() const { return std::stoi(valueOf(output(), "process")); }
};

/// The status of a process whose parents have ended.
int statusOfOrphan(pid_t process) {
  int status = 0;
  EXPECT_EQ(waitpid(process, &status, 0), process);
  return status;
}

TEST(HelperSupervision, LetsItsCallerEndTheTool) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.let("wait");
    RunningHelper helper;
    EXPECT_EQ(signalAs(nobody, helper.pid(), SIGTERM), 0);
    EXPECT_EQ(helper.wait().exitCode, 128 + SIGTERM);
  });
}

TEST(HelperSupervision, PassesOnEveryRequestToEnd) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.let("wait");
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
      RunningHelper helper;
      EXPECT_EQ(signalAs(nobody, helper.pid(), signal), 0);
      EXPECT_EQ(helper.wait().exitCode, 128 + signal);
    }
  });
}

TEST(HelperSupervision, IsTheOnlyWayToSignalTheTool) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.let("wait");
    RunningHelper helper;
    EXPECT_EQ(signalAs(nobody, helper.tool(), SIGTERM), EPERM);
    EXPECT_EQ(signalAs(somebodyElse, helper.pid(), SIGTERM), EPERM);
    EXPECT_EQ(signalAs(nobody, helper.pid(), SIGTERM), 0);
    EXPECT_EQ(helper.wait().exitCode, 128 + SIGTERM);
  });
}

TEST(HelperSupervision, EndsTheToolWhenStartedWithSignalsIgnoredAndBlocked) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.let("wait");
    Command command = helperCommand();
    command.prepare = [] {
      std::signal(SIGTERM, SIG_IGN);
      std::signal(SIGCHLD, SIG_IGN);
      sigset_t all;
      sigfillset(&all);
      sigprocmask(SIG_SETMASK, &all, nullptr);
    };
    RunningHelper helper(command);
    EXPECT_EQ(signalAs(nobody, helper.pid(), SIGTERM), 0);
    EXPECT_EQ(helper.wait().exitCode, 128 + SIGTERM);
  });
}

TEST(HelperSupervision, DoesNotInsistWhenAToolKeepsRunning) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.let("persist");
    RunningHelper helper;
    EXPECT_EQ(signalAs(nobody, helper.pid(), SIGTERM), 0);
    EXPECT_TRUE(helper.readUntil("asked to end\n"));
    EXPECT_EQ(signalAs(nobody, helper.pid(), SIGINT), 0);
    EXPECT_EQ(helper.wait().exitCode, 128 + SIGINT);
  });
}

TEST(HelperSupervision, TakesTheToolAlongWhenItIsKilled) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.let("persist");
    for (const int signal : {SIGKILL, SIGUSR1}) {
      RunningHelper helper;
      const pid_t tool = helper.tool();
      EXPECT_EQ(signalAs(nobody, helper.pid(), signal), 0);
      EXPECT_EQ(helper.wait().signal, signal);
      EXPECT_EQ(statusOfOrphan(tool), SIGKILL);
    }
  });
}

TEST(HelperSupervision, EndsAQuietToolWhenItsCallerHasEnded) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.let("wait");
    Command caller = helperCommand();
    caller.arguments.insert(caller.arguments.begin(),
                            {"-c", "\"$0\" \"$@\" & echo \"helper: $!\"; wait", helperPath});
    caller.program = "/bin/sh";
    RunningHelper running(caller);
    EXPECT_EQ(signalAs(nobody, running.pid(), SIGKILL), 0);
    EXPECT_EQ(running.wait().signal, SIGKILL);
    const int status = statusOfOrphan(std::stoi(valueOf(running.output(), "helper")));
    EXPECT_EQ(WEXITSTATUS(status), 128 + SIGTERM);
  });
}

TEST(HelperSupervision, EndsAQuietToolWhenNobodyReadsItsOutput) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.let("wait");
    RunningHelper helper;
    helper.stopReading();
    EXPECT_EQ(helper.wait().exitCode, 128 + SIGTERM);
  });
}

TEST(HelperSupervision, KillsAToolThatKeepsRunningForNobody) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.let("persist");
    RunningHelper helper;
    helper.stopReading();
    EXPECT_EQ(helper.wait().exitCode, 128 + SIGKILL);
  });
}

TEST(HelperSupervision, CannotBeLookedInto) {
  HelperMachine::run([](HelperMachine& machine) {
    machine.let("wait");
    RunningHelper helper;
    const auto attachTo = [](pid_t process) {
      return callAs(
          nobody, [=] { return ptrace(PTRACE_SEIZE, process, nullptr, nullptr) == 0 ? 0 : errno; });
    };
    EXPECT_EQ(attachTo(helper.pid()), EPERM);
    EXPECT_EQ(attachTo(helper.tool()), EPERM);
    EXPECT_EQ(signalAs(nobody, helper.pid(), SIGTERM), 0);
    EXPECT_EQ(helper.wait().exitCode, 128 + SIGTERM);
  });
}

}  // namespace
}  // namespace tessline::test
