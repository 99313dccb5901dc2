#include "tests/macos/CoreBluetoothBackend.h"
#include "tests/support/Bytes.h"

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <standin/corebluetooth.h>
#include <standin/dispatch.h>
#include <standin/objc.h>

namespace tessline::test {
namespace {

using platform::BluetoothProperties;
using platform::BluetoothWriteType;
using Calls = std::vector<std::string>;
namespace bluetooth = standin::bluetooth;

// Notes what errors are, beyond what they say.
class ErrorJournal : public BluetoothJournal {
 public:
  using BluetoothJournal::BluetoothJournal;

  void didFailToConnect(const FoundPeripheral& peripheral, const TesslineError* error) override {
    keep(error);
    BluetoothJournal::didFailToConnect(peripheral, error);
  }
  void didDisconnectPeripheral(const FoundPeripheral& peripheral,
                               const TesslineError* error) override {
    keep(error);
    BluetoothJournal::didDisconnectPeripheral(peripheral, error);
  }
  void didUpdateValueFor(const FoundPeripheral& peripheral,
                         const FoundCharacteristic& characteristic,
                         const TesslineError* error) override {
    keep(error);
    BluetoothJournal::didUpdateValueFor(peripheral, characteristic, error);
  }

  std::optional<TesslineError> last;

 private:
  void keep(const TesslineError* error) {
    last.reset();
    if (error != nullptr) last.emplace(*error);
  }
};

// What the adapter asks of the system, and what it makes of answers that the contract does not
// know.
class CoreBluetoothTest : public BluetoothContract {
 protected:
  CoreBluetoothTest() { journal = errors; }

  // Of the system, since the last time.
  Calls takeCalls() {
    backend->settle();
    const Calls calls = bluetooth::calls();
    bluetooth::clearCalls();
    return calls;
  }
  std::size_t makeConnectedAndForgetCalls() {
    const std::size_t made = makeConnected(lamp);
    takeCalls();
    return made;
  }
  void expectLastError(const std::string& domain, std::int64_t code, const std::string& text) {
    ASSERT_TRUE(errors->last.has_value());
    EXPECT_EQ(errors->last->domain(), domain);
    EXPECT_EQ(errors->last->code(), code);
    EXPECT_EQ(errors->last->localizedDescription(), text);
  }
  void expectHeard(const bluetooth::Advertisement& advertisement,
                   const std::optional<std::string>& name, std::size_t uuids) {
    bluetooth::advertise(made_, advertisement, -50);
    expectNotes({"heard lamp"});
    EXPECT_EQ(journal->lastAdvertisement.localName, name);
    EXPECT_EQ(journal->lastAdvertisement.serviceUUIDs.size(), uuids);
  }

