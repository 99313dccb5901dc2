#include "cli/replay/ObservationWriter.h"
#include "cli/replay/Recording.h"
#include "tessline/hid/ConnectedRemoteHIDService.h"
#include "tests/macos/HIDStandIn.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tessline::test {
namespace {

using nlohmann::json;
using Lines = std::vector<std::string>;
namespace fs = std::filesystem;

fs::path recordingsFolder() {
  return fs::path(TESSLINE_SOURCE_DIR) / "tests" / "recordings";
}

// What a program sees of a replay, but the calls.
Lines linesOf(const fs::path& path) {
  Lines lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (line.find(R"("output":"call")") == std::string::npos) lines.push_back(line);
  }
  return lines;
}

// The calls of an expected output that begin something, by their names, with what is particular to
// a registration; as in "IOHIDManagerOpen" and "IOHIDDeviceRegisterInputReportCallback 1 64".
Lines callsOf(const fs::path& path) {
  Lines calls;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const json members = json::parse(line);
    if (members["output"] != "call") continue;
    std::string call = members["operation"];
    if (call == "IOHIDDeviceGetProperty" || members.value("capacity", 1) == 0) continue;
    if (members.contains("capacity")) {
      call += " " + members["device"].dump() + " " + members["capacity"].dump();
    }
    calls.push_back(std::move(call));
  }
  return calls;
}

// The same of the stand-in's calls: without those that end a registration, or give it a buffer of
// one byte to be rid of the former.
Lines beginningsOf(const Lines& calls) {
  Lines beginnings;
  for (const std::string& call : calls) {
    const auto space = call.find(' ');
    const std::string name = call.substr(0, space);
    if (name == "IOHIDDeviceRegisterInputReportCallback") {
      const auto size = call.find(' ', space + 1);
      if (size != std::string::npos && call.substr(size) != " 1") beginnings.push_back(call);
    } else if (!name.starts_with("IOHIDManagerRegister") || space != std::string::npos) {
      beginnings.push_back(name);
    }
  }
  return beginnings;
}

// The recordings of HID alone.
std::vector<std::string> recordings() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(recordingsFolder())) {
    const std::string name = entry.path().stem().string();
    if (name.starts_with("hid-") && !name.ends_with(".expected")) names.push_back(name);
  }
  std::ranges::sort(names);
  return names;
}

// Plays records of HID to a service over the adapters.
class HIDPlayer {
 public:
  explicit HIDPlayer(cli::Output& output) : output_(output) {}
  HIDPlayer(const HIDPlayer&) = delete;
  HIDPlayer& operator=(const HIDPlayer&) = delete;
  ~HIDPlayer() {
    // What ends with the player is no part of the recording.
    if (service_) service_->onSnapshotChanged = nullptr;
  }

  void play(const cli::Record& record) {
    time_ = record.time;
    const json& members = record.members;
    const std::string& type = record.type;
    if (type == "hid.create") {
      create(members);
    } else if (type == "hid.release") {
      service_.reset();
    } else if (type == "hid.startListening") {
      service_->startListening();
    } else if (type == "hid.stopListening") {
      service_->stopListening();
    } else if (type == "hid.host") {
      configureHost(members);
    } else if (type == "hid.report") {
      standin::sendHIDReport(device(members), members["reportID"], bytes(members["bytes"]));
    } else if (type == "hid.deviceAppeared") {
      devices_[members["device"]] = standin::connectHIDInterface(properties(members));
    } else if (type == "hid.deviceChanged") {
      standin::configureHIDInterface(device(members), properties(members));
    } else if (type == "hid.deviceGone") {
      standin::disconnectHIDInterface(device(members));
    } else {
      FAIL() << "nobody plays " << type;
    }
    standIn_.settle();
    for (std::string& call : standin::takeHIDCalls()) calls_.push_back(std::move(call));
  }
  // Of the records so far.
  const Lines& calls() const { return calls_; }

 private:
  void create(const json& members) {
    std::optional<std::string> prefix;
    if (members.contains("productNamePrefix")) prefix = members["productNamePrefix"];
    service_ = ConnectedRemoteHIDService::create(prefix, standIn_.platform());
    service_->onSnapshotChanged = [this](const auto& snapshot) { write(snapshot); };
    service_->onRawPayload = [this](const auto& payload) { write(cli::HIDRawPayload{payload}); };
    service_->onTransportEvents = [this](const auto& events) { write(cli::HIDEvents{events}); };
  }
  void configureHost(const json& members) {
    if (members.contains("canCreateManager")) {
      standIn_.setManagersCanBeCreated(members["canCreateManager"]);
    }
    if (members.contains("canCopyDevices"))
      standIn_.setDevicesCanBeCopied(members["canCopyDevices"]);
    if (members.contains("openResult")) standIn_.setOpenResult(members["openResult"]);
  }
  const std::shared_ptr<standin::HIDInterface>& device(const json& members) const {
    return devices_.at(members["device"]);
  }
  static standin::HIDProperties properties(const json& members) {
    standin::HIDProperties result;
    for (const auto& [key, value] : members["properties"].items()) result[key] = scripted(value);
    return result;
  }
  static standin::CFValue scripted(const json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_boolean()) return value.get<bool>();
    if (value.is_number_float()) return value.get<double>();
    if (!value.is_number()) return standin::CFBytes();
    const auto number = value.get<std::int64_t>();
    if (value.is_number_unsigned() && number < 0) return value.get<std::uint64_t>();
    return number;
  }
  static std::vector<std::uint8_t> bytes(const std::string& digits) {
    std::vector<std::uint8_t> result;
    for (std::size_t at = 0; at < digits.size(); at += 2) {
      result.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(at, 2), nullptr, 16)));
    }
    return result;
  }
  void write(const cli::Observation& observation) {
    cli::writeObservation(time_, observation, output_);
  }

  cli::Output& output_;
  platform::QueueTime time_{};
  Lines calls_;
  HIDStandIn standIn_;
  std::map<std::string, std::shared_ptr<standin::HIDInterface>> devices_;
  // The last member: it ends before what it calls.
  std::shared_ptr<ConnectedRemoteHIDService> service_;
};

class HIDRecordings : public testing::TestWithParam<std::string> {};

TEST_P(HIDRecordings, LookTheSameOverTheAdapters) {
  const auto path = fs::path(testing::TempDir()) / (GetParam() + ".jsonl");
  Lines calls;
  {
    cli::Output output = cli::Output::file(path);
    std::ifstream input(recordingsFolder() / (GetParam() + ".jsonl"));
    cli::RecordingReader reader(input);
    {
      HIDPlayer player(output);
      while (const auto record = reader.next()) player.play(*record);
      calls = beginningsOf(player.calls());
    }
    output.finish();
  }
  const auto expected = recordingsFolder() / (GetParam() + ".expected.jsonl");
  ASSERT_TRUE(fs::exists(expected));
  EXPECT_EQ(linesOf(path), linesOf(expected));
  EXPECT_EQ(calls, callsOf(expected));
  fs::remove(path);
}

TEST(RecordingsOfHID, AreFound) {
  EXPECT_FALSE(recordings().empty());
}

INSTANTIATE_TEST_SUITE_P(All, HIDRecordings, testing::ValuesIn(recordings()), [](const auto& each) {
  std::string name = each.param;
  std::ranges::replace(name, '-', '_');
  return name;
});

}  // namespace
}  // namespace tessline::test
