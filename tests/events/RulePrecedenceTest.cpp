#include "tests/events/ReportParserFixture.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

/// The rules that classify a payload, in their order: the first that matches decides.
enum class Rule : std::size_t {
  voiceStart,
  voiceEnd,
  voiceButtonDown,
  voiceButtonUp,
  heldCommandUp,
  volumeUpAtTheEnd,
  volumeDownAtTheEnd,
  select,
  frameStart,
  continuation,
  buttonMask,
};

struct RuleSample {
  std::string_view name;
  std::string_view pattern;  // None for the rules that look at fixed places.
};

constexpr RuleSample ruleSamples[] = {
    {"VoiceStart", "1b 23 00 00 10"},
    {"VoiceEnd", "1b 23 00 10 00"},
    {"VoiceButtonDown", "1b 3a 00 20 00"},
    {"VoiceButtonUp", "1b 3a 00 00 00"},
    {"HeldCommandUp", "1b 23 00 00 00"},
    {"VolumeUpAtTheEnd", "1b 23 00 00 02"},
    {"VolumeDownAtTheEnd", "1b 23 00 00 04"},
    {"Select", "1b 23 00 03 00"},
    {"FrameStart", ""},
    {"Continuation", ""},
    {"ButtonMask", "1b 15 00 fb 08 00"},
};

const RuleSample& sampleOf(Rule rule) {
  return ruleSamples[static_cast<std::size_t>(rule)];
}

bool standsAtTheEnd(Rule rule) {
  return rule == Rule::volumeUpAtTheEnd || rule == Rule::volumeDownAtTheEnd;
}

/// A payload that `rules` match, their patterns standing in the order given as far as they may.
std::vector<std::uint8_t> payloadFor(const std::vector<Rule>& rules) {
  std::vector<std::uint8_t> head(20);
  std::vector<std::uint8_t> patterns = bytes("ff");
  std::vector<std::uint8_t> end;
  for (const Rule rule : rules) {
    if (rule == Rule::frameStart) {
      head[1] = 0x20;
      head[17] = 0x01;
      head[18] = 0xB8;
    } else if (rule == Rule::continuation) {
      head[2] = 0x10;
    } else if (standsAtTheEnd(rule)) {
      end = bytes(sampleOf(rule).pattern);
    } else {
      patterns = joined({patterns, bytes(sampleOf(rule).pattern), bytes("ff")});
    }
  }
  return joined({head, patterns, end});
}

enum class State { idle, inSession, holdingACommand, both };

SiriRemoteReportParser parserIn(State state) {
  SiriRemoteReportParser parser;
  if (state == State::holdingACommand || state == State::both) {
    parser.ingestPayload(bytes("1b 23 00 00 04"));
  }
  if (state == State::inSession || state == State::both) {
    parser.ingestPayload(frameStart("02 b8"));
  }
  return parser;
}

bool canDecide(Rule rule, State state) {
  const SiriRemoteReportParser parser = parserIn(state);
  if (rule == Rule::heldCommandUp) return parser.last1B23Command().has_value();
  return rule != Rule::continuation || parser.isCollectingVoice();
}

/// Everything that a payload does to a parser.
std::string outcome(State state, const std::vector<Rule>& rules) {
  auto parser = parserIn(state);
  std::string text = notation(parser.ingestPayload(payloadFor(rules)));
  text += parser.isCollectingVoice() ? "; collecting " : "; not collecting ";
  text += hexText(parser.pendingVoiceFrameBytes());
  text += "; mask " + std::to_string(parser.lastButtonMask());
  const auto held = parser.last1B23Command();
  return text + "; held " + std::string(held ? name(*held) : "nothing");
}

using Pair = std::tuple<std::size_t, std::size_t>;

class RulePrecedence : public ::testing::TestWithParam<Pair> {
 protected:
  Rule earlier() const { return static_cast<Rule>(std::get<0>(GetParam())); }
  Rule later() const { return static_cast<Rule>(std::get<1>(GetParam())); }
};

TEST_P(RulePrecedence, IsTheEarlierRules) {
  for (const State state : {State::idle, State::inSession, State::holdingACommand, State::both}) {
    if (!canDecide(earlier(), state)) continue;
    const std::string decided = outcome(state, {earlier()});
    EXPECT_EQ(outcome(state, {earlier(), later()}), decided);
    EXPECT_EQ(outcome(state, {later(), earlier()}), decided);
  }
}

/// All pairs of an earlier and a later rule but the two that exclude each other.
std::vector<Pair> pairs() {
  std::vector<Pair> result;
  for (std::size_t earlier = 0; earlier < std::size(ruleSamples); ++earlier) {
    for (std::size_t later = earlier + 1; later < std::size(ruleSamples); ++later) {
      if (standsAtTheEnd(static_cast<Rule>(earlier)) && standsAtTheEnd(static_cast<Rule>(later))) {
        continue;
      }
      result.emplace_back(earlier, later);
    }
  }
  return result;
}

