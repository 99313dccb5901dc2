#include "tessline/platform/macos/DispatchQueue.h"
#include "tests/macos/QueueBackends.h"
#include "tests/platform/SerialQueueContract.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <standin/dispatch.h>

namespace tessline::test {
namespace {

namespace dispatch = standin::dispatch;
using std::chrono::nanoseconds;
using Entries = QueueEntries;
using Calls = std::vector<std::string>;

// What the adapter asks of the system, and what it makes of the system's timers.
class DispatchQueue : public testing::Test {
 protected:
  // What still waits notes something here.
  void TearDown() override {
    EXPECT_TRUE(backend.waitUntil([] { return dispatch::waitingTimers() == 0; }));
  }

  platform::Work note(int entry) {
    return [this, entry] { journal.add(entry); };
  }
  // Work that keeps `kept` alive.
  platform::Work holding() {
    auto held = std::make_shared<int>(0);
    kept = held;
    return [held = std::move(held)] {};
  }
  Entries entriesAfter(QueueTime duration) {
    dispatch::advance(duration);
    return journal.entries();
  }
  Calls takeCalls() {
    Calls calls = dispatch::calls();
    dispatch::clearCalls();
    return calls;
  }

  DispatchBackend backend{QueueClock::test};
  QueueJournal journal;
  std::weak_ptr<int> kept;
  std::shared_ptr<platform::SerialQueue> queue = platform::makeDispatchQueue("com.example.queue");
};

TEST_F(DispatchQueue, IsASystemQueueUnderItsLabel) {
  queue.reset();
  takeCalls();
  queue = platform::makeDispatchQueue("com.example.other");
  EXPECT_EQ(takeCalls(), Calls{"dispatch_queue_create com.example.other"});
  EXPECT_STREQ(dispatch_queue_get_label(platform::dispatchQueueOf(*queue)), "com.example.other");
  queue.reset();
  EXPECT_EQ(takeCalls(), Calls{"dispatch_release com.example.other"});
  EXPECT_EQ(backend.liveObjects(), 0U);
}

TEST_F(DispatchQueue, IsOfTheQualityThatIsAskedFor) {
  EXPECT_EQ(dispatch::qualityOf(platform::dispatchQueueOf(*queue)), QOS_CLASS_UNSPECIFIED);
  queue = platform::makeDispatchQueue("com.example.other", platform::QualityOfService::standard);
  EXPECT_EQ(dispatch::qualityOf(platform::dispatchQueueOf(*queue)), QOS_CLASS_DEFAULT);
}

TEST_F(DispatchQueue, HandsOverWorkOnce) {
  takeCalls();
  queue->async(note(1));
  queue->asyncAfter(QueueTime::zero(), note(2));
  queue->asyncAfter(milliseconds(-1), note(3));
  EXPECT_EQ(takeCalls(), Calls(3, "dispatch_async_f com.example.queue"));
  EXPECT_EQ(entriesAfter(QueueTime::zero()), (Entries{1, 2, 3}));
}

TEST_F(DispatchQueue, DelaysWorkFromNowOn) {
  takeCalls();
  queue->asyncAfter(milliseconds(5), note(1));
  EXPECT_EQ(takeCalls(),
            (Calls{"dispatch_time now 5001000", "dispatch_after_f later com.example.queue"}));
}

TEST_F(DispatchQueue, TimerIsAOneShotSourceThatIsActivated) {
  takeCalls();
  const auto timer = queue->startTimer(milliseconds(5), note(1));
  EXPECT_EQ(takeCalls(),
            (Calls{"dispatch_source_create com.example.queue", "dispatch_time now 5001000",
                   "dispatch_source_set_timer timer of com.example.queue later forever 0",
                   "dispatch_activate timer of com.example.queue"}));
}

TEST_F(DispatchQueue, TimerThatGoesIsCancelledAndReleased) {
  auto timer = queue->startTimer(milliseconds(5), note(1));
  takeCalls();
  timer.reset();
  EXPECT_EQ(takeCalls(), (Calls{"dispatch_source_cancel timer of com.example.queue",
                                "dispatch_release timer of com.example.queue"}));
  dispatch::waitUntilIdle();
  EXPECT_EQ(backend.liveObjects(), 1U);
}

TEST_F(DispatchQueue, CancelledTimerIsNothingToWaitFor) {
  const auto timer = queue->startTimer(std::chrono::hours(1), note(1));
  EXPECT_EQ(dispatch::waitingTimers(), 1U);
  timer->cancel();
  EXPECT_EQ(dispatch::waitingTimers(), 0U);
}

TEST_F(DispatchQueue, NothingIsEarlyByATickOfTheSystem) {
  for (int delay = 1; delay <= 200; ++delay) {
    dispatch::advance(nanoseconds(41));
    const QueueTime due = queue->now() + nanoseconds(delay);
    queue->asyncAfter(nanoseconds(delay), [this, due] { EXPECT_GE(queue->now(), due); });
    const auto timer =
        queue->startTimer(nanoseconds(delay), [this, due] { EXPECT_GE(queue->now(), due); });
    ASSERT_TRUE(dispatch::advanceToNextTimer());
    ASSERT_TRUE(dispatch::advanceToNextTimer());
  }
}

TEST_F(DispatchQueue, TimeIsThatOfTheSystemsTimers) {
  const QueueTime start = queue->now();
  dispatch::advance(std::chrono::seconds(3));
  EXPECT_EQ(queue->now() - start, std::chrono::seconds(3));
}

TEST_F(DispatchQueue, TimersThatFireLateKeepTheOrderOfDueTimes) {
  dispatch::setUsesLeeway(true);
  queue->asyncAfter(milliseconds(100), note(1));
  const auto timer = queue->startTimer(milliseconds(102), note(2));
  queue->asyncAfter(milliseconds(103), note(3));
  queue->asyncAfter(milliseconds(90), note(0));
  // The timer alone has no leeway; what is due before it may come with it, but not later.
  EXPECT_EQ(entriesAfter(milliseconds(103)), (Entries{0, 1, 2}));
  EXPECT_EQ(entriesAfter(milliseconds(20)), (Entries{0, 1, 2, 3}));
}

TEST_F(DispatchQueue, LateTimersOfTheSystemBringNothingTwice) {
  dispatch::setUsesLeeway(true);
  queue->asyncAfter(milliseconds(100), note(1));
  const auto timer = queue->startTimer(milliseconds(101), note(2));
  EXPECT_EQ(entriesAfter(std::chrono::seconds(1)), (Entries{1, 2}));
  EXPECT_EQ(dispatch::waitingTimers(), 0U);
}

TEST_F(DispatchQueue, TimersAndDelayedWorkOfEqualTimeRunInTheOrderOfTheCalls) {
  const auto first = queue->startTimer(milliseconds(2), note(1));
  queue->asyncAfter(milliseconds(2), note(2));
  const auto second = queue->startTimer(milliseconds(2), note(3));
  queue->asyncAfter(milliseconds(2), note(4));
  EXPECT_EQ(entriesAfter(milliseconds(3)), (Entries{1, 2, 3, 4}));
}

TEST_F(DispatchQueue, CancellingOneTimerLeavesTheOthersOfItsTime) {
  const auto first = queue->startTimer(milliseconds(2), note(1));
  queue->asyncAfter(milliseconds(2), note(2));
  const auto second = queue->startTimer(milliseconds(2), note(3));
  first->cancel();
  EXPECT_EQ(entriesAfter(milliseconds(3)), (Entries{2, 3}));
}

TEST_F(DispatchQueue, TimerWithoutDelayRunsInItsTurnAndCanBeCancelled) {
  std::unique_ptr<platform::QueueTimer> first;
  std::unique_ptr<platform::QueueTimer> second;
  queue->async([&] {
    first = queue->startTimer(QueueTime::zero(), note(1));
    second = queue->startTimer(milliseconds(-5), note(2));
    queue->async(note(3));
    second->cancel();
  });
  dispatch::waitUntilIdle();
  EXPECT_EQ(journal.entries(), (Entries{1, 3}));
}

TEST_F(DispatchQueue, WorkIsLetGoOfOnceItHasRun) {
  queue->async(holding());
  dispatch::waitUntilIdle();
  EXPECT_TRUE(kept.expired());
  queue->asyncAfter(milliseconds(1), holding());
  EXPECT_FALSE(kept.expired());
  dispatch::advance(milliseconds(2));
  EXPECT_TRUE(kept.expired());
  const auto timer = queue->startTimer(milliseconds(1), holding());
  dispatch::advance(milliseconds(2));
  EXPECT_TRUE(kept.expired());
}

TEST_F(DispatchQueue, WorkOfACancelledTimerIsLetGoOfAtOnce) {
  const auto timer = queue->startTimer(milliseconds(1), holding());
  timer->cancel();
  EXPECT_TRUE(kept.expired());
}

TEST_F(DispatchQueue, WorkThatIsLetGoOfMayUseTheQueue) {
  struct Owner {
    std::shared_ptr<platform::SerialQueue> queue;
    std::unique_ptr<platform::QueueTimer> timer;
    ~Owner() { timer->cancel(); }
  };
  auto owner = std::make_shared<Owner>();
  owner->queue = queue;
  owner->timer = queue->startTimer(milliseconds(9), note(1));
  const auto outer = queue->startTimer(milliseconds(1), [owner = std::move(owner)] {});
  outer->cancel();
  EXPECT_EQ(dispatch::waitingTimers(), 0U);
}

TEST_F(DispatchQueue, WorkThatIsNeverDueIsNotKept) {
  // In nanoseconds, such a time is beyond what the system counts.
  dispatch::setHasNanosecondTicks(true);
  queue->asyncAfter(QueueTime::max(), holding());
  EXPECT_TRUE(kept.expired());
  const auto timer = queue->startTimer(QueueTime::max(), note(1));
  EXPECT_EQ(dispatch::waitingTimers(), 0U);
  EXPECT_EQ(entriesAfter(std::chrono::hours(1000)), Entries());
}

TEST_F(DispatchQueue, WhatTheSystemDeliversThereIsItsWork) {
  struct Witness {
    platform::SerialQueue& queue;
    bool isCurrent = false;
  } witness{*queue};
  dispatch_async_f(platform::dispatchQueueOf(*queue), &witness, [](void* context) {
    auto& told = *static_cast<Witness*>(context);
    told.isCurrent = told.queue.isCurrent();
  });
  dispatch::waitUntilIdle();
  EXPECT_TRUE(witness.isCurrent);
  EXPECT_FALSE(queue->isCurrent());
}

TEST_F(DispatchQueue, QueuesOfOneLabelAreTwo) {
  const auto other = platform::makeDispatchQueue("com.example.queue");
  other->async([&] {
    journal.add(queue->isCurrent() ? 1 : 0);
    journal.add(other->isCurrent() ? 1 : 0);
  });
  dispatch::waitUntilIdle();
  EXPECT_EQ(journal.entries(), (Entries{0, 1}));
}

TEST(DispatchQueueDeathTest, ExceptionThatLeavesWorkEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto runThrowing = [](QueueTime delay) {
    const auto queue = platform::makeDispatchQueue("throwing");
    queue->asyncAfter(delay, [] { throw std::runtime_error("left the work"); });
    std::promise<void>().get_future().wait_for(std::chrono::seconds(20));
  };
  EXPECT_DEATH(runThrowing(QueueTime::zero()), "left the work");
  EXPECT_DEATH(runThrowing(milliseconds(1)), "left the work");
}

// Threads of the test's own, with the clock of the host.
class DispatchQueueThreads : public testing::Test {
 protected:
  DispatchBackend backend{QueueClock::host};
  std::shared_ptr<platform::SerialQueue> queue = platform::makeDispatchQueue("threads");
};

TEST_F(DispatchQueueThreads, PiecesOfManyCallersRunOneAtATime) {
  constexpr int perThread = 300;
  // Not synchronised: two pieces at once would be a race.
  std::vector<int> entries;
  std::vector<std::thread> callers;
  for (int caller = 0; caller < 3; ++caller) {
    callers.emplace_back([&, caller] {
      for (int step = 0; step < perThread; ++step) {
        const int entry = caller * perThread + step;
        queue->asyncAfter(nanoseconds(step % 2), [&entries, entry] { entries.push_back(entry); });
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  ASSERT_TRUE(backend.waitUntil([] { return dispatch::waitingTimers() == 0; }));
  dispatch::drain(platform::dispatchQueueOf(*queue));
  EXPECT_EQ(entries.size(), 3U * perThread);
}

TEST_F(DispatchQueueThreads, TimersMayBeCancelledByAnyThreadWhileTheyFire) {
  constexpr int count = 400;
  std::atomic<int> started = 0;
  for (int round = 0; round < count; ++round) {
    auto timer = queue->startTimer(std::chrono::microseconds(round % 7), [&] { ++started; });
    if (round % 2 == 0) std::this_thread::yield();
    timer->cancel();
    timer.reset();
  }
  dispatch::drain(platform::dispatchQueueOf(*queue));
  const int startedByThen = started;
  EXPECT_LE(startedByThen, count);
  dispatch::drain(platform::dispatchQueueOf(*queue));
  EXPECT_EQ(started, startedByThen);
}

}  // namespace
}  // namespace tessline::test