  const std::shared_ptr<ErrorJournal> errors = std::make_shared<ErrorJournal>(queue);
  std::size_t made_ = 0;
  const ExistingPeripheral lamp = {
      .name = "lamp",
      .services = {{"180F",
                    {{"2A19", BluetoothProperties::read | BluetoothProperties::notify, {{0x64}}},
                     {"2A56", BluetoothProperties::write}}}}};
};

TEST_P(CoreBluetoothTest, ManagerIsAskedWhatTheCentralIs) {
  start();
  const std::size_t made = make(lamp);
  retrieve({"180F", "1812"});
  scan();
  scan(true);
  advertise(made);
  expectNotes({"heard lamp"});
  stopScan();
  connect("lamp");
  expectNotes({"connected lamp"});
  cancel("lamp");
  expectNotes({"ended lamp"});
  EXPECT_EQ(
      takeCalls(),
      (Calls{"initWithDelegate", "retrieveConnectedPeripheralsWithServices 180F 1812",
             "scanForPeripheralsWithServices nil NO", "scanForPeripheralsWithServices nil YES",
             "stopScan", "connectPeripheral 0 nil", "cancelPeripheralConnection 0"}));
}

TEST_P(CoreBluetoothTest, SystemsPeripheralIsAskedWhatThePeripheralIs) {
  makeConnectedAndForgetCalls();
  discoverAll("lamp", lamp);
  setNotify("lamp", {0, 0}, true);
  setNotify("lamp", {0, 0}, false);
  read("lamp", {0, 0});
  const auto written = characteristic("lamp", {0, 1});
  const std::vector<std::uint8_t> bytes = {0xAF, 0x01};
  perform([&] {
    journal->found.at("lamp")->writeValue(bytes, written, BluetoothWriteType::withResponse);
    journal->found.at("lamp")->writeValue({}, written, BluetoothWriteType::withoutResponse);
  });
  expectNotes({"value lamp 2A19: 64"});
  EXPECT_EQ(takeCalls(),
            (Calls{"discoverServices 0 180F", "discoverCharacteristics 0 180F 2A19 2A56",
                   "setNotifyValue 0 2A19 YES", "setNotifyValue 0 2A19 NO", "readValue 0 2A19",
                   "writeValue 0 2A56 AF01 withResponse", "writeValue 0 2A56  withoutResponse"}));
}

TEST_P(CoreBluetoothTest, UUIDsAreAskedForAsWideAsTheyAre) {
  start();
  retrieve({"0000180F", "8341F2B4-C013-4F04-8197-C4CDB42E26DC"});
  EXPECT_EQ(takeCalls().back(),
            "retrieveConnectedPeripheralsWithServices 0000180F "
            "8341F2B4-C013-4F04-8197-C4CDB42E26DC");
}

TEST_P(CoreBluetoothTest, AdvertisedValuesOfOtherKindsAreNone) {
  start();
  made_ = make(lamp);
  scan(true);
  const std::string name = "kCBAdvDataLocalName";
  const std::string uuids = "kCBAdvDataServiceUUIDs";
  expectHeard({{name, "Lamp"}, {uuids, bluetooth::UUIDs{{"180F", "1812"}}}}, "Lamp", 2);
  expectHeard({{name, 7L}, {uuids, 7L}}, std::nullopt, 0);
  expectHeard({{name, bluetooth::Texts{{"Lamp"}}}, {uuids, "180F"}}, std::nullopt, 0);
  expectHeard({{name, ""}, {uuids, bluetooth::Texts{{"180F"}}}}, "", 0);
  expectHeard({{"kCBAdvDataManufacturerData", std::vector<std::uint8_t>{1}}}, std::nullopt, 0);
}

TEST_P(CoreBluetoothTest, ErrorsKeepDomainCodeAndDescription) {
  const std::size_t made = makeFound(lamp);
  bluetooth::change(made, [](auto& plan) {
    plan.connectError = bluetooth::Error{"CBErrorDomain", 6, "It took too long."};
  });
  connect("lamp");
  expectNotes({"failed lamp: It took too long."});
  expectLastError("CBErrorDomain", 6, "It took too long.");
  bluetooth::change(made, [](auto& plan) { plan.connectError.reset(); });
  perform([&] { journal->found.at("lamp")->setDelegate(journal); });
  connect("lamp");
  expectNotes({"connected lamp"});
  discoverAll("lamp", lamp);
  read("lamp", {0, 1});
  expectNotes({"no value lamp 2A56"});
  expectLastError("CBATTErrorDomain", 2, "Reading is not permitted.");
  bluetooth::drop(made, bluetooth::Error{"CBErrorDomain", 7, "It has gone."});
  expectNotes({"ended lamp: It has gone."});
  expectLastError("CBErrorDomain", 7, "It has gone.");
}

TEST_P(CoreBluetoothTest, NotificationWithAnErrorLeavesTheValue) {
  const std::size_t made = makeConnected(lamp);
  discoverAll("lamp", lamp);
  setNotify("lamp", {0, 0}, true);
  bluetooth::notify(made, {0, 0}, {1});
  bluetooth::notify(made, {0, 0}, {2}, bluetooth::Error{"CBATTErrorDomain", 15, "No."});
  expectNotes({"value lamp 2A19: 01", "no value lamp 2A19"});
  const auto level = characteristic("lamp", {0, 0});
  EXPECT_EQ(ask([&] { return text(level->value()); }), "01");
}

TEST_P(CoreBluetoothTest, AttemptThatFailsAsItIsCancelledHasEndedByThat) {
  const std::size_t made = makeFound(lamp);
  bluetooth::setCancelledAttempt(bluetooth::CancelledAttempt::isAFailure);
  backend->setReachable(made, false);
  connect("lamp");
  cancel("lamp");
  expectNotes({"failed lamp: It was cancelled."});
}

TEST_P(CoreBluetoothTest, AttemptThatTheSystemEndsIsToldAsAnEnd) {
  const std::size_t made = makeFound(lamp);
  backend->setReachable(made, false);
  connect("lamp");
  bluetooth::endAttempt(made, bluetooth::Error{"CBErrorDomain", 0, "It is off."});
  expectNotes({"ended lamp: It is off."});
  backend->setReachable(made, true);
  connect("lamp");
  expectNotes({"connected lamp"});
}

TEST_P(CoreBluetoothTest, ServicesThatTheSystemKeepsAreOfferedNoMore) {
  const std::size_t made = makeConnected(lamp);
  discoverAll("lamp", lamp);
  bluetooth::drop(made, std::nullopt);
  expectNotes({"ended lamp"});
  EXPECT_EQ(services("lamp").size(), 0U);
}

TEST_P(CoreBluetoothTest, NothingOfAnEarlierConnectionReachesTheSystem) {
  const std::size_t made = makeConnected(lamp);
  discoverAll("lamp", lamp);
  const auto battery = services("lamp").at(0);
  const auto level = characteristic("lamp", {0, 0});
  const auto expectNothing = [&] {
    takeCalls();
    perform([&] {
      const auto& peripheral = journal->found.at("lamp");
      peripheral->discoverCharacteristics(uuids({"2A19"}), battery);
      peripheral->readValue(level);
      peripheral->writeValue({}, level, BluetoothWriteType::withResponse);
      peripheral->setNotifyValue(true, level);
    });
    EXPECT_EQ(takeCalls(), Calls());
  };
  reconnect(made, "lamp");
  expectNothing();
  // Those of the system may be the same as before.
  discoverAll("lamp", lamp);
  EXPECT_NE(characteristic("lamp", {0, 0}), level);
  expectNothing();
}

// The stand-in itself, of which nothing shows what it keeps.
TEST_P(CoreBluetoothTest, SystemThatKeepsItsObjectsMakesNoOthers) {
  const std::size_t made = makeConnected(lamp);
  discoverAll("lamp", lamp);
  const auto held = services("lamp");
  for (const bool keeps : {true, false}) {
    bluetooth::setKeepsObjects(keeps);
    const long before = standin::objc::liveObjects();
    reconnect(made, "lamp");
    backend->settle();
    EXPECT_EQ(standin::objc::liveObjects() == before, keeps);
  }
}

TEST_P(CoreBluetoothTest, EndOfTheCentralEndsItsScanAndConnections) {
  makeConnectedAndForgetCalls();
  central.reset();
  EXPECT_EQ(takeCalls(), (Calls{"stopScan", "cancelPeripheralConnection 0"}));
}

TEST_P(CoreBluetoothTest, EndOfTheCentralAsksNothingOfASystemThatIsOff) {
  makeConnectedAndForgetCalls();
  backend->setState(platform::BluetoothState::poweredOff);
  expectNotes({"state"});
  central.reset();
  EXPECT_EQ(takeCalls(), Calls{"connection 0 ended with its manager"});
}

TEST_P(CoreBluetoothTest, NothingReachesTheSystemOnceTheCentralIsGone) {
  makeConnectedAndForgetCalls();
  perform([&] {
    central.reset();
    const auto& peripheral = journal->found.at("lamp");
    EXPECT_EQ(peripheral->state(), platform::BluetoothPeripheralState::disconnected);
    peripheral->discoverServices(uuids({"180F"}));
  });
  EXPECT_EQ(takeCalls(), (Calls{"stopScan", "cancelPeripheralConnection 0"}));
}

TEST_P(CoreBluetoothTest, EndOfThePeripheralEndsTheAttemptUnasked) {
  const std::size_t made = makeFound(lamp);
  backend->setReachable(made, false);
  connect("lamp");
  takeCalls();
  perform([&] { journal->found.clear(); });
  EXPECT_EQ(takeCalls(), Calls{"attempt 0 ended with its peripheral"});
}

TEST_P(CoreBluetoothTest, PeripheralOfAnotherCentralIsLookedUp) {
  makeFound(lamp);
  const FoundPeripheral held = found("lamp");
  central = makeCentral(journal);
  expectNotes({"state"});
  takeCalls();
  perform([&] { central->connect(held); });
  expectNotes({"connected lamp"});
  EXPECT_EQ(takeCalls(), (Calls{"retrievePeripheralsWithIdentifiers", "connectPeripheral 0 nil"}));
  EXPECT_EQ(journal->lastPeripheral, held);
}

TEST_P(CoreBluetoothTest, EndOnAnotherThreadMeetsWhatIsBeingTold) {
  const std::size_t made = makeConnected(lamp);
  discoverAll("lamp", lamp);
  setNotify("lamp", {0, 0}, true);
  for (int round = 0; round < 100; ++round) bluetooth::notify(made, {0, 0}, {1});
  std::thread([owned = std::move(central)]() mutable { owned.reset(); }).join();
  backend->settle();
  journal->take();
  bluetooth::notify(made, {0, 0}, {1});
  expectNotes({});
}

INSTANTIATE_TEST_SUITE_P(On, CoreBluetoothTest,
                         testing::Values(coreBluetooth("CoreBluetooth"),
                                         coreBluetooth("CoreBluetoothKeepingItsObjects",
                                                       {.keepsObjects = true})),
                         backendName);

}  // namespace
}  // namespace tessline::test
