#include "tessline/capture/PacketLoggerPayload.h"
#include "tests/support/Bytes.h"
#include "tests/support/VoicePayloads.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Payload = std::vector<std::uint8_t>;
using Bytes = std::span<const std::uint8_t>;

constexpr std::array<std::string_view, 3> buttonMarkers = {"1b 23 00 00 02", "1b 23 00 00 04",
                                                           "1b 23 00 03 00"};
constexpr std::array<std::string_view, 4> boundaryMarkers = {"1b 23 00 00 10", "1b 23 00 10 00",
                                                             "1b 3a 00 20 00", "1b 3a 00 00 00"};

std::vector<Payload> allMarkers() {
  std::vector<Payload> markers;
  for (const auto marker : buttonMarkers) markers.push_back(bytes(marker));
  for (const auto marker : boundaryMarkers) markers.push_back(bytes(marker));
  return markers;
}

bool isControl(const Payload& payload) {
  return PacketLoggerPayload::containsKnownSiriRemoteControlMarker(payload);
}
bool isBoundary(const Payload& payload) {
  return PacketLoggerPayload::containsKnownVoiceBoundaryMarker(payload);
}
bool isFrameStart(Bytes payload) {
  return PacketLoggerPayload::isSiriRemoteVoiceFrameStart(payload);
}
bool isContinuation(Bytes payload) {
  return PacketLoggerPayload::isSiriRemoteVoiceContinuation(payload);
}
bool isButtonReport(Bytes payload) {
  return PacketLoggerPayload::isSiriRemoteButtonReport(payload);
}
bool isButtonReport(std::string_view text) {
  return isButtonReport(bytes(text));
}

// A payload of `size` bytes that are zero but for those given.
Payload withBytes(std::size_t size,
                  std::initializer_list<std::pair<std::size_t, std::uint8_t>> changes) {
  Payload payload(size);
  for (const auto& [index, value] : changes) payload.at(index) = value;
  return payload;
}

// The first `size` bytes of it, with the others still there behind the end to tempt a reader.
Bytes cut(const Payload& payload, std::size_t size) {
  return Bytes(payload).first(size);
}

TEST(ControlMarkers, EveryOneIsKnown) {
  for (const auto& marker : allMarkers()) EXPECT_TRUE(isControl(marker)) << hexText(marker);
}

TEST(ControlMarkers, OnlyTheLastFourBoundVoice) {
  for (const auto marker : buttonMarkers) EXPECT_FALSE(isBoundary(bytes(marker))) << marker;
  for (const auto marker : boundaryMarkers) EXPECT_TRUE(isBoundary(bytes(marker))) << marker;
}

TEST(ControlMarkers, AreFoundAtEveryPosition) {
  for (const auto& marker : allMarkers()) {
    for (std::size_t before = 0; before < 40; ++before) {
      for (const std::size_t after : {0U, 1U, 30U}) {
        const Payload payload = joined({Payload(before, 0x1B), marker, Payload(after, 0x23)});
        EXPECT_TRUE(isControl(payload)) << hexText(payload);
        EXPECT_EQ(isBoundary(payload), isBoundary(marker)) << hexText(payload);
      }
    }
  }
}

TEST(ControlMarkers, EveryByteCounts) {
  const auto markers = allMarkers();
  for (const auto& marker : markers) {
    for (std::size_t index = 0; index < marker.size(); ++index) {
      for (int bit = 0; bit < 8; ++bit) {
        Payload changed = marker;
        changed[index] = static_cast<std::uint8_t>(changed[index] ^ (1 << bit));
        const auto other = std::ranges::find(markers, changed) - markers.begin();
        EXPECT_EQ(isControl(changed), other < 7) << hexText(changed);
        EXPECT_EQ(isBoundary(changed), other >= 3 && other < 7) << hexText(changed);
      }
    }
  }
}

