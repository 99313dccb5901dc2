#include "tessline/bluetooth/BluetoothRemoteDiscoveryService.h"
#include "tessline/platform/simulated/SimulatedSiriRemote.h"
#include "tests/support/Bytes.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using platform::simulated::SimulatedHost;
using platform::simulated::SimulatedSiriRemote;
using platform::simulated::SimulatedSiriRemoteOptions;
using std::chrono::milliseconds;
using Packets = std::vector<std::vector<std::uint8_t>>;

// An Opus packet of that size as the remote makes it, unlike its neighbours.
std::vector<std::uint8_t> packet(std::size_t size, std::uint8_t filler) {
  std::vector<std::uint8_t> bytes(size, filler);
  bytes.front() = 0xB8;
  return bytes;
}

class SimulatedSiriRemoteTest : public testing::Test {
 protected:
  SimulatedSiriRemoteTest() {
    service->onTransportEvents = [this](const std::vector<TesslineEvent>& batch) {
      events.insert(events.end(), batch.begin(), batch.end());
    };
    service->onBatteryLevelChanged = [this](std::optional<std::int64_t> percent) {
      batteryLevels.push_back(percent);
    };
    service->onSnapshotChanged = [this](const BluetoothRemoteDiscoverySnapshot& snapshot) {
      status = snapshot.status;
    };
  }

  void connect() {
    service->startScanning();
    host->runReady();
    remote->wake();
    host->runReady();
    ASSERT_EQ(status, "Connected to Siri Remote");
  }
  Packets receivedPackets() const {
    Packets packets;
    for (const TesslineEvent& event : events) {
      if (const auto* const frame = std::get_if<RemoteVoiceFrame>(&event)) {
        packets.push_back(frame->packetBytes);
      }
    }
    return packets;
  }

  std::shared_ptr<SimulatedHost> host = SimulatedHost::create();
  std::shared_ptr<SimulatedSiriRemote> remote =
      SimulatedSiriRemote::create(host, {.batteryLevel = 64});
  std::string status;
  std::vector<TesslineEvent> events;
  std::vector<std::optional<std::int64_t>> batteryLevels;
  std::shared_ptr<BluetoothRemoteDiscoveryService> service =
      BluetoothRemoteDiscoveryService::create(host);
};

TEST_F(SimulatedSiriRemoteTest, EveryButtonIsReadAsItself) {
  connect();
  for (std::size_t ordinal = 0; ordinal < remoteCommandCount; ++ordinal) {
    const RemoteCommand command = remoteCommandWithOrdinal(ordinal).value();
    events.clear();
    remote->press(command);
    host->runReady();
    remote->release(command);
    host->runReady();
    const std::vector<TesslineEvent> expected = {
        RemoteButtonEvent{command, RemoteButtonPhase::pressed},
        RemoteButtonEvent{command, RemoteButtonPhase::released}};
    EXPECT_EQ(events, expected) << name(command);
  }
}

TEST_F(SimulatedSiriRemoteTest, ButtonsAreHeldTogether) {
  connect();
  remote->press(RemoteCommand::up);
  remote->press(RemoteCommand::home);
  remote->release(RemoteCommand::up);
  host->runReady();
  const std::vector<TesslineEvent> expected = {
      RemoteButtonEvent{RemoteCommand::up, RemoteButtonPhase::pressed},
      RemoteButtonEvent{RemoteCommand::home, RemoteButtonPhase::pressed},
      RemoteButtonEvent{RemoteCommand::up, RemoteButtonPhase::released}};
  EXPECT_EQ(events, expected);
}

TEST_F(SimulatedSiriRemoteTest, HeldButtonIsReleasedWhenItsTimeHasCome) {
  connect();
  remote->hold(RemoteCommand::mute, milliseconds(300));
  host->advance(milliseconds(299));
  EXPECT_EQ(events.size(), 1U);
  host->advance(milliseconds(1));
  EXPECT_EQ(events.size(), 2U);
}

TEST_F(SimulatedSiriRemoteTest, VoiceArrivesPacketByPacketWhateverItsSize) {
  connect();
  const Packets spoken = {packet(1, 0), packet(59, 1), packet(60, 2), packet(61, 3),
                          packet(255, 4)};
  remote->speak(spoken);
  host->advance(milliseconds(20 * 6));
  EXPECT_EQ(receivedPackets(), spoken);
  EXPECT_EQ(events.front(),
            TesslineEvent(RemoteButtonEvent{RemoteCommand::voice, RemoteButtonPhase::pressed}));
  EXPECT_EQ(events.back(),
            TesslineEvent(RemoteButtonEvent{RemoteCommand::voice, RemoteButtonPhase::released}));
}

