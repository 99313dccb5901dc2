#include "tessline/platform/simulated/SimulatedSiriRemote.h"
#include "tests/cli/listen/ListenerTest.h"

#include <algorithm>
#include <cstdint>

namespace tessline::test {
namespace {

using cli::ListenEnd;
using cli::OutputFormat;
using platform::BluetoothState;
using platform::PermissionState;
using platform::simulated::SimulatedSiriRemote;
using std::chrono::milliseconds;
using std::chrono::seconds;

class BluetoothListener : public ListenerTest {
 protected:
  void start(const cli::LiveOptions& options = {}) {
    output = makeOutput(options);
    listener = cli::makeBluetoothListener(host, output);
    listener->start();
    host->runReady();
  }
  void startWith(BluetoothState state, PermissionState permission = PermissionState::granted) {
    host->bluetooth().setState(state);
    host->allowed().bluetooth = permission;
    start();
  }
  void stop() {
    listener->stop();
    host->runReady();
  }
  void wakeARemote(const std::string& name = "Siri Remote") {
    remote = SimulatedSiriRemote::create(host, {.name = name, .batteryLevel = 82});
    remote->wake();
    host->advance(seconds(2));
  }

  void hear(std::int64_t rssi) {
    host->bluetooth().advertise(host->bluetooth().peripherals().front(),
                                {.localName = "Siri Remote", .serviceUUIDs = {}}, rssi);
    host->runReady();
  }

