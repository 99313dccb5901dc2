#include "tests/cli/listen/ListenerTest.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

namespace tessline::test {
namespace {

using cli::ListenEnd;
using cli::OutputFormat;
using platform::PermissionState;
using Device = std::shared_ptr<platform::simulated::SimulatedHIDDevice>;

constexpr platform::HIDResult notPermitted = static_cast<platform::HIDResult>(0xE00002E2);

class HIDListener : public ListenerTest {
 protected:
  void start(const cli::LiveOptions& options = {}, std::optional<std::string> prefix = {}) {
    output = makeOutput(options);
    listener = cli::makeHIDListener(host, output, std::move(prefix));
    listener->start();
    host->runReady();
  }
  Device connect(std::int64_t usagePage, std::int64_t usage, const std::string& name = "Remote") {
    Device device = host->hid().connect({{"Product", name},
                                         {"Transport", "BluetoothLowEnergy"},
                                         {"VendorID", std::int64_t{76}},
                                         {"ProductID", std::int64_t{789}},
                                         {"PrimaryUsagePage", usagePage},
                                         {"PrimaryUsage", usage}});
    host->runReady();
    return device;
  }
  void report(const Device& device, std::vector<std::uint8_t> bytes) {
    host->hid().sendReport(device, 0, std::move(bytes));
    host->runReady();
  }
  ListenEnd end() { return output->finish(); }
  // What a failed start makes of a permission.
  ListenEnd endWith(PermissionState permission) {
    host->allowed().inputMonitoring = permission;
    start();
    EXPECT_TRUE(isOver(*output));
    return end();
  }
  bool wasAsked(const std::string& operation) const {
    return std::ranges::any_of(host->calls().calls(),
                               [&](const auto& call) { return call.operation == operation; });
  }