TEST(ControlMarkers, NeedAllFiveBytes) {
  for (const auto& marker : allMarkers()) {
    for (std::size_t size = 0; size < 5; ++size) {
      EXPECT_FALSE(PacketLoggerPayload::containsKnownSiriRemoteControlMarker(cut(marker, size)));
      EXPECT_FALSE(PacketLoggerPayload::containsKnownVoiceBoundaryMarker(cut(marker, size)));
    }
    const Payload late = joined({Payload(9, 0xAA), marker});
    EXPECT_FALSE(
        PacketLoggerPayload::containsKnownSiriRemoteControlMarker(cut(late, late.size() - 1)));
  }
}

TEST(ControlMarkers, MustBeInOnePiece) {
  for (const auto& marker : allMarkers()) {
    for (std::size_t gap = 1; gap < 5; ++gap) {
      Payload payload = marker;
      payload.insert(payload.begin() + static_cast<std::ptrdiff_t>(gap), 0xAA);
      EXPECT_FALSE(isControl(payload)) << hexText(payload);
    }
  }
}

TEST(ControlMarkers, ReleaseOfACommandIsNone) {
  EXPECT_FALSE(isControl(bytes("1b 23 00 00 00")));
}

TEST(ControlMarkers, AreFoundBehindTheirOwnBeginning) {
  EXPECT_TRUE(isControl(bytes("1b 23 00 00 1b 23 00 00 02")));
  EXPECT_TRUE(isBoundary(bytes("1b 3a 00 1b 3a 00 00 00")));
}

// The two alignments: with and without one byte in front of the packet.
class Alignment : public testing::TestWithParam<std::size_t> {
 protected:
  // A first fragment with the first byte of voice where no notification is looked at.
  Payload bareStart() const { return withBytes(19 + base, {{1 + base, 0x20}, {18 + base, 0xB8}}); }
  // A first fragment with a notification of voice.
  Payload notifiedStart() const {
    return withBytes(17 + base,
                     {{1 + base, 0x20}, {8 + base, 0x1B}, {9 + base, 0x36}, {16 + base, 0xB8}});
  }
  const std::size_t base = GetParam();
};
INSTANTIATE_TEST_SUITE_P(Both, Alignment, testing::Values(0, 1),
                         [](const auto& row) { return row.param == 0 ? "Bare" : "OneByteMore"; });

TEST_P(Alignment, FrameStartsWithTheVoiceByteAtEighteen) {
  EXPECT_TRUE(isFrameStart(bareStart()));
  for (std::size_t index = 16; index < 21; ++index) {
    const auto payload = withBytes(24, {{1 + base, 0x20}, {index + base, 0xB8}});
    EXPECT_EQ(isFrameStart(payload), index == 18) << index;
  }
}

TEST_P(Alignment, FrameStartsWithANotificationAndTheVoiceByteAtSixteen) {
  EXPECT_TRUE(isFrameStart(notifiedStart()));
  for (const std::size_t index : {8U, 9U, 16U}) {
    for (int bit = 0; bit < 8; ++bit) {
      Payload changed = notifiedStart();
      changed[index + base] = static_cast<std::uint8_t>(changed[index + base] ^ (1 << bit));
      EXPECT_FALSE(isFrameStart(changed)) << hexText(changed);
    }
  }
}

TEST_P(Alignment, EveryByteOfAFrameStartMustBeWithinThePayload) {
  const Payload bare = bareStart();
  EXPECT_TRUE(isFrameStart(cut(bare, 19 + base)));
  const Payload notified = notifiedStart();
  EXPECT_TRUE(isFrameStart(cut(notified, 17 + base)));
  for (std::size_t size = 0; size < 19 + base; ++size) {
    EXPECT_FALSE(isFrameStart(cut(bare, size))) << size;
  }
  for (std::size_t size = 0; size < 17 + base; ++size) {
    EXPECT_FALSE(isFrameStart(cut(notified, size))) << size;
  }
}

