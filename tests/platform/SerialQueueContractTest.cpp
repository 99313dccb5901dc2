#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/platform/SerialQueueContract.h"
#include "tests/support/VirtualWaiting.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

class VirtualBackend : public QueueBackend {
 public:
  std::shared_ptr<platform::Platform> platform() override { return host_; }
  bool waitUntil(const std::function<bool()>& isDone) override { return runUntil(*host_, isDone); }

 private:
  std::shared_ptr<platform::simulated::SimulatedHost> host_ =
      platform::simulated::SimulatedHost::create();
};

class HostBackend : public QueueBackend {
 public:
  std::shared_ptr<platform::Platform> platform() override { return platform::hostPlatform(); }
  bool waitUntil(const std::function<bool()>& isDone) override {
    // Each look is a piece of work of its own queue, so that nobody sleeps.
    const auto queue = platform()->makeSerialQueue("waiting");
    const auto end = queue->now() + std::chrono::seconds(20);
    while (!isDone()) {
      if (queue->now() > end) return false;
      std::promise<void> passed;
      queue->asyncAfter(std::chrono::microseconds(200), [&] { passed.set_value(); });
      passed.get_future().wait();
    }
    return true;
  }
};

// Collects from any thread.
class Journal {
 public:
  void add(int entry) {
    const std::lock_guard lock(mutex_);
    entries_.push_back(entry);
  }
  std::vector<int> entries() const {
    const std::lock_guard lock(mutex_);
    return entries_;
  }
  std::size_t size() const { return entries().size(); }

 private:
  mutable std::mutex mutex_;
  std::vector<int> entries_;
};

class SerialQueueContract : public testing::TestWithParam<QueueBackendChoice> {
 protected:
  std::shared_ptr<platform::SerialQueue> makeQueue() {
    return backend->platform()->makeSerialQueue("com.example.queue");
  }
  // Waits until all that is handed over to the queue by now has run.
  void settle() {
    auto done = std::make_shared<std::atomic<bool>>(false);
    queue->async([done] { *done = true; });
    ASSERT_TRUE(backend->waitUntil([done] { return done->load(); }));
  }
  // Lets at least `duration` pass on the queue.
  void pass(QueueTime duration) {
    auto done = std::make_shared<std::atomic<bool>>(false);
    queue->asyncAfter(duration, [done] { *done = true; });
    ASSERT_TRUE(backend->waitUntil([done] { return done->load(); }));
  }
  void waitForEntries(std::size_t count) {
    ASSERT_TRUE(backend->waitUntil([this, count] { return journal->size() >= count; }));
  }
  platform::Work note(int entry) {
    return [journal = journal, entry] { journal->add(entry); };
  }

  std::unique_ptr<QueueBackend> backend = GetParam().make();
  std::shared_ptr<Journal> journal = std::make_shared<Journal>();
  std::shared_ptr<platform::SerialQueue> queue = makeQueue();
};

using Entries = std::vector<int>;

TEST_P(SerialQueueContract, KeepsItsLabel) {
  EXPECT_EQ(queue->label(), "com.example.queue");
}

TEST_P(SerialQueueContract, RunsWorkInTheOrderOfTheCalls) {
  Entries expected;
  for (int entry = 0; entry < 100; ++entry) {
    queue->async(note(entry));
    expected.push_back(entry);
  }
  settle();
  EXPECT_EQ(journal->entries(), expected);
}

TEST_P(SerialQueueContract, RunsNothingInsideTheCall) {
  queue->async([queue = queue, journal = journal] {
    queue->async([journal] { journal->add(2); });
    journal->add(1);
  });
  waitForEntries(2);
  EXPECT_EQ(journal->entries(), (Entries{1, 2}));
}

TEST_P(SerialQueueContract, KnowsItsOwnWork) {
  const auto other = makeQueue();
  EXPECT_FALSE(queue->isCurrent());
  queue->async([this, other] {
    journal->add(queue->isCurrent() ? 1 : 0);
    journal->add(other->isCurrent() ? 1 : 0);
  });
  waitForEntries(2);
  EXPECT_EQ(journal->entries(), (Entries{1, 0}));
}

