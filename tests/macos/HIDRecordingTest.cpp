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

// What a program sees of a replay, but the calls: those of the stand-in are others.
Lines linesOf(const fs::path& path) {
  Lines lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (line.find(R"("output":"call")") == std::string::npos) lines.push_back(line);
  }
  return lines;
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
  }

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
  HIDStandIn standIn_;
  std::map<std::string, std::shared_ptr<standin::HIDInterface>> devices_;
  // The last member, as its end still publishes.
  std::shared_ptr<ConnectedRemoteHIDService> service_;
};

class HIDRecordings : public testing::TestWithParam<std::string> {};

TEST_P(HIDRecordings, LookTheSameOverTheAdapters) {
  const auto path = fs::path(testing::TempDir()) / (GetParam() + ".jsonl");
  {
    cli::Output output = cli::Output::file(path);
    std::ifstream input(recordingsFolder() / (GetParam() + ".jsonl"));
    cli::RecordingReader reader(input);
    {
      HIDPlayer player(output);
      while (const auto record = reader.next()) player.play(*record);
    }
    output.finish();
  }
  const Lines expected = linesOf(recordingsFolder() / (GetParam() + ".expected.jsonl"));
  EXPECT_FALSE(expected.empty());
  EXPECT_EQ(linesOf(path), expected);
  fs::remove(path);
}

INSTANTIATE_TEST_SUITE_P(All, HIDRecordings, testing::ValuesIn(recordings()), [](const auto& info) {
  std::string name = info.param;
  std::ranges::replace(name, '-', '_');
  return name;
});

}  // namespace
}  // namespace tessline::test
