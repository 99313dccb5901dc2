#include "cli/replay/ObservationWriter.h"
#include "tests/macos/BluetoothPlayer.h"
#include "tests/macos/HIDPlayer.h"
#include "tests/macos/Recordings.h"
#include "tests/macos/TouchPlayer.h"

#include <string>

#include <gtest/gtest.h>
#include <standin/dispatch.h>

namespace tessline::test {
namespace {

// A transport whose buttons click, with the clickpad at work: the recordings that need both.
class MixedRecordings : public testing::Test {
 protected:
  // What that makes stays.
  MixedRecordings() { platform::hostPlatform(); }

  template <class Player, class MakePlayer>
  void expectTheSame(const std::string& recording, MakePlayer makePlayer) {
    const auto lines = replayed(recording, [&](auto& reader, auto& output) {
      platform::QueueTime time{};
      TouchPlayer touch(
          [&](auto when, const auto& seen) { cli::writeObservation(when, seen, output); });
      const std::unique_ptr<Player> transport =
          makePlayer([&] { return time; },
                     [&](const auto& seen) { cli::writeObservation(time, seen, output); });
      transport->onEvents = [&](const auto& events) { touch.passButtons(events); };
      while (const auto record = reader.next()) {
        time = record->time;
        if (record->type.starts_with("touch.") || record->type.starts_with("desktop.")) {
          touch.play(*record);
        } else {
          touch.let(time, [&] {
            transport->apply(*record);
            standin::dispatch::waitUntilIdle();
          });
        }
      }
      // Each player counts what is left since it began.
      touch.end();
    });
    EXPECT_EQ(visibleIn(lines), visibleIn(expectedLines(recording)));
  }
};

TEST_F(MixedRecordings, BluetoothButtonsDriveTheTouch) {
  expectTheSame<BluetoothPlayer>("bluetooth-buttons-drive-the-touch", [](auto now, auto observe) {
    return std::make_unique<BluetoothPlayer>(now, observe);
  });
}

TEST_F(MixedRecordings, RemoteButtonsClick) {
  expectTheSame<HIDPlayer>("touch-remote-buttons-click",
                           [](auto, auto observe) { return std::make_unique<HIDPlayer>(observe); });
}

}  // namespace
}  // namespace tessline::test
