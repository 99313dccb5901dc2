#include "tessline/platform/simulated/SimulatedHost.h"

#include <memory>
#include <optional>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using platform::BluetoothState;
using State = platform::BluetoothPeripheralState;
using platform::simulated::SimulatedHost;
using platform::simulated::SimulatedPeripheral;

// What the simulated host does where hosts may differ.
class SimulatedBluetoothTest : public testing::Test {
 protected:
  void connect() {
    central->connect(lamp);
    host->runReady();
  }
  void setReachable(bool isReachable) {
    lamp->plan.isReachable = isReachable;
    host->bluetooth().retryAttempts(lamp);
    host->runReady();
  }
  void setState(BluetoothState state) {
    host->bluetooth().setState(state);
    host->runReady();
  }

  const std::shared_ptr<SimulatedHost> host = SimulatedHost::create();
  const std::shared_ptr<platform::BluetoothCentral> central =
      host->makeBluetoothCentral({}, host->makeSerialQueue("q"));
  const std::shared_ptr<SimulatedPeripheral> lamp = host->bluetooth().addPeripheral(UUID(), {});
};

TEST_F(SimulatedBluetoothTest, AttemptWaitsUntilBluetoothIsOn) {
  setReachable(false);
  connect();
  setState(BluetoothState::poweredOff);
  setReachable(true);
  EXPECT_EQ(lamp->state(), State::connecting);
  setState(BluetoothState::poweredOn);
  EXPECT_EQ(lamp->state(), State::connected);
}

TEST_F(SimulatedBluetoothTest, ConnectionOutlastsBluetooth) {
  connect();
  setState(BluetoothState::poweredOff);
  setState(BluetoothState::poweredOn);
  EXPECT_EQ(lamp->state(), State::connected);
}

TEST_F(SimulatedBluetoothTest, ReportedStateLastsUntilTheNextChange) {
  constexpr auto ofAnotherHost = static_cast<State>(9);
  lamp->setState(ofAnotherHost);
  EXPECT_EQ(lamp->state(), ofAnotherHost);
  connect();
  EXPECT_EQ(lamp->state(), State::connected);
  lamp->setState(ofAnotherHost);
  host->bluetooth().drop(lamp, std::nullopt);
  EXPECT_EQ(lamp->state(), ofAnotherHost);
  host->runReady();
  EXPECT_EQ(lamp->state(), State::disconnected) << "what is reported keeps nothing from happening";
}

TEST_F(SimulatedBluetoothTest, ScriptMayHoldThePeripheralOfAnAttempt) {
  setReachable(false);
  lamp->plan.isConnectedToSystem = true;
  lamp->plan.services = {
      {.uuid = BluetoothUUID::parse("180F").value(), .characteristics = {}, .error = std::nullopt}};
  connect();
  // What is found on the way is let go of at once.
  const BluetoothUUID battery = BluetoothUUID::parse("180F").value();
  EXPECT_EQ(central->retrieveConnectedPeripherals({&battery, 1}).size(), 1U);
  EXPECT_EQ(lamp->state(), State::connecting);
  setReachable(true);
  EXPECT_EQ(lamp->state(), State::connected);
}

TEST_F(SimulatedBluetoothTest, WhatWasFoundHoldsThePeripheralNoLongerThanItIsHeld) {
  const std::weak_ptr<SimulatedPeripheral> watched = lamp;
  const long before = watched.use_count();
  lamp->plan.isConnectedToSystem = true;
  lamp->plan.services = {
      {.uuid = BluetoothUUID::parse("180F").value(), .characteristics = {}, .error = std::nullopt}};
  const BluetoothUUID battery = BluetoothUUID::parse("180F").value();
  auto found = central->retrieveConnectedPeripherals({&battery, 1});
  EXPECT_EQ(watched.use_count(), before + 1);
  found.clear();
  EXPECT_EQ(watched.use_count(), before);
}

}  // namespace
}  // namespace tessline::test
