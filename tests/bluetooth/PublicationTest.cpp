#include "tests/bluetooth/ScriptedBluetooth.h"

namespace tessline::test {
namespace {

using platform::QueueTime;
using Times = std::vector<QueueTime>;

// Scans, with everything so far published; the clock counts from here.
class BluetoothPublicationTest : public ScriptedBluetoothTest {
 protected:
  BluetoothPublicationTest() {
    tellState();
    stopScanning();
    forgetWhatHappened();
  }

  // A change of the devices alone.
  void changeDevices() { hear(remote, --rssi); }
  // A change of the status alone.
  void changeStatus() {
    tell([this](auto& delegate) { delegate.didFailToConnect(remote, nullptr); });
    remote->names = {"Siri " + std::to_string(++renamed)};
  }
  // Hears another remote of that strength and name.
  std::shared_ptr<ScriptedPeripheral> list(std::int64_t strength, std::string name) {
    const auto made = peripheral(std::move(name));
    hear(made, strength);
    return made;
  }
  // The listed devices a second later.
  Lines listed() {
    host->advance(1s);
    Lines lines;
    for (const auto& device : devices()) {
      lines.push_back(std::to_string(device.rssi) + " " + device.name + " " +
                      std::to_string(device.id.bytes.back()));
    }
    return lines;
  }

