#include "cli/replay/Invariants.h"
#include "tests/support/Bytes.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

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

TEST(Invariants, AreEight) {
  EXPECT_EQ(cli::makeInvariants().size(), 8U);
}

}  // namespace
}  // namespace tessline::test
