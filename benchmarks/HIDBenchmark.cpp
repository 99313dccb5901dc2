// What a HID report costs from the device's buffer to the application's callback. "allocations" is
// per report.
#include "benchmarks/AllocationCounter.h"
#include "tessline/hid/ConnectedRemoteHIDService.h"
#include "tessline/platform/simulated/SimulatedHost.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using tessline::benchmarks::allocationCount;
using Report = std::vector<std::uint8_t>;

// A service that listens to one device and counts what it is called with.
class ListeningService {
 public:
  ListeningService() {
    service_->onRawPayload = [this](const Report& payload) { bytes_ += payload.size(); };
    service_->onTransportEvents = [this](const std::vector<tessline::TesslineEvent>& events) {
      events_ += events.size();
    };
    service_->startListening();
    host_->runReady();
  }

  void deliver(const Report& report) { device_->deliver(0, report); }
  std::size_t seen() const { return bytes_ + events_; }

 private:
  std::shared_ptr<tessline::platform::simulated::SimulatedHost> host_ =
      tessline::platform::simulated::SimulatedHost::create();
  std::shared_ptr<tessline::platform::simulated::SimulatedHIDDevice> device_ =
      host_->hid().connect({{"Product", std::string("Siri Remote")},
                            {"VendorID", std::int64_t{76}},
                            {"ProductID", std::int64_t{789}}});
  std::size_t bytes_ = 0;
  std::size_t events_ = 0;
  std::shared_ptr<tessline::ConnectedRemoteHIDService> service_ =
      tessline::ConnectedRemoteHIDService::create(std::nullopt, host_);
};

void deliverInTurn(benchmark::State& state, const std::array<Report, 2>& reports) {
  ListeningService service;
  for (const Report& report : reports) service.deliver(report);
  const std::uint64_t before = allocationCount();
  std::size_t next = 0;
  for (auto _ : state) {
    service.deliver(reports[next]);
    next = 1 - next;
  }
  benchmark::DoNotOptimize(service.seen());
  state.counters["allocations"] = benchmark::Counter(
      static_cast<double>(allocationCount() - before), benchmark::Counter::kAvgIterations);
}

void BM_ReportWithoutEvent(benchmark::State& state) {
  deliverInTurn(state,
                {Report{0x20, 1, 2, 3, 4, 5, 6, 7, 8}, Report{0x20, 8, 7, 6, 5, 4, 3, 2, 1}});
}
BENCHMARK(BM_ReportWithoutEvent);

void BM_ReportWithButtonEvent(benchmark::State& state) {
  deliverInTurn(state, {Report{0xFB, 0x08, 0x00}, Report{0xFB, 0x00, 0x00}});
}
BENCHMARK(BM_ReportWithButtonEvent);

}  // namespace
