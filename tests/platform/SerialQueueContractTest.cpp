#include "tests/platform/SerialQueueContract.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Entries = QueueEntries;

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
  QueueTime taken = QueueTime::max();
  // A host that is held up between the calls changes what is due first: then once more.
  while (taken >= milliseconds(3)) {
    journal = std::make_shared<QueueJournal>();
    const QueueTime start = queue->now();
    for (const int delay : {9, 3, 6}) {
      queue->asyncAfter(milliseconds(delay), [this, start, delay] {
        EXPECT_GE(queue->now() - start, milliseconds(delay));
        journal->add(delay);
      });
    }
    taken = queue->now() - start;
    waitForEntries(3);
  }
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

TEST_P(SerialQueueContract, TimersWhoseDelayIsNotPositiveFireInTheirTurn) {
  std::unique_ptr<platform::QueueTimer> first;
  std::unique_ptr<platform::QueueTimer> second;
  queue->async([&] {
    first = queue->startTimer(QueueTime::zero(), note(1));
    queue->async(note(2));
    second = queue->startTimer(milliseconds(-5), note(3));
    queue->async(note(4));
  });
  waitForEntries(4);
  EXPECT_EQ(journal->entries(), (Entries{1, 2, 3, 4}));
}

TEST_P(SerialQueueContract, TimerThatIsCancelledNeverFires) {
  // Longer than a host may be held up before the next call.
  const auto timer = queue->startTimer(milliseconds(50), note(1));
  timer->cancel();
  timer->cancel();
  pass(milliseconds(55));
  EXPECT_EQ(journal->entries(), Entries());
}

TEST_P(SerialQueueContract, TimerThatIsDestroyedNeverFires) {
  queue->async([this] {
    auto timer = queue->startTimer(milliseconds(3), note(1));
    timer.reset();
  });
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
  // On the queue, which is not due to look before the owner is gone.
  queue->async([this, owner = std::move(owner)]() mutable {
    queue->asyncAfter(milliseconds(2), [weak = std::weak_ptr(owner), journal = journal] {
      if (const auto alive = weak.lock()) journal->add(*alive);
    });
    owner.reset();
  });
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

INSTANTIATE_TEST_SUITE_P(On, SerialQueueContract, testing::ValuesIn(queueBackends()), backendName);
INSTANTIATE_TEST_SUITE_P(On, MainRunLoopContract, testing::ValuesIn(queueBackends()), backendName);

}  // namespace
}  // namespace tessline::test
