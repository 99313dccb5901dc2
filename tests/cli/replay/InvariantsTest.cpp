#include "cli/replay/Invariants.h"
#include "tests/support/Bytes.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using namespace std::chrono_literals;
using cli::HIDEvents;
using cli::HIDRawPayload;
using cli::Observation;
using platform::simulated::PlatformCall;

std::size_t violations(std::unique_ptr<cli::Invariant> invariant,
                       const std::vector<Observation>& observations) {
  std::vector<cli::Violation> found;
  for (const Observation& observation : observations) {
    invariant->observe(std::chrono::seconds(1), observation, found);
  }
  return found.size();
}

TesslineEvent pressed(RemoteCommand command) {
  return RemoteButtonEvent{command, RemoteButtonPhase::pressed};
}
TesslineEvent released(RemoteCommand command) {
  return RemoteButtonEvent{command, RemoteButtonPhase::released};
}
Observation raw(std::string_view text) {
  return HIDRawPayload{bytes(text)};
}
Observation snapshot(bool isListening, std::vector<ConnectedRemoteHIDDevice> devices = {}) {
  return ConnectedRemoteHIDSnapshot{"", isListening, std::move(devices)};
}
ConnectedRemoteHIDDevice device(const std::string& name, const std::string& id) {
  return {id, name, "", 0, 0, 0, 0};
}
Observation opened(std::int64_t result) {
  return PlatformCall{{}, "IOHIDManagerOpen", {{"result", result}}};
}
Observation registered(std::int64_t number, std::int64_t capacity) {
  return PlatformCall{
      {}, "IOHIDDeviceRegisterInputReportCallback", {{"device", number}, {"capacity", capacity}}};
}

TEST(ReleaseFollowsPress, HoldsForTheMask) {
  const Observation mask = raw("08 00");
  EXPECT_EQ(violations(cli::makeReleaseFollowsPress(),
                       {mask, HIDEvents{{pressed(RemoteCommand::select)}}, mask,
                        HIDEvents{{released(RemoteCommand::select)}}}),
            0U);
  EXPECT_EQ(violations(cli::makeReleaseFollowsPress(),
                       {mask, HIDEvents{{released(RemoteCommand::select)}}}),
            1U);
  EXPECT_EQ(violations(cli::makeReleaseFollowsPress(),
                       {mask, HIDEvents{{pressed(RemoteCommand::select)}}, mask,
                        HIDEvents{{released(RemoteCommand::select)}}, mask,
                        HIDEvents{{released(RemoteCommand::select)}}}),
            1U);
  EXPECT_EQ(violations(cli::makeReleaseFollowsPress(),
                       {mask, HIDEvents{{pressed(RemoteCommand::select)}}, mask,
                        HIDEvents{{pressed(RemoteCommand::select)}}}),
            1U);
}

TEST(ReleaseFollowsPress, TellsThePathsApart) {
  EXPECT_EQ(violations(cli::makeReleaseFollowsPress(),
                       {raw("08 00"), HIDEvents{{pressed(RemoteCommand::select)}},
                        raw("1b 23 00 00 00"), HIDEvents{{released(RemoteCommand::select)}},
                        raw("00 00"), HIDEvents{{released(RemoteCommand::select)}}}),
            1U);
  EXPECT_EQ(violations(cli::makeReleaseFollowsPress(),
                       {raw("1b 23 00 00 02"), HIDEvents{{pressed(RemoteCommand::volumeUp)}},
                        raw("1b 23 00 00 00"), HIDEvents{{released(RemoteCommand::select)}}}),
            1U);
  EXPECT_EQ(violations(cli::makeReleaseFollowsPress(),
                       {raw("1b 23 00 03 00"), HIDEvents{{pressed(RemoteCommand::select)}},
                        raw("1b 23 00 00 00"), HIDEvents{{released(RemoteCommand::select)}}}),
            0U);
}

