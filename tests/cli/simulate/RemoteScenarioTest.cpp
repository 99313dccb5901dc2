#include "cli/simulate/RemoteScenario.h"
#include "tessline/packetlog/RecordedRemoteCaptureDecoder.h"
#include "tests/cli/simulate/PlayedScenario.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using namespace std::chrono_literals;

cli::ScenarioOptions withSeed(std::uint64_t seed) {
  cli::ScenarioOptions options;
  options.seed = seed;
  return options;
}

/// Whether an event other than a frame begins or ends a session; those of the voice button in mask
/// reports have no other bounds.
bool isBound(const TesslineEvent& event) {
  const auto* button = std::get_if<RemoteButtonEvent>(&event);
  return button == nullptr || button->command == RemoteCommand::voice;
}

/// The packets of every session in `events`, in order.
std::vector<std::vector<std::vector<std::uint8_t>>> sessionsOf(
    const std::vector<TesslineEvent>& events) {
  std::vector<std::vector<std::vector<std::uint8_t>>> sessions(1);
  for (const TesslineEvent& event : events) {
    if (const auto* frame = std::get_if<RemoteVoiceFrame>(&event)) {
      sessions.back().push_back(frame->packetBytes);
    } else if (isBound(event) && !sessions.back().empty()) {
      sessions.emplace_back();
    }
  }
  if (sessions.back().empty()) sessions.pop_back();
  return sessions;
}

std::vector<std::vector<std::uint8_t>> allPackets(const cli::VoicePackets& voice) {
  std::vector<std::vector<std::uint8_t>> packets;
  for (std::size_t index = 0; index < voice.size(); ++index) {
    packets.emplace_back(voice[index].begin(), voice[index].end());
  }
  return packets;
}

class ScenarioOfSeed : public testing::TestWithParam<std::uint64_t> {};

TEST_P(ScenarioOfSeed, IsDecodedLineByLineIntoWhatWasIntended) {
  const PlayedScenario played(withSeed(GetParam()), {.duration = 4min});
  EXPECT_EQ(played.mismatch(), "");
  EXPECT_GT(played.frameCount(), 5000U);
}