TEST_P(Alignment, OnlyAFirstFragmentStartsAFrame) {
  for (unsigned flags = 0; flags < 256; ++flags) {
    for (Payload payload : {bareStart(), notifiedStart()}) {
      payload[1 + base] = static_cast<std::uint8_t>(flags);
      EXPECT_EQ(isFrameStart(payload), (flags & 0x30) == 0x20) << hexText(payload);
    }
  }
}

TEST_P(Alignment, FlagsOfTheOtherOneDoNotStartAFrame) {
  for (Payload payload : {bareStart(), notifiedStart()}) {
    payload[1 + base] = 0;
    payload[2 - base] = 0x20;
    EXPECT_FALSE(isFrameStart(payload)) << hexText(payload);
  }
}

TEST_P(Alignment, OnlyAContinuationFragmentContinues) {
  for (unsigned flags = 0; flags < 256; ++flags) {
    const auto payload = withBytes(6, {{1 + base, static_cast<std::uint8_t>(flags)}});
    EXPECT_EQ(isContinuation(payload), (flags & 0x30) == 0x10) << flags;
  }
}

TEST_P(Alignment, ContinuationNeedsItsHeader) {
  const auto payload = withBytes(6, {{1 + base, 0x10}});
  for (std::size_t size = 0; size <= 6; ++size) {
    EXPECT_EQ(isContinuation(cut(payload, size)), size >= 5 + base) << size;
  }
}

TEST_P(Alignment, RecognisesTheFragmentsOfARemote) {
  const FlagByte flag = base == 0 ? FlagByte::first : FlagByte::second;
  EXPECT_TRUE(isFrameStart(frameStart("03 b8 01 02", flag)));
  EXPECT_TRUE(isFrameStart(longFrameStart("03 b8 01 02", flag)));
  EXPECT_TRUE(isContinuation(continuation("01 02 03", flag)));
  EXPECT_FALSE(isFrameStart(continuation("01 02 03", flag)));
}

TEST(VoiceFragments, OneWithTheFlagsOfBothAlignmentsNeedsTheBytesOfOne) {
  EXPECT_TRUE(isFrameStart(withBytes(20, {{1, 0x20}, {2, 0x20}, {19, 0xB8}})));
  EXPECT_TRUE(isFrameStart(withBytes(20, {{1, 0x20}, {2, 0x20}, {18, 0xB8}})));
  EXPECT_FALSE(isFrameStart(withBytes(20, {{1, 0x20}, {2, 0x20}, {17, 0xB8}})));
}

TEST(VoiceFragments, TheNotificationOfOneAlignmentDoesNotCountForTheOther) {
  EXPECT_FALSE(isFrameStart(withBytes(18, {{1, 0x20}, {9, 0x1B}, {10, 0x36}, {17, 0xB8}})));
  EXPECT_FALSE(isFrameStart(withBytes(18, {{2, 0x20}, {8, 0x1B}, {9, 0x36}, {16, 0xB8}})));
}

TEST(VoiceFragments, HandleOfANotificationIsNotLookedAtWhole) {
  EXPECT_TRUE(
      isFrameStart(withBytes(17, {{1, 0x20}, {8, 0x1B}, {9, 0x36}, {10, 0xEE}, {16, 0xB8}})));
}

TEST(VoiceFragments, EmptyAndTinyPayloadsAreNone) {
  const Payload tempting(32, 0x10);
  const Payload starting(32, 0x20);
  for (std::size_t size = 0; size < 2; ++size) {
    EXPECT_FALSE(isContinuation(cut(tempting, size)));
    EXPECT_FALSE(isFrameStart(cut(starting, size)));
  }
}

TEST(ButtonReports, StandBehindANotification) {
  EXPECT_TRUE(isButtonReport("1b 15 00 fb"));
  EXPECT_TRUE(isButtonReport("02 40 00 1b aa bb fb 01 02"));
  EXPECT_FALSE(isButtonReport("1a 15 00 fb"));
}