TEST_F(SimulatedSiriRemoteTest, VoiceTakesItsTime) {
  connect();
  remote->speak({packet(30, 0), packet(30, 1), packet(30, 2)});
  // Each packet is complete when the next one begins.
  host->advance(milliseconds(59));
  EXPECT_EQ(receivedPackets().size(), 1U);
  host->advance(milliseconds(1));
  EXPECT_EQ(receivedPackets().size(), 2U);
}

TEST_F(SimulatedSiriRemoteTest, TellsItsBattery) {
  connect();
  remote->setBatteryLevel(63);
  host->runReady();
  const std::vector<std::optional<std::int64_t>> expected = {64, 63};
  EXPECT_EQ(batteryLevels, expected);
}

TEST_F(SimulatedSiriRemoteTest, LevelThatChangesBeforeItIsAskedForIsTheNewOne) {
  service->onSnapshotChanged = [this](const BluetoothRemoteDiscoverySnapshot& snapshot) {
    status = snapshot.status;
    if (snapshot.connectedDeviceID) remote->setBatteryLevel(63);
  };
  connect();
  const std::vector<std::optional<std::int64_t>> expected = {63};
  EXPECT_EQ(batteryLevels, expected);
}

TEST_F(SimulatedSiriRemoteTest, IsNotHeardBeforeItWakes) {
  service->startScanning();
  host->advance(milliseconds(5000));
  EXPECT_EQ(status, "Scanning for Bluetooth devices");
}

TEST_F(SimulatedSiriRemoteTest, SendsNothingBeforeItsInputIsEnabled) {
  remote->press(RemoteCommand::up);
  service->startScanning();
  host->runReady();
  EXPECT_FALSE(remote->isInputEnabled());
  remote->wake();
  host->runReady();
  EXPECT_TRUE(remote->isInputEnabled());
  EXPECT_TRUE(events.empty());
}

TEST_F(SimulatedSiriRemoteTest, IsGoneWhenItDropsUntilItWakes) {
  connect();
  remote->drop();
  host->runReady();
  EXPECT_EQ(status, "Disconnected from Siri Remote");
  EXPECT_FALSE(remote->isInputEnabled());
  remote->press(RemoteCommand::up);
  host->advance(milliseconds(10000));
  EXPECT_TRUE(events.empty());
  remote->wake();
  host->runReady();
  EXPECT_EQ(status, "Connected to Siri Remote");
  EXPECT_TRUE(remote->isInputEnabled());
}

TEST_F(SimulatedSiriRemoteTest, LevelThatChangedWhileItWasGoneIsToldAfterwards) {
  connect();
  remote->drop();
  host->runReady();
  remote->setBatteryLevel(12);
  remote->wake();
  host->runReady();
  EXPECT_EQ(batteryLevels.back(), 12);
}

TEST_F(SimulatedSiriRemoteTest, LevelThatChangedIsReadAgainInTheSameConnection) {
  connect();
  remote->setBatteryLevel(63);
  host->runReady();
  // It is connected, which the host says again; so it is set up again.
  service->connect(SimulatedSiriRemoteOptions().identifier);
  host->runReady();
  const std::vector<std::optional<std::int64_t>> expected = {64, 63, 63};
  EXPECT_EQ(batteryLevels, expected);
}

TEST_F(SimulatedSiriRemoteTest, VerbsEndWithTheRemote) {
  connect();
  remote->hold(RemoteCommand::home, milliseconds(100));
  remote.reset();
  host->advance(milliseconds(200));
  EXPECT_EQ(events.size(), 1U);
}

TEST_F(SimulatedSiriRemoteTest, GoesByTheNameItIsGiven) {
  remote.reset();
  remote = SimulatedSiriRemote::create(host, {.name = "Apple TV Remote", .rssi = -61});
  service->startScanning();
  host->runReady();
  remote->wake();
  host->runReady();
  EXPECT_EQ(status, "Connected to Apple TV Remote");
}

}  // namespace
}  // namespace tessline::test
