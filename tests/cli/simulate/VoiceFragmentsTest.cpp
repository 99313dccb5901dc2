#include "cli/simulate/Random.h"
#include "cli/simulate/VoiceFragments.h"
#include "tessline/events/SiriRemoteReportParser.h"
#include "tests/support/Bytes.h"
#include "tests/support/EventNotation.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<cli::VoiceFrameLayout> allLayouts() {
  std::vector<cli::VoiceFrameLayout> layouts;
  for (const cli::PacketFraming framing : cli::voiceFramings) {
    for (const cli::VoiceForm form : cli::voiceForms) {
      for (const std::size_t capacity : {27U, 40U, 60U, 100U, 251U}) {
        layouts.push_back({framing, form, capacity});
      }
    }
  }
  return layouts;
}

/// An Opus packet of that many bytes, none of which means anything to the parser.
Bytes plainPacket(std::size_t size) {
  Bytes packet(size, 0x55);
  packet[0] = 0xB8;
  return packet;
}

Bytes packetWith(std::size_t size, std::size_t place, const std::string& hex) {
  Bytes packet = plainPacket(size);
  const Bytes part = bytes(hex);
  std::copy(part.begin(), part.end(), packet.begin() + static_cast<std::ptrdiff_t>(place));
  return packet;
}

/// What a parser makes of the packet's fragments, when a command is held and a session is open.
std::string decoded(const Bytes& packet, const cli::VoiceFrameLayout& layout,
                    std::uint16_t sequence) {
  cli::VoiceFragments fragments;
  fragments.split(packet, layout, sequence);
  SiriRemoteReportParser parser;
  parser.ingestPayload(bytes("1b 23 00 03 00"));
  parser.ingestPayload(bytes("1b 23 00 00 10"));
  std::vector<TesslineEvent> events;
  for (std::size_t index = 0; index < fragments.size(); ++index) {
    parser.ingestPayload(fragments[index], events);
  }
  parser.ingestPayload(bytes("1b 23 00 10 00"), events);
  return notation(events);
}

std::string wholeFrame(const Bytes& packet) {
  Bytes frame = {static_cast<std::uint8_t>(packet.size())};
  frame.insert(frame.end(), packet.begin(), packet.end());
  return "frame " + hexText(frame) + ", ended";
}

void expectWholeInEveryLayout(const Bytes& packet, std::uint16_t sequence = 0) {
  for (const cli::VoiceFrameLayout& layout : allLayouts()) {
    EXPECT_EQ(decoded(packet, layout, sequence), wholeFrame(packet))
        << "framing " << int(layout.framing) << ", form " << int(layout.form) << ", capacity "
        << layout.packetCapacity;
  }
}

std::size_t startOfFrame(const cli::VoiceFrameLayout& layout) {
  cli::VoiceFragments fragments;
  fragments.split(plainPacket(80), layout, 0);
  return SiriRemoteReportParser::voiceFrameByteStart(fragments[0]).value_or(0);
}

std::vector<std::size_t> fragmentSizes(std::size_t packetSize,
                                       const cli::VoiceFrameLayout& layout) {
  cli::VoiceFragments fragments;
  fragments.split(plainPacket(packetSize), layout, 0);
  std::vector<std::size_t> sizes;
  for (std::size_t index = 0; index < fragments.size(); ++index) {
    sizes.push_back(fragments[index].size());
  }
  return sizes;
}

TEST(VoiceFragments, PutTheLengthByteWhereTheLayoutHasIt) {
  using cli::PacketFraming;
  using cli::VoiceForm;
  EXPECT_EQ(startOfFrame({PacketFraming::handle, VoiceForm::shortForm, 251}), 15U);
  EXPECT_EQ(startOfFrame({PacketFraming::leadingByte, VoiceForm::shortForm, 251}), 16U);
  EXPECT_EQ(startOfFrame({PacketFraming::handle, VoiceForm::longForm, 251}), 17U);
  EXPECT_EQ(startOfFrame({PacketFraming::leadingByte, VoiceForm::longForm, 251}), 18U);
}

