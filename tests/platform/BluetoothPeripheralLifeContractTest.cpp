#include "tests/platform/BluetoothPeripheralContract.h"

#include <thread>

namespace tessline::test {
namespace {

using Texts = std::vector<std::string>;
using Bytes = std::vector<std::uint8_t>;

class BluetoothPeripheralLifeContract : public BluetoothPeripheralContract {
 protected:
  const FoundPeripheral& lampFound() { return journal->found.at("lamp"); }
  struct Objects {
    FoundPeripheral peripheral;
    FoundService service;
    FoundCharacteristic characteristic;
  };
  // The lamp and what was discovered of it, of which the journal keeps nothing.
  Objects takeObjects() {
    return ask([this] {
      const auto battery = lampFound()->services().at(0);
      Objects taken = {lampFound(), battery, battery->characteristics().at(0)};
      journal->found.clear();
      journal->lastPeripheral.reset();
      journal->lastService.reset();
      journal->lastCharacteristic.reset();
      return taken;
    });
  }
  // Does all that may be done with a peripheral and its objects.
  void doEverything(const FoundPeripheral& peripheral, const FoundService& service,
                    const FoundCharacteristic& characteristic) {
    peripheral->discoverServices(uuids({"180F"}));
    peripheral->discoverCharacteristics(uuids({"2A19"}), service);
    useCharacteristic(peripheral, characteristic);
  }
  static void useCharacteristic(const FoundPeripheral& peripheral,
                                const FoundCharacteristic& characteristic) {
    peripheral->setNotifyValue(true, characteristic);
    peripheral->readValue(characteristic);
    peripheral->writeValue(Bytes{1}, characteristic, BluetoothWriteType::withResponse);
  }
};

TEST_P(BluetoothPeripheralLifeContract, OperationsDoNothingWithoutAConnection) {
  const std::size_t made = makeDiscovered();
  const auto service = services("lamp").at(0);
  const auto held = characteristic("lamp", level);
  backend->drop(made, std::nullopt);
  expectNotes({"ended lamp"});
  perform([&] { doEverything(lampFound(), service, held); });
  expectNotes({});
  backend->setReachable(made, false);
  connect("lamp");
  perform([&] { doEverything(lampFound(), service, held); });
  expectNotes({});
}

TEST_P(BluetoothPeripheralLifeContract, OperationsDoNothingWhileTheConnectionIsBeingEnded) {
  makeDiscovered();
  perform([&] {
    const auto battery = lampFound()->services().at(0);
    const auto held = battery->characteristics().at(0);
    central->cancelPeripheralConnection(lampFound());
    doEverything(lampFound(), battery, held);
  });
  expectNotes({"ended lamp"});
}

TEST_P(BluetoothPeripheralLifeContract, ObjectsOfAnEarlierConnectionAreUnknown) {
  const std::size_t made = makeDiscovered();
  const auto service = services("lamp").at(0);
  const auto held = characteristic("lamp", level);
  reconnect(made, "lamp");
  discoverAll("lamp", lamp);
  perform([&] {
    lampFound()->discoverCharacteristics(uuids({"2A19"}), service);
    useCharacteristic(lampFound(), held);
  });
  backend->notify(made, level, {1});
  expectNotes({});
  EXPECT_EQ(backend->written(made, level), std::vector<Bytes>());
}

TEST_P(BluetoothPeripheralLifeContract, ObjectsMayBeLookedAtBeyondTheirConnection) {
  makeDiscovered();
  read("lamp", level);
  expectNotes({"value lamp 2A19: 64"});
  const auto service = services("lamp").at(0);
  const auto held = characteristic("lamp", level);
  const BluetoothUUID& serviceUUID = service->uuid();
  const BluetoothUUID& heldUUID = held->uuid();
  cancel("lamp");
  expectNotes({"ended lamp"});
  perform([&] { journal->found.clear(); });
  central.reset();
  backend->settle();
  EXPECT_EQ(serviceUUID.text(), "180F");
  EXPECT_EQ(heldUUID.text(), "2A19");
  EXPECT_EQ(held->properties().bits, reads | notifies);
  EXPECT_EQ(valueOf(held), "64");
}

TEST_P(BluetoothPeripheralLifeContract, ObjectsMayBeLetGoOfOnAnyThread) {
  const std::size_t made = makeDiscovered();
  setNotify("lamp", level, true);
  Objects earlier = takeObjects();
  perform([&] { journal->found["lamp"] = earlier.peripheral; });
  reconnect(made, "lamp");
  discoverAll("lamp", lamp);
  setNotify("lamp", level, true);
  Objects current = takeObjects();
  perform([&] { backend->notify(made, level, {1}); });
  std::thread([&] { earlier = current = {}; }).join();
  forgetNotes();
  // Whether the connection has outlived that is up to the host; the next is like any other.
  backend->drop(made, std::nullopt);
  forgetNotes();
  scan();
  advertise(made);
  expectNotes({"heard lamp"});
  connect("lamp");
  expectNotes({"connected lamp"});
  discoverServices("lamp", {"180F"});
}

TEST_P(BluetoothPeripheralLifeContract, EndOfTheConnectionEndsWhatWasAskedFor) {
  const std::size_t made = makeConnected({.name = "lamp"});
  perform([&] {
    journal->duringCall = [this](const std::string& note) {
      if (note == "ended lamp") central->connect(lampFound());
    };
    backend->drop(made, std::nullopt);
    lampFound()->discoverServices(uuids({"180F"}));
  });
  expectNotes({"ended lamp", "connected lamp"});
}

TEST_P(BluetoothPeripheralLifeContract, DelegateOfNowIsTold) {
  makeConnected(lamp);
  const auto other = std::make_shared<BluetoothJournal>(queue);
  perform([&] {
    lampFound()->discoverServices(uuids({"180F"}));
    lampFound()->setDelegate(other);
  });
  expectNotes({});
  EXPECT_EQ(other->take(), Texts{"services lamp"});
}

TEST_P(BluetoothPeripheralLifeContract, DelegateStaysFromConnectionToConnection) {
  const std::size_t made = makeConnected(lamp);
  reconnect(made, "lamp");
  discoverServices("lamp", {"180F"});
}

TEST_P(BluetoothPeripheralLifeContract, DelegateIsHeldDuringTheCall) {
  makeConnected(lamp);
  auto owned = std::make_shared<BluetoothJournal>(queue);
  const std::weak_ptr weak = owned;
  bool wasHeld = false;
  owned->duringCall = [&](const std::string&) {
    owned.reset();
    wasHeld = !weak.expired();
  };
  perform([&] {
    lampFound()->setDelegate(owned);
    lampFound()->discoverServices(uuids({"180F"}));
  });
  backend->settle();
  EXPECT_TRUE(wasHeld);
  EXPECT_TRUE(weak.expired());
}

TEST_P(BluetoothPeripheralLifeContract, WhatIsAskedForHappensThoughNobodyIsTold) {
  makeConnected(lamp);
  perform([&] {
    const auto passing = std::make_shared<BluetoothJournal>(queue);
    lampFound()->setDelegate(passing);
    lampFound()->discoverServices(uuids({"180F"}));
  });
  expectNotes({});
  EXPECT_EQ(textsOf(services("lamp")), Texts{"180F"});
}

INSTANTIATE_TEST_SUITE_P(On, BluetoothPeripheralLifeContract,
                         testing::ValuesIn(bluetoothBackends()), backendName);

}  // namespace
}  // namespace tessline::test
