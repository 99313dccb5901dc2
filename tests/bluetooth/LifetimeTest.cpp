#include "tests/bluetooth/BluetoothFixture.h"

#include <functional>
#include <initializer_list>

namespace tessline::test {
namespace {

constexpr platform::simulated::SimulatedCharacteristicPlace report = {1, 0};

class BluetoothLifetimeTest : public BluetoothServiceTest {
 protected:
  static SimulatedPeripheralPlan remotePlan() {
    return named("Siri Remote", {offering("180F", {characteristic("2A19", 0x10)}),
                                 offering("1812", {characteristic("2A4D", 0x18)})});
  }
  // Whether nothing at all happens, now and later.
  bool isSilent() {
    return happensWhen([this] { host->advance(5s); }).empty();
  }
};

TEST_F(BluetoothLifetimeTest, OperationsOfAServiceThatIsGoneDoNothing) {
  for (const auto& operate : std::initializer_list<std::function<void()>>{
           [this] { service->startScanning(); }, [this] { service->stopScanning(); },
           [this] { service->connect(identifier(added)); }, [this] { service->disconnect(); }}) {
    makeService(watch);
    connected(remotePlan());
    host->advance(5s);
    operate();
    service.reset();
    EXPECT_TRUE(isSilent());
  }
}

TEST_F(BluetoothLifetimeTest, ServiceThatIsGoneIsNotToldOfTheStateOfBluetooth) {
  startScanning();
  host->bluetooth().setState(BluetoothState::poweredOff);
  service.reset();
  EXPECT_TRUE(isSilent());
}

TEST_F(BluetoothLifetimeTest, ServiceThatIsGoneIsNotToldOfRemotes) {
  const Remote remote = connected(remotePlan());
  startScanning();
  host->bluetooth().advertise(add(named("Siri Two")), {}, -60);
  EXPECT_TRUE(remote->notify(report, bytes("08 00")));
  host->bluetooth().drop(remote, std::nullopt);
  service.reset();
  EXPECT_TRUE(isSilent());
}

TEST_F(BluetoothLifetimeTest, ServiceThatIsGoneWithinTheSecondPublishesNoMore) {
  stopScanning();
  stopScanning();
  host->advance(999ms);
  service.reset();
  EXPECT_TRUE(isSilent());
  EXPECT_EQ(snapshots.size(), 1U);
}

TEST_F(BluetoothLifetimeTest, WorkThatWaitsDoesNotKeepTheService) {
  const std::weak_ptr<BluetoothRemoteDiscoveryService> weak = service;
  connected(remotePlan());
  stopScanning();
  stopScanning();
  service->startScanning();
  service->connect(identifier(1));
  EXPECT_GT(host->scheduler().pendingCount(), 2U);
  service.reset();
  EXPECT_TRUE(weak.expired());
}

TEST_F(BluetoothLifetimeTest, LastOwnerEndsScanAndConnection) {
  const Remote remote = connected(remotePlan());
  startScanning();
  service.reset();
  EXPECT_FALSE(host->bluetooth().isScanning());
  EXPECT_EQ(remote->state(), platform::BluetoothPeripheralState::disconnected);
}

TEST_F(BluetoothLifetimeTest, DestructionPublishesNothing) {
  connected(remotePlan());
  EXPECT_EQ(happensWhen([this] { service.reset(); }), Lines());
}

TEST_F(BluetoothLifetimeTest, ServicesDoNotDisturbOneAnother) {
  const auto first = service;
  makeService(std::make_shared<QueueWatch>(host));
  startScanning();
  const std::size_t published = snapshots.size();
  host->calls().onCall = nullptr;
  first->onSnapshotChanged = nullptr;
  first->startScanning();
  first->stopScanning();
  host->advance(5s);
  EXPECT_EQ(snapshots.size(), published);
  EXPECT_TRUE(host->bluetooth().isScanning());
}

TEST_F(BluetoothLifetimeTest, WorksWithoutCallbacks) {
  service->onSnapshotChanged = nullptr;
  service->onBatteryLevelChanged = nullptr;
  service->onRawPayload = nullptr;
  service->onTransportEvents = nullptr;
  const Remote remote = connected(remotePlan());
  EXPECT_TRUE(remote->notify(report, bytes("08 00")));
  EXPECT_TRUE(remote->notify({0, 0}, bytes("64")));
  drop(remote);
  service->disconnect();
  stopScanning();
  stopScanning();
  host->advance(5s);
  EXPECT_EQ(remote->state(), platform::BluetoothPeripheralState::connected);
  EXPECT_TRUE(snapshots.empty());
}

// Lets go of the service from within the callbacks it makes.
class LastOwnerWithin : public BluetoothLifetimeTest {
 protected:
  void letGo(std::string line) {
    weak = service;
    note(std::move(line));
    service.reset();
    // The call itself still keeps it.
    EXPECT_FALSE(weak.expired());
  }
  bool isGone() { return weak.use_count() == 0 && !service && isSilent(); }

