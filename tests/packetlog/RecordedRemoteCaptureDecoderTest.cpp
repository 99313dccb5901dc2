#include "tessline/packetlog/RecordedRemoteCaptureDecoder.h"
#include "tests/support/Bytes.h"
#include "tests/support/EventNotation.h"
#include "tests/support/PacketLines.h"
#include "tests/support/VoicePayloads.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

constexpr std::string_view remoteAddress = "AA:BB:CC:DD:EE:FF";

/// A capture with buttons, a voice session of two frames, and lines that mean nothing.
std::vector<std::string> sampleLines() {
  return {
      receivedLine("00 10"),
      sentLine("00 00"),
      receivedLine("00 00"),
      "",
      "Nov 21 10:11:12.130  NOTE  a line without a packet",
      receivedLine("1b 23 00 00 10"),
      receivedLine(frameStart("05 b8 01")),
      receivedLine(continuation("02 03 04")),
      receivedLine(frameStart("02 b8 05")),
      receivedLine("1b 23 00 10 00"),
  };
}

constexpr std::string_view sampleEvents =
    "press left, release left, started, frame 05 b8 01 02 03 04, frame 02 b8 05, ended";

std::string joinedLines(const std::vector<std::string>& lines, std::string_view lineEnd) {
  std::string text;
  for (const auto& line : lines) text += line + std::string(lineEnd);
  return text;
}

class CaptureDecoder : public ::testing::Test {
 protected:
  std::string decode(std::string_view text) { return notation(decoder_.decode(text)); }

  RecordedRemoteCaptureDecoder decoder_;
};

TEST_F(CaptureDecoder, FindsNothingInNoText) {
  EXPECT_EQ(decode(""), "");
}

TEST_F(CaptureDecoder, FindsNothingInLineEnds) {
  EXPECT_EQ(decode("\n\r\n\r\v\f\xC2\x85\xE2\x80\xA8\xE2\x80\xA9"), "");
}

TEST_F(CaptureDecoder, FindsNothingInLinesThatAreNoPackets) {
  EXPECT_EQ(decode(sentLine("00 10") + "\nRECV\n00 10\n"), "");
}

TEST_F(CaptureDecoder, TellsEventsInTheOrderOfTheLines) {
  EXPECT_EQ(decode(joinedLines(sampleLines(), "\n")), sampleEvents);
}

TEST_F(CaptureDecoder, NeedsNoLineEndBehindTheLastLine) {
  EXPECT_EQ(decode("RECV 00 10\nRECV 00 00"), "press left, release left");
}

