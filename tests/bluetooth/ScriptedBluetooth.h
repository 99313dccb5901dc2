/// @file
/// A Bluetooth host without any rules, for what a well-behaved one never does.
#pragma once

#include "tests/bluetooth/BluetoothFixture.h"

#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace tessline::test {

using platform::BluetoothCentralDelegate;
using platform::BluetoothPeripheralDelegate;

struct ScriptedCharacteristic : platform::BluetoothCharacteristic {
  ScriptedCharacteristic(std::string_view text, std::uint32_t bits)
      : id(test::uuid(text)), propertyBits(bits) {}

  const BluetoothUUID& uuid() const override { return id; }
  platform::BluetoothProperties properties() const override { return {propertyBits}; }
  std::optional<std::span<const std::uint8_t>> value() const override {
    if (!current) return std::nullopt;
    return std::span<const std::uint8_t>(*current);
  }

  const BluetoothUUID id;
  std::uint32_t propertyBits;
  std::optional<std::vector<std::uint8_t>> current;
};

struct ScriptedService : platform::BluetoothService {
  ScriptedService(std::string_view text,
                  std::vector<std::shared_ptr<platform::BluetoothCharacteristic>> characteristics)
      : id(test::uuid(text)), all(std::move(characteristics)) {}

  const BluetoothUUID& uuid() const override { return id; }
  std::vector<std::shared_ptr<platform::BluetoothCharacteristic>> characteristics() const override {
    return all;
  }

  const BluetoothUUID id;
  std::vector<std::shared_ptr<platform::BluetoothCharacteristic>> all;
};

struct ScriptedPeripheral : platform::BluetoothPeripheral {
  ScriptedPeripheral(std::uint8_t number, std::optional<std::string> name, Lines& calls)
      : id(test::identifier(number)), names{std::move(name)}, journal(calls) {}

  UUID identifier() const override { return id; }
  std::optional<std::string> name() const override {
    const auto next = names.front();
    if (names.size() > 1) names.pop_front();
    return next;
  }
  platform::BluetoothPeripheralState state() const override { return current; }
  std::vector<std::shared_ptr<platform::BluetoothService>> services() const override {
    return offered;
  }
  void setDelegate(std::weak_ptr<BluetoothPeripheralDelegate> told) override { delegate = told; }
  void discoverServices(std::span<const BluetoothUUID>) override {}
  void discoverCharacteristics(std::span<const BluetoothUUID> wanted,
                               const std::shared_ptr<platform::BluetoothService>& in) override {
    std::string line = "discoverCharacteristics of " + in->uuid().text() + ":";
    for (const BluetoothUUID& each : wanted) line += " " + each.text();
    journal.push_back(line);
  }
  void readValue(const std::shared_ptr<platform::BluetoothCharacteristic>& from) override {
    journal.push_back("read " + from->uuid().text());
  }
  void writeValue(std::span<const std::uint8_t> value,
                  const std::shared_ptr<platform::BluetoothCharacteristic>& to,
                  platform::BluetoothWriteType type) override {
    const bool isAnswered = type == platform::BluetoothWriteType::withResponse;
    journal.push_back("write " + to->uuid().text() + " " + hexText(value) +
                      (isAnswered ? " with response" : " without response"));
  }
  void setNotifyValue(bool enabled,
                      const std::shared_ptr<platform::BluetoothCharacteristic>& of) override {
    journal.push_back((enabled ? "notify " : "do not notify ") + of->uuid().text());
  }

  const UUID id;
  /// What it is called at the next readings; the last one stays.
  mutable std::deque<std::optional<std::string>> names;
  platform::BluetoothPeripheralState current = platform::BluetoothPeripheralState::disconnected;
  std::vector<std::shared_ptr<platform::BluetoothService>> offered;
  std::weak_ptr<BluetoothPeripheralDelegate> delegate;
  Lines& journal;
};

struct ScriptedCentral : platform::BluetoothCentral {
  explicit ScriptedCentral(Lines& calls) : journal(calls) {}

