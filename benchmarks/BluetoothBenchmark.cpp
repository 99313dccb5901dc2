// What a Bluetooth notification costs from the host's delegate call to the application's callback,
// beside the parser alone on the same bytes ("ratio"), and what a thousand remotes cost that
// advertise a hundred times a second each, all of them accepted. "allocations" is per notification
// or advertisement, "bytes_per_device" what a known remote keeps, "publications" the snapshots in
// one second of virtual time.
#include "benchmarks/AllocationCounter.h"
#include "tessline/bluetooth/BluetoothRemoteDiscoveryService.h"
#include "tessline/bluetooth/SiriRemoteBluetoothUUIDs.h"
#include "tessline/events/SiriRemoteReportParser.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/support/PlatformDecorator.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace tessline;
using benchmarks::allocatedBytes;
using benchmarks::allocationCount;
using platform::simulated::SimulatedHost;
using Bytes = std::vector<std::uint8_t>;
using UUIDs = SiriRemoteBluetoothUUIDs;
using Clock = std::chrono::steady_clock;

class Report : public platform::BluetoothCharacteristic {
 public:
  const BluetoothUUID& uuid() const override { return UUIDs::hidReport; }
  platform::BluetoothProperties properties() const override {
    return {platform::BluetoothProperties::notify | platform::BluetoothProperties::write};
  }
  std::optional<std::span<const std::uint8_t>> value() const override { return bytes; }

  std::span<const std::uint8_t> bytes;
};

class ReportService : public platform::BluetoothService {
 public:
  const BluetoothUUID& uuid() const override { return UUIDs::hidService; }
  std::vector<std::shared_ptr<platform::BluetoothCharacteristic>> characteristics() const override {
    return {report};
  }

  const std::shared_ptr<Report> report = std::make_shared<Report>();
};

// Does what it is asked without doing it.
class Peripheral : public platform::BluetoothPeripheral {
 public:
  Peripheral(std::uint32_t number, std::string name) : name_(std::move(name)) {
    identifier_.bytes = {static_cast<std::uint8_t>(number),
                         static_cast<std::uint8_t>(number >> 8U)};
  }

  UUID identifier() const override { return identifier_; }
  std::optional<std::string> name() const override { return name_; }
  platform::BluetoothPeripheralState state() const override {
    return platform::BluetoothPeripheralState::disconnected;
  }
  std::vector<std::shared_ptr<platform::BluetoothService>> services() const override {
    return {service};
  }
  void setDelegate(std::weak_ptr<platform::BluetoothPeripheralDelegate> told) override {
    delegate = std::move(told);
  }
  void discoverServices(std::span<const BluetoothUUID>) override {}
  void discoverCharacteristics(std::span<const BluetoothUUID>,
                               const std::shared_ptr<platform::BluetoothService>&) override {}
  void readValue(const std::shared_ptr<platform::BluetoothCharacteristic>&) override {}
  void writeValue(std::span<const std::uint8_t>,
                  const std::shared_ptr<platform::BluetoothCharacteristic>&,
                  platform::BluetoothWriteType) override {}
  void setNotifyValue(bool, const std::shared_ptr<platform::BluetoothCharacteristic>&) override {}

  const std::shared_ptr<ReportService> service = std::make_shared<ReportService>();
  std::weak_ptr<platform::BluetoothPeripheralDelegate> delegate;

 private:
  UUID identifier_;
  std::string name_;
};

// Powered on; goes on hearing whatever it is told to.
class Central : public platform::BluetoothCentral {
 public:
  platform::BluetoothState state() const override { return platform::BluetoothState::poweredOn; }
  std::vector<std::shared_ptr<platform::BluetoothPeripheral>> retrieveConnectedPeripherals(
      std::span<const BluetoothUUID>) override {
    return {};
  }
  void scanForPeripherals(const platform::BluetoothScanOptions&) override {}
  void stopScan() override {}
  void connect(const std::shared_ptr<platform::BluetoothPeripheral>&) override {}
  void cancelPeripheralConnection(const std::shared_ptr<platform::BluetoothPeripheral>&) override {}
};

class Host : public test::PlatformDecorator {
 public:
  explicit Host(std::shared_ptr<SimulatedHost> inner) : PlatformDecorator(std::move(inner)) {}

  std::shared_ptr<platform::BluetoothCentral> makeBluetoothCentral(
      std::weak_ptr<platform::BluetoothCentralDelegate> told,
      std::shared_ptr<platform::SerialQueue> where) override {
    delegate = std::move(told);
    queue = std::move(where);
    return std::make_shared<Central>();
  }

  std::weak_ptr<platform::BluetoothCentralDelegate> delegate;
  std::shared_ptr<platform::SerialQueue> queue;
};

// A service whose central exists.
struct ScanningService {
  ScanningService() {
    service->onSnapshotChanged = [this](const BluetoothRemoteDiscoverySnapshot& snapshot) {
      ++publications;
      devices = snapshot.devices.size();
    };
    service->onRawPayload = [this](const Bytes& payload) { seen += payload.size(); };
    service->onTransportEvents = [this](const std::vector<TesslineEvent>& events) {
      seen += events.size();
    };
    service->startScanning();
    host->runReady();
  }