TEST_F(CaptureDecoder, TellsTheSameWhateverEndsTheLines) {
  for (const auto* lineEnd :
       {"\n", "\v", "\f", "\r", "\r\n", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9", "\n\n\r"}) {
    RecordedRemoteCaptureDecoder decoder;
    EXPECT_EQ(notation(decoder.decode(joinedLines(sampleLines(), lineEnd))), sampleEvents);
  }
}

TEST_F(CaptureDecoder, DeliversAFrameOfTwoLinesWhenTheNextOneBegins) {
  EXPECT_EQ(decode(receivedLine(frameStart("05 b8 01")) + "\n"), "started");
  EXPECT_EQ(decode(receivedLine(continuation("02 03 04")) + "\n"), "");
  EXPECT_EQ(decode(receivedLine(frameStart("02 b8 05")) + "\n"), "frame 05 b8 01 02 03 04");
  EXPECT_EQ(decode(receivedLine("1b 23 00 10 00") + "\n"), "frame 02 b8 05, ended");
}

TEST_F(CaptureDecoder, CarriesItsStateFromCallToCall) {
  EXPECT_EQ(decode("RECV 00 10"), "press left");
  EXPECT_EQ(decode("RECV 00 10"), "");
  EXPECT_EQ(decoder_.reportParser().lastButtonMask(), 0x0010);
}

TEST_F(CaptureDecoder, TellsTheSameInPiecesThatEndAtLineEnds) {
  const auto lines = sampleLines();
  for (std::size_t cut = 0; cut <= lines.size(); ++cut) {
    const auto middle = lines.begin() + static_cast<std::ptrdiff_t>(cut);
    RecordedRemoteCaptureDecoder decoder;
    auto events = decoder.decode(joinedLines({lines.begin(), middle}, "\r\n"));
    for (auto& event : decoder.decode(joinedLines({middle, lines.end()}, "\r\n"))) {
      events.push_back(event);
    }
    EXPECT_EQ(notation(events), sampleEvents) << cut;
  }
}

TEST_F(CaptureDecoder, TakesLinesAlreadySplit) {
  EXPECT_EQ(notation(decoder_.decodeLines(sampleLines())), sampleEvents);
}

TEST_F(CaptureDecoder, TakesAnyRangeOfLines) {
  const std::string_view views[] = {"RECV 00 10", "SEND 00 00"};
  const char* const pointers[] = {"RECV 00 00"};
  EXPECT_EQ(notation(decoder_.decodeLines(views)), "press left");
  EXPECT_EQ(notation(decoder_.decodeLines(pointers)), "release left");
  EXPECT_EQ(notation(decoder_.decodeLines(std::vector<std::string>{})), "");
}

TEST_F(CaptureDecoder, AcceptsEveryAddressWithoutOne) {
  EXPECT_EQ(decoder_.lineParser().acceptedRemoteAddress, std::nullopt);
  EXPECT_EQ(decode(receivedLine("00 10", remoteAddress)), "press left");
}

TEST_F(CaptureDecoder, FollowsOneRemoteWhenGivenItsAddress) {
  RecordedRemoteCaptureDecoder decoder(remoteAddress);
  EXPECT_EQ(decoder.lineParser().acceptedRemoteAddress, remoteAddress);
  EXPECT_EQ(
      notation(decoder.decodeLines(std::vector<std::string>{
          receivedLine("00 01", "11:22:33:44:55:66"), receivedLine("00 10", remoteAddress),
          receivedLine("00 11", "00:00:00:00:00:00"), receivedLine("00 00", "aa:bb:cc:dd:ee:ff")})),
      "press left, press playPause");
}

TEST_F(CaptureDecoder, AcceptsEveryAddressWithAnEmptyOne) {
  RecordedRemoteCaptureDecoder decoder("");
  EXPECT_EQ(notation(decoder.decode(receivedLine("00 10", remoteAddress))), "press left");
}

TEST_F(CaptureDecoder, OwnsItsAddress) {
  std::string address(remoteAddress);
  RecordedRemoteCaptureDecoder decoder(address);
  address.assign(address.size(), 'x');
  EXPECT_EQ(notation(decoder.decode(receivedLine("00 10", remoteAddress))), "press left");
}

TEST_F(CaptureDecoder, SharesNothingWithItsCopy) {
  decode("RECV 00 10");
  auto copy = decoder_;
  EXPECT_EQ(decode("RECV 00 00"), "release left");
  EXPECT_EQ(notation(copy.decode("RECV 00 00")), "release left");
}

TEST_F(CaptureDecoder, HandsOutABatchPacketByPacket) {
  PacketLogBatch batch;
  batch.read(joinedLines(sampleLines(), "\n"), decoder_.lineParser());
  std::string told;
  decoder_.decodeBatch(
      batch, [&](const PacketLogBatch::Packet& packet, std::span<const TesslineEvent> events) {
        told += std::to_string(packet.line) + ": " + notation(events) + "; ";
      });
  EXPECT_EQ(told,
            "0: press left; 2: release left; 5: started; 8: frame 05 b8 01 02 03 04; "
            "9: frame 02 b8 05, ended; ");
}

TEST_F(CaptureDecoder, HandsOutThePayloadWithTheEvents) {
  PacketLogBatch batch;
  batch.read("RECV 00\nRECV 01 01\n", decoder_.lineParser());
  std::string told;
  decoder_.decodeBatch(batch, [&](const auto& packet, auto events) {
    told += hexText(packet.payload) + " is " + notation(events);
  });
  EXPECT_EQ(told, "01 01 is press home, press playPause");
}

TEST_F(CaptureDecoder, CarriesItsStateFromBatchToBatch) {
  PacketLogBatch batch;
  std::string told;
  for (const auto* text : {"RECV 00 10\n", "RECV 00 10\n", "RECV 00 00\n"}) {
    batch.read(text, decoder_.lineParser());
    decoder_.decodeBatch(batch, [&](const auto&, auto events) { told += notation(events) + "; "; });
  }
  EXPECT_EQ(told, "press left; release left; ");
}

}  // namespace
}  // namespace tessline::test
