// What recordings cannot show of the capture service: threads, time between calls, and its end. The
// rest stands in tests/recordings/capture-*.jsonl.
#include "tessline/capture/PacketLoggerCaptureService.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/support/PlatformDecorator.h"

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Snapshot = PacketLoggerCaptureSnapshot;
const std::string tool = "/opt/packetlogger";
// Select is pressed.
const std::string selectLine = std::string(54, ' ').replace(0, 4, "RECV") + "1B 23 00 03 00\n";

std::vector<std::uint8_t> bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

class CaptureServiceTest : public testing::Test {
 protected:
  CaptureServiceTest() {
    host->surroundings().userID = 0;
    host->processes().setProgram(tool, {});
    service = PacketLoggerCaptureService::create(host);
    service->onSnapshotChanged = [this](const Snapshot& snapshot) {
      snapshots.push_back(snapshot);
    };
    service->onTransportEvents = [this](const std::vector<TesslineEvent>& events) {
      eventCount += events.size();
    };
  }

  void start() {
    service->startCapture("A", tool);
    host->runReady();
  }
  void write(std::string_view text) { host->processes().write(1, bytesOf(text)); }

  std::shared_ptr<platform::simulated::SimulatedHost> host =
      platform::simulated::SimulatedHost::create();
  std::vector<Snapshot> snapshots;
  std::size_t eventCount = 0;
  std::shared_ptr<PacketLoggerCaptureService> service;
};

TEST_F(CaptureServiceTest, ShowsThatItIsIdle) {
  Snapshot idle;
  idle.status = "PacketLogger idle";
  EXPECT_EQ(service->snapshot(), idle);
}

TEST_F(CaptureServiceTest, StartAndStopOnlyHandOver) {
  service->startCapture("A", tool);
  EXPECT_EQ(host->processes().startedCount(), 0);
  host->runReady();
  EXPECT_EQ(host->processes().startedCount(), 1);
  service->stopCapture();
  EXPECT_TRUE(service->snapshot().isCapturing);
  host->runReady();
  EXPECT_FALSE(service->snapshot().isCapturing);
}

TEST_F(CaptureServiceTest, OutputThatWasReadBeforeAStopIsDecodedAfterIt) {
  start();
  service->stopCapture();
  write(selectLine);
  host->runReady();
  EXPECT_EQ(eventCount, 1U);
  EXPECT_EQ(service->snapshot().status, "PacketLogger capture stopped");
  EXPECT_EQ(service->snapshot().acceptedPacketCount, 1);
}

TEST_F(CaptureServiceTest, StopNeverReportsAnEnd) {
  start();
  service->stopCapture();
  host->runReady();
  EXPECT_EQ(snapshots.back().status, "PacketLogger capture stopped");
  EXPECT_FALSE(host->processes().isRunning(1));
  EXPECT_EQ(snapshots.size(), 2U);
}

TEST_F(CaptureServiceTest, EndThatWasReportedBeforeAStopComesAfterIt) {
  start();
  service->stopCapture();
  host->processes().exit(1, 7);
  host->runReady();
  ASSERT_EQ(snapshots.size(), 3U);
  EXPECT_EQ(snapshots[1].status, "PacketLogger capture stopped");
  EXPECT_EQ(snapshots[2].status,
            "PacketLogger stopped with exit code 7. Administrator approval may have been cancelled "
            "or PacketLogger could not start.");
}

TEST_F(CaptureServiceTest, PacketsAlonePublishNothing) {
  start();
  for (int line = 0; line < 10; ++line) write(selectLine);
  host->runReady();
  EXPECT_EQ(snapshots.size(), 1U);
  EXPECT_EQ(service->snapshot().parsedPacketCount, 10);
}

TEST_F(CaptureServiceTest, LettingGoEndsTheToolAndPublishesNothing) {
  start();
  write(selectLine);
  service.reset();
  EXPECT_FALSE(host->processes().isRunning(1));
  host->runReady();
  EXPECT_EQ(snapshots.size(), 1U);
  EXPECT_EQ(eventCount, 0U);
}

TEST_F(CaptureServiceTest, WorkThatWaitsDoesNotKeepTheServiceAlive) {
  service->startCapture("A", tool);
  const std::weak_ptr<PacketLoggerCaptureService> weak = service;
  service.reset();
  EXPECT_TRUE(weak.expired());
  host->runReady();
  EXPECT_EQ(host->processes().startedCount(), 0);
}

TEST_F(CaptureServiceTest, PayloadComesBeforeItsEvents) {
  std::string order;
  service->onRawPayload = [&](const std::vector<std::uint8_t>& bytes) {
    order += std::to_string(bytes.size());
  };
  service->onTransportEvents = [&](const std::vector<TesslineEvent>&) { order += 'e'; };
  start();
  write(selectLine);
  host->runReady();
  EXPECT_EQ(order, "5e");
}

TEST_F(CaptureServiceTest, CallbackMayReadTheSnapshot) {
  std::int64_t accepted = 0;
  service->onTransportEvents = [&](const std::vector<TesslineEvent>&) {
    accepted = service->snapshot().acceptedPacketCount;
  };
  start();
  write(selectLine);
  host->runReady();
  EXPECT_EQ(accepted, 1);
}

TEST_F(CaptureServiceTest, LongLineIsHeldUntilItsEnd) {
  start();
  write(std::string(54, ' ').replace(0, 4, "RECV"));
  for (int piece = 0; piece < 1000; ++piece) write("00 11 22 ");
  host->runReady();
  EXPECT_EQ(service->snapshot().parsedPacketCount, 0);
  write("1B 23 00 03 00\n");
  host->runReady();
  EXPECT_EQ(service->snapshot().acceptedPacketCount, 1);
  EXPECT_EQ(service->snapshot().lastAcceptedPayloadPreview->size(), 71U);
}

// Real queues beneath simulated programs.
class RealQueues : public PlatformDecorator {
 public:
  using PlatformDecorator::PlatformDecorator;
  std::shared_ptr<platform::SerialQueue> makeSerialQueue(std::string_view label) override {
    return platform::hostPlatform()->makeSerialQueue(label);
  }
};

TEST(CaptureThreads, SnapshotMayBeReadWhilePacketsCome) {
  const auto host = platform::simulated::SimulatedHost::create();
  host->surroundings().userID = 0;
  host->processes().setProgram(tool, {});
  const auto service = PacketLoggerCaptureService::create(std::make_shared<RealQueues>(host));
  std::atomic<bool> isStarted{false};
  std::atomic<int> events{0};
  service->onSnapshotChanged = [&](const Snapshot&) { isStarted = true; };
  service->onTransportEvents = [&](const std::vector<TesslineEvent>&) { ++events; };
  service->startCapture("A", tool);
  while (!isStarted) std::this_thread::yield();
  constexpr int count = 2000;
  std::thread reader([&] {
    while (events < count) {
      const Snapshot snapshot = service->snapshot();
      EXPECT_LE(snapshot.acceptedPacketCount, snapshot.parsedPacketCount);
      EXPECT_LE(snapshot.emittedEventCount, count);
    }
  });
  for (int line = 0; line < count; ++line) host->processes().write(1, bytesOf(selectLine));
  reader.join();
  EXPECT_EQ(service->snapshot().parsedPacketCount, count);
}

}  // namespace
}  // namespace tessline::test
