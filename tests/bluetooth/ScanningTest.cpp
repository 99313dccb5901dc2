#include "tests/bluetooth/ScriptedBluetooth.h"

#include <algorithm>
#include <array>

namespace tessline::test {
namespace {

using BluetoothScanningTest = BluetoothServiceTest;

const Lines retrievalAndScan = {"retrieveConnectedPeripherals [180F]", "scanForPeripherals false",
                                "publish Scanning for Bluetooth devices"};

TEST_F(BluetoothScanningTest, CreationMakesItsQueueAndNothingElse) {
  const auto calls = host->calls().calls();
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(notation(calls[0]), "dispatch_queue_create com.morvane.remote.bluetooth");
  EXPECT_EQ(watch->queue->label(), "com.morvane.remote.bluetooth");
  host->advance(5s);
  EXPECT_TRUE(snapshots.empty());
  EXPECT_EQ(host->calls().calls().size(), 1U);
}

TEST_F(BluetoothScanningTest, OperationsOnlyHandWorkToTheQueue) {
  service->startScanning();
  service->stopScanning();
  service->connect(identifier(1));
  service->disconnect();
  EXPECT_EQ(happened(), Lines());
  host->runReady();
  EXPECT_EQ(snapshots.size(), 4U);
}

TEST_F(BluetoothScanningTest, FirstStartPublishesThenMakesTheCentralAndWaitsForItsState) {
  Lines lines = happensWhen([this] { service->startScanning(); });
  Lines expected = {"publish Starting Bluetooth", "CBCentralManager"};
  expected.insert(expected.end(), retrievalAndScan.begin(), retrievalAndScan.end());
  EXPECT_EQ(lines, expected);
  EXPECT_FALSE(snapshots.at(0).isScanning);
  EXPECT_TRUE(snapshots.at(1).isScanning);
}

TEST_F(ScriptedBluetoothTest, FirstStartDoesNotAskForTheState) {
  makeService(std::make_shared<ScriptedHost>(host, journal));
  EXPECT_EQ(happensWhen([this] { service->startScanning(); }), Lines{"publish Starting Bluetooth"});
}

TEST_F(ScriptedBluetoothTest, HostWithoutACentralIsAskedForOneByEveryStart) {
  scripted->central = nullptr;
  makeService(scripted);
  startScanning();
  EXPECT_EQ(happensWhen([this] { tellState(); }), Lines());
  EXPECT_EQ(happensWhen([this] { service->stopScanning(); }), Lines{"publish Scan stopped"});
  EXPECT_EQ(happensWhen([this] { service->startScanning(); }), Lines{"publish Starting Bluetooth"});
}

TEST_F(BluetoothScanningTest, NextStartRetrievesAndScansAtOnce) {
  startScanning();
  stopScanning();
  EXPECT_EQ(happensWhen([this] { service->startScanning(); }), retrievalAndScan);
}

TEST_F(BluetoothScanningTest, StartWhileScanningRetrievesAndScansAgain) {
  startScanning();
  EXPECT_EQ(happensWhen([this] { service->startScanning(); }),
            Lines(retrievalAndScan.begin(), retrievalAndScan.begin() + 2));
  EXPECT_TRUE(host->bluetooth().isScanning());
}

TEST_F(BluetoothScanningTest, StopEndsTheScanThenPublishes) {
  startScanning();
  EXPECT_EQ(happensWhen([this] { service->stopScanning(); }),
            (Lines{"stopScan", "publish Scan stopped"}));
  EXPECT_FALSE(latest().isScanning);
  EXPECT_FALSE(host->bluetooth().isScanning());
}

TEST_F(BluetoothScanningTest, StopBeforeAnyStartIsPublishedToo) {
  EXPECT_EQ(happensWhen([this] { service->stopScanning(); }), Lines{"publish Scan stopped"});
  EXPECT_EQ(snapshots.at(0), (BluetoothRemoteDiscoverySnapshot{"Scan stopped", false, {}, {}}));
}

TEST_F(BluetoothScanningTest, StopWhileBluetoothIsOffIsPublishedToo) {
  host->bluetooth().setState(BluetoothState::poweredOff);
  startScanning();
  EXPECT_EQ(happensWhen([this] { service->stopScanning(); }),
            (Lines{"stopScan", "publish Scan stopped"}));
}

TEST_F(BluetoothScanningTest, ScanNeverEndsByItself) {
  startScanning();
  host->advance(24h);
  EXPECT_TRUE(host->bluetooth().isScanning());
  EXPECT_EQ(snapshots.size(), 2U);
}

struct StateRow {
  std::int64_t state;
  std::string_view status;
};

constexpr std::array<StateRow, 8> unusableStates = {{
    {0, "Waiting for Bluetooth state"},
    {1, "Bluetooth is resetting"},
    {2, "Bluetooth is not supported on this Mac"},
    {3, "Bluetooth permission is not authorized"},
    {4, "Bluetooth is powered off"},
    {6, "Unknown Bluetooth state"},
    {-1, "Unknown Bluetooth state"},
    {1000, "Unknown Bluetooth state"},
}};

class UnusableBluetooth : public BluetoothServiceTest,
                          public testing::WithParamInterface<StateRow> {
 protected:
  const BluetoothState state = static_cast<BluetoothState>(GetParam().state);
  const std::string text = std::string(GetParam().status);
};

TEST_P(UnusableBluetooth, IsTheStatusAndNothingIsDone) {
  add(heldBySystem("Siri Remote"));
  host->bluetooth().setState(state);
  EXPECT_EQ(happensWhen([this] { service->startScanning(); }),
            (Lines{"publish Starting Bluetooth", "CBCentralManager", "publish " + text}));
  EXPECT_EQ(latest(), (BluetoothRemoteDiscoverySnapshot{text, false, {}, {}}));
}

TEST_P(UnusableBluetooth, EndsAScanInNameOnly) {
  startScanning();
  EXPECT_EQ(happensWhen([this] { host->bluetooth().setState(state); }), Lines{"publish " + text});
  EXPECT_FALSE(latest().isScanning);
}

TEST_P(UnusableBluetooth, BecomesUsableAndIsScanned) {
  host->bluetooth().setState(state);
  startScanning();
  EXPECT_EQ(happensWhen([this] { host->bluetooth().setState(BluetoothState::poweredOn); }),
            retrievalAndScan);
  EXPECT_TRUE(latest().isScanning);
}

TEST_P(UnusableBluetooth, IsTheStatusAgainAfterAnotherStart) {
  host->bluetooth().setState(state);
  startScanning();
  stopScanning();
  EXPECT_EQ(happensWhen([this] { service->startScanning(); }), Lines{"publish " + text});
}

TEST_P(UnusableBluetooth, LeavesConnectionAndDevices) {
  const Remote remote =
      connected(named("Siri Remote", {offering("1812", {characteristic("2A4D", 0x10)})}));
  const auto before = devices();
  ASSERT_EQ(before.size(), 1U);
  setState(state);
  EXPECT_EQ(latest(),
            (BluetoothRemoteDiscoverySnapshot{text, false, before, remote->identifier()}));
  EXPECT_EQ(happensWhen([&] {
              EXPECT_TRUE(remote->notify({0, 0}, bytes("01")));
            }),
            Lines{"payload 01"});
}

INSTANTIATE_TEST_SUITE_P(EachState, UnusableBluetooth, testing::ValuesIn(unusableStates));

TEST_F(BluetoothScanningTest, RetrievedRemotesAreConnectedInTheirOrderBeforeTheScan) {
  add(heldBySystem("Siri Remote"));
  add(heldBySystem("Magic Keyboard"));
  add(heldBySystem("Apple TV Remote"));
  add(heldBySystem("Siri Remote", "1812"));
  EXPECT_EQ(happensWhen([this] { service->startScanning(); }),
            (Lines{"publish Starting Bluetooth", "CBCentralManager",
                   "retrieveConnectedPeripherals [180F]", "connect 1", "connect 3",
                   "scanForPeripherals false", "publish Scanning for Bluetooth devices"}));
}

TEST_F(BluetoothScanningTest, RetrievedRemoteIsListedBeforeItIsHeard) {
  add(heldBySystem("Living Siri Remote"));
  host->advance(3s);
  startScanning();
  ASSERT_EQ(snapshots.size(), 2U);
  EXPECT_TRUE(snapshots[0].devices.empty());
  EXPECT_EQ(snapshots[1].devices,
            (std::vector<BluetoothRemoteDevice>{{identifier(1),
                                                 "Living Siri Remote",
                                                 -50,
                                                 "Disconnected",
                                                 {"180F"},
                                                 host->surroundings().startDate + 3s}}));
  EXPECT_EQ(snapshots[1].connectedDeviceID, std::nullopt);
}

TEST_F(BluetoothScanningTest, RetrievedRemoteListsTheBatteryServiceAlone) {
  auto plan = heldBySystem("Siri Remote");
  plan.services.push_back(offering("1812"));
  plan.services.push_back(offering(voiceService));
  add(plan);
  startScanning();
  EXPECT_EQ(devices().at(0).serviceUUIDs, Lines{"180F"});
}

TEST_F(BluetoothScanningTest, RetrievedRemoteIsKnownToConnect) {
  add(heldBySystem("Siri Remote"));
  startScanning();
  EXPECT_EQ(happensWhen([this] { service->connect(identifier(1)); }),
            (Lines{"publish Connecting to Siri Remote", "connect 1"}));
}

TEST_F(BluetoothScanningTest, NextRetrievalReplacesWhatWasKnown) {
  const Remote remote = add(heldBySystem("Siri Remote"));
  startScanning();
  host->advance(2s);
  remote->plan.name = "Siri Remote 2";
  startScanning();
  host->advance(1s);
  ASSERT_EQ(devices().size(), 1U);
  EXPECT_EQ(devices()[0].name, "Siri Remote 2");
  EXPECT_EQ(devices()[0].lastSeen, host->surroundings().startDate + 2s);
}

TEST_F(BluetoothScanningTest, StartingAgainRetrievesAgain) {
  const Remote remote = add(named("Siri Remote", {offering("180F"), offering("1812")}));
  startScanning();
  hear(remote, saying("Siri Local", {uuid("1812")}), -71);
  ASSERT_EQ(latest().connectedDeviceID, remote->identifier());
  host->advance(3s);
  const Lines lines = happensWhen([this] { service->startScanning(); });
  EXPECT_EQ(std::ranges::count(lines, "connect 1"), 1);
  EXPECT_EQ(devices(), (std::vector<BluetoothRemoteDevice>{{identifier(1),
                                                            "Siri Remote",
                                                            -50,
                                                            "Connected",
                                                            {"180F"},
                                                            host->surroundings().startDate + 3s}}));
}

TEST_F(BluetoothScanningTest, RemoteThatIsNotRetrievedAgainStaysListed) {
  const Remote remote = add(heldBySystem("Siri Remote"));
  startScanning();
  remote->plan.isConnectedToSystem = false;
  stopScanning();
  startScanning();
  EXPECT_EQ(devices().size(), 1U);
}

TEST_F(ScriptedBluetoothTest, NameThatDisappearsDuringRetrievalIsSiriRemote) {
  const auto remote = peripheral("Apple TV Remote");
  remote->names = {"Apple TV Remote", std::nullopt};
  scripted->central->retrieved = {remote};
  EXPECT_EQ(happensWhen([this] { tellState(); }),
            (Lines{"connect 1", "scan", "publish Scanning for Bluetooth devices"}));
  ASSERT_EQ(devices().size(), 1U);
  EXPECT_EQ(devices()[0].name, "Siri Remote");
}

TEST_F(ScriptedBluetoothTest, NameThatBecomesEmptyDuringRetrievalIsStillAName) {
  const auto remote = peripheral();
  remote->names = {"Siri Remote", ""};
  scripted->central->retrieved = {remote};
  tellState();
  ASSERT_EQ(devices().size(), 1U);
  EXPECT_EQ(devices()[0].name, "");
}

TEST_F(ScriptedBluetoothTest, SameRemoteRetrievedTwiceIsListedOnce) {
  const auto remote = peripheral();
  scripted->central->retrieved = {remote, remote};
  EXPECT_EQ(happensWhen([this] { tellState(); }),
            (Lines{"connect 1", "connect 1", "scan", "publish Scanning for Bluetooth devices"}));
  EXPECT_EQ(devices().size(), 1U);
}

}  // namespace
}  // namespace tessline::test