TEST(ReleaseFollowsPress, VoiceOverItsHandleNeedsAnOpenSession) {
  const HIDEvents down = {{VoiceSessionStarted{}, pressed(RemoteCommand::voice)}};
  const HIDEvents up = {{VoiceSessionEnded{}, released(RemoteCommand::voice)}};
  EXPECT_EQ(violations(cli::makeReleaseFollowsPress(),
                       {raw("1b 3a 00 20 00"), down, raw("1b 3a 00 00 00"), up}),
            0U);
  EXPECT_EQ(violations(cli::makeReleaseFollowsPress(),
                       {raw("1b 23 00 00 10"), HIDEvents{{VoiceSessionStarted{}}},
                        raw("1b 3a 00 00 00"), up}),
            0U);
  EXPECT_EQ(violations(cli::makeReleaseFollowsPress(), {raw("1b 3a 00 00 00"), up}), 1U);
  EXPECT_EQ(violations(cli::makeReleaseFollowsPress(),
                       {raw("1b 3a 00 20 00"), down, raw("1b 3a 00 00 00"), up,
                        raw("1b 3a 00 00 00"), up}),
            1U);
}

TEST(NoCallbackAfterRelease, SeesACallbackOfAServiceThatIsGone) {
  EXPECT_EQ(
      violations(cli::makeNoCallbackAfterRelease(), {cli::HIDServiceCreated{}, snapshot(false),
                                                     cli::HIDServiceReleased{}, PlatformCall{}}),
      0U);
  for (const Observation& late : {snapshot(false), raw("00"), Observation(HIDEvents{})}) {
    EXPECT_EQ(violations(cli::makeNoCallbackAfterRelease(),
                         {cli::HIDServiceCreated{}, cli::HIDServiceReleased{}, late}),
              1U);
  }
}

TEST(ListeningMeansOpen, ComparesSnapshotsWithTheManager) {
  const Observation closed = PlatformCall{{}, "IOHIDManagerClose", {}};
  EXPECT_EQ(violations(cli::makeListeningMeansOpen(),
                       {snapshot(false), opened(0), snapshot(true), closed, snapshot(false)}),
            0U);
  EXPECT_EQ(violations(cli::makeListeningMeansOpen(), {snapshot(true)}), 1U);
  EXPECT_EQ(violations(cli::makeListeningMeansOpen(), {opened(0), snapshot(false)}), 1U);
  EXPECT_EQ(violations(cli::makeListeningMeansOpen(), {opened(5), snapshot(true)}), 1U);
  EXPECT_EQ(violations(cli::makeListeningMeansOpen(), {opened(0), closed, snapshot(true)}), 1U);
}

TEST(OneKeySet, ComparesInterfacesWithBuffers) {
  const Observation one = snapshot(true, {device("a", "1")});
  EXPECT_EQ(violations(cli::makeOneKeySet(),
                       {snapshot(true), registered(1, 64), one, registered(1, 0), snapshot(true)}),
            0U);
  EXPECT_EQ(violations(cli::makeOneKeySet(), {one}), 1U);
  EXPECT_EQ(violations(cli::makeOneKeySet(), {registered(1, 64), snapshot(true)}), 1U);
}

TEST(DevicesAreSorted, ComparesNeighbours) {
  EXPECT_EQ(violations(cli::makeDevicesAreSorted(),
                       {snapshot(true, {device("a", "2"), device("b", "1"), device("b", "2")})}),
            0U);
  EXPECT_EQ(violations(cli::makeDevicesAreSorted(),
                       {snapshot(true, {device("b", "1"), device("a", "2")})}),
            1U);
  EXPECT_EQ(violations(cli::makeDevicesAreSorted(),
                       {snapshot(true, {device("b", "2"), device("b", "1")})}),
            1U);
}

Observation mouse(const std::string& type, double x = 0, double y = 0) {
  return PlatformCall{
      {}, "CGEventCreateMouseEvent", {{"type", "kCGEvent" + type}, {"x", x}, {"y", y}}};
}

// The same, with the time of each observation and the end of the replay.
std::size_t timedViolations(
    std::unique_ptr<cli::Invariant> invariant,
    const std::vector<std::pair<platform::QueueTime, Observation>>& observations,
    platform::QueueTime end) {
  std::vector<cli::Violation> found;
  for (const auto& [time, observation] : observations) invariant->observe(time, observation, found);
  invariant->finish(end, found);
  return found.size();
}

