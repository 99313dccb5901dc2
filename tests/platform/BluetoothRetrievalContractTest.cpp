#include "tests/platform/BluetoothContract.h"

namespace tessline::test {
namespace {

using Names = std::vector<std::string>;

class BluetoothRetrievalContract : public BluetoothContract {
 protected:
  void makeHeld(ExistingPeripheral peripheral) {
    peripheral.isConnectedToSystem = true;
    make(peripheral);
  }

  const ExistingPeripheral lamp = {.name = "lamp", .services = {{"180F"}, {"1815"}}};
  const ExistingPeripheral clock = {.name = "clock", .services = {{"1805"}}};
};

TEST_P(BluetoothRetrievalContract, FindsThoseWithAnyOfTheServicesInTheHostsOrder) {
  start();
  makeHeld(clock);
  make({.name = "far", .services = {{"180F"}}});
  makeHeld(lamp);
  makeHeld({.name = "mute"});
  EXPECT_EQ(namesRetrieved({"180F"}), Names{"lamp"});
  EXPECT_EQ(namesRetrieved({"1812", "1815", "1805", "180F"}), (Names{"clock", "lamp"}));
  EXPECT_EQ(namesRetrieved({"1812"}), Names());
  EXPECT_EQ(namesRetrieved({}), Names());
}

TEST_P(BluetoothRetrievalContract, FindsThoseThatAreConnectedHere) {
  const std::size_t made = makeConnected(lamp);
  EXPECT_EQ(namesRetrieved({"180F"}), Names{"lamp"});
  backend->drop(made, std::nullopt);
  expectNotes({"ended lamp"});
  EXPECT_EQ(namesRetrieved({"180F"}), Names());
}

TEST_P(BluetoothRetrievalContract, ComparesUUIDsByValue) {
  start();
  makeHeld(lamp);
  makeHeld({.name = "wide", .services = {{"00001812-0000-1000-8000-00805F9B34FB"}}});
  EXPECT_EQ(namesRetrieved({"0000180F-0000-1000-8000-00805F9B34FB"}), Names{"lamp"});
  EXPECT_EQ(namesRetrieved({"0000180F"}), Names{"lamp"});
  EXPECT_EQ(namesRetrieved({"1812"}), Names{"wide"});
  EXPECT_EQ(namesRetrieved({"0000180F-0000-1000-8000-00805F9B34FA"}), Names());
}

TEST_P(BluetoothRetrievalContract, WhatItFindsMustBeConnectedBeforeUse) {
  start();
  makeHeld(lamp);
  const FoundPeripheral held = retrieve({"180F"}).at(0);
  perform([&] {
    EXPECT_EQ(held->state(), State::disconnected);
    held->setDelegate(journal);
    held->discoverServices(uuids({"180F"}));
  });
  expectNotes({});
  perform([&] { central->connect(held); });
  expectNotes({"connected lamp"});
  perform([&] { held->discoverServices(uuids({"180F"})); });
  expectNotes({"services lamp"});
}

TEST_P(BluetoothRetrievalContract, CallsNothing) {
  start();
  makeHeld(lamp);
  retrieve({"180F"});
  expectNotes({});
}

INSTANTIATE_TEST_SUITE_P(On, BluetoothRetrievalContract, testing::ValuesIn(bluetoothBackends()),
                         backendName);

}  // namespace
}  // namespace tessline::test
