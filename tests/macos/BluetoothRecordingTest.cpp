#include "cli/replay/ObservationWriter.h"
#include "tests/macos/BluetoothPlayer.h"
#include "tests/macos/Recordings.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <standin/corebluetooth.h>
#include <standin/dispatch.h>
#include <standin/objc.h>

namespace tessline::test {
namespace {

// Time is that of the stand-in's queues, and stands still but for records.
void play(cli::RecordingReader& reader, cli::Output& output) {
  const auto clock = platform::hostPlatform()->makeSerialQueue("com.example.clock");
  const platform::QueueTime start = clock->now();
  // Timers are a little late, so as never to be early by a rounding.
  constexpr platform::QueueTime shown = std::chrono::microseconds(10);
  const auto now = [&] { return (clock->now() - start) / shown * shown; };
  bool isOver = false;
  BluetoothPlayer player(now, [&](const cli::Observation& observation) {
    // What ends with the player is no part of the recording.
    if (!isOver) cli::writeObservation(now(), observation, output);
  });
  while (const auto record = reader.next()) {
    standin::dispatch::advance(record->time - now());
    player.apply(*record);
    standin::dispatch::waitUntilIdle();
  }
  isOver = true;
}

class BluetoothRecordings : public testing::TestWithParam<std::string> {
 protected:
  BluetoothRecordings() {
    // What that makes stays.
    platform::hostPlatform();
    standin::dispatch::waitUntilIdle();
    standin::dispatch::useManualClock(true);
  }
  ~BluetoothRecordings() override { standin::dispatch::useManualClock(false); }
};

TEST_P(BluetoothRecordings, LookTheSameOverTheAdapters) {
  const long objectsBefore = standin::objc::liveObjects();
  const std::size_t queuesBefore = standin::dispatch::liveObjects();
  const auto lines = replayed(GetParam(), [](auto& reader, auto& output) {
    play(reader, output);
    standin::dispatch::waitUntilIdle();
    while (standin::dispatch::advanceToNextTimer()) continue;
    standin::dispatch::waitUntilIdle();
  });
  EXPECT_EQ(seenIn(lines), seenIn(expectedLines(GetParam())));
  EXPECT_EQ(standin::bluetooth::liveManagers(), 0U);
  EXPECT_EQ(standin::objc::liveObjects(), objectsBefore);
  EXPECT_EQ(standin::dispatch::liveObjects(), queuesBefore);
}

INSTANTIATE_TEST_SUITE_P(All, BluetoothRecordings,
                         testing::ValuesIn(recordingsOf("bluetooth-",
                                                        {"bluetooth-buttons-drive-the-touch"})),
                         [](const auto& each) { return testName(each.param); });

}  // namespace
}  // namespace tessline::test
