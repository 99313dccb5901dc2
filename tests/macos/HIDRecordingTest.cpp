#include "cli/replay/ObservationWriter.h"
#include "tests/macos/HIDPlayer.h"
#include "tests/macos/Recordings.h"

#include <string>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

// The calls of an expected output that begin something, by their names, with what is particular to
// a registration; as in "IOHIDManagerOpen" and "IOHIDDeviceRegisterInputReportCallback 1 64".
Lines callsIn(const Lines& lines) {
  Lines calls;
  for (const std::string& line : lines) {
    const auto members = nlohmann::json::parse(line);
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

class HIDRecordings : public testing::TestWithParam<std::string> {};

TEST_P(HIDRecordings, LookTheSameOverTheAdapters) {
  Lines calls;
  const auto lines = replayed(GetParam(), [&](auto& reader, auto& output) {
    platform::QueueTime time{};
    HIDPlayer player([&](const auto& seen) { cli::writeObservation(time, seen, output); });
    while (const auto record = reader.next()) {
      time = record->time;
      player.apply(*record);
    }
    calls = player.calls();
  });
  EXPECT_EQ(seenIn(lines), seenIn(expectedLines(GetParam())));
  EXPECT_EQ(beginningsOf(calls), callsIn(expectedLines(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(All, HIDRecordings, testing::ValuesIn(recordingsOf("hid-")),
                         [](const auto& each) { return testName(each.param); });

}  // namespace
}  // namespace tessline::test