TEST(NoCallbackAfterRelease, SeesATouchCallbackOfAServiceThatIsGone) {
  for (const Observation& late :
       {Observation(cli::TouchPoints{}), Observation(cli::ChargePhase{})}) {
    EXPECT_EQ(violations(cli::makeNoCallbackAfterRelease(),
                         {cli::TouchCreated{}, late, cli::HIDServiceReleased{}, late}),
              0U);
    EXPECT_EQ(violations(cli::makeNoCallbackAfterRelease(), {cli::TouchReleased{}, late}), 1U);
    EXPECT_EQ(violations(cli::makeNoCallbackAfterRelease(),
                         {cli::TouchReleased{}, cli::TouchCreated{}, late}),
              0U);
  }
}

// Everything that a capture service calls back with.
const std::vector<Observation> captureCallbacks = {
    PacketLoggerCaptureSnapshot{}, cli::CaptureRawPayload{bytes("08 00")},
    cli::CaptureEvents{{pressed(RemoteCommand::select)}}};

TEST(NoCallbackAfterRelease, SeesACaptureCallbackOfAServiceThatIsGone) {
  using std::chrono::seconds;
  for (const Observation& late : captureCallbacks) {
    const auto invariant = cli::makeNoCallbackAfterRelease();
    std::vector<cli::Violation> found;
    invariant->observe(seconds(1), cli::CaptureCreated{}, found);
    invariant->observe(seconds(2), cli::CaptureReleased{}, found);
    EXPECT_TRUE(found.empty());
    invariant->observe(seconds(3), late, found);
    EXPECT_EQ(found,
              (std::vector<cli::Violation>{{seconds(3), "a service that is gone called back"}}));
  }
}

TEST(NoCallbackAfterRelease, LetsCaptureServicesThatAreThereCallBack) {
  for (const Observation& callback : captureCallbacks) {
    EXPECT_EQ(violations(cli::makeNoCallbackAfterRelease(),
                         {cli::CaptureCreated{}, callback, cli::CaptureReleased{}}),
              0U);
    EXPECT_EQ(violations(
                  cli::makeNoCallbackAfterRelease(),
                  {cli::CaptureCreated{}, cli::CaptureReleased{}, cli::CaptureCreated{}, callback}),
              0U);
  }
}

TEST(NoCallbackAfterRelease, KnowsCapturesFromOtherServices) {
  for (const Observation& callback : captureCallbacks) {
    EXPECT_EQ(violations(cli::makeNoCallbackAfterRelease(),
                         {cli::CaptureCreated{}, cli::HIDServiceReleased{}, cli::TouchReleased{},
                          callback}),
              0U);
    EXPECT_EQ(violations(cli::makeNoCallbackAfterRelease(),
                         {cli::CaptureReleased{}, cli::HIDServiceCreated{}, cli::TouchCreated{},
                          callback}),
              1U);
  }
  for (const Observation& callback :
       {snapshot(false), raw("00"), Observation(HIDEvents{}), Observation(cli::TouchPoints{}),
        Observation(cli::ChargePhase{})}) {
    EXPECT_EQ(violations(cli::makeNoCallbackAfterRelease(), {cli::CaptureReleased{}, callback}),
              0U);
  }
}

TEST(ButtonGoesUpOnce, CountsDownsAndUps) {
  const Observation created = cli::TouchCreated{};
  const Observation down = mouse("LeftMouseDown");
  const Observation up = mouse("LeftMouseUp");
  const auto found = [](const std::vector<Observation>& observations) {
    return violations(cli::makeButtonGoesUpOnce(), observations);
  };
  EXPECT_EQ(found({created, down, up, down, up}), 0U);
  EXPECT_EQ(found({created, up}), 1U);
  EXPECT_EQ(found({created, down, up, up}), 1U);
  EXPECT_EQ(found({created, down, down}), 1U);
  EXPECT_EQ(found({created, down, cli::ButtonsReset{}}), 1U);
  EXPECT_EQ(found({created, down, up, cli::ButtonsReset{}}), 0U);
  EXPECT_EQ(found({created, down, cli::TouchReleased{}, created, down, up}), 0U);
}

