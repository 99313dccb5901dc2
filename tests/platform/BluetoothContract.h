/// @file
/// What every backend's Bluetooth central and its peripherals are tested through.
#pragma once

#include "tessline/platform/Platform.h"
#include "tests/platform/BackendName.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

/// A characteristic that a peripheral offers.
struct OfferedCharacteristic {
  std::string uuid;
  std::uint32_t properties = 0;
  std::optional<std::vector<std::uint8_t>> value =
      std::nullopt;  ///< It cannot be read without one.
};

/// A service that a peripheral offers.
struct OfferedService {
  std::string uuid;
  std::vector<OfferedCharacteristic> characteristics = {};
};

/// A peripheral, whether the host has heard of it or not.
struct ExistingPeripheral {
  std::optional<std::string> name = std::nullopt;  ///< What the host remembers.
  std::vector<OfferedService> services = {};
  bool isReachable = true;           ///< Whether it answers who wants to connect.
  bool isConnectedToSystem = false;  ///< Whether the host has it connected for somebody else.
};

/// A characteristic by the service's place and its own, from 0.
using CharacteristicPlace = std::pair<std::size_t, std::size_t>;

/// A backend whose outside can be scripted. What a verb does has happened when it returns; what the
/// central makes of it comes later. Peripherals are counted from 0. Verbs may be called on the
/// central's queue too, except those that wait.
class BluetoothBackend {
 public:
  virtual ~BluetoothBackend() = default;

  virtual std::shared_ptr<platform::Platform> platform() = 0;
  /// Lets time pass, and work run, until `isDone`; false if that does not happen.
  virtual bool waitUntil(const std::function<bool()>& isDone) = 0;
  /// Waits until everything that verbs and operations lead to has happened.
  virtual void settle() = 0;

  /// The states that it can be brought into, beside `poweredOn`, in which it starts.
  virtual std::vector<platform::BluetoothState> otherStates() = 0;
  virtual void setState(platform::BluetoothState state) = 0;

  /// Behind those that there are.
  virtual std::size_t makePeripheral(const ExistingPeripheral& peripheral) = 0;
  virtual void advertise(std::size_t peripheral,
                         const platform::BluetoothAdvertisement& advertisement,
                         std::int64_t rssi) = 0;
  virtual void setReachable(std::size_t peripheral, bool isReachable) = 0;
  virtual void setConnectedToSystem(std::size_t peripheral, bool isConnected) = 0;
  /// What attempts to connect end in from now on; they succeed without it.
  virtual void setConnectError(std::size_t peripheral, std::optional<std::string> error) = 0;
  /// What looking for services ends in.
  virtual void setServicesError(std::size_t peripheral, std::optional<std::string> error) = 0;
  /// What looking for a service's characteristics ends in, from the next connection on.
  virtual void setCharacteristicsError(std::size_t peripheral, std::size_t service,
                                       std::optional<std::string> error) = 0;
  /// Breaks its connection.
  virtual void drop(std::size_t peripheral, std::optional<std::string> error) = 0;
  /// It has a new value, and tells of it if it was asked to.
  virtual void notify(std::size_t peripheral, CharacteristicPlace place,
                      std::vector<std::uint8_t> value) = 0;
  /// What was written in the connection at hand, in order.
  virtual std::vector<std::vector<std::uint8_t>> written(std::size_t peripheral,
                                                         CharacteristicPlace place) = 0;
};

/// One backend by name.
struct BluetoothBackendChoice {
  std::string name;
  std::function<std::unique_ptr<BluetoothBackend>()> make;
};

/// The backends that this program's tests run on.
std::vector<BluetoothBackendChoice> bluetoothBackends();

using BluetoothNotes = std::vector<std::string>;
using FoundPeripheral = std::shared_ptr<platform::BluetoothPeripheral>;
using FoundService = std::shared_ptr<platform::BluetoothService>;
using FoundCharacteristic = std::shared_ptr<platform::BluetoothCharacteristic>;

