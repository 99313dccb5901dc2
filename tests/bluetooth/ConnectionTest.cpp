#include "tests/bluetooth/ScriptedBluetooth.h"

namespace tessline::test {
namespace {

using BluetoothConnectionTest = BluetoothServiceTest;

const std::string soughtServices = "[180F 1812 " + std::string(voiceService) + "]";
const TesslineError outOfRange("CBErrorDomain", 6, "The connection has timed out.");

TEST_F(BluetoothConnectionTest, ConnectPublishesThenConnects) {
  const Remote remote = add(outOfReach("Siri Remote"));
  startScanning();
  hear(remote);
  remote->plan.name = "Bedroom Siri";
  EXPECT_EQ(happensWhen([&] { service->connect(remote->identifier()); }),
            (Lines{"publish Connecting to Bedroom Siri", "connect 1"}));
  remote->plan.name = std::nullopt;
  EXPECT_EQ(happensWhen([&] { service->connect(remote->identifier()); }),
            (Lines{"publish Connecting to Unnamed Device", "connect 1"}));
}

TEST_F(BluetoothConnectionTest, ConnectLeavesScanAndConnectionAsTheyAre) {
  const Remote remote = connected(named("Siri Remote"));
  startScanning();
  service->connect(remote->identifier());
  host->runReady();
  EXPECT_TRUE(latest().isScanning);
  EXPECT_TRUE(host->bluetooth().isScanning());
  EXPECT_EQ(latest().connectedDeviceID, remote->identifier());
}

TEST_F(BluetoothConnectionTest, ConnectToAnUnknownIdentifierIsNotAvailable) {
  startScanning();
  add(named("Siri Remote"));
  EXPECT_EQ(happensWhen([this] { service->connect(identifier(1)); }),
            Lines{"publish Device is no longer available"});
}

TEST_F(BluetoothConnectionTest, ConnectBeforeAnyStartIsNotAvailable) {
  add(named("Siri Remote"));
  EXPECT_EQ(happensWhen([this] { service->connect(identifier(1)); }),
            Lines{"publish Device is no longer available"});
  EXPECT_EQ(snapshots.at(0),
            (BluetoothRemoteDiscoverySnapshot{"Device is no longer available", false, {}, {}}));
}

TEST_F(BluetoothConnectionTest, ConnectionLooksForTheThreeServicesAndIsPublished) {
  const Remote remote = add(outOfReach("Siri Remote"));
  startScanning();
  hear(remote);
  EXPECT_EQ(happensWhen([&] { makeReachable(remote); }),
            (Lines{"setDelegate 1", "discoverServices 1 " + soughtServices,
                   "publish Connected to Siri Remote"}));
  EXPECT_EQ(latest().connectedDeviceID, remote->identifier());
  EXPECT_FALSE(latest().isScanning);
}

TEST_F(BluetoothConnectionTest, FailureIsPublishedWithItsReasonAndNotRetried) {
  auto plan = named("Siri Remote");
  plan.connectError = outOfRange;
  const Remote remote = add(plan);
  startScanning();
  EXPECT_EQ(happensWhen([&] { hear(remote); }),
            (Lines{"stopScan", "connect 1", "publish Scanning for Bluetooth devices",
                   "publish Failed to connect to Siri Remote: The connection has timed out."}));
  EXPECT_EQ(latest().connectedDeviceID, std::nullopt);
  EXPECT_EQ(happensWhen([this] { host->advance(1h); }), Lines());
}

TEST_F(BluetoothConnectionTest, RemoteThatFailedCanBeConnectedByRequest) {
  auto plan = named("Siri Remote");
  plan.connectError = outOfRange;
  const Remote remote = connected(plan);
  remote->plan.connectError = std::nullopt;
  EXPECT_EQ(happensWhen([&] { service->connect(remote->identifier()); }),
            (Lines{"publish Connecting to Siri Remote", "connect 1", "setDelegate 1",
                   "discoverServices 1 " + soughtServices, "publish Connected to Siri Remote"}));
}

TEST_F(BluetoothConnectionTest, RemoteHeardBesideAConnectedOneIsConnectedToo) {
  connected(named("Siri One"));
  const Remote second = connected(named("Siri Two"));
  EXPECT_EQ(status(), "Connected to Siri Two");
  EXPECT_EQ(latest().connectedDeviceID, second->identifier());
  EXPECT_EQ(devices().size(), 2U);
}

TEST_F(ScriptedBluetoothTest, FailureWithoutAReasonIsUnknown) {
  const auto remote = peripheral(std::nullopt);
  EXPECT_EQ(happensWhen(
                [&] { tell([&](auto& delegate) { delegate.didFailToConnect(remote, nullptr); }); }),
            Lines{"publish Failed to connect to Unnamed Device: Unknown error"});
}

TEST_F(ScriptedBluetoothTest, FailureWithAnEmptyReasonIsPublishedAsItIs) {
  const TesslineError silent("CBErrorDomain", 1, "");
  const auto remote = peripheral();
  EXPECT_EQ(happensWhen(
                [&] { tell([&](auto& delegate) { delegate.didFailToConnect(remote, &silent); }); }),
            Lines{"publish Failed to connect to Siri Remote: "});
}

TEST_F(ScriptedBluetoothTest, FailureOfOneLeavesTheConnectionOfAnother) {
  const auto remote = peripheral();
  const auto other = peripheral("Siri Two");
  connect(remote);
  tell([&](auto& delegate) { delegate.didFailToConnect(other, nullptr); });
  stopScanning();
  EXPECT_EQ(latest().connectedDeviceID, remote->id);
}

TEST_F(BluetoothConnectionTest, RemoteThatDropsIsReportedGoneAndConnectedAgain) {
  const Remote remote = connected(named("Siri Remote"));
  remote->plan.isReachable = false;
  EXPECT_EQ(happensWhen([&] { drop(remote, outOfRange); }),
            (Lines{"battery none", "publish Disconnected from Siri Remote", "connect 1"}));
  EXPECT_EQ(latest().connectedDeviceID, std::nullopt);
  EXPECT_EQ(happensWhen([&] { makeReachable(remote); }),
            (Lines{"setDelegate 1", "discoverServices 1 " + soughtServices,
                   "publish Connected to Siri Remote"}));
}

TEST_F(BluetoothConnectionTest, DropWithoutAnErrorIsNoDifferent) {
  const Remote remote = connected(named("Siri Remote"));
  remote->plan.isReachable = false;
  EXPECT_EQ(happensWhen([&] { drop(remote); }),
            (Lines{"battery none", "publish Disconnected from Siri Remote", "connect 1"}));
}

TEST_F(BluetoothConnectionTest, DisconnectCancelsAndTheRemoteIsConnectedAgain) {
  const Remote remote = connected(named("Siri Remote"));
  EXPECT_EQ(happensWhen([this] { service->disconnect(); }),
            (Lines{"cancelPeripheralConnection 1", "battery none",
                   "publish Disconnected from Siri Remote", "connect 1", "setDelegate 1",
                   "discoverServices 1 " + soughtServices, "publish Connected to Siri Remote"}));
  EXPECT_EQ(latest().connectedDeviceID, remote->identifier());
}

TEST_F(BluetoothConnectionTest, DisconnectWithoutAConnectionDoesNothing) {
  EXPECT_EQ(happensWhen([this] { service->disconnect(); }), Lines());
  const Remote remote = add(outOfReach("Siri Remote"));
  startScanning();
  hear(remote);
  EXPECT_EQ(happensWhen([this] { service->disconnect(); }), Lines());
  makeReachable(remote);
  remote->plan.isReachable = false;
  drop(remote);
  EXPECT_EQ(happensWhen([this] { service->disconnect(); }), Lines());
  EXPECT_EQ(happensWhen([this] { host->advance(5s); }), Lines());
}

TEST_F(ScriptedBluetoothTest, DisconnectPublishesNothingItself) {
  const auto remote = peripheral();
  hear(remote);
  connect(remote);
  host->advance(5s);
  EXPECT_EQ(happensWhen([this] { service->disconnect(); }), Lines{"cancel 1"});
  EXPECT_EQ(happensWhen([this] { host->advance(5s); }), Lines());
}

TEST_F(ScriptedBluetoothTest, DisconnectOfAPeripheralThatWasNeverFoundDoesNothing) {
  connect(peripheral());
  EXPECT_EQ(happensWhen([this] { service->disconnect(); }), Lines());
}

TEST_F(ScriptedBluetoothTest, DisconnectIsOfTheLastOneConnected) {
  const auto first = peripheral("Siri One");
  const auto second = peripheral("Siri Two");
  for (const auto& each : {first, second}) hear(each);
  for (const auto& each : {second, first}) connect(each);
  EXPECT_EQ(happensWhen([this] { service->disconnect(); }), Lines{"cancel 1"});
}

TEST_F(ScriptedBluetoothTest, DropOfAnotherLeavesTheConnection) {
  const auto remote = peripheral("Siri One");
  const auto other = peripheral("Siri Two");
  connect(remote);
  EXPECT_EQ(happensWhen([&] { disconnect(other); }),
            (Lines{"battery none", "publish Disconnected from Siri Two", "connect 2"}));
  stopScanning();
  EXPECT_EQ(latest().connectedDeviceID, remote->id);
}

TEST_F(BluetoothConnectionTest, RenamedPeripheralThatDropsIsLetGo) {
  const Remote remote = connected(named("Siri Remote"));
  remote->plan.name = "Living Room";
  EXPECT_EQ(happensWhen([&] { drop(remote, outOfRange); }),
            Lines{"publish Disconnected from Living Room"});
  EXPECT_EQ(latest().connectedDeviceID, std::nullopt);
  EXPECT_EQ(latest().devices.size(), 1U);
}

TEST_F(BluetoothConnectionTest, PeripheralWithoutACachedNameThatDropsIsLetGo) {
  const Remote remote = add(named(std::nullopt));
  startScanning();
  hear(remote, saying("Siri Remote"));
  EXPECT_EQ(happensWhen([&] { drop(remote); }), Lines{"publish Disconnected from Unnamed Device"});
}

TEST_F(BluetoothConnectionTest, NameAtEachStepOfADropDecidesThatStep) {
  const Remote remote = connected(named("Siri Remote"));
  service->onBatteryLevelChanged = [&](std::optional<std::int64_t>) {
    remote->plan.name = "Living Room";
  };
  EXPECT_EQ(happensWhen([&] { drop(remote); }), Lines{"publish Disconnected from Living Room"});

  service->connect(remote->identifier());
  host->runReady();
  remote->plan.isReachable = false;
  service->onSnapshotChanged = [&](const auto&) { remote->plan.name = "Siri Remote"; };
  EXPECT_EQ(happensWhen([&] { drop(remote); }), Lines{"connect 1"});
}

TEST_F(BluetoothConnectionTest, StopOfTheScanLeavesTheConnection) {
  const Remote remote = connected(named("Siri Remote"));
  stopScanning();
  EXPECT_EQ(remote->state(), platform::BluetoothPeripheralState::connected);
  EXPECT_EQ(latest().connectedDeviceID, remote->identifier());
}

TEST_F(BluetoothConnectionTest, RemoteDroppedAndBackManyTimesIsAlwaysConnectedAgain) {
  const Remote remote = connected(named("Siri Remote"));
  for (int time = 0; time < 20; ++time) {
    drop(remote);
    ASSERT_EQ(latest().connectedDeviceID, remote->identifier()) << time;
  }
}

}  // namespace
}  // namespace tessline::test