  const std::shared_ptr<ScriptedPeripheral> remote = peripheral("Siri Remote");
  std::int64_t rssi = -60;
  int renamed = 0;
};

TEST_F(BluetoothPublicationTest, StatusIsPublishedAtOnceWithTheDevices) {
  changeDevices();
  changeStatus();
  ASSERT_EQ(times, Times{0s});
  EXPECT_EQ(status(), "Failed to connect to Siri Remote: Unknown error");
  EXPECT_EQ(devices().size(), 1U);
}

TEST_F(BluetoothPublicationTest, ChangesWithinASecondMakeOneSnapshotASecondAfterTheFirst) {
  changeDevices();
  host->advance(150ms);
  changeDevices();
  host->advance(150ms);
  changeDevices();
  host->advance(10s);
  EXPECT_EQ(times, Times{1s});
  EXPECT_EQ(devices().at(0).rssi, -63);
}

TEST_F(BluetoothPublicationTest, SecondIsExact) {
  changeDevices();
  host->advance(1s - 1ns);
  EXPECT_EQ(times, Times());
  host->advance(1ns);
  EXPECT_EQ(times, Times{1s});
}

TEST_F(BluetoothPublicationTest, ChangesEachTenthOfASecondMakeASnapshotEachSecond) {
  for (int tenth = 0; tenth < 30; ++tenth) {
    changeDevices();
    host->advance(100ms);
  }
  EXPECT_EQ(times, (Times{1s, 2s, 3s}));
}

TEST_F(BluetoothPublicationTest, SecondBeginsAnewAfterAPublication) {
  changeDevices();
  host->advance(1500ms);
  changeDevices();
  host->advance(10s);
  EXPECT_EQ(times, (Times{1s, 2500ms}));
}

TEST_F(BluetoothPublicationTest, StatusWithinASecondIsPublishedAtOnceAndOnceMoreAtItsEnd) {
  changeDevices();
  host->advance(500ms);
  changeStatus();
  host->advance(10s);
  ASSERT_EQ(times, (Times{500ms, 1s}));
  EXPECT_EQ(snapshots[0], snapshots[1]);
}

TEST_F(BluetoothPublicationTest, StatusDoesNotHoldBackWhatComesAfterIt) {
  changeDevices();
  host->advance(500ms);
  changeStatus();
  host->advance(100ms);
  changeDevices();
  host->advance(10s);
  EXPECT_EQ(times, (Times{500ms, 1s, 1600ms}));
}

TEST_F(BluetoothPublicationTest, LeftoverPublicationLetsTheNextChangeBeginAnotherSecond) {
  changeDevices();
  host->advance(500ms);
  changeStatus();
  host->advance(100ms);
  changeDevices();
  host->advance(600ms);
  changeDevices();
  host->advance(10s);
  EXPECT_EQ(times, (Times{500ms, 1s, 1600ms, 2200ms}));
}

TEST_F(BluetoothPublicationTest, PublicationShowsTheStateOfItsMoment) {
  changeDevices();
  host->advance(400ms);
  list(-30, "Siri Two");
  host->advance(400ms);
  connect(remote);
  host->advance(200ms);
  ASSERT_EQ(times, (Times{800ms, 1s}));
  EXPECT_EQ(snapshots[1].status, "Connected to Siri Remote");
  EXPECT_EQ(snapshots[1].connectedDeviceID, remote->id);
  EXPECT_EQ(snapshots[1].devices.size(), 2U);
}

TEST_F(BluetoothPublicationTest, NothingChangedAtAllIsPublishedASecondLater) {
  stopScanning();
  stopScanning();
  host->advance(10s);
  ASSERT_EQ(times, Times{1s});
  EXPECT_EQ(snapshots[0], (BluetoothRemoteDiscoverySnapshot{"Scan stopped", false, {}, {}}));
}

TEST_F(BluetoothPublicationTest, DevicesThatEndAsTheyWereArePublishedAllTheSame) {
  hear(remote, -60);
  host->advance(1s);
  hear(remote, -70);
  hear(remote, -60);
  host->surroundings().startDate -= 1s;
  hear(remote, -60);
  host->advance(1s);
  ASSERT_EQ(times, (Times{1s, 2s}));
  EXPECT_EQ(snapshots[0], snapshots[1]);
}

TEST_F(BluetoothPublicationTest, ScanningAloneIsPublishedAtOnce) {
  tellState();
  forgetWhatHappened();
  hear(remote);
  ASSERT_EQ(times, Times{0s});
  EXPECT_EQ(status(), "Scanning for Bluetooth devices");
  EXPECT_FALSE(snapshots[0].isScanning);
}

TEST_F(BluetoothPublicationTest, ConnectionAloneIsPublishedAtOnce) {
  connect(remote);
  connect(peripheral("Siri Remote"));
  ASSERT_EQ(times, (Times{0s, 0s}));
  EXPECT_EQ(snapshots[0].status, snapshots[1].status);
  EXPECT_EQ(snapshots[1].connectedDeviceID, identifier(2));
}

TEST_F(BluetoothPublicationTest, DisconnectIsPublishedAtOnce) {
  connect(remote);
  disconnect(remote);
  ASSERT_EQ(times, (Times{0s, 0s}));
  EXPECT_EQ(snapshots[1].connectedDeviceID, std::nullopt);
  // A disconnect of what is not connected changes the status alone, and then nothing.
  disconnect(remote);
  host->advance(1s);
  EXPECT_EQ(times, (Times{0s, 0s, 1s}));
}

TEST_F(BluetoothPublicationTest, SameConnectionTwiceIsPublishedASecondLater) {
  connect(remote);
  connect(remote);
  host->advance(10s);
  EXPECT_EQ(times, (Times{0s, 1s}));
}

TEST_F(BluetoothPublicationTest, StatusThatReturnsIsPublishedAtOnce) {
  service->connect(identifier(99));
  stopScanning();
  service->connect(identifier(99));
  host->runReady();
  EXPECT_EQ(times, (Times{0s, 0s, 0s}));
}

TEST_F(BluetoothPublicationTest, PublicationsGoOnWhenNobodyListens) {
  const auto listener = std::exchange(service->onSnapshotChanged, nullptr);
  changeStatus();
  changeDevices();
  host->advance(2s);
  service->onSnapshotChanged = listener;
  changeDevices();
  host->advance(2s);
  EXPECT_EQ(times, Times{3s});
}

TEST_F(BluetoothPublicationTest, StrongestComesFirstThenTheNameDecides) {
  list(-40, "Siri b");
  list(-70, "Siri a");
  list(-40, "Siri a");
  list(127, "Siri z");
  list(-100, "Apple TV");
  EXPECT_EQ(listed(), (Lines{"127 Siri z 5", "-40 Siri a 4", "-40 Siri b 2", "-70 Siri a 3",
                             "-100 Apple TV 6"}));
}

TEST_F(BluetoothPublicationTest, RetrievedRemotesStandAmongTheOthers) {
  list(-51, "Siri a");
  list(-49, "Siri b");
  scripted->central->retrieved = {peripheral("Siri c")};
  tellState();
  EXPECT_EQ(listed(), (Lines{"-49 Siri b 3", "-50 Siri c 4", "-51 Siri a 2"}));
}

TEST_F(BluetoothPublicationTest, NamesAreOrderedWithTheirCase) {
  for (const char* name : {"siri", "Siri", "SIRI", "Siri \u00E9a", "Siri fa", "Siri e\u0301b"}) {
    list(-60, name);
  }
  EXPECT_EQ(listed(), (Lines{"-60 SIRI 4", "-60 Siri 3", "-60 Siri fa 6", "-60 Siri \u00E9a 5",
                             "-60 Siri e\u0301b 7", "-60 siri 2"}));
}

TEST_F(BluetoothPublicationTest, EqualOnesKeepTheirOrderFromSnapshotToSnapshot) {
  for (int count = 0; count < 40; ++count) list(-60, "Siri Remote");
  Lines order = listed();
  EXPECT_EQ(order.size(), 40U);
  EXPECT_EQ(listed(), order);
  changeStatus();
  EXPECT_EQ(listed(), order);
  list(-50, "Siri Remote");
  order.insert(order.begin(), "-50 Siri Remote " + std::to_string(added));
  EXPECT_EQ(listed(), order);
}

TEST_F(BluetoothPublicationTest, SnapshotIsEqualWhenAllFourFieldsAre) {
  const BluetoothRemoteDevice device{identifier(1), "Siri", -50, "Connected", {"180F"}, {}};
  const BluetoothRemoteDiscoverySnapshot snapshot{"Idle", true, {device}, identifier(1)};
  EXPECT_EQ(snapshot, (BluetoothRemoteDiscoverySnapshot{"Idle", true, {device}, identifier(1)}));
  for (const BluetoothRemoteDiscoverySnapshot& other :
       {BluetoothRemoteDiscoverySnapshot{"idle", true, {device}, identifier(1)},
        {"Idle", false, {device}, identifier(1)},
        {"Idle", true, {}, identifier(1)},
        {"Idle", true, {device}, identifier(2)},
        {"Idle", true, {device}, std::nullopt}}) {
    EXPECT_NE(snapshot, other);
  }
}

TEST(BluetoothRemoteDevice, IsEqualWhenAllSixFieldsAre) {
  const std::chrono::system_clock::time_point noon(12h);
  const BluetoothRemoteDevice device{identifier(1), "Siri", -50, "Connected", {"180F"}, noon};
  EXPECT_EQ(device,
            (BluetoothRemoteDevice{identifier(1), "Siri", -50, "Connected", {"180F"}, noon}));
  for (const BluetoothRemoteDevice& other :
       {BluetoothRemoteDevice{identifier(2), "Siri", -50, "Connected", {"180F"}, noon},
        {identifier(1), "siri", -50, "Connected", {"180F"}, noon},
        {identifier(1), "Siri", -51, "Connected", {"180F"}, noon},
        {identifier(1), "Siri", -50, "Connecting", {"180F"}, noon},
        {identifier(1), "Siri", -50, "Connected", {}, noon},
        {identifier(1), "Siri", -50, "Connected", {"180F"}, noon + 1s}}) {
    EXPECT_NE(device, other);
  }
}

}  // namespace
}  // namespace tessline::test
