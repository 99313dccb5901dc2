#include "cli/replay/ObservationWriter.h"
#include "tests/macos/Recordings.h"
#include "tests/macos/TouchPlayer.h"

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <standin/corefoundation.h>
#include <standin/dispatch.h>
#include <standin/objc.h>

namespace tessline::test {
namespace {

// The recordings of the clickpad, but those that need more: HID, or a surface that tells its size
// and nevertheless does not start.
std::vector<std::string> touchRecordings() {
  const std::set<std::string> others = {"touch-remote-buttons-click", "touch-surfaces"};
  std::vector<std::string> names = recordingsOf("touch-");
  std::erase_if(names, [&](const std::string& name) { return others.contains(name); });
  return names;
}

// What a program, the log or whoever looks at the desktop sees of a replay. Which calls ask for
// what is tested of each adapter.
Lines visibleIn(Lines lines) {
  std::erase_if(lines, [](const std::string& line) {
    const auto members = nlohmann::json::parse(line);
    if (members["output"] != "call") return false;
    return members["operation"] != "log" && !members.value("posted", false);
  });
  return lines;
}

class TouchRecordings : public testing::TestWithParam<std::string> {};

TEST_P(TouchRecordings, LookTheSameOverTheAdapters) {
  const long objectsBefore = standin::objc::liveObjects();
  const long cfObjectsBefore = standin::liveCFObjects();
  const std::size_t queuesBefore = standin::dispatch::liveObjects();
  const auto lines = replayed(GetParam(), [](auto& reader, auto& output) {
    TouchPlayer player([&](auto time, const auto& observation) {
      cli::writeObservation(time, observation, output);
    });
    while (const auto record = reader.next()) player.play(*record);
  });
  EXPECT_EQ(visibleIn(lines), visibleIn(expectedLines(GetParam())));
  EXPECT_EQ(standin::objc::liveObjects(), objectsBefore);
  EXPECT_EQ(standin::liveCFObjects(), cfObjectsBefore);
  EXPECT_EQ(standin::dispatch::liveObjects(), queuesBefore);
}

INSTANTIATE_TEST_SUITE_P(All, TouchRecordings, testing::ValuesIn(touchRecordings()),
                         [](const auto& each) { return testName(each.param); });

}  // namespace
}  // namespace tessline::test