  // Runs `work` as a piece of the service's queue.
  template <class Work>
  void onQueue(Work work) {
    platform->queue->async(std::move(work));
    host->runReady();
  }

  std::shared_ptr<SimulatedHost> host = SimulatedHost::create();
  std::shared_ptr<Host> platform = std::make_shared<Host>(host);
  std::size_t publications = 0;
  std::size_t devices = 0;
  std::size_t seen = 0;
  std::shared_ptr<BluetoothRemoteDiscoveryService> service =
      BluetoothRemoteDiscoveryService::create(platform);
};

void notifyInTurn(benchmark::State& state, const std::array<Bytes, 2>& values) {
  ScanningService scanning;
  const auto peripheral = std::make_shared<Peripheral>(1, "Siri Remote");
  const auto report = peripheral->service->report;
  scanning.onQueue([&] {
    scanning.platform->delegate.lock()->didConnect(peripheral);
    const auto delegate = peripheral->delegate.lock();
    delegate->didDiscoverCharacteristicsFor(peripheral, peripheral->service, nullptr);
    const auto notify = [&](std::size_t which) {
      report->bytes = values[which];
      delegate->didUpdateValueFor(peripheral, report, nullptr);
    };
    notify(0);
    notify(1);
    const std::uint64_t before = allocationCount();
    std::size_t next = 0;
    for (auto _ : state) {
      notify(next);
      next = 1 - next;
    }
    state.counters["allocations"] = benchmark::Counter(
        static_cast<double>(allocationCount() - before), benchmark::Counter::kAvgIterations);

    // The peer, as long again, and both once more in turn.
    SiriRemoteReportParser parser;
    std::vector<TesslineEvent> events;
    constexpr std::size_t rounds = 1'000'000;
    const auto timed = [](auto work) {
      const auto start = Clock::now();
      for (std::size_t round = 0; round < rounds; ++round) work(round % 2);
      return std::chrono::duration<double>(Clock::now() - start).count();
    };
    const double ours = timed(notify);
    const double peer = timed([&](std::size_t which) {
      events.clear();
      parser.ingestPayload(values[which], events);
      benchmark::DoNotOptimize(events.data());
    });
    state.counters["ratio"] = ours / peer;
  });
  benchmark::DoNotOptimize(scanning.seen);
}

void BM_BluetoothNotificationWithoutEvent(benchmark::State& state) {
  notifyInTurn(state, {Bytes{0x20, 1, 2, 3, 4, 5, 6, 7, 8}, Bytes{0x20, 8, 7, 6, 5, 4, 3, 2, 1}});
}
BENCHMARK(BM_BluetoothNotificationWithoutEvent);

void BM_BluetoothNotificationWithButtonEvent(benchmark::State& state) {
  notifyInTurn(state, {Bytes{0x08, 0x00}, Bytes{0x00, 0x00}});
}
BENCHMARK(BM_BluetoothNotificationWithButtonEvent);

// One iteration is a second of virtual time.
void BM_BluetoothThousandAdvertisers(benchmark::State& state) {
  constexpr std::uint32_t count = 1000;
  constexpr std::uint32_t perSecond = 100;
  ScanningService scanning;
  std::vector<std::shared_ptr<Peripheral>> peripherals;
  for (std::uint32_t number = 0; number < count; ++number) {
    peripherals.push_back(
        std::make_shared<Peripheral>(number, "Siri Remote " + std::to_string(number)));
  }
  const platform::BluetoothAdvertisement advertisement{
      .localName = std::nullopt, .serviceUUIDs = {UUIDs::batteryService, UUIDs::hidService}};
  const auto advertiseAll = [&] {
    const auto delegate = scanning.platform->delegate.lock();
    std::int64_t number = 0;
    for (const auto& peripheral : peripherals) {
      delegate->didDiscover(peripheral, advertisement, -40 - number++ % 60);
    }
  };
  const std::int64_t bytesBefore = allocatedBytes();
  scanning.onQueue(advertiseAll);
  const double bytes = static_cast<double>(allocatedBytes() - bytesBefore) / count;
  scanning.host->advance(std::chrono::seconds(2));

  const std::size_t publishedBefore = scanning.publications;
  const std::uint64_t before = allocationCount();
  for (auto _ : state) {
    for (std::uint32_t round = 0; round < perSecond; ++round) {
      scanning.onQueue(advertiseAll);
      scanning.host->advance(std::chrono::milliseconds(10));
    }
  }
  if (scanning.devices != count) state.SkipWithError("not every remote is known");
  const double advertisements = static_cast<double>(state.iterations()) * count * perSecond;
  state.counters["advertisement_s"] =
      benchmark::Counter(advertisements, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["allocations"] = static_cast<double>(allocationCount() - before) / advertisements;
  state.counters["bytes_per_device"] = bytes;
  state.counters["publications"] =
      benchmark::Counter(static_cast<double>(scanning.publications - publishedBefore),
                         benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_BluetoothThousandAdvertisers)->Unit(benchmark::kMillisecond);

}  // namespace