TEST(ButtonReports, MayHoldAOneInFront) {
  EXPECT_TRUE(isButtonReport("1b 15 00 01 fb"));
  EXPECT_TRUE(isButtonReport("40 1b 15 00 01 fb 00"));
  EXPECT_FALSE(isButtonReport("1b 15 00 02 fb"));
  EXPECT_FALSE(isButtonReport("1a 15 00 01 fb"));
  EXPECT_FALSE(isButtonReport("1b 15 01 00 fb"));
}

TEST(ButtonReports, MarkWithinTheFirstThreeBytesIsNone) {
  EXPECT_FALSE(isButtonReport("fb"));
  EXPECT_FALSE(isButtonReport("1b fb"));
  EXPECT_FALSE(isButtonReport("1b 15 fb"));
  EXPECT_FALSE(isButtonReport("15 01 fb 1b"));
  EXPECT_TRUE(isButtonReport("1b 01 01 fb"));
}

TEST(ButtonReports, OnlyTheFirstMarkCounts) {
  EXPECT_FALSE(isButtonReport("1b 15 fb 1b 15 00 fb"));
  EXPECT_FALSE(isButtonReport("fb 1b 15 00 fb"));
  EXPECT_FALSE(isButtonReport("00 00 00 fb 1b 15 00 fb"));
  EXPECT_TRUE(isButtonReport("1b 15 00 fb fb"));
}

TEST(ButtonReports, WithoutAMarkAreNone) {
  EXPECT_FALSE(isButtonReport(Bytes{}));
  EXPECT_FALSE(isButtonReport("1b 15 00"));
  EXPECT_FALSE(isButtonReport("1b 15 00 01 fa"));
  const Payload beyond = bytes("1b 15 00 fb");
  EXPECT_FALSE(isButtonReport(cut(beyond, 3)));
}

TEST(PayloadPreview, ShowsTwoUpperCaseDigitsAByte) {
  EXPECT_EQ(PacketLoggerPayload::payloadPreview(bytes("00 0a 1b ab cd ef ff 9f")),
            "00 0A 1B AB CD EF FF 9F");
  EXPECT_EQ(PacketLoggerPayload::payloadPreview(bytes("07")), "07");
  EXPECT_EQ(PacketLoggerPayload::payloadPreview({}), "");
}

TEST(PayloadPreview, ShowsEveryByteAsTheCLibraryDoes) {
  for (unsigned value = 0; value < 256; ++value) {
    std::array<char, 4> expected{};
    std::snprintf(expected.data(), expected.size(), "%02X", value);
    const Payload payload = {static_cast<std::uint8_t>(value)};
    EXPECT_EQ(PacketLoggerPayload::payloadPreview(payload), expected.data());
  }
}

TEST(PayloadPreview, EndsAfterTwentyFourBytes) {
  Payload payload(30);
  for (std::size_t index = 0; index < payload.size(); ++index) {
    payload[index] = static_cast<std::uint8_t>(index);
  }
  const std::string whole =
      "00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13 14 15 16 17";
  EXPECT_EQ(whole.size(), 71U);
  EXPECT_EQ(PacketLoggerPayload::payloadPreview(payload), whole);
  EXPECT_EQ(PacketLoggerPayload::payloadPreview(cut(payload, 25)), whole);
  EXPECT_EQ(PacketLoggerPayload::payloadPreview(cut(payload, 24)), whole);
  EXPECT_EQ(PacketLoggerPayload::payloadPreview(cut(payload, 23)), whole.substr(0, 68));
}