TEST(VoiceFragments, AreHeadersAndTheFrame) {
  cli::VoiceFragments fragments;
  fragments.split(bytes("b8 11 22 33"), {}, 0x0201);
  ASSERT_EQ(fragments.size(), 1U);
  EXPECT_EQ(hexText(fragments[0]), "40 20 10 00 0c 00 04 00 1b 36 00 01 02 80 3e 04 b8 11 22 33");
}

TEST(VoiceFragments, AreAsLargeAsTheCapacityAllows) {
  using cli::PacketFraming;
  using cli::VoiceForm;
  EXPECT_EQ(fragmentSizes(80, {PacketFraming::handle, VoiceForm::shortForm, 40}),
            (std::vector<std::size_t>{44, 44, 16}));
  EXPECT_EQ(fragmentSizes(80, {PacketFraming::leadingByte, VoiceForm::longForm, 60}),
            (std::vector<std::size_t>{65, 39}));
  EXPECT_EQ(fragmentSizes(80, {PacketFraming::handle, VoiceForm::longForm, 251}),
            (std::vector<std::size_t>{98}));
}

TEST(VoiceFragments, CarryPacketsOfEverySize) {
  for (std::size_t size = 1; size <= 255; ++size) expectWholeInEveryLayout(plainPacket(size));
}

TEST(VoiceFragments, CarryPacketsUnderEverySequenceNumber) {
  const Bytes packet = plainPacket(0x23);
  for (std::uint32_t sequence = 0; sequence <= 0xFFFF; ++sequence) {
    const auto number = static_cast<std::uint16_t>(sequence);
    const cli::VoiceFrameLayout layout = allLayouts()[sequence % allLayouts().size()];
    ASSERT_EQ(decoded(packet, layout, number), wholeFrame(packet)) << sequence;
  }
}

TEST(VoiceFragments, HideWhatLooksLikeAReport) {
  for (const std::string report :
       {"1b 23 00 00 10", "1b 23 00 10 00", "1b 3a 00 20 00", "1b 3a 00 00 00", "1b 23 00 00 00",
        "1b 23 00 00 02", "1b 23 00 00 04", "1b 23 00 03 00", "1b 15 00 fb 08 00"}) {
    for (std::size_t place = 1; place + 6 <= 90; ++place) {
      expectWholeInEveryLayout(packetWith(90, place, report));
    }
    expectWholeInEveryLayout(packetWith(50, 50 - bytes(report).size(), report));
  }
}

TEST(VoiceFragments, HideSeveralReportsInOnePacket) {
  expectWholeInEveryLayout(bytes("b8 1b 23 00 00 10 1b 23 00 10 00 1b 3a 00 20 00 1b 3a 00 00 00"));
}

TEST(VoiceFragments, UseTheLongFormWhenTheShortOneLooksLikeIt) {
  cli::VoiceFragments fragments;
  fragments.split(bytes("b8 11 b8 22"), {}, 0);
  EXPECT_EQ(SiriRemoteReportParser::voiceFrameByteStart(fragments[0]), 17U);
  expectWholeInEveryLayout(bytes("b8 11 b8 22"));
}

TEST(VoiceFragments, HideWhatLooksLikeAnotherFrame) {
  for (std::size_t size = 30; size <= 255; ++size) {
    expectWholeInEveryLayout(Bytes(size, 0xB8));
  }
  for (std::size_t place = 1; place + 9 <= 90; ++place) {
    expectWholeInEveryLayout(packetWith(90, place, "1b 36 55 55 55 55 55 55 b8"));
  }
}

TEST(VoiceFragments, CarryPacketsOfTellingBytesOnly) {
  constexpr std::array<std::uint8_t, 16> telling = {0x1B, 0x23, 0x3A, 0x15, 0x36, 0xB8, 0xFB, 0x00,
                                                    0x10, 0x20, 0x02, 0x04, 0x03, 0x00, 0x1B, 0x01};
  cli::Random random(1);
  for (int round = 0; round < 3000; ++round) {
    Bytes packet(random.between(1, 255));
    for (std::uint8_t& byte : packet) byte = random.pick(telling);
    packet[0] = 0xB8;
    expectWholeInEveryLayout(packet, static_cast<std::uint16_t>(random.below(0x10000)));
  }
}

}  // namespace
}  // namespace tessline::test