TEST_P(ScenarioOfSeed, LosesAFrameNowAndThen) {
  const PlayedScenario played(withSeed(GetParam()), {.duration = 4min});
  EXPECT_GT(played.droppedFrameCount(), 0U);
  EXPECT_LT(played.droppedFrameCount(), played.frameCount() / 100);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ScenarioOfSeed, testing::Values(0, 1, 2, 3, 0xFFFF'FFFF'FFFF'FFFF),
                         [](const auto& seed) { return "Seed" + std::to_string(seed.param); });

TEST(RemoteScenario, IsDecodedAsAWholeIntoWhatWasIntended) {
  const PlayedScenario played;
  RecordedRemoteCaptureDecoder decoder;
  EXPECT_TRUE(decoder.decode(played.text()) == played.events());
}

TEST(RemoteScenario, IsDecodedAlikeForAnyAddress) {
  cli::ScenarioOptions options;
  options.remoteAddress = "10:20:1b:23:00:FB";
  const PlayedScenario played(options, {.duration = 2min});
  EXPECT_EQ(played.mismatch(), "");
  EXPECT_NE(played.text().find("10:20:1b:23:00:FB"), std::string::npos);
  EXPECT_EQ(played.text().find(cli::defaultRemoteAddress), std::string::npos);
}

TEST(RemoteScenario, ShowsEveryButtonInEveryLayoutWithinTwentyFiveSeconds) {
  std::set<std::string> expected;
  const auto expect = [&](std::string_view command, std::string_view layout) {
    expected.insert(fmt::format("press {} by {}", command, layout));
    expected.insert(fmt::format("release {} by {}", command, layout));
  };
  for (const std::string_view command : remoteCommandNames) {
    for (const char* const layout : {"value", "fb", "01 fb", "1b 15 00 fb", "1b 15 00 01 fb"}) {
      expect(command, layout);
    }
  }
  for (const char* const command : {"volumeUp", "volumeDown", "select"}) {
    expect(command, "1b 23 00");
  }
  expect("voice", "1b 3a 00");
  EXPECT_EQ(PlayedScenario({}, {.duration = 25s}).buttonReports(), expected);
}

TEST(RemoteScenario, ShowsEveryKindOfSessionWithinTwentyFiveSeconds) {
  EXPECT_EQ(
      PlayedScenario().sessionBounds(),
      (std::set<std::string>{"1b 23 to 1b 23", "1b 23 to 1b 3a", "1b 3a to 1b 23", "1b 3a to 1b 3a",
                             "frame to 1b 23", "frame to 1b 3a", "mask to 1b 23", "mask to mask"}));
}

TEST(RemoteScenario, ShowsEveryPlaceAndSizeOfFramesWithinTwentyFiveSeconds) {
  const PlayedScenario played({}, {.duration = 25s});
  EXPECT_EQ(played.frameStarts(), (std::set<std::size_t>{15, 16, 17, 18}));
  for (const std::size_t count : {1U, 2U, 3U}) EXPECT_EQ(played.packetsPerFrame().count(count), 1U);
}

TEST(RemoteScenario, HoldsTwoButtonsAndExchangesOneForAnotherAtTimes) {
  const PlayedScenario played({}, {.duration = 3min});
  EXPECT_EQ(played.mostButtonsDown(), 2);
  EXPECT_EQ(played.mostButtonChanges(), 2);
}

TEST(RemoteScenario, IsTheSameForTheSameSeed) {
  EXPECT_TRUE(PlayedScenario(withSeed(7)).text() == PlayedScenario(withSeed(7)).text());
}

TEST(RemoteScenario, DiffersForAnotherSeed) {
  EXPECT_FALSE(PlayedScenario(withSeed(7)).text() == PlayedScenario(withSeed(8)).text());
}

TEST(RemoteScenario, LastsAsLongAsAskedAndAScene) {
  for (const std::chrono::seconds asked : {1s, 12s, 70s}) {
    const PlayedScenario played({}, {.duration = asked});
    EXPECT_GE(played.end(), asked);
    EXPECT_LT(played.end(), asked + 8s);
  }
}

TEST(RemoteScenario, IsAsLargeAsAskedAndAScene) {
  for (const std::size_t asked : {1U, 100'000U, 3'000'000U}) {
    const PlayedScenario played({}, {.bytes = asked});
    EXPECT_GE(played.text().size(), asked);
    EXPECT_LT(played.text().size(), asked + 200'000);
  }
}

TEST(RemoteScenario, GivesNothingWhenNothingIsAsked) {
  EXPECT_EQ(PlayedScenario({}, {.duration = 0s}).text(), "");
  EXPECT_EQ(PlayedScenario({}, {.bytes = 0}).text(), "");
}

TEST(RemoteScenario, ContinuesAShorterScenarioOfTheSameSeed) {
  const PlayedScenario shorter({}, {.duration = 40s});
  const PlayedScenario longer({}, {.duration = 60s});
  EXPECT_TRUE(longer.text().starts_with(shorter.text()));
}

TEST(RemoteScenario, LeavesNothingHeldOrOpenAtTheEnd) {
  for (const std::chrono::seconds asked : {1s, 5s, 31s, 77s}) {
    const PlayedScenario played({}, {.duration = asked});
    const auto last = std::find_if(played.events().rbegin(), played.events().rend(),
                                   [](const TesslineEvent& event) {
                                     return !std::holds_alternative<RemoteVoiceFrame>(event);
                                   });
    const auto* button = std::get_if<RemoteButtonEvent>(&*last);
    EXPECT_TRUE(button != nullptr ? button->phase == RemoteButtonPhase::released
                                  : std::holds_alternative<VoiceSessionEnded>(*last));
  }
}

TEST(RemoteScenario, CarriesAllPacketsInEverySessionWhenSessionsAreWhole) {
  cli::ScenarioOptions options;
  options.sessionsAreWhole = true;
  const PlayedScenario played(options, {.duration = 5min});
  EXPECT_EQ(played.mismatch(), "");
  EXPECT_EQ(played.droppedFrameCount(), 0U);
  const auto sessions = sessionsOf(played.events());
  EXPECT_GT(sessions.size(), 20U);
  const auto expected = allPackets(melodyPackets());
  for (const auto& session : sessions) EXPECT_TRUE(session == expected);
}

TEST(RemoteScenario, HasNoSessionWithoutVoice) {
  const PlayedScenario played({}, {.duration = 3min});
  const TesslineEvent pressed = RemoteButtonEvent{RemoteCommand::voice, RemoteButtonPhase::pressed};
  const TesslineEvent released =
      RemoteButtonEvent{RemoteCommand::voice, RemoteButtonPhase::released};
  bool isSilent = false;
  for (const TesslineEvent& event : played.events()) {
    if (event == pressed || event == TesslineEvent(VoiceSessionStarted{})) isSilent = true;
    if (std::holds_alternative<RemoteVoiceFrame>(event)) isSilent = false;
    EXPECT_FALSE(isSilent && (event == released || event == TesslineEvent(VoiceSessionEnded{})));
  }
}

TEST(RemoteScenario, BeginsEverySessionWithTheFirstPacket) {
  const PlayedScenario played({}, {.duration = 3min});
  const auto first = allPackets(melodyPackets()).front();
  for (const auto& session : sessionsOf(played.events())) EXPECT_TRUE(session.front() == first);
}

TEST(RemoteScenario, IsPlainText) {
  const std::string text = PlayedScenario({}, {.duration = 2min}).text();
  EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char character) {
    return character == '\n' || (character >= ' ' && character <= '~');
  }));
  EXPECT_EQ(text.back(), '\n');
}

TEST(RemoteScenario, NamesTheRemoteOnMostOfItsLinesAndNobodyOnSome) {
  const PlayedScenario played({}, {.duration = 2min});
  std::size_t named = 0;
  std::size_t placeholders = 0;
  for (std::size_t begin = 0; begin < played.text().size();) {
    const std::size_t end = played.text().find('\n', begin);
    const std::string line = played.text().substr(begin, end - begin);
    begin = end + 1;
    if (line.find("  ACL    RECV  ") == std::string::npos) continue;
    if (line.find(cli::defaultRemoteAddress) != std::string::npos) ++named;
    if (line.find(cli::placeholderAddress) != std::string::npos) ++placeholders;
  }
  EXPECT_GT(placeholders, 100U);
  EXPECT_GT(named, 8 * placeholders);
}

TEST(RemoteScenario, HasTheProportionsOfRealTraffic) {
  const PlayedScenario played({}, {.bytes = 5'000'000});
  const std::string& text = played.text();
  const auto lines = static_cast<double>(std::count(text.begin(), text.end(), '\n'));
  const double averageLength = static_cast<double>(text.size()) / lines;
  EXPECT_GT(averageLength, 120);
  EXPECT_LT(averageLength, 200);
  const double seconds = std::chrono::duration<double>(played.end()).count();
  const double framesPerSecond = static_cast<double>(played.frameCount()) / seconds;
  EXPECT_GT(framesPerSecond, 25);
  EXPECT_LT(framesPerSecond, 50);
}

}  // namespace
}  // namespace tessline::test
