#include "tessline/packetlog/TesslineService.h"
#include "tests/support/EventNotation.h"
#include "tests/support/PacketLines.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

std::string decode(std::string_view text, std::optional<std::string_view> address = std::nullopt) {
  return notation(TesslineService().decodeRecordedPacketLog(text, address));
}

TEST(TesslineService, DecodesARecordedCapture) {
  EXPECT_EQ(decode("RECV 00 10\nSEND 00 11\nRECV 00 00\n"), "press left, release left");
  EXPECT_EQ(decode(""), "");
}

TEST(TesslineService, FollowsOneRemoteWhenGivenItsAddress) {
  const std::string text = receivedLine("00 01", "11:22:33:44:55:66") + "\n" +
                           receivedLine("00 10", "AA:BB:CC:DD:EE:FF") + "\n";
  EXPECT_EQ(decode(text, "AA:BB:CC:DD:EE:FF"), "press left");
  EXPECT_EQ(decode(text, ""), "press playPause, release playPause, press left");
  EXPECT_EQ(decode(text), decode(text, ""));
}

TEST(TesslineService, BeginsEachCaptureAfresh) {
  const TesslineService service;
  const auto first = service.decodeRecordedPacketLog("RECV 00 10\nRECV 1b 23 00 00 02\n");
  const auto second = service.decodeRecordedPacketLog("RECV 00 10\nRECV 1b 23 00 00 02\n");
  EXPECT_EQ(notation(first), "press left, press volumeUp");
  EXPECT_TRUE(first == second);
}

TEST(TesslineSnapshot, Summarises) {
  EXPECT_EQ(TesslineService().makeSnapshot().summary,
            "The current proof path is: paired Siri Remote -> captured transport data -> parsed "
            "reports -> reconstructed Opus voice frames -> decoded PCM.");
}

TEST(TesslineSnapshot, ListsTheFindings) {
  const std::vector<ReverseEngineeringFinding> findings = {
      {"voice-boundaries", "Voice session boundaries are already observable",
       "The existing proof tool detects microphone start and stop markers before decoding payload "
       "frames."},
      {"opus", "Voice payloads decode as 16 kHz Opus",
       "The open-source sample uses an Opus decoder; Morvane now streams mono PCM into its own "
       "virtual microphone bridge."},
      {"packetlogger", "PacketLogger is the best current development adapter",
       "It gives us a stable bring-up path while direct BLE ownership remains under "
       "investigation."},
  };
  EXPECT_EQ(TesslineService().makeSnapshot().findings, findings);
}

TEST(TesslineSnapshot, ListsTheWorkstreams) {
  const std::vector<ProjectWorkstream> workstreams = {
      {"fixtures", "Recorded fixtures",
       "Build and label a reusable capture corpus for buttons, touch, and voice sessions.", 0},
      {"ble", "Direct BLE transport",
       "Investigate whether we can replace or reduce PacketLogger dependence on current macOS "
       "builds.",
       1},
      {"pairing", "Reconnect and recovery",
       "Design for idle disconnects, stale device handles, and session restart behavior.", 0},
  };
  EXPECT_EQ(TesslineService().makeSnapshot().workstreams, workstreams);
}

TEST(TesslineSnapshot, IsTheSameOnEveryCall) {
  EXPECT_TRUE(TesslineService().makeSnapshot() == TesslineService().makeSnapshot());
}

TEST(TesslineSnapshot, IsEqualWhenAllPartsAre) {
  const auto snapshot = TesslineService().makeSnapshot();
  auto other = snapshot;
  other.summary += ".";
  EXPECT_FALSE(other == snapshot);
  other = snapshot;
  other.findings.pop_back();
  EXPECT_FALSE(other == snapshot);
  other = snapshot;
  other.workstreams[0].stage = 1;
  EXPECT_FALSE(other == snapshot);
}

}  // namespace
}  // namespace tessline::test
