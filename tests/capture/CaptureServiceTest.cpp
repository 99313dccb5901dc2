// What recordings cannot show of the capture service: threads, time between calls, and its end. The
// rest stands in tests/recordings/capture-*.jsonl.
#include "tessline/capture/PacketLoggerCaptureService.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/capture/FakeChildProcesses.h"
#include "tests/support/Bytes.h"
#include "tests/support/PlatformDecorator.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
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

const std::string running = "PacketLogger capture running; detected remote A";
const std::string stopped = "PacketLogger capture stopped";

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
  std::vector<std::string> statuses() const {
    std::vector<std::string> all;
    for (const Snapshot& snapshot : snapshots) all.push_back(snapshot.status);
    return all;
  }

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

TEST_F(CaptureServiceTest, EndThatWasReportedBeforeAStopIsSilentAfterIt) {
  for (const std::int32_t status : {7, 0}) {
    start();
    service->stopCapture();
    host->processes().exit(host->processes().startedCount(), status);
    host->runReady();
    EXPECT_EQ(statuses(), (std::vector<std::string>{running, stopped})) << status;
    snapshots.clear();
  }
}

TEST_F(CaptureServiceTest, StartBeforeTheEndIsHandledDoesNotLoseTheNewTool) {
  start();
  service->startCapture("A", tool);
  host->processes().exit(1, 0);
  host->runReady();
  EXPECT_EQ(statuses(), (std::vector<std::string>{running, running}));
  EXPECT_TRUE(service->snapshot().isCapturing);
  EXPECT_TRUE(host->processes().isRunning(2));
  service.reset();
  EXPECT_FALSE(host->processes().isRunning(2));
}

TEST_F(CaptureServiceTest, NewToolsEndIsTold) {
  start();
  service->startCapture("A", tool);
  host->processes().exit(1, 3);
  host->runReady();
  host->processes().exit(2, 0);
  host->runReady();
  EXPECT_EQ(statuses(), (std::vector<std::string>{running, running, "PacketLogger capture ended"}));
  EXPECT_FALSE(service->snapshot().isCapturing);
}

TEST_F(CaptureServiceTest, WorksWithoutCallbacks) {
  service->onSnapshotChanged = nullptr;
  service->onTransportEvents = nullptr;
  start();
  write(selectLine + "an error: of the tool\n");
  host->processes().writeError(1, bytesOf("trouble\n"));
  host->runReady();
  EXPECT_EQ(service->snapshot().emittedEventCount, 1);
  EXPECT_EQ(service->snapshot().status, "PacketLogger: trouble");
  host->processes().exit(1, 0);
  host->runReady();
  EXPECT_EQ(service->snapshot().status, "PacketLogger capture ended");
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

// Simulated programs, of which unzip leaves what it was to unpack.
class UnpackingHost : public PlatformDecorator {
 public:
  UnpackingHost(const std::shared_ptr<platform::simulated::SimulatedHost>& host,
                const std::string& unpacked)
      : PlatformDecorator(host),
        processes_(std::make_shared<RedirectedChildProcesses>(host->childProcesses())) {
    processes_->onLaunch = [host, unpacked](const platform::ProcessDescription& description) {
      if (description.executable == "/usr/bin/unzip") host->files().setFile(unpacked, {});
    };
  }
  std::shared_ptr<platform::ChildProcesses> childProcesses() override { return processes_; }

 private:
  const std::shared_ptr<RedirectedChildProcesses> processes_;
};

TEST_F(CaptureServiceTest, StartInstallsTheRuntimeAndLaunchesItsTool) {
  const std::string runtime =
      "/Users/user/Library/Application Support/com.morvane/PacketLoggerHost";
  const std::string installed = runtime + "/Resources/packetlogger";
  host->surroundings().resources[{platform::Bundle::main, "PacketLoggerRuntime.payload"}] = "/pack";
  platform::simulated::SimulatedFile pack;
  pack.contents = bytes("4d 52 50 4c 01 00 01 00 00 50 4b");
  host->files().setFile("/pack", pack);
  platform::simulated::SimulatedProgram ending;
  ending.status = 0;
  host->processes().setProgram("/usr/bin/unzip", ending);
  host->processes().setProgram(installed, {});
  service = PacketLoggerCaptureService::create(std::make_shared<UnpackingHost>(host, installed));
  service->startCapture("A", std::nullopt);
  host->runReady();
  EXPECT_EQ(service->snapshot().status, running);
  EXPECT_EQ(service->snapshot().packetLoggerPath, installed);
  EXPECT_EQ(host->files().contents(runtime + "/.install-version"), bytesOf("1"));
  EXPECT_TRUE(host->processes().isRunning(host->processes().startedCount()));
}

// Real queues beneath simulated programs.
class RealQueues : public PlatformDecorator {
 public:
  using PlatformDecorator::PlatformDecorator;
  std::shared_ptr<platform::SerialQueue> makeSerialQueue(
      std::string_view label, platform::QualityOfService quality) override {
    return platform::hostPlatform()->makeSerialQueue(label, quality);
  }
};

// Whether it was done in time; looks at it again and again.
template <class Condition>
bool comesTrue(const Condition& isDone) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!isDone()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::yield();
  }
  return true;
}

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
  ASSERT_TRUE(comesTrue([&] { return isStarted.load(); }));
  constexpr int count = 2000;
  std::thread reader([&] {
    EXPECT_TRUE(comesTrue([&] {
      const Snapshot snapshot = service->snapshot();
      EXPECT_LE(snapshot.acceptedPacketCount, snapshot.parsedPacketCount);
      EXPECT_LE(snapshot.emittedEventCount, count);
      return events == count;
    })) << "the events do not come";
  });
  for (int line = 0; line < count; ++line) host->processes().write(1, bytesOf(selectLine));
  reader.join();
  EXPECT_EQ(service->snapshot().parsedPacketCount, count);
}

}  // namespace
}  // namespace tessline::test
