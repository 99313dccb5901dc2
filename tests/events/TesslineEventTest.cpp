#include "tessline/events/TesslineEvent.h"
#include "tests/support/Bytes.h"

#include <functional>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

TesslineEvent button(RemoteCommand command, RemoteButtonPhase phase) {
  return RemoteButtonEvent{command, phase};
}

TesslineEvent frame(std::string_view rawBytes) {
  return RemoteVoiceFrame::fromRawBytes(bytes(rawBytes)).value();
}

std::string kindOf(const TesslineEvent& event) {
  return visitEvent(
      event, [](const RemoteButtonEvent&) { return "button"; },
      [](const RemoteVoiceFrame&) { return "voiceFrame"; },
      [](const VoiceSessionStarted&) { return "voiceSessionStarted"; },
      [](const VoiceSessionEnded&) { return "voiceSessionEnded"; });
}

TEST(TesslineEvent, HasFourKindsInTheirOrder) {
  static_assert(std::variant_size_v<TesslineEvent> == 4);
  EXPECT_EQ(button(RemoteCommand::up, RemoteButtonPhase::pressed).index(), 0u);
  EXPECT_EQ(frame("00").index(), 1u);
  EXPECT_EQ(TesslineEvent(VoiceSessionStarted{}).index(), 2u);
  EXPECT_EQ(TesslineEvent(VoiceSessionEnded{}).index(), 3u);
}

TEST(TesslineEvent, IsVisitedByTheHandlerOfItsKind) {
  EXPECT_EQ(kindOf(button(RemoteCommand::up, RemoteButtonPhase::pressed)), "button");
  EXPECT_EQ(kindOf(frame("00")), "voiceFrame");
  EXPECT_EQ(kindOf(VoiceSessionStarted{}), "voiceSessionStarted");
  EXPECT_EQ(kindOf(VoiceSessionEnded{}), "voiceSessionEnded");
}

TEST(TesslineEvent, GivesTheHandlerItsContent) {
  const auto command = visitEvent(
      button(RemoteCommand::mute, RemoteButtonPhase::released),
      [](const RemoteButtonEvent& event) { return event.command; },
      [](const auto&) { return RemoteCommand::up; });
  EXPECT_EQ(command, RemoteCommand::mute);
}

TEST(TesslineEvent, IsEqualToAnotherButtonEventWithTheSameCommandAndPhase) {
  const auto pressed = button(RemoteCommand::home, RemoteButtonPhase::pressed);
  EXPECT_TRUE(pressed == button(RemoteCommand::home, RemoteButtonPhase::pressed));
  EXPECT_FALSE(pressed == button(RemoteCommand::home, RemoteButtonPhase::released));
  EXPECT_FALSE(pressed == button(RemoteCommand::back, RemoteButtonPhase::pressed));
}

TEST(TesslineEvent, IsEqualToAnotherFrameWithTheSameBytes) {
  EXPECT_TRUE(frame("02 b8 01") == frame("02 b8 01"));
  EXPECT_TRUE(frame("02 b8 01") == frame("02 b8 01 ff"));
  EXPECT_FALSE(frame("02 b8 01") == frame("02 b8 02"));
  EXPECT_FALSE(frame("02 b8 01") == frame("01 b8"));
}

TEST(TesslineEvent, IsNeverEqualToOneOfAnotherKind) {
  const std::vector<TesslineEvent> kinds = {button(RemoteCommand::up, RemoteButtonPhase::pressed),
                                            frame("00"), VoiceSessionStarted{},
                                            VoiceSessionEnded{}};
  for (const auto& left : kinds) {
    for (const auto& right : kinds) EXPECT_EQ(left == right, &left == &right);
  }
}

TEST(TesslineEvent, SharesNothingWithItsCopy) {
  const auto original = frame("02 b8 01");
  auto copy = original;
  std::get<RemoteVoiceFrame>(copy).packetBytes[0] = 0;
  EXPECT_TRUE(original == frame("02 b8 01"));
  EXPECT_FALSE(copy == original);
}

TEST(RemoteButtonPhase, HasATextForEachCase) {
  EXPECT_EQ(rawValue(RemoteButtonPhase::pressed), "pressed");
  EXPECT_EQ(rawValue(RemoteButtonPhase::released), "released");
}

TEST(RemoteButtonPhase, ComesBackFromItsText) {
  EXPECT_EQ(remoteButtonPhase("pressed"), RemoteButtonPhase::pressed);
  EXPECT_EQ(remoteButtonPhase("released"), RemoteButtonPhase::released);
}

TEST(RemoteButtonPhase, ComesFromNoOtherText) {
  for (const auto* text :
       {"", "Pressed", "PRESSED", "Released", "press", "pressed ", " released", "releasedx", "0"}) {
    EXPECT_EQ(remoteButtonPhase(text), std::nullopt) << text;
  }
  EXPECT_EQ(remoteButtonPhase(std::string_view("pressed\0", 8)), std::nullopt);
}

TEST(RemoteButtonPhase, CanBeHashed) {
  const std::unordered_set<RemoteButtonPhase> phases = {
      RemoteButtonPhase::pressed, RemoteButtonPhase::released, RemoteButtonPhase::pressed};
  EXPECT_EQ(phases.size(), 2u);
}

}  // namespace
}  // namespace tessline::test
