#include "tessline/model/TesslineError.h"
#include "tests/platform/ChildProcessContract.h"
#include "tests/platform/SimulatedProcessBackend.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Statuses = std::vector<std::int32_t>;

class ChildProcessContract : public testing::TestWithParam<ProcessBackendChoice> {
 protected:
  ObservedProcess silent(const Program& program) {
    return ObservedProcess::silent(*backend->processes(), program);
  }
  ObservedProcess observed(const Program& program) {
    return ObservedProcess::observed(*backend->processes(), program);
  }
  ObservedProcess started(const Program& program) {
    ObservedProcess result = observed(program);
    result.process->launch();
    return result;
  }
  void waitFor(const std::function<bool()>& isDone) { ASSERT_TRUE(backend->waitUntil(isDone)); }
  void waitForOutput(const ObservedProcess& observed, const std::string& output) {
    waitFor([&] { return observed.witness->output() == output; });
  }
  void waitForEnd(const ObservedProcess& observed) {
    waitFor([&] { return observed.witness->hasEnded(); });
  }
  // All handlers of a program that ended before this was called have been called when it returns.
  void settle() { waitForEnd(started(backend->writing("", "", 0))); }

  Witness::Account accountOf(const Program& program) {
    const ObservedProcess observed = started(program);
    waitForEnd(observed);
    return observed.witness->account();
  }

  std::unique_ptr<ProcessBackend> backend = GetParam().make();
};

TEST_P(ChildProcessContract, OutputAndErrorsArriveInTheirPipes) {
  const auto account = accountOf(backend->writing("some\noutput", "an error\n", 0));
  EXPECT_EQ(account.output, "some\noutput");
  EXPECT_EQ(account.errors, "an error\n");
}

TEST_P(ChildProcessContract, EndOfAPipeIsSignalledOnce) {
  const ObservedProcess observed = started(backend->writing("x", "", 0));
  waitFor([&] { return observed.witness->account().outputEnds > 0; });
  waitFor([&] { return observed.witness->account().errorEnds > 0; });
  waitForEnd(observed);
  settle();
  EXPECT_EQ(observed.witness->account().outputEnds, 1);
  EXPECT_EQ(observed.witness->account().errorEnds, 1);
}

TEST_P(ChildProcessContract, TerminationIsReportedOnceWithTheStatus) {
  for (const int status : {0, 1, 77, 255}) {
    const ObservedProcess observed = started(backend->writing("", "", status));
    waitForEnd(observed);
    settle();
    EXPECT_EQ(observed.witness->statuses(), Statuses{status});
  }
}

TEST_P(ChildProcessContract, DeathBySignalIsReportedWithItsNumber) {
  for (const int signal : {SIGKILL, SIGTERM, SIGINT}) {
    EXPECT_EQ(accountOf(backend->dyingOf(signal)).statuses, Statuses{signal});
  }
}

TEST_P(ChildProcessContract, TerminationIsReportedAfterEverythingWritten) {
  const auto account = accountOf(backend->writing("out", "error", 3));
  EXPECT_EQ(account.outputAtTermination, 3U);
  EXPECT_EQ(account.errorsAtTermination, 5U);
}

TEST_P(ChildProcessContract, BothStreamsMayShareAPipe) {
  const auto processes = backend->processes();
  const auto witness = std::make_shared<Witness>();
  const auto pipe = processes->makePipe();
  pipe->setReadabilityHandler(witness->outputHandler());
  const Program program = backend->writing("out", "error", 0);
  const auto process = processes->makeProcess({.executable = program.executable,
                                               .arguments = program.arguments,
                                               .standardOutput = pipe,
                                               .standardError = pipe});
  process->setTerminationHandler(witness->terminationHandler());
  process->launch();
  waitFor([&] { return witness->hasEnded(); });
  EXPECT_EQ(witness->output(), "outerror");
  EXPECT_EQ(witness->account().outputEnds, 1);
}

TEST_P(ChildProcessContract, FailedLaunchThrowsAndReportsNothing) {
  const ObservedProcess observed = this->observed({backend->pathOfNothing(), {}});
  EXPECT_THROW(observed.process->launch(), TesslineError);
  EXPECT_FALSE(observed.process->isRunning());
  settle();
  EXPECT_EQ(observed.witness->statuses(), Statuses());
  EXPECT_EQ(observed.witness->output(), "");
}