  std::shared_ptr<cli::LiveOutput> output;
  std::unique_ptr<cli::Listener> listener;
};

TEST_F(HIDListener, WaitsForARemoteThatIsNotThere) {
  start();
  EXPECT_EQ(shown(), "    0.000 s  · Listening for connected Siri Remote HID devices\n");
  EXPECT_FALSE(isOver(*output));
}

TEST_F(HIDListener, ShowsInterfacesThatComeAndGo) {
  start();
  shown();
  host->advance(std::chrono::milliseconds(1500));
  const Device buttons = connect(12, 1);
  EXPECT_EQ(shown(),
            "    1.500 s  · Connected HID interface: Remote\n"
            "    1.500 s  + Remote, BluetoothLowEnergy, product 004C:0315, usage 000C:0001\n");
  const Device management = connect(0xFF00, 0x0B);
  EXPECT_EQ(shown(),
            "    1.500 s  + Remote, BluetoothLowEnergy, product 004C:0315, usage FF00:000B, "
            "management\n");
  host->hid().disconnect(buttons);
  host->runReady();
  EXPECT_EQ(shown(),
            "    1.500 s  · HID interface removed: Remote\n"
            "    1.500 s  - Remote, BluetoothLowEnergy, product 004C:0315, usage 000C:0001\n");
  EXPECT_FALSE(isOver(*output));
}

TEST_F(HIDListener, ShowsInterfacesThatAreThereAlready) {
  connect(12, 1);
  start();
  EXPECT_EQ(shown(),
            "    0.000 s  · Listening to 1 connected Siri Remote HID interface\n"
            "    0.000 s  + Remote, BluetoothLowEnergy, product 004C:0315, usage 000C:0001\n"
            "    0.000 s  · Connected HID interface: Remote\n");
}

TEST_F(HIDListener, ShowsButtons) {
  start();
  const Device device = connect(12, 1);
  shown();
  host->advance(std::chrono::seconds(2));
  report(device, {0xFB, 0x08, 0x00});
  report(device, {0xFB, 0x00, 0x00});
  EXPECT_EQ(shown(),
            "    2.000 s  ▼ select pressed\n"
            "    2.000 s  △ select released\n");
}

TEST_F(HIDListener, NamesTheRemoteByItsPrefix) {
  start({}, "Apple");
  EXPECT_EQ(shown(), "    0.000 s  · Listening for connected Apple HID devices\n");
}

TEST_F(HIDListener, WritesEverySnapshotAndEventForPrograms) {
  start({.format = OutputFormat::jsonl, .voiceFiles = {}});
  const Device device = connect(12, 1);
  report(device, {0xFB, 0x08, 0x00});
  const auto all = objects();
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[0], nlohmann::json::parse(
                        R"({"time":0.0,"status":"Listening for connected Siri Remote HID devices",)"
                        R"("isListening":true,"devices":[]})"));
  EXPECT_EQ(all[1]["status"], "Connected HID interface: Remote");
  nlohmann::json described = all[1]["devices"][0];
  EXPECT_NE(described["id"], "");
  described.erase("id");
  EXPECT_EQ(described,
            nlohmann::json::parse(R"({"name":"Remote","transport":"BluetoothLowEnergy",)"
                                  R"("vendorID":76,"productID":789,"usagePage":12,"usage":1})"));
  EXPECT_EQ(all[2], nlohmann::json::parse(R"({"time":0.0,"event":"button","command":"select",)"
                                          R"("ordinal":4,"phase":"pressed"})"));
}

TEST_F(HIDListener, WritesVoiceFiles) {
  start({.format = OutputFormat::text,
         .voiceFiles = cli::VoiceFileOptions{directory / "voice", false}});
  const Device device = connect(12, 1);
  report(device, {0xFB, 0x20, 0x00});
  report(device, {0xFB, 0x00, 0x00});
  EXPECT_EQ(end(), ListenEnd());
  EXPECT_NE(shown().find("■ voice session 1 ended: 0.00 s of sound  voice-001.opus\n"),
            std::string::npos);
  EXPECT_TRUE(readText(directory / "voice" / "voice-001.opus").starts_with("OggS"));
}

TEST_F(HIDListener, StopGivesTheInterfacesBackAndEndsIt) {
  start();
  const Device device = connect(12, 1);
  shown();
  listener->stop();
  EXPECT_EQ(shown(), "    0.000 s  · Stopped\n");
  EXPECT_TRUE(isOver(*output));
  EXPECT_TRUE(wasAsked("IOHIDManagerUnscheduleFromRunLoop"));
  EXPECT_TRUE(wasAsked("IOHIDManagerClose"));
  report(device, {0xFB, 0x08, 0x00});
  EXPECT_EQ(end(), ListenEnd());
  EXPECT_EQ(shown(), "");
}

TEST_F(HIDListener, GivesTheInterfacesBackWhenItGoes) {
  start();
  connect(12, 1);
  end();
  shown();
  listener.reset();
  EXPECT_TRUE(wasAsked("IOHIDManagerClose"));
  EXPECT_EQ(shown(), "");
}

TEST_F(HIDListener, FailsWithoutAManager) {
  host->hid().setManagersCanBeCreated(false);
  EXPECT_EQ(endWith(PermissionState::notNeeded), (ListenEnd{.hasFailed = true}));
  EXPECT_EQ(shown(), "    0.000 s  · Could not create HID manager\n");
}

TEST_F(HIDListener, FailsWhereItMayNotOpen) {
  host->hid().setOpenResult(notPermitted);
  EXPECT_EQ(endWith(PermissionState::granted), (ListenEnd{.hasFailed = true}));
  EXPECT_EQ(shown(), "    0.000 s  · Could not open HID manager: 0xE00002E2\n");
}

TEST_F(HIDListener, TellsWhichPermissionIsDenied) {
  host->hid().setOpenResult(notPermitted);
  EXPECT_EQ(endWith(PermissionState::denied),
            (ListenEnd{true,
                       "Input Monitoring is denied: allow this program, or the terminal that runs "
                       "it, in System Settings > Privacy & Security > Input Monitoring"}));
}

TEST_F(HIDListener, TellsWhichPermissionIsNotDecided) {
  host->hid().setOpenResult(notPermitted);
  const ListenEnd found = endWith(PermissionState::undetermined);
  EXPECT_TRUE(found.hasFailed);
  EXPECT_TRUE(found.hint.starts_with("Input Monitoring is not decided yet: answer the system's"))
      << found.hint;
  EXPECT_TRUE(found.hint.ends_with("> Input Monitoring; then try again")) << found.hint;
}

// What is denied may be needed by other devices alone, or by a remote that is not there yet.
TEST_F(HIDListener, ListensDespiteADeniedPermissionAndSaysSo) {
  host->allowed().inputMonitoring = PermissionState::denied;
  start();
  EXPECT_FALSE(isOver(*output));
  EXPECT_EQ(shown(),
            "    0.000 s  · Listening for connected Siri Remote HID devices\n"
            "    0.000 s  ! Input Monitoring is denied: allow this program, or the terminal that "
            "runs it, in System Settings > Privacy & Security > Input Monitoring\n");
}

TEST_F(HIDListener, TellsProgramsOfADeniedPermission) {
  host->allowed().inputMonitoring = PermissionState::denied;
  start({.format = OutputFormat::jsonl, .voiceFiles = {}});
  const auto all = objects();
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[1].value("hint", "").find("Input Monitoring is denied: "), 0U);
}

}  // namespace
}  // namespace tessline::test