TEST(ButtonGoesUpOnce, TellsMovesFromDrags) {
  const Observation created = cli::TouchCreated{};
  const auto found = [](const std::vector<Observation>& observations) {
    return violations(cli::makeButtonGoesUpOnce(), observations);
  };
  EXPECT_EQ(found({created, mouse("MouseMoved"), mouse("LeftMouseDown"), mouse("LeftMouseDragged"),
                   mouse("LeftMouseUp"), mouse("MouseMoved")}),
            0U);
  EXPECT_EQ(found({created, mouse("LeftMouseDragged")}), 1U);
  EXPECT_EQ(found({created, mouse("LeftMouseDown"), mouse("MouseMoved")}), 1U);
}

TEST(ButtonGoesUpOnce, KnowsTheTimeForLostReleases) {
  const Observation created = cli::TouchCreated{};
  const Observation down = mouse("LeftMouseDown");
  const Observation up = mouse("LeftMouseUp");
  const Observation locked = cli::DragChanged{true, true};
  const auto found =
      [](const std::vector<std::pair<platform::QueueTime, Observation>>& observations,
         platform::QueueTime end) {
        return timedViolations(cli::makeButtonGoesUpOnce(), observations, end);
      };
  EXPECT_EQ(found({{0s, created}, {1s, down}, {4s, up}}, 9s), 0U);
  EXPECT_EQ(found({{0s, created}, {1s, down}, {4s + 1ns, PlatformCall{}}}, 9s), 1U);
  EXPECT_EQ(found({{0s, created}, {1s, down}}, 4s), 0U);
  EXPECT_EQ(found({{0s, created}, {1s, down}}, 5s), 1U);
  EXPECT_EQ(found({{0s, created}, {1s, down}, {2s, locked}}, 9s), 0U);
  EXPECT_EQ(found({{0s, created}, {1s, down}, {2s, cli::TouchReleased{}}}, 9s), 0U);
}

TEST(PointerStaysOnScreens, ComparesEventsWithTheUnion) {
  const Observation screens =
      cli::ScreensChanged{{{{0, 0}, {1000, 800}}, {{-500, -100}, {500, 400}}}};
  const auto found = [&](double x, double y) {
    return violations(cli::makePointerStaysOnScreens(), {screens, mouse("MouseMoved", x, y)});
  };
  // Upside down, the union goes from (-500, 0) to (1000, 900).
  EXPECT_EQ(found(-500, 0), 0U);
  EXPECT_EQ(found(999, 899), 0U);
  EXPECT_EQ(found(999.5, 0), 1U);
  EXPECT_EQ(found(-500.5, 0), 1U);
  EXPECT_EQ(found(0, -1), 1U);
  EXPECT_EQ(found(0, 899.5), 1U);
}

TEST(PointerStaysOnScreens, KnowsNoEdgeWithoutScreens) {
  EXPECT_EQ(violations(cli::makePointerStaysOnScreens(),
                       {cli::ScreensChanged{{{{0, 0}, {10, 10}}}}, cli::ScreensChanged{},
                        mouse("MouseMoved", 5000, -5000)}),
            0U);
}

TEST(ChargesEndOnce, WantsAnEndForEachBeginning) {
  const auto charge = [](DragLockChargePhase phase) {
    return Observation(cli::ChargePhase{phase});
  };
  const Observation began = charge(DragLockChargePhase::began);
  const Observation completed = charge(DragLockChargePhase::completed);
  const Observation cancelled = charge(DragLockChargePhase::cancelled);
  const auto found = [](const std::vector<Observation>& observations) {
    return violations(cli::makeChargesEndOnce(), observations);
  };
  EXPECT_EQ(found({began, completed, began, cancelled, began}), 0U);
  EXPECT_EQ(found({began, began}), 1U);
  EXPECT_EQ(found({completed}), 1U);
  EXPECT_EQ(found({began, completed, cancelled}), 1U);
  EXPECT_EQ(found({began, cli::TouchReleased{}, began}), 0U);
}

TEST(Invariants, AreTwelve) {
  EXPECT_EQ(cli::makeInvariants().size(), 12U);
}

}  // namespace
}  // namespace tessline::test