TEST_P(ChildProcessContract, FailedLaunchEndsThePipes) {
  const ObservedProcess observed = silent({backend->pathOfNothing(), {}});
  EXPECT_THROW(observed.process->launch(), TesslineError);
  EXPECT_TRUE(observed.output->readDataToEndOfFile().empty());
  EXPECT_TRUE(observed.errors->readDataToEndOfFile().empty());
}

TEST_P(ChildProcessContract, FailedLaunchTellsHandlersOfTheEnd) {
  const ObservedProcess observed = this->observed({backend->pathOfNothing(), {}});
  EXPECT_THROW(observed.process->launch(), TesslineError);
  waitFor([&] { return observed.witness->account().outputEnds > 0; });
  waitFor([&] { return observed.witness->account().errorEnds > 0; });
  settle();
  EXPECT_EQ(observed.witness->account().outputEnds, 1);
  EXPECT_EQ(observed.witness->account().errorEnds, 1);
}

TEST_P(ChildProcessContract, RunsFromItsLaunchToItsEnd) {
  ObservedProcess observed = this->observed(backend->writingTwice("a", "b"));
  EXPECT_FALSE(observed.process->isRunning());
  observed.process->launch();
  EXPECT_TRUE(observed.process->isRunning());
  waitForOutput(observed, "a");
  EXPECT_TRUE(observed.process->isRunning());
  backend->proceed();
  waitForEnd(observed);
  EXPECT_FALSE(observed.process->isRunning());
  EXPECT_EQ(observed.witness->output(), "ab");
}

TEST_P(ChildProcessContract, TerminateEndsAProgramThatHeeds) {
  const ObservedProcess observed = started(backend->endless());
  observed.process->terminate();
  waitForEnd(observed);
  EXPECT_EQ(observed.witness->statuses(), Statuses{SIGTERM});
}

TEST_P(ChildProcessContract, TerminateLeavesAProgramThatDoesNotHeed) {
  const ObservedProcess observed = started(backend->deafAndWritingTwice("ready", ", done"));
  waitForOutput(observed, "ready");
  observed.process->terminate();
  EXPECT_TRUE(observed.process->isRunning());
  backend->proceed();
  waitForEnd(observed);
  EXPECT_EQ(observed.witness->output(), "ready, done");
  EXPECT_EQ(observed.witness->statuses(), Statuses{0});
}

TEST_P(ChildProcessContract, TerminateIsHarmlessBeforeAndAfterAndTwice) {
  const ObservedProcess observed = this->observed(backend->endless());
  observed.process->terminate();
  observed.process->launch();
  EXPECT_TRUE(observed.process->isRunning());
  observed.process->terminate();
  observed.process->terminate();
  waitForEnd(observed);
  observed.process->terminate();
  settle();
  EXPECT_EQ(observed.witness->statuses(), Statuses{SIGTERM});
}

TEST_P(ChildProcessContract, WaitingGivesTheStatus) {
  const ObservedProcess observed = silent(backend->writing("", "", 42));
  observed.process->launch();
  EXPECT_EQ(observed.process->waitUntilExit(), 42);
  EXPECT_EQ(observed.process->waitUntilExit(), 42);
  EXPECT_FALSE(observed.process->isRunning());
}

TEST_P(ChildProcessContract, EverythingCanBeReadAtOnce) {
  const ObservedProcess observed = silent(backend->writing("some output", "", 0));
  observed.process->launch();
  const auto data = observed.output->readDataToEndOfFile();
  EXPECT_EQ(std::string(data.begin(), data.end()), "some output");
}

TEST_P(ChildProcessContract, HandlersClearedBeforeTheDataAreNotCalled) {
  const ObservedProcess observed = started(backend->writingTwice("", "late"));
  observed.output->setReadabilityHandler(nullptr);
  observed.errors->setReadabilityHandler(nullptr);
  observed.process->setTerminationHandler(nullptr);
  backend->proceed();
  observed.process->waitUntilExit();
  settle();
  EXPECT_EQ(observed.witness->account(), Witness::Account());
}

