#include "tessline/platform/macos/CoreFoundationRunLoop.h"

#include <future>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <standin/corefoundation.h>

namespace tessline::test {
namespace {

using Entries = std::vector<int>;

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

TEST_F(CoreFoundationRunLoopTest, DeliversInOrderUntilItIsStopped) {
  for (int entry = 1; entry <= 3; ++entry) loop->async(note(entry));
  loop->async([this] { loop->stop(); });
  loop->async(note(4));
  loop->run();
  EXPECT_EQ(take(), (Entries{1, 2, 3}));
  loop->async([this] { loop->stop(); });
  loop->run();
  EXPECT_EQ(take(), Entries{4});
}

TEST_F(CoreFoundationRunLoopTest, StopBeforeRunLetsItReturnAtOnce) {
  loop->async(note(1));
  loop->stop();
  loop->run();
  EXPECT_EQ(take(), Entries());
  loop->async([this] { loop->stop(); });
  loop->run();
  EXPECT_EQ(take(), Entries{1});
}

TEST_F(CoreFoundationRunLoopTest, IsCurrentInsideTheLoopAlone) {
  EXPECT_FALSE(loop->isCurrent());
  loop->async([this] {
    entries.push_back(loop->isCurrent() ? 1 : 0);
    bool isElsewhere = true;
    std::thread([&] { isElsewhere = loop->isCurrent(); }).join();
    entries.push_back(isElsewhere ? 1 : 0);
    loop->stop();
  });
  loop->run();
  EXPECT_FALSE(loop->isCurrent());
  EXPECT_EQ(take(), (Entries{1, 0}));
}

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

}  // namespace
}  // namespace tessline::test
