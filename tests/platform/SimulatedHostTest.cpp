#include "tessline/platform/simulated/SimulatedHost.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using namespace std::chrono_literals;
using platform::HIDMatching;
using platform::QueueTime;
using platform::simulated::SimulatedHIDDevice;
using platform::simulated::SimulatedHost;
using Names = std::vector<std::string>;

class SimulatedHostTest : public testing::Test {
 protected:
  // A manager that notes what it is told, scheduled and open.
  std::shared_ptr<platform::HIDManager> listen() {
    const std::array matching = {HIDMatching{76, 789}};
    auto manager = host->makeHIDManager();
    manager->setDeviceMatchingMultiple(matching);
    manager->registerDeviceMatchingCallback(
        [this](const auto& device) { note("matched ", *device); });
    manager->registerDeviceRemovalCallback([this](const auto& device) { note("gone ", *device); });
    manager->scheduleWithRunLoop(*host->mainRunLoop());
    manager->open();
    return manager;
  }
  void note(const std::string& what, const platform::HIDDevice& device) {
    notes.push_back(what + std::get<std::string>(device.property("Product")));
  }
  std::shared_ptr<SimulatedHIDDevice> connect(const std::string& name, std::int64_t product = 789) {
    return host->hid().connect(
        {{"Product", name}, {"VendorID", std::int64_t{76}}, {"ProductID", product}});
  }

  std::shared_ptr<SimulatedHost> host = SimulatedHost::create();
  Names notes;
};

TEST_F(SimulatedHostTest, ClockMovesOnlyWhenTold) {
  const auto queue = host->makeSerialQueue("q");
  EXPECT_EQ(queue->now(), QueueTime::zero());
  host->advance(1500ms);
  EXPECT_EQ(queue->now(), 1500ms);
  host->runReady();
  EXPECT_EQ(queue->now(), 1500ms);
}

TEST_F(SimulatedHostTest, AdvanceRunsWhatFallsDueAtItsOwnTime) {
  const auto queue = host->makeSerialQueue("q");
  std::vector<QueueTime> times;
  queue->asyncAfter(1s, [&] {
    times.push_back(queue->now());
    queue->asyncAfter(1s, [&] { times.push_back(queue->now()); });
    queue->asyncAfter(5s, [&] { times.push_back(queue->now()); });
  });
  host->advance(3s);
  EXPECT_EQ(times, (std::vector<QueueTime>{1s, 2s}));
  EXPECT_EQ(host->scheduler().pendingCount(), 1U);
}

TEST_F(SimulatedHostTest, QueuesTakeTurnsInTheOrderOfTheCalls) {
  const auto first = host->makeSerialQueue("first");
  const auto second = host->makeSerialQueue("second");
  first->async([&] { notes.emplace_back("a"); });
  second->async([&] { notes.emplace_back("b"); });
  host->mainRunLoop()->async([&] { notes.emplace_back("c"); });
  first->async([&] { notes.emplace_back("d"); });
  host->runReady();
  EXPECT_EQ(notes, (Names{"a", "b", "c", "d"}));
}

TEST_F(SimulatedHostTest, CancelledTimerIsNotPending) {
  const auto queue = host->makeSerialQueue("q");
  const auto timer = queue->startTimer(1s, [] {});
  EXPECT_EQ(host->scheduler().pendingCount(), 1U);
  timer->cancel();
  EXPECT_EQ(host->scheduler().pendingCount(), 0U);
}

TEST_F(SimulatedHostTest, CallsAreRecordedWithTheirTime) {
  host->advance(2s);
  host->makeSerialQueue("com.example.q");
  host->logSink()->log("a line");
  const auto& calls = host->calls().calls();
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(calls[0], (platform::simulated::PlatformCall{
                          2s, "dispatch_queue_create", {{"label", std::string("com.example.q")}}}));
  EXPECT_EQ(calls[1],
            (platform::simulated::PlatformCall{2s, "log", {{"line", std::string("a line")}}}));
}

TEST_F(SimulatedHostTest, PresentDevicesAreReportedFromTheRunLoop) {
  connect("one");
  connect("other", 1);
  const auto manager = listen();
  EXPECT_EQ(notes, Names());
  host->runReady();
  EXPECT_EQ(notes, Names{"matched one"});
}

TEST_F(SimulatedHostTest, DevicesThatComeAndGoAreReported) {
  const auto manager = listen();
  const auto device = connect("one");
  host->runReady();
  host->hid().disconnect(device);
  host->hid().disconnect(device);
  host->runReady();
  EXPECT_EQ(notes, (Names{"matched one", "gone one"}));
}

TEST_F(SimulatedHostTest, UnscheduledManagerCallsNothingBack) {
  const auto manager = listen();
  connect("one");
  manager->unscheduleFromRunLoop(*host->mainRunLoop());
  connect("two");
  host->runReady();
  EXPECT_EQ(notes, Names());
}

TEST_F(SimulatedHostTest, DestroyedManagerCallsNothingBack) {
  auto manager = listen();
  connect("one");
  manager.reset();
  host->runReady();
  EXPECT_EQ(notes, Names());
}

TEST_F(SimulatedHostTest, DevicesAreToldOnceAnyHasMatched) {
  const auto manager = listen();
  EXPECT_EQ(manager->copyDevices(), std::nullopt);
  const auto device = connect("one");
  ASSERT_TRUE(manager->copyDevices().has_value());
  EXPECT_EQ(manager->copyDevices()->size(), 1U);
  host->hid().disconnect(device);
  ASSERT_TRUE(manager->copyDevices().has_value());
  EXPECT_TRUE(manager->copyDevices()->empty());
}

TEST_F(SimulatedHostTest, ReportsAreCutToTheBuffer) {
  const auto manager = listen();
  const auto device = connect("one");
  std::vector<std::uint8_t> buffer(2);
  std::vector<std::uint8_t> seen;
  device->registerInputReportCallback(
      buffer, [&](std::uint32_t reportID, std::span<const std::uint8_t> report) {
        EXPECT_EQ(reportID, 7U);
        EXPECT_EQ(report.data(), buffer.data());
        seen.assign(report.begin(), report.end());
      });
  host->hid().sendReport(device, 7, {1, 2, 3});
  EXPECT_TRUE(seen.empty());
  host->runReady();
  EXPECT_EQ(seen, (std::vector<std::uint8_t>{1, 2}));
}

TEST_F(SimulatedHostTest, ReportsNeedAnOpenScheduledManager) {
  const auto manager = listen();
  const auto device = connect("one");
  std::vector<std::uint8_t> buffer(8);
  int count = 0;
  device->registerInputReportCallback(buffer, [&](std::uint32_t, auto) { ++count; });
  manager->close();
  host->hid().sendReport(device, 0, {1});
  host->runReady();
  EXPECT_EQ(count, 0);
  manager->open();
  manager->unscheduleFromRunLoop(*host->mainRunLoop());
  host->hid().sendReport(device, 0, {1});
  host->runReady();
  EXPECT_EQ(count, 0);
  manager->scheduleWithRunLoop(*host->mainRunLoop());
  host->hid().sendReport(device, 0, {1});
  host->runReady();
  EXPECT_EQ(count, 1);
}

TEST_F(SimulatedHostTest, HostThatGoesTakesWaitingWorkAlong) {
  auto owned = std::make_shared<int>(1);
  host->makeSerialQueue("q")->async([owned] {});
  host.reset();
  EXPECT_EQ(owned.use_count(), 1);
}

}  // namespace
}  // namespace tessline::test
