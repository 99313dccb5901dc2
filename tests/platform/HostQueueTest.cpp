#include "tests/platform/SerialQueueContract.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

// What needs threads of the test's own, and so a real host.

TEST(HostQueue, KeepsTheOrderOfEachCallingThread) {
  const auto queue = platform::hostPlatform()->makeSerialQueue("order");
  constexpr int perThread = 500;
  QueueJournal journal;
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

}  // namespace
}  // namespace tessline::test
