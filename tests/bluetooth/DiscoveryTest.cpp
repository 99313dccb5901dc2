#include "tests/bluetooth/ScriptedBluetooth.h"

#include <array>
#include <limits>

namespace tessline::test {
namespace {

using platform::BluetoothPeripheralState;
using BluetoothDiscoveryTest = BluetoothServiceTest;

class BluetoothAdvertisementTest : public BluetoothServiceTest {
 protected:
  BluetoothAdvertisementTest() { startScanning(); }

  // How a remote that is heard is listed.
  BluetoothRemoteDevice listed(const BluetoothAdvertisement& advertisement,
                               std::optional<std::string> cachedName = std::nullopt,
                               std::int64_t rssi = -60) {
    const Remote remote = add(outOfReach(std::move(cachedName)));
    startScanning();
    hear(remote, advertisement, rssi);
    for (const auto& device : devices()) {
      if (device.id == remote->identifier()) return device;
    }
    ADD_FAILURE() << "not listed";
    return {};
  }
  Lines listedServices(std::vector<BluetoothUUID> services) {
    return listed(saying("Siri Remote", std::move(services))).serviceUUIDs;
  }
};

TEST_F(BluetoothAdvertisementTest, FirstAcceptedOneEndsTheScanAndConnects) {
  const Remote remote = add(outOfReach("Siri Remote"));
  EXPECT_EQ(happensWhen([&] { hear(remote); }),
            (Lines{"stopScan", "connect 1", "publish Scanning for Bluetooth devices"}));
  EXPECT_FALSE(latest().isScanning);
  EXPECT_FALSE(host->bluetooth().isScanning());
}

TEST_F(BluetoothAdvertisementTest, AcceptedOneIsListedAsHeard) {
  host->advance(90s);
  EXPECT_EQ(listed(saying("Apple TV Remote", {uuid("1812"), uuid("180F")}), "Siri Remote", -77),
            (BluetoothRemoteDevice{identifier(1),
                                   "Apple TV Remote",
                                   -77,
                                   "Disconnected",
                                   {"180F", "1812"},
                                   host->surroundings().startDate + 90s}));
}

TEST_F(BluetoothAdvertisementTest, LocalNameIsPreferredToTheCachedOne) {
  EXPECT_EQ(listed(saying("Siri Local"), "Siri Cached").name, "Siri Local");
}

TEST_F(BluetoothAdvertisementTest, CachedNameServesWithoutALocalName) {
  EXPECT_EQ(listed(saying(std::nullopt), "Siri Cached").name, "Siri Cached");
  EXPECT_EQ(listed(saying(""), "Siri Cached").name, "Siri Cached");
}

TEST_F(BluetoothAdvertisementTest, LocalNameServesWithoutACachedOne) {
  EXPECT_EQ(listed(saying("Siri Local")).name, "Siri Local");
  EXPECT_EQ(listed(saying("Siri Local"), "").name, "Siri Local");
}

TEST_F(BluetoothAdvertisementTest, NameIsListedAsItIs) {
  for (const char* name : {"SIRI", " Siri ", "Siri\n\u0301\u00E9", "Siri \xFF"}) {
    EXPECT_EQ(listed(saying(name)).name, name);
  }
}

TEST_F(BluetoothAdvertisementTest, RejectedOneIsIgnoredCompletely) {
  const std::size_t published = snapshots.size();
  const std::vector services = {uuid("180F"), uuid("1812"), uuid(voiceService)};
  EXPECT_EQ(happensWhen([&] {
              hear(add(named(std::nullopt)), saying(std::nullopt, services));
              hear(add(named("")), saying("", services));
              hear(add(named("Wireless Keyboard")), saying(std::nullopt, services));
              // The local name decides, even against the cached one.
              hear(add(named("Siri Remote")), saying("Living Room", services));
              host->advance(2s);
            }),
            Lines());
  EXPECT_EQ(snapshots.size(), published);
  EXPECT_TRUE(host->bluetooth().isScanning());
  for (std::uint8_t number = 1; number <= added; ++number) service->connect(identifier(number));
  host->runReady();
  EXPECT_EQ(status(), "Device is no longer available");
  EXPECT_TRUE(devices().empty());
}

TEST_F(BluetoothAdvertisementTest, RemoteBehindRejectedOnesIsStillFound) {
  hear(add(named("Living Room")));
  const Remote remote = add(outOfReach("Siri Remote"));
  EXPECT_EQ(happensWhen([&] { hear(remote); }),
            (Lines{"stopScan", "connect 2", "publish Scanning for Bluetooth devices"}));
}

TEST_F(BluetoothAdvertisementTest, ServicesAreListedInTheOrderOfTheirText) {
  EXPECT_EQ(listedServices({uuid("2A4D"), uuid("180f"), uuid("FEAA"), uuid("1812")}),
            (Lines{"180F", "1812", "2A4D", "FEAA"}));
  EXPECT_EQ(listedServices({}), Lines());
}

TEST_F(BluetoothAdvertisementTest, ServicesAreListedInTheirOwnWidth) {
  EXPECT_EQ(
      listedServices({uuid(voiceNotify), uuid("180F"), uuid("0000180A"), uuid("83410000"),
                      uuid(voiceService)}),
      (Lines{"0000180A", "180F", std::string(voiceNotify), "83410000", std::string(voiceService)}));
}

TEST_F(BluetoothAdvertisementTest, ServiceAdvertisedTwiceIsListedTwice) {
  EXPECT_EQ(listedServices({uuid("1812"), uuid("180F"), uuid("1812")}),
            (Lines{"180F", "1812", "1812"}));
}

TEST_F(BluetoothAdvertisementTest, StrengthIsListedAsItWasHeard) {
  for (const std::int64_t rssi :
       {std::int64_t{127}, std::int64_t{0}, std::int64_t{-50}, std::int64_t{-128},
        std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
    EXPECT_EQ(listed(saying("Siri Remote"), std::nullopt, rssi).rssi, rssi);
  }
}

TEST_F(BluetoothAdvertisementTest, NextScanHearsTheRemoteAgainAndListsItOnce) {
  const Remote remote = add(outOfReach("Siri Remote"));
  hear(remote, saying("Siri One", {uuid("180F")}), -80);
  host->advance(10s);
  startScanning();
  hear(remote, saying("Siri Two", {uuid("1812")}), -40);
  ASSERT_EQ(devices().size(), 1U);
  EXPECT_EQ(devices()[0], (BluetoothRemoteDevice{identifier(1),
                                                 "Siri Two",
                                                 -40,
                                                 "Connecting",
                                                 {"1812"},
                                                 host->surroundings().startDate + 10s}));
}

TEST_F(BluetoothAdvertisementTest, RetrievedRemoteThatIsHeardIsListedAsHeard) {
  const Remote remote = add(heldBySystem("Siri Remote"));
  startScanning();
  remote->plan.isConnectedToSystem = false;
  hear(remote, saying(std::nullopt, {uuid("1812")}), -71);
  ASSERT_EQ(devices().size(), 1U);
  EXPECT_EQ(devices()[0].rssi, -71);
  EXPECT_EQ(devices()[0].serviceUUIDs, Lines{"1812"});
}

TEST_F(BluetoothAdvertisementTest, DateIsTheHostsAndNotTheClocks) {
  host->surroundings().startDate = std::chrono::system_clock::time_point(-5s);
  EXPECT_EQ(listed(saying("Siri Remote")).lastSeen, std::chrono::system_clock::time_point(-5s));
  host->surroundings().startDate += 1h;
  EXPECT_EQ(listed(saying("Siri Remote")).lastSeen, std::chrono::system_clock::time_point(1h - 5s));
}

TEST_F(BluetoothAdvertisementTest, OneRemoteIsEnough) {
  const Remote first = add(outOfReach("Siri One"));
  const Remote second = add(outOfReach("Siri Two"));
  host->bluetooth().advertise(first, {}, -60);
  host->bluetooth().advertise(second, {}, -30);
  host->runReady();
  ASSERT_EQ(devices().size(), 1U);
  EXPECT_EQ(devices()[0].name, "Siri One");
}

TEST_F(ScriptedBluetoothTest, LateAdvertisementsAreStillTaken) {
  const auto remote = peripheral();
  hear(remote, -60);
  EXPECT_EQ(happensWhen([&] { hear(remote, -40); }), (Lines{"stopScan", "connect 1"}));
  host->advance(1s);
  ASSERT_EQ(devices().size(), 1U);
  EXPECT_EQ(devices()[0].rssi, -40);
}

TEST_F(ScriptedBluetoothTest, NameIsReadOnceForAnAdvertisement) {
  const auto remote = peripheral();
  remote->names = {"Siri One", "Living Room", std::nullopt};
  hear(remote);
  host->advance(1s);
  EXPECT_EQ(devices().at(0).name, "Siri One");
}

TEST_F(ScriptedBluetoothTest, LaterObjectForTheSameIdentifierTakesThePlace) {
  const auto first = peripheral("Siri One");
  --added;
  const auto second = peripheral("Siri Two");
  hear(first);
  hear(second);
  EXPECT_EQ(happensWhen([this] { service->connect(test::identifier(1)); }),
            (Lines{"publish Connecting to Siri Two", "connect 1"}));
  EXPECT_EQ(devices().size(), 1U);
}

struct PeripheralStateRow {
  std::int64_t state;
  std::string_view text;
};

constexpr std::array<PeripheralStateRow, 6> peripheralStates = {{{0, "Disconnected"},
                                                                 {1, "Connecting"},
                                                                 {2, "Connected"},
                                                                 {3, "Disconnecting"},
                                                                 {4, "Unknown"},
                                                                 {-1, "Unknown"}}};

class ListedState : public ScriptedBluetoothTest,
                    public testing::WithParamInterface<PeripheralStateRow> {
 protected:
  ListedState() { remote->current = static_cast<BluetoothPeripheralState>(GetParam().state); }

  const std::shared_ptr<ScriptedPeripheral> remote = peripheral();
};

TEST_P(ListedState, IsThatOfARemoteThatIsHeard) {
  hear(remote);
  host->advance(1s);
  EXPECT_EQ(devices().at(0).connectionState, GetParam().text);
}

TEST_P(ListedState, IsThatOfARemoteThatIsRetrieved) {
  scripted->central->retrieved = {remote};
  tellState();
  EXPECT_EQ(devices().at(0).connectionState, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(EachState, ListedState, testing::ValuesIn(peripheralStates));

TEST_F(BluetoothDiscoveryTest, ListedStateIsThatOfTheMomentItWasHeard) {
  const Remote remote = connected(named("Siri Remote"));
  EXPECT_EQ(remote->state(), BluetoothPeripheralState::connected);
  EXPECT_EQ(devices().at(0).connectionState, "Disconnected");
  drop(remote);
  host->advance(2s);
  EXPECT_EQ(devices().at(0).connectionState, "Disconnected");
  EXPECT_EQ(devices().at(0).lastSeen, host->surroundings().startDate);
}

}  // namespace
}  // namespace tessline::test
