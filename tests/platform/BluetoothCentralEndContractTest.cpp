#include "tests/platform/BluetoothContract.h"

#include <algorithm>

namespace tessline::test {
namespace {

using platform::BluetoothProperties;
using Notes = BluetoothNotes;

// What happens when a central goes.
class BluetoothCentralEndContract : public BluetoothContract {
 protected:
  void connectLamp() { central->connect(journal->found.at("lamp")); }
  std::size_t makeConnecting() {
    ExistingPeripheral peripheral = lamp;
    peripheral.isReachable = false;
    const std::size_t made = makeFound(peripheral);
    connect("lamp");
    return made;
  }
  // Whatever may still happen to it and to the lamp.
  void stir(std::size_t made) {
    backend->notify(made, {0, 0}, {1});
    backend->drop(made, "Gone.");
    advertise(made);
    backend->setReachable(made, true);
    backend->setState(backend->otherStates().front());
    backend->setState(platform::BluetoothState::poweredOn);
  }

  const ExistingPeripheral lamp = {
      .name = "lamp",
      .services = {
          {"180F", {{"2A19", BluetoothProperties::read | BluetoothProperties::notify, {{0x64}}}}}}};
};

TEST_P(BluetoothCentralEndContract, EndsItsConnectionsAndCallsNothing) {
  const std::size_t made = makeConnected(lamp);
  discoverAll("lamp", lamp);
  setNotify("lamp", {0, 0}, true);
  central.reset();
  expectNotes({});
  EXPECT_EQ(stateOf("lamp"), State::disconnected);
  EXPECT_TRUE(services("lamp").empty());
  stir(made);
  expectNotes({});
}

TEST_P(BluetoothCentralEndContract, EndsItsAttemptsAndCallsNothing) {
  const std::size_t made = makeConnecting();
  central.reset();
  backend->settle();
  EXPECT_EQ(stateOf("lamp"), State::disconnected);
  stir(made);
  expectNotes({});
}

TEST_P(BluetoothCentralEndContract, EndsWhatIsOnItsWayToTheDelegates) {
  const std::size_t made = makeConnected(lamp);
  perform([&] {
    journal->found.at("lamp")->discoverServices(uuids({"180F"}));
    backend->drop(made, std::nullopt);
    central.reset();
  });
  expectNotes({});
}

TEST_P(BluetoothCentralEndContract, FreesThePeripheralForTheNext) {
  const std::size_t made = makeConnected(lamp);
  central.reset();
  perform([&] { journal->found.clear(); });
  start();
  scan();
  advertise(made);
  expectNotes({"heard lamp"});
  connect("lamp");
  expectNotes({"connected lamp"});
}

TEST_P(BluetoothCentralEndContract, LeavesTheConnectionsOfOthers) {
  makeConnected(lamp);
  auto other = makeCentral(std::make_shared<BluetoothJournal>(queue));
  backend->settle();
  other.reset();
  backend->settle();
  EXPECT_EQ(stateOf("lamp"), State::connected);
  discoverAll("lamp", lamp);
}

TEST_P(BluetoothCentralEndContract, OperationsOnItsPeripheralsDoNothing) {
  makeConnected(lamp);
  const FoundPeripheral held = found("lamp");
  central.reset();
  perform([&] { held->discoverServices(uuids({"180F"})); });
  expectNotes({});
}

INSTANTIATE_TEST_SUITE_P(On, BluetoothCentralEndContract, testing::ValuesIn(bluetoothBackends()),
                         backendName);

// Within each call in turn, with more calls behind it.
class BluetoothCentralEndWithinContract : public BluetoothCentralEndContract {
 protected:
  // Discovers everything, reads and subscribes, from call to call; lets go of the central at
  // `note`.
  void followUntil(const std::string& note) {
    perform([&] {
      journal->duringCall = [this, note](const std::string& happening) {
        const auto peripheral = journal->lastPeripheral;
        if (happening == "connected lamp") peripheral->discoverServices(uuids({"180F"}));
        if (happening == "services lamp") {
          peripheral->discoverCharacteristics(uuids({"2A19"}), peripheral->services().at(0));
        }
        if (happening == "characteristics lamp 180F") {
          const auto level = journal->lastService->characteristics().at(0);
          peripheral->setNotifyValue(true, level);
          peripheral->readValue(level);
        }
        if (happening == note) central.reset();
      };
    });
  }
  // Whether the note came, and was the last.
  void expectLast(const std::string& note) {
    backend->settle();
    const Notes notes = journal->take();
    ASSERT_FALSE(notes.empty()) << note;
    EXPECT_EQ(notes.back(), note);
    EXPECT_EQ(std::ranges::count(notes, note), 1);
    EXPECT_EQ(central, nullptr);
    EXPECT_EQ(stateOf("lamp"), State::disconnected);
  }
  // Everything at once, so that more is on its way.
  void happen(std::size_t made) {
    connect("lamp");
    backend->settle();
    backend->notify(made, {0, 0}, {1});
    backend->notify(made, {0, 0}, {2});
    backend->drop(made, "Gone.");
    advertise(made);
    backend->settle();
    stir(made);
  }
};

TEST_P(BluetoothCentralEndWithinContract, CallsNothingMore) {
  for (const std::string note :
       {"connected lamp", "services lamp", "characteristics lamp 180F", "value lamp 2A19: 64",
        "value lamp 2A19: 01", "ended lamp: Gone."}) {
    const std::size_t made = makeFound(lamp);
    perform([&] { journal->found.at("lamp")->setDelegate(journal); });
    followUntil(note);
    happen(made);
    expectLast(note);
  }
}

TEST_P(BluetoothCentralEndWithinContract, CallsNothingMoreWhenAnAttemptFails) {
  const std::size_t made = makeFound(lamp);
  backend->setConnectError(made, "The lamp is shy.");
  followUntil("failed lamp: The lamp is shy.");
  happen(made);
  expectLast("failed lamp: The lamp is shy.");
}

TEST_P(BluetoothCentralEndWithinContract, CallsNothingMoreWhenAPeripheralIsHeard) {
  start();
  const std::size_t made = make(lamp);
  scan(true);
  followUntil("heard lamp");
  perform([&] {
    advertise(made);
    advertise(made);
  });
  backend->settle();
  stir(made);
  expectLast("heard lamp");
}

TEST_P(BluetoothCentralEndWithinContract, CallsNothingMoreWhenTheStateIsTold) {
  makeFound(lamp);
  followUntil("state");
  perform([&] {
    backend->setState(backend->otherStates().front());
    backend->setState(platform::BluetoothState::poweredOn);
  });
  expectLast("state");
}

INSTANTIATE_TEST_SUITE_P(On, BluetoothCentralEndWithinContract,
                         testing::ValuesIn(bluetoothBackends()), backendName);

}  // namespace
}  // namespace tessline::test
