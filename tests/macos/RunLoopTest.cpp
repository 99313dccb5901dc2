#include "tessline/platform/macos/CoreFoundationRunLoop.h"

#include <future>
#include <map>
#include <memory>
#include <numeric>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <standin/corefoundation.h>

namespace tessline::test {
namespace {

using Entries = std::vector<int>;

// Another source of the main run loop, which is to perform as soon as the loop runs.
class OtherSource {
 public:
  explicit OtherSource(platform::Work work) : work_(std::move(work)) {
    CFRunLoopSourceContext context = {};
    context.info = this;
    context.perform = [](void* info) { static_cast<OtherSource*>(info)->work_(); };
    source_ = CFRunLoopSourceCreate(kCFAllocatorDefault, 0, &context);
    CFRunLoopAddSource(CFRunLoopGetMain(), source_, kCFRunLoopCommonModes);
    CFRunLoopSourceSignal(source_);
  }
  OtherSource(const OtherSource&) = delete;
  OtherSource& operator=(const OtherSource&) = delete;
  ~OtherSource() {
    CFRunLoopSourceInvalidate(source_);
    CFRelease(source_);
  }

 private:
  const platform::Work work_;
  CFRunLoopSourceRef source_ = nullptr;
};

class CoreFoundationRunLoopTest : public testing::Test {
 protected:
  ~CoreFoundationRunLoopTest() override {
    loop.reset();
    EXPECT_EQ(standin::liveCFObjects(), liveBefore);
  }
  platform::Work note(int entry) {
    return [this, entry] { entries.push_back(entry); };
  }
  Entries take() { return std::exchange(entries, {}); }