TesslineEvent button(RemoteCommand command, RemoteButtonPhase phase) {
  return RemoteButtonEvent{command, phase};
}
const TesslineEvent voiceDown = button(RemoteCommand::voice, RemoteButtonPhase::pressed);
const TesslineEvent voiceUp = button(RemoteCommand::voice, RemoteButtonPhase::released);
const TesslineEvent muteDown = button(RemoteCommand::mute, RemoteButtonPhase::pressed);
const TesslineEvent muteUp = button(RemoteCommand::mute, RemoteButtonPhase::released);
const TesslineEvent started = VoiceSessionStarted{};
const TesslineEvent ended = VoiceSessionEnded{};
const TesslineEvent frame = RemoteVoiceFrame{};

bool prints(bool wasCollecting, const std::vector<TesslineEvent>& events) {
  return PacketLoggerPayload::shouldPrintDebugPayload(wasCollecting, events);
}

TEST(DebugPayload, WithoutEventsIsPrintedWhileVoiceIsCollected) {
  EXPECT_TRUE(prints(true, {}));
  EXPECT_FALSE(prints(false, {}));
}

TEST(DebugPayload, IsPrintedWhereVoiceBegins) {
  EXPECT_TRUE(prints(false, {voiceDown}));
  EXPECT_TRUE(prints(false, {started}));
  EXPECT_TRUE(prints(false, {muteDown, frame, started}));
  EXPECT_TRUE(prints(true, {voiceDown, started}));
}

TEST(DebugPayload, IsNotPrintedWhereVoiceEnds) {
  for (const bool wasCollecting : {false, true}) {
    EXPECT_FALSE(prints(wasCollecting, {voiceUp}));
    EXPECT_FALSE(prints(wasCollecting, {ended}));
    EXPECT_FALSE(prints(wasCollecting, {voiceUp, voiceDown}));
    EXPECT_FALSE(prints(wasCollecting, {ended, started}));
    EXPECT_FALSE(prints(wasCollecting, {started, frame, voiceUp}));
  }
}

TEST(DebugPayload, OtherEventsChangeNothing) {
  for (const bool wasCollecting : {false, true}) {
    EXPECT_EQ(prints(wasCollecting, {muteDown, muteUp, frame}), wasCollecting);
  }
}

TEST(DebugPayload, VoiceIsTheEleventhCommand) {
  static_assert(static_cast<int>(RemoteCommand::voice) == 10);
  for (int ordinal = 0; ordinal < 13; ++ordinal) {
    const auto command = static_cast<RemoteCommand>(ordinal);
    EXPECT_EQ(prints(false, {button(command, RemoteButtonPhase::pressed)}), ordinal == 10);
    EXPECT_EQ(prints(true, {button(command, RemoteButtonPhase::released)}), ordinal != 10);
  }
}

// A second reading of every test, byte by byte and with every bound written out.
namespace literal {

bool isMarkerAt(const Payload& p, std::size_t i, int first) {
  static constexpr int markers[7][5] = {{27, 35, 0, 0, 2},  {27, 35, 0, 0, 4},  {27, 35, 0, 3, 0},
                                        {27, 35, 0, 0, 16}, {27, 35, 0, 16, 0}, {27, 58, 0, 32, 0},
                                        {27, 58, 0, 0, 0}};
  for (int m = first; m < 7; ++m) {
    bool same = true;
    for (std::size_t k = 0; k < 5; ++k) same = same && p.at(i + k) == markers[m][k];
    if (same) return true;
  }
  return false;
}

bool containsMarker(const Payload& p, int first) {
  for (std::size_t i = 0; i + 5 <= p.size(); ++i) {
    if (isMarkerAt(p, i, first)) return true;
  }
  return false;
}

bool frameStart(const Payload& p) {
  const std::size_t n = p.size();
  if (n < 2) return false;
  if (p.at(1) / 16 % 4 == 2) {
    if (n > 18 && p.at(18) == 184) return true;
    if (n > 16 && p.at(8) == 27 && p.at(9) == 54 && p.at(16) == 184) return true;
  }
  if (n > 2 && p.at(2) / 16 % 4 == 2) {
    if (n > 19 && p.at(19) == 184) return true;
    if (n > 17 && p.at(9) == 27 && p.at(10) == 54 && p.at(17) == 184) return true;
  }
  return false;
}

bool continuation(const Payload& p) {
  if (p.size() < 5) return false;
  if (p.at(1) / 16 % 4 == 1) return true;
  return p.size() > 5 && p.at(2) / 16 % 4 == 1;
}

bool buttonReport(const Payload& p) {
  for (std::size_t i = 0; i < p.size(); ++i) {
    if (p.at(i) != 251) continue;
    if (i < 3) return false;
    if (p.at(i - 3) == 27) return true;
    if (i == 3) return false;
    return p.at(i - 4) == 27 && p.at(i - 1) == 1;
  }
  return false;
}

}  // namespace literal