  BluetoothState state() const override { return current; }
  std::vector<std::shared_ptr<platform::BluetoothPeripheral>> retrieveConnectedPeripherals(
      std::span<const BluetoothUUID>) override {
    return retrieved;
  }
  void scanForPeripherals(const platform::BluetoothScanOptions&) override {
    journal.push_back("scan");
  }
  void stopScan() override { journal.push_back("stopScan"); }
  void connect(const std::shared_ptr<platform::BluetoothPeripheral>& to) override {
    journal.push_back("connect " + std::to_string(to->identifier().bytes.back()));
  }
  void cancelPeripheralConnection(
      const std::shared_ptr<platform::BluetoothPeripheral>& of) override {
    journal.push_back("cancel " + std::to_string(of->identifier().bytes.back()));
  }

  BluetoothState current = BluetoothState::poweredOn;
  std::vector<std::shared_ptr<platform::BluetoothPeripheral>> retrieved;
  Lines& journal;
};

class ScriptedHost : public QueueWatch {
 public:
  ScriptedHost(std::shared_ptr<platform::Platform> inner, Lines& calls)
      : QueueWatch(std::move(inner)), central(std::make_shared<ScriptedCentral>(calls)) {}

  std::shared_ptr<platform::BluetoothCentral> makeBluetoothCentral(
      std::weak_ptr<BluetoothCentralDelegate> told,
      std::shared_ptr<platform::SerialQueue>) override {
    delegate = std::move(told);
    return central;
  }

  std::shared_ptr<ScriptedCentral> central;
  std::weak_ptr<BluetoothCentralDelegate> delegate;
};

/// The service on such a host. It has a central, which has told nothing yet.
class ScriptedBluetoothTest : public BluetoothServiceTest {
 protected:
  ScriptedBluetoothTest() : scripted(std::make_shared<ScriptedHost>(host, journal)) {
    makeService(scripted);
    startScanning();
    forgetWhatHappened();
  }

  std::shared_ptr<ScriptedPeripheral> peripheral(std::optional<std::string> name = "Siri Remote") {
    return std::make_shared<ScriptedPeripheral>(++added, std::move(name), journal);
  }
  /// Calls the delegate of the central on the queue.
  template <class Call>
  void tell(Call call) {
    watch->queue->async([this, call = std::move(call)] {
      if (const auto delegate = scripted->delegate.lock()) call(*delegate);
    });
    host->runReady();
  }
  /// Calls the delegate of a peripheral on the queue.
  template <class Call>
  void answer(const std::shared_ptr<ScriptedPeripheral>& from, Call call) {
    watch->queue->async([from, call = std::move(call)] {
      if (const auto delegate = from->delegate.lock()) call(*delegate);
    });
    host->runReady();
  }
  void tellState() {
    tell([](auto& delegate) { delegate.centralManagerDidUpdateState(); });
  }
  void tellState(BluetoothState state) {
    scripted->central->current = state;
    tellState();
  }
  void hear(const std::shared_ptr<ScriptedPeripheral>& from, std::int64_t rssi = -60,
            const BluetoothAdvertisement& advertisement = {}) {
    tell([=](auto& delegate) { delegate.didDiscover(from, advertisement, rssi); });
  }
  void connect(const std::shared_ptr<ScriptedPeripheral>& to) {
    tell([=](auto& delegate) { delegate.didConnect(to); });
  }
  void disconnect(const std::shared_ptr<ScriptedPeripheral>& from) {
    tell([=](auto& delegate) { delegate.didDisconnectPeripheral(from, nullptr); });
  }
  /// The service is told of the characteristics of a HID service of that peripheral.
  void discover(const std::shared_ptr<ScriptedPeripheral>& in,
                std::vector<std::shared_ptr<platform::BluetoothCharacteristic>> characteristics) {
    const auto found = std::make_shared<ScriptedService>("1812", std::move(characteristics));
    answer(in, [=](auto& delegate) { delegate.didDiscoverCharacteristicsFor(in, found, nullptr); });
  }
  /// The service is told of a value of that characteristic; of none if it has none.
  void update(const std::shared_ptr<ScriptedPeripheral>& of,
              const std::shared_ptr<ScriptedCharacteristic>& characteristic) {
    answer(of, [=](auto& delegate) { delegate.didUpdateValueFor(of, characteristic, nullptr); });
  }
  void forgetWhatHappened() {
    journal.clear();
    snapshots.clear();
    times.clear();
  }

  const std::shared_ptr<ScriptedHost> scripted;
};

}  // namespace tessline::test