  const long liveBefore = standin::liveCFObjects();
  std::shared_ptr<platform::MainRunLoop> loop = platform::makeCoreFoundationRunLoop();
  Entries entries;
};

// Waking the loop.

TEST_F(CoreFoundationRunLoopTest, WakesForWorkAndForAStopOfOtherThreads) {
  std::promise<void> delivered;
  std::thread other([&] {
    for (int entry = 0; entry < 100; ++entry) loop->async(note(entry));
    loop->async([&] { delivered.set_value(); });
    delivered.get_future().wait();
    loop->stop();
  });
  loop->run();
  other.join();
  EXPECT_EQ(take().size(), 100U);
}

TEST_F(CoreFoundationRunLoopTest, DeliversTheWorkOfManyThreadsInTheOrderOfEach) {
  constexpr int threads = 4;
  constexpr int works = 200;
  std::map<int, Entries> delivered;
  std::vector<std::thread> others;
  others.reserve(threads);
  int left = threads * works;
  for (int thread = 0; thread < threads; ++thread) {
    others.emplace_back([&, thread] {
      for (int entry = 0; entry < works; ++entry) {
        loop->async([&, thread, entry] {
          delivered[thread].push_back(entry);
          if (--left == 0) loop->stop();
        });
      }
    });
  }
  loop->run();
  for (std::thread& other : others) other.join();
  Entries all(works);
  std::iota(all.begin(), all.end(), 0);
  for (int thread = 0; thread < threads; ++thread) EXPECT_EQ(delivered[thread], all);
}

TEST_F(CoreFoundationRunLoopTest, IsTheMainThreadsWhereverItIsMadeAndEnds) {
  loop.reset();
  std::thread([this] {
    loop = platform::makeCoreFoundationRunLoop();
    loop->async(note(1));
  }).join();
  standin::runLoopUntilIdle();
  std::thread([this] { loop.reset(); }).join();
  EXPECT_EQ(take(), Entries{1});
}

TEST_F(CoreFoundationRunLoopTest, WorkWithoutEndKeepsNobodyFromTheirTurn) {
  constexpr int end = 1000;
  int count = 0;
  const platform::Work again = [&] {
    ++count;
    loop->async(count < end ? again : platform::Work([this] { loop->stop(); }));
  };
  loop->async(again);
  const OtherSource source([this] { loop->stop(); });
  loop->run();
  EXPECT_LT(count, 3);
}

TEST_F(CoreFoundationRunLoopTest, NobodyElseHasATurnBehindThePieceThatStops) {
  loop->async([this] { loop->stop(); });
  const OtherSource source(note(1));
  loop->run();
  EXPECT_EQ(take(), Entries());
  standin::runLoopUntilIdle();
  EXPECT_EQ(take(), Entries{1});
}

// Loops that the application runs.

TEST_F(CoreFoundationRunLoopTest, DeliversWhereTheApplicationRunsTheLoop) {
  loop->async(note(1));
  loop->async(note(2));
  standin::runLoopUntilIdle();
  EXPECT_EQ(take(), (Entries{1, 2}));
}

TEST_F(CoreFoundationRunLoopTest, StopDoesNotEndTheApplicationsOwnRun) {
  loop->stop();
  loop->async(note(1));
  loop->async([this] { loop->stop(); });
  loop->async(note(2));
  loop->async([] { CFRunLoopStop(CFRunLoopGetMain()); });
  CFRunLoopRun();
  EXPECT_EQ(take(), (Entries{1, 2}));
}

TEST_F(CoreFoundationRunLoopTest, IsCurrentWhereTheApplicationRunsTheLoop) {
  loop->async([this] { entries.push_back(loop->isCurrent() ? 1 : 0); });
  EXPECT_FALSE(loop->isCurrent());
  standin::runLoopUntilIdle();
  EXPECT_FALSE(loop->isCurrent());
  EXPECT_EQ(take(), Entries{1});
}

TEST_F(CoreFoundationRunLoopTest, RunGoesOnWhenOthersStopTheLoop) {
  loop->async([] { CFRunLoopStop(CFRunLoopGetMain()); });
  loop->async(note(1));
  loop->async([this] { loop->stop(); });
  loop->run();
  EXPECT_EQ(take(), Entries{1});
}

TEST_F(CoreFoundationRunLoopTest, DeliversInCommonModesAndNoOther) {
  loop->async(note(1));
  standin::runLoopUntilIdle(standin::uncommonMode());
  EXPECT_EQ(take(), Entries());
  standin::runLoopUntilIdle(standin::eventTrackingMode());
  EXPECT_EQ(take(), Entries{1});
}

TEST_F(CoreFoundationRunLoopTest, LoopWithinAPieceDeliversTheRest) {
  loop->async([this] {
    entries.push_back(1);
    standin::runLoopUntilIdle();
    entries.push_back(3);
  });
  loop->async(note(2));
  standin::runLoopUntilIdle();
  EXPECT_EQ(take(), (Entries{1, 2, 3}));
}

TEST_F(CoreFoundationRunLoopTest, RunWithinAPieceIsStoppedAlone) {
  loop->async([this] {
    loop->async([this] {
      entries.push_back(1);
      loop->stop();
    });
    loop->run();
    entries.push_back(2);
    loop->async([this] {
      entries.push_back(3);
      loop->stop();
    });
  });
  loop->run();
  EXPECT_EQ(take(), (Entries{1, 2, 3}));
}

TEST_F(CoreFoundationRunLoopTest, StopDoesNotEndALoopWithinAPiece) {
  loop->async([this] {
    loop->stop();
    loop->async(note(1));
    loop->async([] { CFRunLoopStop(CFRunLoopGetMain()); });
    loop->async(note(3));
    CFRunLoopRun();
    entries.push_back(2);
  });
  loop->run();
  EXPECT_EQ(take(), (Entries{1, 2}));
  standin::runLoopUntilIdle();
  EXPECT_EQ(take(), Entries{3});
}

TEST_F(CoreFoundationRunLoopTest, StopDuringALoopWithinAnotherSourceIsNotLost) {
  const OtherSource source([this] {
    loop->stop();
    standin::runLoopUntilIdle();
    entries.push_back(1);
  });
  loop->run();
  EXPECT_EQ(take(), Entries{1});
}

TEST_F(CoreFoundationRunLoopTest, WorkThatAStopLeavesWaitsUntilRunHasReturned) {
  const OtherSource source([this] {
    loop->stop();
    loop->async(note(2));
    standin::runLoopUntilIdle();
    entries.push_back(1);
  });
  loop->run();
  EXPECT_EQ(take(), Entries{1});
  standin::runLoopUntilIdle();
  EXPECT_EQ(take(), Entries{2});
}

// The end of the loop.

TEST_F(CoreFoundationRunLoopTest, WhatIsLeftGoesWithTheLoop) {
  auto held = std::make_shared<int>(0);
  const std::weak_ptr weak = held;
  loop->async([this, held = std::move(held)] { entries.push_back(*held); });
  loop.reset();
  EXPECT_TRUE(weak.expired());
  standin::runLoopUntilIdle();
  EXPECT_EQ(take(), Entries());
}

TEST_F(CoreFoundationRunLoopTest, LoopMayGoWithinItsOwnWork) {
  loop->async([this] {
    loop.reset();
    entries.push_back(1);
  });
  loop->async(note(2));
  standin::runLoopUntilIdle();
  EXPECT_EQ(take(), Entries{1});
}

TEST_F(CoreFoundationRunLoopTest, RunReturnsOnceItsLoopIsGone) {
  loop->async([this] {
    loop.reset();
    entries.push_back(1);
  });
  loop->async(note(2));
  loop->run();
  EXPECT_EQ(take(), Entries{1});
}

}  // namespace
}  // namespace tessline::test
