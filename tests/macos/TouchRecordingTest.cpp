#include "cli/replay/ObservationWriter.h"
#include "tests/macos/Recordings.h"
#include "tests/macos/TouchPlayer.h"

#include <cstddef>
#include <string>

#include <gtest/gtest.h>
#include <standin/corefoundation.h>
#include <standin/dispatch.h>
#include <standin/objc.h>

namespace tessline::test {
namespace {

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

INSTANTIATE_TEST_SUITE_P(All, TouchRecordings,
                         testing::ValuesIn(recordingsOf("touch-", {"touch-remote-buttons-click"})),
                         [](const auto& each) { return testName(each.param); });

}  // namespace
}  // namespace tessline::test
