// What the capture service leaves attached to a tool with which it is done.
#include "tessline/capture/PacketLoggerCaptureService.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/support/PlatformDecorator.h"

#include <memory>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

struct WatchedPipe : platform::Pipe {
  void setReadabilityHandler(platform::ReadabilityHandler handler) override {
    hasHandler = static_cast<bool>(handler);
  }
  std::vector<std::uint8_t> readDataToEndOfFile() override { return {}; }

  bool hasHandler = false;
};

// Does nothing by itself.
struct WatchedProcess : platform::ChildProcess {
  void setTerminationHandler(platform::TerminationHandler given) override {
    handler = std::move(given);
  }
  void launch() override { runs = true; }
  bool isRunning() const override { return runs; }
  void terminate() override { ++terminations; }
  std::int32_t waitUntilExit() override { return 0; }

  platform::TerminationHandler handler;
  bool runs = false;
  int terminations = 0;
};

// Keeps all it makes.
struct WatchedProcesses : platform::ChildProcesses {
  std::shared_ptr<platform::Pipe> makePipe() override {
    return pipes.emplace_back(std::make_shared<WatchedPipe>());
  }
  std::shared_ptr<platform::ChildProcess> makeProcess(platform::ProcessDescription) override {
    return processes.emplace_back(std::make_shared<WatchedProcess>());
  }

  std::vector<std::shared_ptr<WatchedPipe>> pipes;
  std::vector<std::shared_ptr<WatchedProcess>> processes;
};

class WatchedHost : public PlatformDecorator {
 public:
  using PlatformDecorator::PlatformDecorator;
  std::shared_ptr<platform::ChildProcesses> childProcesses() override { return watched; }

  const std::shared_ptr<WatchedProcesses> watched = std::make_shared<WatchedProcesses>();
};

class CaptureDetachment : public testing::Test {
 protected:
  CaptureDetachment() { host->surroundings().userID = 0; }

  void start() {
    service->startCapture("A", "/opt/packetlogger");
    host->runReady();
  }
  WatchedProcess& tool(std::size_t number) { return *watched->watched->processes.at(number); }
  // Of its two pipes.
  bool isHeard(std::size_t number) {
    const auto& pipes = watched->watched->pipes;
    EXPECT_EQ(pipes.at(2 * number)->hasHandler, pipes.at(2 * number + 1)->hasHandler);
    return pipes.at(2 * number)->hasHandler;
  }
  bool isItsEndHeard(std::size_t number) { return static_cast<bool>(tool(number).handler); }

  const std::shared_ptr<platform::simulated::SimulatedHost> host =
      platform::simulated::SimulatedHost::create();
  const std::shared_ptr<WatchedHost> watched = std::make_shared<WatchedHost>(host);
  std::shared_ptr<PacketLoggerCaptureService> service = PacketLoggerCaptureService::create(watched);
};

TEST_F(CaptureDetachment, ToolThatRunsIsHeard) {
  start();
  EXPECT_TRUE(isHeard(0));
  EXPECT_TRUE(isItsEndHeard(0));
}

TEST_F(CaptureDetachment, ToolThatWasStoppedIsNotHeard) {
  start();
  service->stopCapture();
  host->runReady();
  EXPECT_FALSE(isHeard(0));
  EXPECT_FALSE(isItsEndHeard(0));
  EXPECT_EQ(tool(0).terminations, 1);
}

TEST_F(CaptureDetachment, ToolThatEndedIsNotHeard) {
  start();
  tool(0).runs = false;
  tool(0).handler(0);
  host->runReady();
  EXPECT_FALSE(isHeard(0));
}

TEST_F(CaptureDetachment, ToolOfAServiceThatIsLetGoOfIsNotHeard) {
  start();
  service.reset();
  EXPECT_FALSE(isHeard(0));
  EXPECT_FALSE(isItsEndHeard(0));
  EXPECT_EQ(tool(0).terminations, 1);
}

TEST_F(CaptureDetachment, ToolThatEndedUnnoticedIsNotHeardBesideTheNext) {
  start();
  tool(0).runs = false;
  start();
  EXPECT_FALSE(isHeard(0));
  EXPECT_FALSE(isItsEndHeard(0));
  EXPECT_EQ(tool(0).terminations, 0);
  EXPECT_TRUE(isHeard(1));
  EXPECT_TRUE(isItsEndHeard(1));
}

}  // namespace
}  // namespace tessline::test