TEST_P(ChildProcessContract, HandlerClearedAmidTheDataIsNotCalledAgain) {
  const ObservedProcess observed = started(backend->writingTwice("early", "late"));
  waitForOutput(observed, "early");
  observed.output->setReadabilityHandler(nullptr);
  backend->proceed();
  waitForEnd(observed);
  settle();
  EXPECT_EQ(observed.witness->output(), "early");
  EXPECT_EQ(observed.witness->account().outputEnds, 0);
}

TEST_P(ChildProcessContract, AnotherHandlerTakesOver) {
  const ObservedProcess observed = started(backend->writingTwice("early", "late"));
  waitForOutput(observed, "early");
  const auto second = std::make_shared<Witness>();
  observed.output->setReadabilityHandler(second->outputHandler());
  backend->proceed();
  waitForEnd(observed);
  EXPECT_EQ(observed.witness->output(), "early");
  EXPECT_EQ(second->output(), "late");
  EXPECT_EQ(second->account().outputEnds, 1);
}

TEST_P(ChildProcessContract, HandlerThatComesLateGetsWhatIsThere) {
  const ObservedProcess observed = silent(backend->writing("kept", "", 0));
  observed.process->launch();
  observed.process->waitUntilExit();
  settle();
  observed.output->setReadabilityHandler(observed.witness->outputHandler());
  waitFor([&] { return observed.witness->account().outputEnds == 1; });
  EXPECT_EQ(observed.witness->output(), "kept");
}

TEST_P(ChildProcessContract, HandlerMayClearItself) {
  const ObservedProcess observed = this->observed(backend->writingTwice("early", "late"));
  const auto calls = std::make_shared<std::atomic<int>>(0);
  observed.output->setReadabilityHandler([calls, pipe = observed.output.get()](auto) {
    ++*calls;
    pipe->setReadabilityHandler(nullptr);
  });
  observed.process->launch();
  waitFor([&] { return *calls == 1; });
  backend->proceed();
  waitForEnd(observed);
  settle();
  EXPECT_EQ(*calls, 1);
}

TEST_P(ChildProcessContract, HandlerMayLetGoOfPipesAndProcess) {
  auto observed = std::make_shared<ObservedProcess>(silent(backend->writingTwice("a", "b")));
  const auto witness = observed->witness;
  const auto calls = std::make_shared<std::atomic<int>>(0);
  observed->process->setTerminationHandler(witness->terminationHandler());
  observed->process->launch();
  // Not the one that the handler lets go of while it is being set.
  auto pipe = observed->output;
  pipe->setReadabilityHandler([calls, observed](auto) {
    observed->letGo();
    ++*calls;
  });
  pipe.reset();
  waitFor([&] { return *calls == 1; });
  backend->proceed();
  settle();
  EXPECT_EQ(*calls, 1);
  EXPECT_EQ(witness->statuses(), Statuses());
}

TEST_P(ChildProcessContract, TerminationHandlerMayLetGoOfPipesAndProcess) {
  auto observed = std::make_shared<ObservedProcess>(silent(backend->writingTwice("x", "")));
  const auto calls = std::make_shared<std::atomic<int>>(0);
  observed->process->setTerminationHandler([calls, observed](std::int32_t) {
    observed->letGo();
    ++*calls;
  });
  observed->process->launch();
  backend->proceed();
  waitFor([&] { return *calls == 1; });
  EXPECT_EQ(observed->process, nullptr);
}

TEST_P(ChildProcessContract, ProcessThatIsLetGoOfCallsNobodyBack) {
  ObservedProcess observed = started(backend->writingTwice("early", "late"));
  waitForOutput(observed, "early");
  observed.process.reset();
  backend->proceed();
  waitFor([&] { return observed.witness->account().outputEnds == 1; });
  settle();
  EXPECT_EQ(observed.witness->output(), "earlylate");
  EXPECT_EQ(observed.witness->statuses(), Statuses());
}

