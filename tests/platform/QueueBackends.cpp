#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/platform/SerialQueueContract.h"
#include "tests/support/HostWaiting.h"
#include "tests/support/VirtualWaiting.h"

#include <chrono>
#include <functional>
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
    return waitOnHost(isDone, std::chrono::seconds(20));
  }
};

}  // namespace

std::vector<QueueBackendChoice> queueBackends() {
  return {{"Virtual", [] { return std::make_unique<VirtualQueueBackend>(); }},
          {"Host", [] { return std::make_unique<HostQueueBackend>(); }}};
}

}  // namespace tessline::test
