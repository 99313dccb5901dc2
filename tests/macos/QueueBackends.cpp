#include "tests/macos/QueueBackends.h"

#include "tessline/platform/macos/CoreFoundationRunLoop.h"
#include "tessline/platform/macos/DispatchQueue.h"
#include "tests/support/PlatformDecorator.h"

#include <chrono>
#include <string_view>
#include <thread>
#include <vector>

#include <standin/corefoundation.h>
#include <standin/dispatch.h>

namespace tessline::test {
namespace {

class QueuePlatform : public PlatformDecorator {
 public:
  QueuePlatform() : PlatformDecorator(nullptr) {}

  std::shared_ptr<platform::SerialQueue> makeSerialQueue(
      std::string_view label, platform::QualityOfService quality) override {
    return platform::makeDispatchQueue(label, quality);
  }
  std::shared_ptr<platform::MainRunLoop> mainRunLoop() override { return loop_; }

 private:
  const std::shared_ptr<platform::MainRunLoop> loop_ = platform::makeCoreFoundationRunLoop();
};

std::size_t liveObjectsAtRest() {
  // What earlier tests handed over may still be on its way out.
  standin::dispatch::waitUntilIdle();
  return standin::dispatch::liveObjects();
}

}  // namespace

DispatchBackend::DispatchBackend(QueueClock clock)
    : clock_(clock),
      objectsBefore_(liveObjectsAtRest()),
      runLoopObjectsBefore_(standin::liveCFObjects()),
      platform_(std::make_shared<QueuePlatform>()) {
  standin::dispatch::useManualClock(clock == QueueClock::test);
}

DispatchBackend::~DispatchBackend() {
  EXPECT_TRUE(waitUntil([] { return standin::dispatch::waitingTimers() == 0; }));
  standin::dispatch::waitUntilIdle();
  EXPECT_EQ(liveObjects(), 0U);
  platform_.reset();
  EXPECT_EQ(standin::liveCFObjects(), runLoopObjectsBefore_);
  standin::dispatch::useManualClock(false);
}

bool DispatchBackend::waitUntil(const std::function<bool()>& isDone) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  standin::dispatch::waitUntilIdle();
  while (!isDone()) {
    if (clock_ == QueueClock::test && !standin::dispatch::advanceToNextTimer()) return isDone();
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::yield();
  }
  return true;
}

std::size_t DispatchBackend::liveObjects() const {
  return standin::dispatch::liveObjects() - objectsBefore_;
}

std::vector<QueueBackendChoice> queueBackends() {
  return {{"Dispatch", [] { return std::make_unique<DispatchBackend>(QueueClock::host); }},
          {"DispatchAtRest", [] { return std::make_unique<DispatchBackend>(QueueClock::test); }}};
}

}  // namespace tessline::test