TEST_P(SerialQueueContract, DelayedWorkRunsInDueOrderAndNeverEarly) {
  const QueueTime start = queue->now();
  for (const int delay : {9, 3, 6}) {
    queue->asyncAfter(milliseconds(delay), [this, start, delay] {
      EXPECT_GE(queue->now() - start, milliseconds(delay));
      journal->add(delay);
    });
  }
  waitForEntries(3);
  EXPECT_EQ(journal->entries(), (Entries{3, 6, 9}));
}

TEST_P(SerialQueueContract, DelayThatIsNotPositiveIsNone) {
  queue->async([this] {
    queue->asyncAfter(QueueTime::zero(), note(1));
    queue->asyncAfter(milliseconds(-5), note(2));
    queue->async(note(3));
  });
  waitForEntries(3);
  EXPECT_EQ(journal->entries(), (Entries{1, 2, 3}));
}

TEST_P(SerialQueueContract, LaterCallOfAnEqualDelayRunsLater) {
  Entries expected;
  for (int entry = 0; entry < 50; ++entry) {
    queue->asyncAfter(milliseconds(2), note(entry));
    expected.push_back(entry);
  }
  waitForEntries(expected.size());
  EXPECT_EQ(journal->entries(), expected);
}

TEST_P(SerialQueueContract, TimerFiresOnceOnItsQueue) {
  const auto timer = queue->startTimer(milliseconds(1), [this] {
    EXPECT_TRUE(queue->isCurrent());
    journal->add(1);
  });
  waitForEntries(1);
  pass(milliseconds(5));
  EXPECT_EQ(journal->entries(), Entries{1});
}

TEST_P(SerialQueueContract, TimerThatIsCancelledNeverFires) {
  const auto timer = queue->startTimer(milliseconds(3), note(1));
  timer->cancel();
  timer->cancel();
  pass(milliseconds(6));
  EXPECT_EQ(journal->entries(), Entries());
}

TEST_P(SerialQueueContract, TimerThatIsDestroyedNeverFires) {
  auto timer = queue->startTimer(milliseconds(3), note(1));
  timer.reset();
  pass(milliseconds(6));
  EXPECT_EQ(journal->entries(), Entries());
}

TEST_P(SerialQueueContract, CancelOnTheQueueHoldsEvenWhenTheTimerIsDue) {
  std::shared_ptr<platform::QueueTimer> second;
  std::unique_ptr<platform::QueueTimer> first;
  queue->async([&] {
    // Equal due times, so that both are due when the first cancels the second.
    first = queue->startTimer(milliseconds(2), [&] { second->cancel(); });
    second = queue->startTimer(milliseconds(2), note(1));
  });
  pass(milliseconds(8));
  EXPECT_EQ(journal->entries(), Entries());
  second.reset();
  first.reset();
  settle();
}

TEST_P(SerialQueueContract, TimerMayBeDestroyedByItsOwnWork) {
  auto timer = std::make_shared<std::unique_ptr<platform::QueueTimer>>();
  queue->async([this, timer] {
    *timer = queue->startTimer(milliseconds(1), [timer, journal = journal] {
      timer->reset();
      journal->add(1);
    });
  });
  waitForEntries(1);
  EXPECT_EQ(journal->entries(), Entries{1});
}

TEST_P(SerialQueueContract, WorkHandedOverOutlivesTheQueueObject) {
  auto other = makeQueue();
  other->async(note(1));
  other->asyncAfter(milliseconds(2), note(2));
  other.reset();
  waitForEntries(2);
  EXPECT_EQ(journal->entries(), (Entries{1, 2}));
}

TEST_P(SerialQueueContract, WorkThatOutlivesItsOwnerDoesNothing) {
  auto owner = std::make_shared<int>(7);
  queue->asyncAfter(milliseconds(2), [weak = std::weak_ptr(owner), journal = journal] {
    if (const auto alive = weak.lock()) journal->add(*alive);
  });
  owner.reset();
  pass(milliseconds(4));
  EXPECT_EQ(journal->entries(), Entries());
}

TEST_P(SerialQueueContract, TimeNeverGoesBack) {
  QueueTime last = queue->now();
  for (int step = 0; step < 5; ++step) {
    pass(milliseconds(1));
    EXPECT_GE(queue->now() - last, milliseconds(1));
    last = queue->now();
  }
}

class MainRunLoopContract : public SerialQueueContract {
 protected:
  std::shared_ptr<platform::MainRunLoop> loop = backend->platform()->mainRunLoop();
};