  std::shared_ptr<SimulatedSiriRemote> remote;
  std::shared_ptr<cli::LiveOutput> output;
  std::unique_ptr<cli::Listener> listener;
};

TEST_F(BluetoothListener, ScansUntilThereIsARemote) {
  start();
  EXPECT_EQ(shown(),
            "    0.000 s  · Starting Bluetooth\n"
            "    0.000 s  · Scanning for Bluetooth devices\n");
  EXPECT_FALSE(isOver(*output));
  EXPECT_TRUE(host->bluetooth().isScanning());
}

TEST_F(BluetoothListener, ShowsARemoteThatIsFoundUsedAndLost) {
  start();
  shown();
  wakeARemote();
  remote->hold(RemoteCommand::select, milliseconds(100));
  host->advance(seconds(1));
  remote->setBatteryLevel(82);
  remote->setBatteryLevel(81);
  host->advance(seconds(1));
  remote->drop();
  host->advance(seconds(2));
  EXPECT_EQ(shown(),
            "    0.000 s  + Siri Remote, -48 dBm, Disconnected, offers 1812\n"
            "    0.000 s  · Connected to Siri Remote\n"
            "    0.000 s  ▮ battery 82 %\n"
            "    2.000 s  ▼ select pressed\n"
            "    2.100 s  △ select released\n"
            "    3.000 s  ▮ battery 81 %\n"
            "    4.000 s  ▮ battery unknown\n"
            "    4.000 s  · Disconnected from Siri Remote\n");
}

TEST_F(BluetoothListener, ShowsARemoteThatIsHeardOtherwise) {
  start();
  wakeARemote();
  remote->drop();
  host->bluetooth().setState(BluetoothState::poweredOff);
  host->bluetooth().setState(BluetoothState::poweredOn);
  host->runReady();
  shown();
  hear(-70);
  EXPECT_EQ(shown(), "    2.000 s  ~ Siri Remote, -70 dBm, Connecting\n");
}

TEST_F(BluetoothListener, ReplacesWhatWouldControlATerminal) {
  start();
  wakeARemote("Siri Remote \x1b[2J\xC2\x9B\x7F");
  const std::string text = shown();
  EXPECT_NE(text.find("+ Siri Remote \uFFFD[2J\uFFFD\uFFFD, -48 dBm"), std::string::npos) << text;
  EXPECT_EQ(text.find('\x1b'), std::string::npos);
}

TEST_F(BluetoothListener, WritesEverySnapshotEventAndLevelForPrograms) {
  start({.format = OutputFormat::jsonl, .voiceFiles = {}});
  wakeARemote();
  remote->press(RemoteCommand::up);
  host->advance(seconds(1));
  const auto all = objects();
  const auto first = [&](const char* key) {
    const auto found =
        std::ranges::find_if(all, [&](const auto& object) { return object.contains(key); });
    return found == all.end() ? nlohmann::json({{key, nullptr}}) : *found;
  };
  ASSERT_FALSE(all.empty());
  EXPECT_EQ(all.front(),
            nlohmann::json::parse(R"({"time":0.0,"status":"Starting Bluetooth","isScanning":false,)"
                                  R"("devices":[],"connectedDeviceID":null})"));
  EXPECT_EQ(first("batteryPercent")["batteryPercent"], 82);
  EXPECT_EQ(first("command")["command"], "up");
  const auto connected = std::ranges::find_if(all, [](const auto& object) {
    return object.value("status", "") == "Connected to Siri Remote";
  });
  ASSERT_NE(connected, all.end());
  EXPECT_EQ((*connected)["devices"][0]["id"], (*connected)["connectedDeviceID"]);
  EXPECT_EQ((*connected)["devices"][0]["rssi"], -48);
}

TEST_F(BluetoothListener, WritesVoiceFiles) {
  start({.format = OutputFormat::text,
         .voiceFiles = cli::VoiceFileOptions{directory / "voice", false}});
  wakeARemote();
  remote->speak({{0xB8, 0x01}, {0xB8, 0x02}});
  host->advance(seconds(1));
  const std::string text = shown();
  EXPECT_NE(text.find("■ voice session 1 ended: 0.04 s of sound  voice-001.opus\n"),
            std::string::npos)
      << text;
  EXPECT_EQ(output->finish(), ListenEnd());
  EXPECT_TRUE(readText(directory / "voice" / "voice-001.opus").starts_with("OggS"));
}

TEST_F(BluetoothListener, StopEndsTheScan) {
  start();
  shown();
  stop();
  EXPECT_EQ(shown(), "    0.000 s  · Scan stopped\n");
  EXPECT_TRUE(isOver(*output));
  EXPECT_FALSE(host->bluetooth().isScanning());
  EXPECT_EQ(output->finish(), ListenEnd());
}

TEST_F(BluetoothListener, ShowsNothingMoreOnceItIsOver) {
  start();
  wakeARemote();
  stop();
  shown();
  remote->hold(RemoteCommand::select, milliseconds(100));
  host->advance(seconds(1));
  EXPECT_EQ(shown(), "");
}

TEST_F(BluetoothListener, EndsItsConnectionsWhenItGoes) {
  start();
  wakeARemote();
  EXPECT_TRUE(remote->isInputEnabled());
  stop();
  EXPECT_TRUE(remote->isInputEnabled());
  listener.reset();
  host->runReady();
  EXPECT_FALSE(remote->isInputEnabled());
}

TEST_F(BluetoothListener, WaitsForBluetoothThatMayBecomeUsable) {
  startWith(BluetoothState::poweredOff);
  EXPECT_EQ(shown(),
            "    0.000 s  · Starting Bluetooth\n"
            "    0.000 s  · Bluetooth is powered off\n");
  for (const BluetoothState state : {BluetoothState::resetting, BluetoothState::unknown}) {
    host->bluetooth().setState(state);
    host->runReady();
    EXPECT_FALSE(isOver(*output));
  }
  shown();
  host->bluetooth().setState(BluetoothState::poweredOn);
  host->runReady();
  EXPECT_EQ(shown(), "    0.000 s  · Scanning for Bluetooth devices\n");
}

TEST_F(BluetoothListener, FailsWithoutBluetooth) {
  startWith(BluetoothState::unsupported, PermissionState::notNeeded);
  EXPECT_EQ(shown(),
            "    0.000 s  · Starting Bluetooth\n"
            "    0.000 s  · Bluetooth is not supported on this Mac\n");
  EXPECT_TRUE(isOver(*output));
  EXPECT_EQ(output->finish(), (ListenEnd{.hasFailed = true}));
}

TEST_F(BluetoothListener, TellsThatThePermissionIsDenied) {
  startWith(BluetoothState::unauthorized, PermissionState::denied);
  EXPECT_EQ(shown(),
            "    0.000 s  · Starting Bluetooth\n"
            "    0.000 s  · Bluetooth permission is not authorized\n");
  EXPECT_TRUE(isOver(*output));
  EXPECT_EQ(output->finish(),
            (ListenEnd{true,
                       "Bluetooth is denied: allow this program, or the terminal that runs it, in "
                       "System Settings > Privacy & Security > Bluetooth"}));
}

// The user is asked, and says no.
TEST_F(BluetoothListener, EndsWhenThePermissionIsTakenBack) {
  start();
  host->allowed().bluetooth = PermissionState::denied;
  host->bluetooth().setState(BluetoothState::unauthorized);
  host->runReady();
  EXPECT_TRUE(isOver(*output));
  EXPECT_TRUE(output->finish().hint.starts_with("Bluetooth is denied"));
}

}  // namespace
}  // namespace tessline::test