/// A delegate of a central and of its peripherals that notes all calls, as lines such as
/// "connected lamp" or "value lamp 2A19: 64". Expects each of them on the queue, and none within an
/// operation or another call.
class BluetoothJournal : public platform::BluetoothCentralDelegate,
                         public platform::BluetoothPeripheralDelegate {
 public:
  explicit BluetoothJournal(std::shared_ptr<platform::SerialQueue> queue)
      : queue_(std::move(queue)) {}

  /// What was noted since the last time. Any thread.
  BluetoothNotes take();
  std::size_t size() const;
  /// Runs `work` as what must not be interrupted. On the queue.
  void runUninterrupted(const std::function<void()>& work);

  // All that follows belongs to the queue.

  /// Runs within each call, behind its note.
  std::function<void(const std::string& note)> duringCall;
  /// The peripherals that were heard, by name. Those that are kept here live.
  std::map<std::string, FoundPeripheral> found;
  platform::BluetoothAdvertisement lastAdvertisement;
  std::int64_t lastRSSI = 0;
  /// What the last calls were about.
  FoundPeripheral lastPeripheral;
  FoundService lastService;
  FoundCharacteristic lastCharacteristic;

  void centralManagerDidUpdateState() override;
  void didDiscover(const FoundPeripheral& peripheral,
                   const platform::BluetoothAdvertisement& advertisement,
                   std::int64_t rssi) override;
  void didConnect(const FoundPeripheral& peripheral) override;
  void didFailToConnect(const FoundPeripheral& peripheral, const TesslineError* error) override;
  void didDisconnectPeripheral(const FoundPeripheral& peripheral,
                               const TesslineError* error) override;
  void didDiscoverServices(const FoundPeripheral& peripheral, const TesslineError* error) override;
  void didDiscoverCharacteristicsFor(const FoundPeripheral& peripheral, const FoundService& service,
                                     const TesslineError* error) override;
  void didUpdateValueFor(const FoundPeripheral& peripheral,
                         const FoundCharacteristic& characteristic,
                         const TesslineError* error) override;

 private:
  void note(const std::string& line);

  const std::shared_ptr<platform::SerialQueue> queue_;
  bool isBusy_ = false;
  mutable std::mutex mutex_;
  BluetoothNotes notes_;
};

/// A central on a backend's host, with verbs for what is asked of it and what happens to it.
class BluetoothContract : public testing::TestWithParam<BluetoothBackendChoice> {
 protected:
  using State = platform::BluetoothPeripheralState;

  void TearDown() override;

  static BluetoothUUID uuid(std::string_view text) { return BluetoothUUID::parse(text).value(); }
  static std::vector<BluetoothUUID> uuids(const std::vector<std::string>& texts);
  static std::string text(std::optional<std::span<const std::uint8_t>> value);

  /// Runs `work` on the queue, and waits for it but not for what it leads to.
  void perform(const std::function<void()>& work);
  /// What `question` gives on the queue.
  template <class Question>
  auto ask(Question question) {
    std::optional<decltype(question())> answer;
    perform([&] { answer = question(); });
    return *answer;
  }
  /// Waits for these calls, in this order, and expects no other.
  void expectNotes(const BluetoothNotes& expected, std::string_view about = "");
  /// Waits for whatever happens, and forgets it.
  void forgetNotes();

  std::shared_ptr<platform::BluetoothCentral> makeCentral(
      const std::shared_ptr<BluetoothJournal>& delegate);
  /// Makes `central`, which tells its state.
  void start();
  void scan(bool allowDuplicates = false);
  void stopScan();
  std::size_t make(const ExistingPeripheral& peripheral) {
    return backend->makePeripheral(peripheral);
  }
  void advertise(std::size_t peripheral) { backend->advertise(peripheral, {}, -50); }
  /// As found; null if it is not.
  FoundPeripheral found(const std::string& name);
  /// Connects to what was found under that name.
  void connect(const std::string& name);
  void cancel(const std::string& name);
  State stateOf(const std::string& name);
  std::vector<FoundPeripheral> retrieve(const std::vector<std::string>& services);
  std::vector<std::string> namesRetrieved(const std::vector<std::string>& services);

  /// Makes a peripheral and has it found by a scan that goes on.
  std::size_t makeFound(const ExistingPeripheral& peripheral);
  /// ... and connected, telling `journal`.
  std::size_t makeConnected(const ExistingPeripheral& peripheral);
  /// Ends the connection of what was made so, and connects again.
  void reconnect(std::size_t peripheral, const std::string& name);

  /// Discovers those services of what was found under that name.
  void discoverServices(const std::string& name, const std::vector<std::string>& services);
  void discoverCharacteristics(const FoundService& service,
                               const std::vector<std::string>& characteristics,
                               const std::string& name);
  /// Discovers all that there is.
  void discoverAll(const std::string& name, const ExistingPeripheral& offered);
  std::vector<FoundService> services(const std::string& name);
  static std::vector<std::string> textsOf(const auto& objects) {
    std::vector<std::string> texts;
    for (const auto& object : objects) texts.push_back(object->uuid().text());
    return texts;
  }
  FoundCharacteristic characteristic(const std::string& name, CharacteristicPlace place);
  void read(const std::string& name, CharacteristicPlace place);
  void setNotify(const std::string& name, CharacteristicPlace place, bool enabled);

  std::unique_ptr<BluetoothBackend> backend = GetParam().make();
  std::shared_ptr<platform::SerialQueue> queue =
      backend->platform()->makeSerialQueue("com.example.bluetooth");
  std::shared_ptr<BluetoothJournal> journal = std::make_shared<BluetoothJournal>(queue);
  std::shared_ptr<platform::BluetoothCentral> central;
};

}  // namespace tessline::test