  std::weak_ptr<BluetoothRemoteDiscoveryService> weak;
};

TEST_F(LastOwnerWithin, FirstSnapshot) {
  service->onSnapshotChanged = [this](const auto& snapshot) { letGo(snapshot.status); };
  EXPECT_EQ(happensWhen([this] { service->startScanning(); }),
            (Lines{"Starting Bluetooth", "CBCentralManager"}));
  EXPECT_TRUE(isGone());
}

TEST_F(LastOwnerWithin, SnapshotOfAState) {
  startScanning();
  service->onSnapshotChanged = [this](const auto& snapshot) { letGo(snapshot.status); };
  EXPECT_EQ(happensWhen([this] { setState(BluetoothState::poweredOff); }),
            Lines{"Bluetooth is powered off"});
  EXPECT_TRUE(isGone());
}

TEST_F(LastOwnerWithin, SnapshotOfARequestToConnect) {
  const Remote remote = connected(remotePlan());
  service->onSnapshotChanged = [this](const auto& snapshot) { letGo(snapshot.status); };
  EXPECT_EQ(happensWhen([&] { service->connect(remote->identifier()); }),
            (Lines{"Connecting to Siri Remote", "connect 1"}));
  EXPECT_TRUE(isGone());
}

TEST_F(LastOwnerWithin, SnapshotOfADrop) {
  const Remote remote = connected(remotePlan());
  service->onSnapshotChanged = [this](const auto& snapshot) { letGo(snapshot.status); };
  EXPECT_EQ(happensWhen([&] { drop(remote); }),
            (Lines{"battery none", "Disconnected from Siri Remote", "connect 1"}));
  EXPECT_TRUE(isGone());
}

TEST_F(LastOwnerWithin, DelayedSnapshot) {
  stopScanning();
  stopScanning();
  service->onSnapshotChanged = [this](const auto& snapshot) { letGo(snapshot.status); };
  EXPECT_EQ(happensWhen([this] { host->advance(1s); }), Lines{"Scan stopped"});
  EXPECT_TRUE(isGone());
}

TEST_F(LastOwnerWithin, BatteryLevel) {
  const Remote remote = connected(remotePlan());
  service->onBatteryLevelChanged = [this](std::optional<std::int64_t>) { letGo("battery"); };
  EXPECT_EQ(happensWhen([&] {
              EXPECT_TRUE(remote->notify({0, 0}, bytes("64")));
            }),
            Lines{"battery"});
  EXPECT_TRUE(isGone());
}

TEST_F(LastOwnerWithin, BatteryLevelOfADrop) {
  const Remote remote = connected(remotePlan());
  service->onBatteryLevelChanged = [this](std::optional<std::int64_t>) { letGo("battery"); };
  EXPECT_EQ(happensWhen([&] { drop(remote); }),
            (Lines{"battery", "publish Disconnected from Siri Remote", "connect 1"}));
  EXPECT_TRUE(isGone());
}

TEST_F(LastOwnerWithin, RawPayload) {
  const Remote remote = connected(remotePlan());
  service->onRawPayload = [this](const auto& payload) { letGo("payload " + hexText(payload)); };
  EXPECT_EQ(happensWhen([&] { EXPECT_TRUE(remote->notify(report, bytes("08 00"))); }),
            (Lines{"payload 08 00", "events press select"}));
  EXPECT_TRUE(isGone());
}

TEST_F(LastOwnerWithin, Events) {
  const Remote remote = connected(remotePlan());
  service->onTransportEvents = [this](const auto& events) {
    letGo("events");
    EXPECT_EQ(notation(std::span(events)), "press select");
  };
  EXPECT_EQ(happensWhen([&] { EXPECT_TRUE(remote->notify(report, bytes("08 00"))); }),
            (Lines{"payload 08 00", "events"}));
  EXPECT_TRUE(isGone());
}

TEST_F(BluetoothLifetimeTest, OperationsFromWithinCallbacksComeAfterTheWorkAtHand) {
  service->onSnapshotChanged = [this](const auto& snapshot) {
    note("publish " + snapshot.status);
    if (snapshot.status == "Starting Bluetooth") service->stopScanning();
  };
  EXPECT_EQ(happensWhen([this] { service->startScanning(); }),
            (Lines{"publish Starting Bluetooth", "CBCentralManager", "stopScan",
                   "publish Scan stopped", "retrieveConnectedPeripherals [180F]",
                   "scanForPeripherals false", "publish Scanning for Bluetooth devices"}));
}

}  // namespace
}  // namespace tessline::test
