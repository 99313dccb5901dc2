#include "tests/platform/BluetoothContract.h"

#include "tests/support/Bytes.h"

#include <atomic>
#include <cstdlib>

namespace tessline::test {

namespace {

std::string nameOf(const FoundPeripheral& peripheral) {
  return peripheral->name().value_or("(unnamed)");
}

std::string reason(const TesslineError* error) {
  return error == nullptr ? "" : ": " + error->localizedDescription();
}

}  // namespace

BluetoothNotes BluetoothJournal::take() {
  const std::lock_guard lock(mutex_);
  return std::exchange(notes_, {});
}

std::size_t BluetoothJournal::size() const {
  const std::lock_guard lock(mutex_);
  return notes_.size();
}

void BluetoothJournal::runUninterrupted(const std::function<void()>& work) {
  EXPECT_TRUE(queue_->isCurrent());
  EXPECT_FALSE(isBusy_);
  isBusy_ = true;
  work();
  isBusy_ = false;
}

void BluetoothJournal::note(const std::string& line) {
  EXPECT_TRUE(queue_->isCurrent()) << line;
  EXPECT_FALSE(isBusy_) << line << " came within an operation or another call";
  isBusy_ = true;
  {
    const std::lock_guard lock(mutex_);
    notes_.push_back(line);
  }
  // It may replace itself.
  const auto during = duringCall;
  if (during) during(line);
  isBusy_ = false;
}

void BluetoothJournal::centralManagerDidUpdateState() {
  note("state");
}

void BluetoothJournal::didDiscover(const FoundPeripheral& peripheral,
                                   const platform::BluetoothAdvertisement& advertisement,
                                   std::int64_t rssi) {
  found[nameOf(peripheral)] = peripheral;
  lastAdvertisement = advertisement;
  lastRSSI = rssi;
  note("heard " + nameOf(peripheral));
}

void BluetoothJournal::didConnect(const FoundPeripheral& peripheral) {
  lastPeripheral = peripheral;
  note("connected " + nameOf(peripheral));
}

void BluetoothJournal::didFailToConnect(const FoundPeripheral& peripheral,
                                        const TesslineError* error) {
  lastPeripheral = peripheral;
  note("failed " + nameOf(peripheral) + reason(error));
}

void BluetoothJournal::didDisconnectPeripheral(const FoundPeripheral& peripheral,
                                               const TesslineError* error) {
  lastPeripheral = peripheral;
  note("ended " + nameOf(peripheral) + reason(error));
}

void BluetoothJournal::didDiscoverServices(const FoundPeripheral& peripheral,
                                           const TesslineError* error) {
  lastPeripheral = peripheral;
  note("services " + nameOf(peripheral) + reason(error));
}

void BluetoothJournal::didDiscoverCharacteristicsFor(const FoundPeripheral& peripheral,
                                                     const FoundService& service,
                                                     const TesslineError* error) {
  lastPeripheral = peripheral;
  lastService = service;
  note("characteristics " + nameOf(peripheral) + " " + service->uuid().text() + reason(error));
}

void BluetoothJournal::didUpdateValueFor(const FoundPeripheral& peripheral,
                                         const FoundCharacteristic& characteristic,
                                         const TesslineError* error) {
  lastPeripheral = peripheral;
  lastCharacteristic = characteristic;
  const std::string about = nameOf(peripheral) + " " + characteristic->uuid().text();
  if (error != nullptr) return note("no value " + about);
  const auto value = characteristic->value();
  EXPECT_TRUE(value.has_value()) << about;
  note("value " + about + ": " + (value ? hexText(*value) : "none"));
}

void BluetoothContract::TearDown() {
  central.reset();
  backend->settle();
}

std::vector<BluetoothUUID> BluetoothContract::uuids(const std::vector<std::string>& texts) {
  std::vector<BluetoothUUID> result;
  for (const std::string& text : texts) result.push_back(uuid(text));
  return result;
}

std::string BluetoothContract::text(std::optional<std::span<const std::uint8_t>> value) {
  return value ? hexText(*value) : "none";
}

void BluetoothContract::perform(const std::function<void()>& work) {
  const auto isDone = std::make_shared<std::atomic<bool>>(false);
  queue->async([this, &work, isDone] {
    journal->runUninterrupted(work);
    *isDone = true;
  });
  if (backend->waitUntil([isDone] { return isDone->load(); })) return;
  // It may still come, and would find nothing of what it is about.
  ADD_FAILURE() << "what was handed to the queue does not run";
  std::abort();
}

void BluetoothContract::expectNotes(const BluetoothNotes& expected, std::string_view about) {
  backend->waitUntil([&] { return journal->size() >= expected.size(); });
  backend->settle();
  EXPECT_EQ(journal->take(), expected) << about;
}

void BluetoothContract::forgetNotes() {
  backend->settle();
  journal->take();
}

std::shared_ptr<platform::BluetoothCentral> BluetoothContract::makeCentral(
    const std::shared_ptr<BluetoothJournal>& delegate) {
  return ask([&] { return backend->platform()->makeBluetoothCentral(delegate, queue); });
}

void BluetoothContract::start() {
  central = makeCentral(journal);
  expectNotes({"state"});
}

void BluetoothContract::scan(bool allowDuplicates) {
  perform([&] { central->scanForPeripherals({.allowDuplicates = allowDuplicates}); });
}

void BluetoothContract::stopScan() {
  perform([&] { central->stopScan(); });
}

FoundPeripheral BluetoothContract::found(const std::string& name) {
  return ask([&] { return journal->found[name]; });
}

void BluetoothContract::connect(const std::string& name) {
  perform([&] { central->connect(journal->found.at(name)); });
}

void BluetoothContract::cancel(const std::string& name) {
  perform([&] { central->cancelPeripheralConnection(journal->found.at(name)); });
}

BluetoothContract::State BluetoothContract::stateOf(const std::string& name) {
  return ask([&] { return journal->found.at(name)->state(); });
}

std::vector<FoundPeripheral> BluetoothContract::retrieve(const std::vector<std::string>& services) {
  return ask([&] { return central->retrieveConnectedPeripherals(uuids(services)); });
}

std::vector<std::string> BluetoothContract::namesRetrieved(
    const std::vector<std::string>& services) {
  std::vector<std::string> names;
  for (const auto& peripheral : retrieve(services)) names.push_back(nameOf(peripheral));
  return names;
}

std::size_t BluetoothContract::makeFound(const ExistingPeripheral& peripheral) {
  if (!central) start();
  const std::size_t made = make(peripheral);
  scan();
  advertise(made);
  expectNotes({"heard " + peripheral.name.value_or("(unnamed)")});
  return made;
}

std::size_t BluetoothContract::makeConnected(const ExistingPeripheral& peripheral) {
  const std::size_t made = makeFound(peripheral);
  const std::string name = peripheral.name.value_or("(unnamed)");
  perform([&] { journal->found.at(name)->setDelegate(journal); });
  connect(name);
  expectNotes({"connected " + name});
  return made;
}

void BluetoothContract::reconnect(std::size_t peripheral, const std::string& name) {
  backend->drop(peripheral, std::nullopt);
  expectNotes({"ended " + name});
  connect(name);
  expectNotes({"connected " + name});
}

void BluetoothContract::discoverServices(const std::string& name,
                                         const std::vector<std::string>& services) {
  perform([&] { journal->found.at(name)->discoverServices(uuids(services)); });
  expectNotes({"services " + name});
}

void BluetoothContract::discoverCharacteristics(const FoundService& service,
                                                const std::vector<std::string>& characteristics,
                                                const std::string& name) {
  perform(
      [&] { journal->found.at(name)->discoverCharacteristics(uuids(characteristics), service); });
  expectNotes({"characteristics " + name + " " + service->uuid().text()});
}

void BluetoothContract::discoverAll(const std::string& name, const ExistingPeripheral& offered) {
  std::vector<std::string> wanted;
  for (const auto& service : offered.services) wanted.push_back(service.uuid);
  discoverServices(name, wanted);
  const auto discovered = services(name);
  ASSERT_EQ(discovered.size(), offered.services.size());
  for (std::size_t index = 0; index < discovered.size(); ++index) {
    wanted.clear();
    for (const auto& each : offered.services[index].characteristics) wanted.push_back(each.uuid);
    discoverCharacteristics(discovered[index], wanted, name);
  }
}

std::vector<FoundService> BluetoothContract::services(const std::string& name) {
  return ask([&] { return journal->found.at(name)->services(); });
}

FoundCharacteristic BluetoothContract::characteristic(const std::string& name,
                                                      CharacteristicPlace place) {
  return ask([&] {
    return journal->found.at(name)->services().at(place.first)->characteristics().at(place.second);
  });
}

void BluetoothContract::read(const std::string& name, CharacteristicPlace place) {
  const auto wanted = characteristic(name, place);
  perform([&] { journal->found.at(name)->readValue(wanted); });
}

void BluetoothContract::setNotify(const std::string& name, CharacteristicPlace place,
                                  bool enabled) {
  const auto wanted = characteristic(name, place);
  perform([&] { journal->found.at(name)->setNotifyValue(enabled, wanted); });
}

}  // namespace tessline::test