INSTANTIATE_TEST_SUITE_P(Of, RulePrecedence, ::testing::ValuesIn(pairs()), [](const auto& pair) {
  return std::string(ruleSamples[std::get<0>(pair.param)].name) + "Over" +
         std::string(ruleSamples[std::get<1>(pair.param)].name);
});

class UndecidedRule : public ::testing::TestWithParam<std::tuple<Rule, State>> {};

TEST_P(UndecidedRule, LeavesThePayloadToEachLaterRule) {
  const auto [rule, state] = GetParam();
  ASSERT_FALSE(canDecide(rule, state));
  for (auto later = static_cast<std::size_t>(rule) + 1; later < std::size(ruleSamples); ++later) {
    const Rule laterRule = static_cast<Rule>(later);
    EXPECT_EQ(outcome(state, {rule, laterRule}), outcome(state, {laterRule}));
    EXPECT_EQ(outcome(state, {laterRule, rule}), outcome(state, {laterRule}));
  }
}

INSTANTIATE_TEST_SUITE_P(HeldCommandUp, UndecidedRule,
                         ::testing::Combine(::testing::Values(Rule::heldCommandUp),
                                            ::testing::Values(State::idle, State::inSession)));
INSTANTIATE_TEST_SUITE_P(Continuation, UndecidedRule,
                         ::testing::Combine(::testing::Values(Rule::continuation),
                                            ::testing::Values(State::idle,
                                                              State::holdingACommand)));

struct SampleOutcome {
  Rule rule;
  State state;
  std::string_view outcome;
};

// What keeps the pairs above honest: every rule's own outcome differs from that of all others.
constexpr SampleOutcome sampleOutcomes[] = {
    {Rule::voiceStart, State::both, "started; collecting ; mask 0; held volumeDown"},
    {Rule::voiceEnd, State::both, "ended; not collecting ; mask 0; held volumeDown"},
    {Rule::voiceButtonDown, State::idle, "started, press voice; collecting ; mask 0; held nothing"},
    {Rule::voiceButtonDown, State::both, "; collecting 02 b8; mask 0; held volumeDown"},
    {Rule::voiceButtonUp, State::idle, "; not collecting ; mask 0; held nothing"},
    {Rule::voiceButtonUp, State::both,
     "ended, release voice; not collecting ; mask 0; held volumeDown"},
    {Rule::heldCommandUp, State::both,
     "release volumeDown; collecting 02 b8; mask 0; held nothing"},
    {Rule::volumeUpAtTheEnd, State::both,
     "press volumeUp; collecting 02 b8; mask 0; held volumeUp"},
    {Rule::volumeDownAtTheEnd, State::both,
     "press volumeDown; collecting 02 b8; mask 0; held volumeDown"},
    {Rule::select, State::both, "press select; collecting 02 b8; mask 0; held select"},
    {Rule::frameStart, State::both, "; collecting 01 b8; mask 0; held volumeDown"},
    {Rule::frameStart, State::idle, "started; collecting 01 b8; mask 0; held nothing"},
    {Rule::continuation, State::both, "; collecting 02 b8 00; mask 0; held volumeDown"},
    {Rule::continuation, State::idle, "; not collecting ; mask 0; held nothing"},
    {Rule::buttonMask, State::both, "press select; collecting 02 b8; mask 2048; held volumeDown"},
};

TEST(RuleSamples, HaveTheOutcomeOfTheirRule) {
  for (const auto& sample : sampleOutcomes) {
    EXPECT_EQ(outcome(sample.state, {sample.rule}), sample.outcome);
  }
}

using VoicePrecedence = ReportParserFixture;

TEST_F(VoicePrecedence, PrefersAFrameStartToAContinuationFlaggedBeforeIt) {
  startSession();
  auto payload = longFrameStart("01 b8", FlagByte::second);
  payload[1] = 0x10;
  EXPECT_EQ(ingest(payload), "");
  EXPECT_EQ(pending(), "01 b8");
}

TEST_F(VoicePrecedence, ReadsAContinuationOutsideASessionAsAMask) {
  EXPECT_EQ(ingest("00 10 00 00 1b 15 00 fb 08 00"), "press select");
}

TEST_F(VoicePrecedence, ReadsAMaskOutsideAContinuationWithinASession) {
  startSession();
  EXPECT_EQ(ingest("00 00 00 00 1b 15 00 fb 08 00"), "press select");
}

}  // namespace
}  // namespace tessline::test