TEST_P(ChildProcessContract, ProcessThatIsLetGoOfAtTheEndOfItsOutputCallsNobodyBack) {
  auto observed = std::make_shared<ObservedProcess>(silent(backend->writingTwice("", "")));
  const auto ends = std::make_shared<std::atomic<int>>(0);
  observed->process->setTerminationHandler(observed->witness->terminationHandler());
  observed->output->setReadabilityHandler([ends, observed](auto) {
    observed->process.reset();
    ++*ends;
  });
  observed->process->launch();
  backend->proceed();
  waitFor([&] { return *ends == 1; });
  settle();
  EXPECT_EQ(observed->witness->statuses(), Statuses());
  observed->letGo();
}

TEST_P(ChildProcessContract, PipesThatAreLetGoOfCallNobodyBack) {
  ObservedProcess observed = started(backend->deafAndWritingTwice("early", "late"));
  waitForOutput(observed, "early");
  observed.letGo();
  backend->proceed();
  settle();
  EXPECT_EQ(observed.witness->output(), "early");
  EXPECT_EQ(observed.witness->account().outputEnds, 0);
  EXPECT_EQ(observed.witness->statuses(), Statuses());
}

TEST_P(ChildProcessContract, HandlerIsDoneBeforeTheEndItAsksForIsReported) {
  const ObservedProcess observed = silent(backend->writingTwice("ready", ""));
  const auto isAsking = std::make_shared<std::atomic<bool>>(false);
  const auto wasAsking = std::make_shared<std::atomic<bool>>(false);
  observed.process->setTerminationHandler(
      [isAsking, wasAsking, tell = observed.witness->terminationHandler()](std::int32_t status) {
        *wasAsking = isAsking->load();
        tell(status);
      });
  observed.output->setReadabilityHandler([isAsking, process = observed.process.get()](auto data) {
    if (data.empty()) return;
    *isAsking = true;
    process->terminate();
    process->waitUntilExit();
    *isAsking = false;
  });
  observed.process->launch();
  waitForEnd(observed);
  EXPECT_FALSE(*wasAsking);
  EXPECT_EQ(observed.witness->statuses(), Statuses{SIGTERM});
}

TEST_P(ChildProcessContract, HandlerSetByAHandlerIsCalledAfterIt) {
  const ObservedProcess observed = silent(backend->writing("x", "", 0));
  observed.process->launch();
  observed.process->waitUntilExit();
  const auto isInside = std::make_shared<std::atomic<bool>>(false);
  const auto wasInside = std::make_shared<std::atomic<bool>>(false);
  const auto ends = std::make_shared<std::atomic<int>>(0);
  observed.output->setReadabilityHandler([=, pipe = observed.output.get()](auto) {
    *isInside = true;
    pipe->setReadabilityHandler([=](auto) {
      *wasInside = isInside->load();
      ++*ends;
    });
    *isInside = false;
  });
  waitFor([&] { return *ends == 1; });
  settle();
  EXPECT_EQ(*ends, 1);
  EXPECT_FALSE(*wasInside);
}

TEST_P(ChildProcessContract, HandlersAreCalledOneAfterTheOther) {
  const ObservedProcess observed = silent(backend->writing("out", "error", 0));
  // Not atomic: two calls at once would be a race.
  struct Calls {
    int running = 0;
    int most = 0;
    void note() {
      most = std::max(most, ++running);
      --running;
    }
  };
  const auto calls = std::make_shared<Calls>();
  const auto hasEnded = std::make_shared<std::atomic<bool>>(false);
  observed.output->setReadabilityHandler([calls](auto) { calls->note(); });
  observed.errors->setReadabilityHandler([calls](auto) { calls->note(); });
  observed.process->setTerminationHandler([calls, hasEnded](std::int32_t) {
    calls->note();
    *hasEnded = true;
  });
  observed.process->launch();
  waitFor([&] { return hasEnded->load(); });
  settle();
  EXPECT_EQ(calls->most, 1);
}

INSTANTIATE_TEST_SUITE_P(
    On, ChildProcessContract,
    testing::Values(
        ProcessBackendChoice{"Simulated",
                             [] { return std::make_unique<SimulatedProcessBackend>(); }},
        ProcessBackendChoice{"Host", [] { return std::make_unique<HostProcessBackend>(); }}),
    backendName);

}  // namespace
}  // namespace tessline::test