TEST_P(MainRunLoopContract, DeliversInOrderUntilItIsStopped) {
  for (int entry = 1; entry <= 3; ++entry) loop->async(note(entry));
  loop->async([this] { loop->stop(); });
  loop->async(note(4));
  loop->run();
  EXPECT_EQ(journal->entries(), (Entries{1, 2, 3}));
  loop->async([this] { loop->stop(); });
  loop->run();
  EXPECT_EQ(journal->entries(), (Entries{1, 2, 3, 4}));
}

TEST_P(MainRunLoopContract, StopBeforeRunLetsItReturnAtOnce) {
  loop->async(note(1));
  loop->stop();
  loop->run();
  EXPECT_EQ(journal->entries(), Entries());
  loop->async([this] { loop->stop(); });
  loop->run();
  EXPECT_EQ(journal->entries(), Entries{1});
}

TEST_P(MainRunLoopContract, KnowsItsOwnWork) {
  EXPECT_FALSE(loop->isCurrent());
  loop->async([this] {
    journal->add(loop->isCurrent() ? 1 : 0);
    journal->add(queue->isCurrent() ? 1 : 0);
    loop->stop();
  });
  loop->run();
  EXPECT_FALSE(loop->isCurrent());
  EXPECT_EQ(journal->entries(), (Entries{1, 0}));
}

TEST_P(MainRunLoopContract, TakesWorkFromQueues) {
  queue->async([this] {
    loop->async([this] {
      journal->add(1);
      loop->stop();
    });
  });
  loop->run();
  EXPECT_EQ(journal->entries(), Entries{1});
}

const auto backends = testing::Values(
    QueueBackendChoice{"Virtual", [] { return std::make_unique<VirtualBackend>(); }},
    QueueBackendChoice{"Host", [] { return std::make_unique<HostBackend>(); }});

std::string backendName(const testing::TestParamInfo<QueueBackendChoice>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(On, SerialQueueContract, backends, backendName);
INSTANTIATE_TEST_SUITE_P(On, MainRunLoopContract, backends, backendName);

// What needs threads of the test's own, and so a real host.

TEST(HostQueue, KeepsTheOrderOfEachCallingThread) {
  const auto queue = platform::hostPlatform()->makeSerialQueue("order");
  constexpr int perThread = 500;
  Journal journal;
  std::vector<std::thread> callers;
  for (int caller = 0; caller < 3; ++caller) {
    callers.emplace_back([&, caller] {
      for (int step = 0; step < perThread; ++step) {
        queue->async([&journal, entry = caller * perThread + step] { journal.add(entry); });
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  std::promise<void> done;
  queue->async([&] { done.set_value(); });
  done.get_future().wait();
  std::vector<int> last(3, -1);
  for (const int entry : journal.entries()) {
    int& before = last[static_cast<std::size_t>(entry / perThread)];
    EXPECT_GT(entry, before);
    before = entry;
  }
  EXPECT_EQ(journal.size(), 3U * perThread);
}

TEST(HostQueue, RunsOnePieceAtATime) {
  const auto queue = platform::hostPlatform()->makeSerialQueue("serial");
  // Not atomic: two pieces at once would be a race.
  int running = 0;
  int most = 0;
  std::promise<void> done;
  for (int piece = 0; piece < 1000; ++piece) {
    queue->async([&] {
      most = std::max(most, ++running);
      --running;
    });
  }
  queue->async([&] { done.set_value(); });
  done.get_future().wait();
  EXPECT_EQ(most, 1);
}

TEST(HostQueue, TwoQueuesRunAtTheSameTime) {
  const auto first = platform::hostPlatform()->makeSerialQueue("first");
  const auto second = platform::hostPlatform()->makeSerialQueue("second");
  std::promise<void> secondRuns;
  std::promise<void> done;
  first->async([&] {
    secondRuns.get_future().wait();
    done.set_value();
  });
  second->async([&] { secondRuns.set_value(); });
  EXPECT_EQ(done.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

TEST(HostPlatform, OffersNoHIDManagerHere) {
  EXPECT_EQ(platform::hostPlatform()->makeHIDManager(), nullptr);
  EXPECT_EQ(platform::hostPlatform(), platform::hostPlatform());
}

}  // namespace
}  // namespace tessline::test
