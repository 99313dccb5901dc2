// Listening from its start to its end, on a main run loop, with signals.
#include "cli/Errors.h"
#include "tessline/platform/simulated/SimulatedSiriRemote.h"
#include "tests/cli/listen/ListenerTest.h"
#include "tests/support/PlatformDecorator.h"

#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace tessline::test {
namespace {

using cli::ListenEnd;
using platform::Work;

// A main run loop that waits, as a real one does, and works off what is due on a simulated host
// behind each piece of its own work.
class WaitingRunLoop : public platform::MainRunLoop {
 public:
  explicit WaitingRunLoop(platform::simulated::SimulatedHost& host) : host_(host) {}

  void async(Work work) override {
    const std::lock_guard lock(mutex_);
    works_.push_back(std::move(work));
    changed_.notify_one();
  }
  void run() override {
    isRunning_ = true;
    while (Work work = next()) {
      work();
      host_.runReady();
    }
    isRunning_ = false;
  }
  void stop() override {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
    changed_.notify_one();
  }
  bool isCurrent() const override { return isRunning_; }

 private:
  // None once it is stopped.
  Work next() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return isStopped_ || !works_.empty(); });
    if (isStopped_) return nullptr;
    Work work = std::move(works_.front());
    works_.pop_front();
    return work;
  }

  platform::simulated::SimulatedHost& host_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Work> works_;
  bool isStopped_ = false;
  bool isRunning_ = false;
};

class WithMainRunLoop : public PlatformDecorator {
 public:
  WithMainRunLoop(const std::shared_ptr<Platform>& inner,
                  std::shared_ptr<platform::MainRunLoop> loop)
      : PlatformDecorator(inner), loop_(std::move(loop)) {}
  std::shared_ptr<platform::MainRunLoop> mainRunLoop() override { return loop_; }

 private:
  const std::shared_ptr<platform::MainRunLoop> loop_;
};

class Listen : public ListenerTest {
 protected:
  // Behind the listener's start.
  void onceItListens(const Work& script) {
    loop->async([this, script] { loop->async(script); });
  }
  ListenEnd listen(cli::Listener& listener) {
    return cli::listen(listener, *output, *loop, interrupt);
  }
  static void raise(int signalNumber) { ::kill(::getpid(), signalNumber); }

  const std::shared_ptr<WaitingRunLoop> loop = std::make_shared<WaitingRunLoop>(*host);
  const std::shared_ptr<platform::Platform> machine = std::make_shared<WithMainRunLoop>(host, loop);
  cli::Interrupt interrupt;
  std::shared_ptr<cli::LiveOutput> output = makeOutput();
};

TEST_F(Listen, SignalStopsHIDInGoodOrder) {
  onceItListens([] { raise(SIGINT); });
  const auto listener = cli::makeHIDListener(machine, output, std::nullopt);
  EXPECT_EQ(listen(*listener), ListenEnd());
  EXPECT_TRUE(interrupt.isPending());
  EXPECT_EQ(shown(),
            "    0.000 s  · Listening for connected Siri Remote HID devices\n"
            "    0.000 s  · Stopped\n");
  EXPECT_EQ(host->calls().calls().back().operation, "IOHIDManagerRelease");
}

TEST_F(Listen, SignalStopsBluetoothInGoodOrder) {
  onceItListens([] { raise(SIGTERM); });
  const auto listener = cli::makeBluetoothListener(machine, output);
  EXPECT_EQ(listen(*listener), ListenEnd());
  EXPECT_TRUE(interrupt.isPending());
  EXPECT_TRUE(shown().ends_with("· Scan stopped\n"));
  EXPECT_FALSE(host->bluetooth().isScanning());
}

TEST_F(Listen, ShowsWhatHappensMeanwhile) {
  const auto remote = platform::simulated::SimulatedSiriRemote::create(host);
  onceItListens([&] {
    remote->wake();
    host->advance(std::chrono::seconds(1));
    remote->press(RemoteCommand::home);
    host->runReady();
    raise(SIGINT);
  });
  const auto listener = cli::makeBluetoothListener(machine, output);
  EXPECT_EQ(listen(*listener), ListenEnd());
  const std::string text = shown();
  EXPECT_LT(text.find("▼ home pressed"), text.find("· Scan stopped")) << text;
}

// Runs what `makeListener` makes, in a process that it may end.
template <class MakeListener>
ListenEnd listenAlone(MakeListener makeListener) {
  const auto host = platform::simulated::SimulatedHost::create();
  WaitingRunLoop loop(*host);
  cli::Interrupt interrupt;
  cli::LiveOutput output(cli::Output::standard(), {});
  auto listener = makeListener(output);
  return cli::listen(listener, output, loop, interrupt);
}

// One that hangs in something that only somebody else can end.
class StubbornListener : public cli::Listener {
 public:
  explicit StubbornListener(int secondSignal) : secondSignal_(secondSignal) {}
  void start() override { ::kill(::getpid(), SIGINT); }
  void stop() override {
    // The first ones belong together with the signal before.
    for (int count = 0; count < 1000; ++count) {
      ::kill(::getpid(), secondSignal_);
      ::poll(nullptr, 0, 50);
    }
    std::_Exit(EXIT_FAILURE);
  }

 private:
  const int secondSignal_;
};

TEST(ListenDeathTest, SecondSignalEndsWhatDoesNotStop) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  EXPECT_EXIT(listenAlone([](auto&) { return StubbornListener(SIGTERM); }),
              testing::KilledBySignal(SIGTERM), "");
}

// One that is over some time after it was asked.
class SlowListener : public cli::Listener {
 public:
  explicit SlowListener(cli::LiveOutput& output) : output_(output) {}
  void start() override { ::kill(::getpid(), SIGINT); }
  void stop() override {
    ::poll(nullptr, 0, 400);
    output_.end({});
  }

 private:
  cli::LiveOutput& output_;
};

TEST(ListenDeathTest, OneSignalLeavesTimeForASlowEnd) {
  testing::GTEST_FLAG(death_test_style) = "threadsafe";
  const auto listen = [] {
    return listenAlone([](cli::LiveOutput& output) { return SlowListener(output); });
  };
  EXPECT_EXIT(std::_Exit(listen() == ListenEnd() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(Listen, EndsByItselfWhenTheStartFails) {
  host->hid().setManagersCanBeCreated(false);
  const auto listener = cli::makeHIDListener(machine, output, std::nullopt);
  EXPECT_EQ(listen(*listener), (ListenEnd{.hasFailed = true}));
  EXPECT_FALSE(interrupt.isPending());
}

TEST_F(Listen, EndsWhenItsOutputFails) {
  onceItListens([&] {
    output->write([](cli::LiveWriter&) { throw cli::InputOutputError("could not write"); });
  });
  auto listener = cli::makeHIDListener(machine, output, std::nullopt);
  EXPECT_THROW(listen(*listener), cli::InputOutputError);
  listener.reset();
  EXPECT_EQ(host->calls().calls().back().operation, "IOHIDManagerRelease");
}

TEST(ListenEnd, BecomesAnExceptionWhereItIsAFailure) {
  EXPECT_NO_THROW(cli::throwIfFailed({}));
  EXPECT_THROW(cli::throwIfFailed({.hasFailed = true}), cli::CheckFailed);
  try {
    cli::throwIfFailed({true, "allow it"});
    FAIL() << "it is not permitted";
  } catch (const cli::NotPermitted& error) {
    EXPECT_STREQ(error.what(), "allow it");
  }
}

}  // namespace
}  // namespace tessline::test
