#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/platform/SerialQueueContract.h"
#include "tests/support/VirtualWaiting.h"

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <vector>

namespace tessline::test {
namespace {

class VirtualQueueBackend : public QueueBackend {
 public:
  std::shared_ptr<platform::Platform> platform() override { return host_; }
  bool waitUntil(const std::function<bool()>& isDone) override { return runUntil(*host_, isDone); }

 private:
  std::shared_ptr<platform::simulated::SimulatedHost> host_ =
      platform::simulated::SimulatedHost::create();
};

class HostQueueBackend : public QueueBackend {
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

}  // namespace

std::vector<QueueBackendChoice> queueBackends() {
  return {{"Virtual", [] { return std::make_unique<VirtualQueueBackend>(); }},
          {"Host", [] { return std::make_unique<HostQueueBackend>(); }}};
}

}  // namespace tessline::test
