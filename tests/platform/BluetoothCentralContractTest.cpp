#include "tests/platform/BluetoothContract.h"

namespace tessline::test {
namespace {

using platform::BluetoothState;
using Names = std::vector<std::string>;

class BluetoothCentralContract : public BluetoothContract {
 protected:
  void setState(BluetoothState state) {
    backend->setState(state);
    forgetNotes();
  }

  const ExistingPeripheral lamp = {.name = "lamp", .services = {{"180F"}, {"1815"}}};
  const ExistingPeripheral clock = {.name = "clock", .services = {{"1805"}}};
};

TEST_P(BluetoothCentralContract, NewCentralTellsItsStateOnce) {
  central = makeCentral(journal);
  expectNotes({"state"});
  EXPECT_EQ(ask([&] { return central->state(); }), BluetoothState::poweredOn);
}

TEST_P(BluetoothCentralContract, NewCentralTellsOfAnyState) {
  for (const BluetoothState state : backend->otherStates()) {
    central.reset();
    backend->setState(state);
    central = makeCentral(journal);
    expectNotes({"state"});
    EXPECT_EQ(ask([&] { return central->state(); }), state);
  }
}

TEST_P(BluetoothCentralContract, StateThatChangesIsTold) {
  start();
  for (const BluetoothState state : backend->otherStates()) {
    backend->setState(state);
    expectNotes({"state"});
    EXPECT_EQ(ask([&] { return central->state(); }), state);
  }
  backend->setState(BluetoothState::poweredOn);
  expectNotes({"state"});
  EXPECT_EQ(ask([&] { return central->state(); }), BluetoothState::poweredOn);
}

TEST_P(BluetoothCentralContract, DelegateIsHeldDuringTheCall) {
  start();
  const std::size_t made = make(lamp);
  bool wasHeld = false;
  // The only other owner lets go within the call.
  auto owned = std::make_shared<BluetoothJournal>(queue);
  const std::weak_ptr weak = owned;
  owned->duringCall = [&](const std::string&) {
    owned.reset();
    wasHeld = !weak.expired();
  };
  central = makeCentral(owned);
  backend->settle();
  EXPECT_TRUE(wasHeld);
  EXPECT_TRUE(weak.expired());
  scan();
  advertise(made);
  backend->settle();
}

TEST_P(BluetoothCentralContract, DelegateThatIsGoneIsNotCalled) {
  auto owned = std::make_shared<BluetoothJournal>(queue);
  int calls = 0;
  owned->duringCall = [&](const std::string&) { ++calls; };
  central = makeCentral(owned);
  const std::size_t made = make(lamp);
  scan();
  backend->settle();
  EXPECT_EQ(calls, 1);
  perform([&] { owned.reset(); });
  advertise(made);
  backend->setState(backend->otherStates().front());
  backend->settle();
  EXPECT_EQ(calls, 1);
}

TEST_P(BluetoothCentralContract, DelegateThatGoesBeforeTheCallIsNotCalled) {
  int calls = 0;
  perform([&] {
    const auto owned = std::make_shared<BluetoothJournal>(queue);
    owned->duringCall = [&](const std::string&) { ++calls; };
    central = backend->platform()->makeBluetoothCentral(owned, queue);
  });
  backend->settle();
  EXPECT_EQ(calls, 0);
}

TEST_P(BluetoothCentralContract, OperationsAreAnsweredBehindTheCallThatAsks) {
  start();
  const std::size_t made = make(lamp);
  Names order;
  perform([&] {
    journal->duringCall = [&](const std::string& note) {
      order.push_back(note);
      if (note == "heard lamp") central->connect(journal->found.at("lamp"));
      if (note == "connected lamp") {
        central->cancelPeripheralConnection(journal->found.at("lamp"));
      }
      order.push_back("over");
    };
  });
  scan();
  advertise(made);
  expectNotes({"heard lamp", "connected lamp", "ended lamp"});
  EXPECT_EQ(order, (Names{"heard lamp", "over", "connected lamp", "over", "ended lamp", "over"}));
}

TEST_P(BluetoothCentralContract, OperationsDoNothingUnlessPoweredOn) {
  ExistingPeripheral held = clock;
  held.isConnectedToSystem = true;
  make(held);
  const std::size_t made = makeFound(lamp);
  stopScan();
  for (const BluetoothState state : backend->otherStates()) {
    setState(state);
    EXPECT_EQ(namesRetrieved({"1805"}), Names());
    scan();
    connect("lamp");
    advertise(made);
    expectNotes({});
    EXPECT_EQ(stateOf("lamp"), State::disconnected);
    setState(BluetoothState::poweredOn);
    EXPECT_EQ(namesRetrieved({"1805"}), Names{"clock"});
    advertise(made);
    expectNotes({}, "what was asked for in another state");
  }
}

TEST_P(BluetoothCentralContract, ScanEndsWithPoweredOnForGood) {
  const std::size_t made = makeFound(lamp);
  for (const BluetoothState state : backend->otherStates()) {
    scan();
    setState(state);
    advertise(made);
    expectNotes({});
    setState(BluetoothState::poweredOn);
    advertise(made);
    expectNotes({});
  }
  scan();
  advertise(made);
  expectNotes({"heard lamp"});
}

TEST_P(BluetoothCentralContract, NothingIsHeardWithoutAScan) {
  start();
  const std::size_t made = make(lamp);
  advertise(made);
  expectNotes({});
  scan();
  advertise(made);
  expectNotes({"heard lamp"});
  stopScan();
  advertise(make(clock));
  expectNotes({});
}

TEST_P(BluetoothCentralContract, PeripheralIsHeardOnceInAScan) {
  const std::size_t first = makeFound(lamp);
  const std::size_t second = make(clock);
  for (const std::size_t each : {first, second, first, second}) advertise(each);
  expectNotes({"heard clock"});
}

TEST_P(BluetoothCentralContract, PeripheralIsHeardEachTimeWithDuplicates) {
  start();
  const std::size_t made = make(lamp);
  scan(true);
  for (int round = 0; round < 3; ++round) advertise(made);
  expectNotes({"heard lamp", "heard lamp", "heard lamp"});
}

TEST_P(BluetoothCentralContract, NewScanForgetsTheOldOne) {
  const std::size_t made = makeFound(lamp);
  scan();
  advertise(made);
  advertise(made);
  expectNotes({"heard lamp"});
  scan(true);
  advertise(made);
  advertise(made);
  expectNotes({"heard lamp", "heard lamp"});
  scan();
  advertise(made);
  advertise(made);
  expectNotes({"heard lamp"});
}

TEST_P(BluetoothCentralContract, AdvertisementIsToldAsItWasHeard) {
  start();
  const std::size_t made = make(lamp);
  scan(true);
  const auto listed = uuids({"1812", "0000180F", "8341F2B4-C013-4F04-8197-C4CDB42E26DC"});
  backend->advertise(made, {.localName = "Lamp of the hall", .serviceUUIDs = listed}, -71);
  expectNotes({"heard lamp"});
  EXPECT_EQ(journal->lastAdvertisement.localName, "Lamp of the hall");
  EXPECT_EQ(journal->lastAdvertisement.serviceUUIDs, listed);
  EXPECT_EQ(journal->lastRSSI, -71);
  backend->advertise(made, {}, 127);
  expectNotes({"heard lamp"});
  EXPECT_EQ(journal->lastAdvertisement.localName, std::nullopt);
  EXPECT_TRUE(journal->lastAdvertisement.serviceUUIDs.empty());
  EXPECT_EQ(journal->lastRSSI, 127);
}

TEST_P(BluetoothCentralContract, PeripheralThatIsConnectedIsNotHeard) {
  start();
  const std::size_t made = make(lamp);
  scan(true);
  backend->setConnectedToSystem(made, true);
  advertise(made);
  expectNotes({});
  backend->setConnectedToSystem(made, false);
  advertise(made);
  expectNotes({"heard lamp"});
  connect("lamp");
  expectNotes({"connected lamp"});
  advertise(made);
  expectNotes({});
  cancel("lamp");
  expectNotes({"ended lamp"});
  advertise(made);
  expectNotes({"heard lamp"});
}

TEST_P(BluetoothCentralContract, NameIsWhatTheHostRemembers) {
  makeFound(lamp);
  EXPECT_EQ(ask([&] { return journal->found.at("lamp")->name(); }), "lamp");
  makeFound({.services = {{"180F"}}});
  EXPECT_EQ(ask([&] { return journal->found.at("(unnamed)")->name(); }), std::nullopt);
}

TEST_P(BluetoothCentralContract, PeripheralIsTheSameObjectWhereverItIsFound) {
  const std::size_t made = makeFound(lamp);
  const FoundPeripheral held = found("lamp");
  scan();
  advertise(made);
  expectNotes({"heard lamp"});
  EXPECT_EQ(found("lamp"), held);
  backend->setConnectedToSystem(made, true);
  EXPECT_EQ(retrieve({"180F"}), std::vector{held});
}

TEST_P(BluetoothCentralContract, PeripheralsAreToldApart) {
  makeFound(lamp);
  makeFound(clock);
  const FoundPeripheral first = found("lamp");
  const FoundPeripheral second = found("clock");
  EXPECT_NE(first, second);
  perform([&] { EXPECT_NE(first->identifier(), second->identifier()); });
}

TEST_P(BluetoothCentralContract, IdentifierIsThatOfThePeripheralForEveryCentral) {
  const std::size_t made = makeFound(lamp);
  const UUID before = ask([&] { return journal->found.at("lamp")->identifier(); });
  perform([&] { journal->found.clear(); });
  central = makeCentral(journal);
  scan();
  advertise(made);
  expectNotes({"state", "heard lamp"});
  EXPECT_EQ(ask([&] { return journal->found.at("lamp")->identifier(); }), before);
}

TEST_P(BluetoothCentralContract, CentralsScanApart) {
  const std::size_t made = makeFound(lamp);
  const auto otherJournal = std::make_shared<BluetoothJournal>(queue);
  const auto other = makeCentral(otherJournal);
  backend->settle();
  EXPECT_EQ(otherJournal->take(), Names{"state"});
  advertise(made);
  expectNotes({});
  EXPECT_EQ(otherJournal->take(), Names());
  perform([&] { other->scanForPeripherals({}); });
  stopScan();
  advertise(made);
  expectNotes({});
  EXPECT_EQ(otherJournal->take(), Names{"heard lamp"});
}

INSTANTIATE_TEST_SUITE_P(On, BluetoothCentralContract, testing::ValuesIn(bluetoothBackends()),
                         backendName);

}  // namespace
}  // namespace tessline::test