/// Payloads of a remote, whole, mutated and cut, and others of the bytes that mean something.
class PayloadGenerator {
 public:
  Payload next() {
    Payload payload = origin();
    for (std::size_t changes = below(3); changes > 0 && !payload.empty(); --changes) {
      payload[below(payload.size())] = byte();
    }
    if (below(4) == 0) payload.insert(payload.begin(), byte());
    if (below(4) == 0) payload.resize(below(payload.size() + 1));
    return payload;
  }

 private:
  std::size_t below(std::size_t bound) { return random_() % bound; }
  std::uint8_t byte() {
    constexpr std::uint8_t meaningful[] = {0x00, 0x01, 0x02, 0x04, 0x10, 0x1B, 0x20,
                                           0x23, 0x30, 0x36, 0x3A, 0xB8, 0xFB};
    return below(3) == 0 ? static_cast<std::uint8_t>(random_())
                         : meaningful[below(std::size(meaningful))];
  }
  Payload noise() {
    Payload payload(below(28));
    for (auto& each : payload) each = byte();
    return payload;
  }
  Payload origin() {
    const FlagByte flag = below(2) == 0 ? FlagByte::first : FlagByte::second;
    switch (below(6)) {
      case 0:
        return frameStart("03 b8 01 02", flag);
      case 1:
        return longFrameStart("03 b8 01 02", flag);
      case 2:
        return continuation("03 b8 01 02", flag);
      case 3:
        return joined({noise(), bytes(below(2) == 0 ? "1b 15 00 fb" : "1b 15 00 01 fb"), noise()});
      case 4:
        return joined({noise(), markers_[below(markers_.size())], noise()});
      default:
        return noise();
    }
  }

  std::mt19937 random_{20240229};
  const std::vector<Payload> markers_ = allMarkers();
};

TEST(PacketLoggerPayloadReference, AgreesOnMutatedPayloads) {
  struct Comparison {
    std::string name;
    std::function<bool(const Payload&)> tested;
    std::function<bool(const Payload&)> reference;
    int yes = 0;
  };
  std::vector<Comparison> comparisons = {
      {"control marker", isControl, [](const Payload& p) { return literal::containsMarker(p, 0); }},
      {"boundary", isBoundary, [](const Payload& p) { return literal::containsMarker(p, 3); }},
      {"frame start", isFrameStart, literal::frameStart},
      {"continuation", isContinuation, literal::continuation},
      {"button report", [](const Payload& p) { return isButtonReport(p); }, literal::buttonReport}};
  constexpr int count = 300'000;
  PayloadGenerator generator;
  for (int index = 0; index < count; ++index) {
    const Payload payload = generator.next();
    for (auto& [name, tested, reference, yes] : comparisons) {
      const bool expected = reference(payload);
      yes += expected ? 1 : 0;
      ASSERT_EQ(tested(payload), expected) << name << ": " << hexText(payload);
    }
  }
  // Worth something only if both answers are common.
  for (const auto& comparison : comparisons) {
    EXPECT_GT(comparison.yes, count / 20) << comparison.name;
    EXPECT_LT(comparison.yes, count - count / 20) << comparison.name;
  }
}

}  // namespace
}  // namespace tessline::test
