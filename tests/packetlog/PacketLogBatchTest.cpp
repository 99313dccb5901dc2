#include "tessline/packetlog/PacketLogBatch.h"
#include "tests/support/Bytes.h"
#include "tests/support/PacketLines.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using namespace std::string_literals;

PacketLogBatch readBatch(std::string_view text, const PacketLoggerLineParser& parser = {}) {
  PacketLogBatch batch;
  batch.read(text, parser);
  return batch;
}

/// The packets as "line: bytes", separated by ", ".
std::string packetsOf(const PacketLogBatch& batch) {
  std::string text;
  for (std::size_t index = 0; index < batch.size(); ++index) {
    const auto packet = batch[index];
    text +=
        (text.empty() ? "" : ", ") + std::to_string(packet.line) + ": " + hexText(packet.payload);
  }
  return text;
}

struct LineEnd {
  std::string_view name;
  std::string_view text;
};

constexpr LineEnd lineEnds[] = {
    {"LineFeed", "\n"},
    {"VerticalTab", "\v"},
    {"FormFeed", "\f"},
    {"CarriageReturn", "\r"},
    {"CarriageReturnAndLineFeed", "\r\n"},
    {"NextLine", "\xC2\x85"},
    {"LineSeparator", "\xE2\x80\xA8"},
    {"ParagraphSeparator", "\xE2\x80\xA9"},
};

class EveryLineEnd : public ::testing::TestWithParam<LineEnd> {
 protected:
  const std::string end_ = std::string(GetParam().text);
};

TEST_P(EveryLineEnd, EndsALine) {
  const auto batch = readBatch("RECV 01" + end_ + "RECV 02");
  EXPECT_EQ(packetsOf(batch), "0: 01, 1: 02");
  EXPECT_EQ(batch.counts().lines, 2u);
}

TEST_P(EveryLineEnd, EndsTheLastLine) {
  const auto batch = readBatch("RECV 01" + end_);
  EXPECT_EQ(packetsOf(batch), "0: 01");
  EXPECT_EQ(batch.counts().lines, 1u);
  EXPECT_EQ(batch.counts().empty, 0u);
}

TEST_P(EveryLineEnd, EndsEmptyLines) {
  const auto batch = readBatch(end_ + "RECV 01" + end_ + end_ + end_ + "RECV 02" + end_);
  EXPECT_EQ(packetsOf(batch), "1: 01, 4: 02");
  EXPECT_EQ(batch.counts().lines, 5u);
  EXPECT_EQ(batch.counts().empty, 3u);
}

TEST_P(EveryLineEnd, EndsALineOfFullLength) {
  const auto batch = readBatch(receivedLine("01 02") + end_ + receivedLine("03") + end_);
  EXPECT_EQ(packetsOf(batch), "0: 01 02, 1: 03");
}

TEST_P(EveryLineEnd, IsNoPartOfItsLine) {
  // 54 characters; with the line end it would be a line of full length.
  const std::string line = "RECV 1b" + std::string(47, ' ');
  EXPECT_EQ(packetsOf(readBatch(line + end_ + "x")), "0: 1b");
}

TEST_P(EveryLineEnd, IsNotTakenByAMarkBehindIt) {
  EXPECT_EQ(packetsOf(readBatch("RECV 01" + end_ + "\xCC\x81RECV 02")), "0: 01, 1: 02");
}

TEST_P(EveryLineEnd, EndsALineBehindOtherThanAscii) {
  EXPECT_EQ(packetsOf(readBatch("RECV 01 \xC3\xA9" + end_ + "RECV \xC3\xA9 02" + end_)),
            "0: 01, 1: 02");
  EXPECT_EQ(packetsOf(readBatch("RECV 01 \xE2\x80" + end_ + "RECV 02")), "0: 01, 1: 02");
}

TEST_P(EveryLineEnd, MakesAFrontPartWhole) {
  const std::string line = "RECV 01" + end_;
  EXPECT_EQ(wholeLinesLength(line + "x"), line.size());
  EXPECT_EQ(wholeLinesLength(line + line + "x"), 2 * line.size());
  EXPECT_EQ(wholeLinesLength(line + std::string(200, 'x')), line.size());
}

TEST_P(EveryLineEnd, MakesAFrontPartWholeAtTheVeryEndUnlessMoreMayFollow) {
  const std::string line = "RECV 01" + end_;
  EXPECT_EQ(wholeLinesLength(line), end_ == "\r" ? 0u : line.size());
  EXPECT_EQ(wholeLinesLength("a\n" + line), end_ == "\r" ? 2u : 2 + line.size());
}

TEST_P(EveryLineEnd, EndsAPayloadLine) {
  PacketLogBatch batch;
  batch.readPayloads("01 02" + end_ + end_ + "\xC3\xA9 03" + end_);
  EXPECT_EQ(packetsOf(batch), "0: 01 02, 2: 03");
  EXPECT_EQ(batch.counts(), (PacketLogLineCounts{3, 1, 2, 0, 0, 0}));
}

TEST_P(EveryLineEnd, EndsTheFirstLine) {
  const std::string line = "RECV \xC3\xA9 01" + end_;
  EXPECT_EQ(firstWholeLineLength(line + "x"), line.size());
  EXPECT_EQ(firstWholeLineLength(line + line), line.size());
  EXPECT_EQ(firstWholeLineLength(end_ + line), end_.size());
  EXPECT_EQ(firstWholeLineLength(line), end_ == "\r" ? 0u : line.size());
}

INSTANTIATE_TEST_SUITE_P(Of, EveryLineEnd, ::testing::ValuesIn(lineEnds),
                         [](const auto& end) { return std::string(end.param.name); });

TEST(PacketLogBatch, IsEmptyAtFirst) {
  const PacketLogBatch batch;
  EXPECT_EQ(batch.size(), 0u);
  EXPECT_EQ(batch.counts(), PacketLogLineCounts());
}

TEST(PacketLogBatch, FindsNoLineInNoText) {
  const auto batch = readBatch("");
  EXPECT_EQ(batch.size(), 0u);
  EXPECT_EQ(batch.counts(), PacketLogLineCounts());
}

TEST(PacketLogBatch, CountsALineFeedAndACarriageReturnAsTwoLineEnds) {
  EXPECT_EQ(readBatch("\n\r").counts().lines, 2u);
  EXPECT_EQ(readBatch("\r\n").counts().lines, 1u);
  EXPECT_EQ(readBatch("\r\r\n").counts().lines, 2u);
  EXPECT_EQ(readBatch("\r\n\n").counts().lines, 2u);
}

TEST(PacketLogBatch, EndsNoLineAtOtherSeparators) {
  for (const auto& separator :
       {"\x1C"s, "\x1D"s, "\x1E"s, "\0"s, "\t"s, "\x08"s, "\x0E"s, "\xC2\x84"s, "\xC2\x86"s,
        "\xE2\x80\xA7"s, "\xE2\x80\xAA"s, "\x85"s, "\xE2\x80"s, "\xE1\x80\xA8"s}) {
    EXPECT_EQ(readBatch("RECV" + separator + "01").counts().lines, 1u);
  }
}

TEST(PacketLogBatch, CountsEveryKindOfLine) {
  const auto batch = readBatch("RECV AA:BB\nRECV AA:BB --\n\nSEND\nRECV 01\nRECV 02\n\n\n" +
                                   receivedLine("--", "AA:BB") + "\nRECV 00:00:00:00:00:00",
                               {"AA:BB"});
  EXPECT_EQ(batch.counts().lines, 10u);
  EXPECT_EQ(batch.counts().empty, 3u);
  EXPECT_EQ(batch.counts().packets, 3u);
  EXPECT_EQ(batch.counts().notReceived, 1u);
  EXPECT_EQ(batch.counts().otherRemote, 2u);
  EXPECT_EQ(batch.counts().withoutPayload, 1u);
  EXPECT_EQ(batch.size(), 3u);
}

TEST(PacketLogBatch, CountsALastLineWithoutLineEnd) {
  EXPECT_EQ(readBatch("SEND").counts().lines, 1u);
  EXPECT_EQ(readBatch("SEND\nSEND").counts().lines, 2u);
  EXPECT_EQ(readBatch("SEND\nSEND\n").counts().lines, 2u);
}

TEST(PacketLogBatch, CountsABlankLineAsALine) {
  const auto batch = readBatch(" \n\t\n");
  EXPECT_EQ(batch.counts().notReceived, 2u);
  EXPECT_EQ(batch.counts().empty, 0u);
}

TEST(PacketLogBatch, NumbersPacketsByTheirLine) {
  EXPECT_EQ(packetsOf(readBatch("\nSEND\nRECV 01\n\r\nRECV --\nRECV 02 03")), "2: 01, 5: 02 03");
}

TEST(PacketLogBatch, ForgetsWhatItHeldWhenReadAgain) {
  PacketLogBatch batch;
  batch.read("RECV 01\nRECV 02\n\n", {});
  batch.read("SEND\nRECV 03", {});
  EXPECT_EQ(packetsOf(batch), "1: 03");
  EXPECT_EQ(batch.counts().lines, 2u);
  EXPECT_EQ(batch.counts().empty, 0u);
  batch.read("", {});
  EXPECT_EQ(batch.size(), 0u);
  EXPECT_EQ(batch.counts(), PacketLogLineCounts());
}

TEST(PacketLogBatch, OutlivesItsText) {
  std::string text = "RECV 01 02";
  const auto batch = readBatch(text);
  text.assign(text.size(), 'x');
  EXPECT_EQ(packetsOf(batch), "0: 01 02");
}

TEST(PacketLogBatch, HoldsManyPackets) {
  std::string text;
  std::string expected;
  for (int line = 0; line < 1000; ++line) {
    text += receivedLine(line % 2 == 0 ? "12 34" : "") + "\n";
    if (line % 2 == 0) expected += (line == 0 ? "" : ", ") + std::to_string(line) + ": 12 34";
  }
  EXPECT_EQ(packetsOf(readBatch(text)), expected);
}

TEST(PacketLogBatch, LetsBrokenBytesAffectTheirOwnLineAlone) {
  EXPECT_EQ(packetsOf(readBatch("RECV\xE2\x80\nRECV 01\xF0\x9F\x91\nRECV 02\xC2\r\nRECV 03")),
            "1: 01, 2: 02, 3: 03");
}

TEST(PacketLogBatch, ReadsEveryLineAsAPayloadWhenAskedTo) {
  PacketLogBatch batch;
  batch.readPayloads("1b 23\nSEND 00\n\nRECV\r\nxyz\n4");
  EXPECT_EQ(packetsOf(batch), "0: 1b 23, 1: 00, 3: ec");
  EXPECT_EQ(batch.counts(), (PacketLogLineCounts{6, 1, 3, 0, 0, 2}));
}

TEST(PacketLogBatch, ReadsLongPayloadLinesFromTheirFirstCharacter) {
  std::string line;
  for (int count = 0; count < 40; ++count) line += "1b ";
  PacketLogBatch batch;
  batch.readPayloads(line + "\n\xC3\xA9 " + line);
  ASSERT_EQ(batch.size(), 2u);
  EXPECT_EQ(batch[0].payload.size(), 40u);
  EXPECT_EQ(batch[1].payload.size(), 40u);
}

TEST(PacketLogBatch, ForgetsWhatItHeldWhenItReadsPayloads) {
  PacketLogBatch batch;
  batch.read("RECV 01\nRECV 02", {});
  batch.readPayloads("03");
  EXPECT_EQ(packetsOf(batch), "0: 03");
  batch.read("RECV 04", {});
  EXPECT_EQ(packetsOf(batch), "0: 04");
}

TEST(PacketLogLineCounts, AreSummedFieldByField) {
  PacketLogLineCounts counts{1, 2, 3, 4, 5, 6};
  counts += PacketLogLineCounts{10, 20, 30, 40, 50, 60};
  EXPECT_EQ(counts, (PacketLogLineCounts{11, 22, 33, 44, 55, 66}));
}

TEST(WholeLines, AreNoneWithoutALineEnd) {
  EXPECT_EQ(wholeLinesLength(""), 0u);
  EXPECT_EQ(wholeLinesLength("RECV 01"), 0u);
  EXPECT_EQ(wholeLinesLength(std::string(1000, 'x')), 0u);
}

TEST(WholeLines, LeaveOutACarriageReturnThatALineFeedMayFollow) {
  EXPECT_EQ(wholeLinesLength("\r"), 0u);
  EXPECT_EQ(wholeLinesLength("a\nb\r"), 2u);
  EXPECT_EQ(wholeLinesLength("a\r\r"), 2u);
  EXPECT_EQ(wholeLinesLength("a\r\n\r"), 3u);
  EXPECT_EQ(wholeLinesLength("a\n\r"), 2u);
}

TEST(WholeLines, LeaveOutALineEndThatIsNotAllThere) {
  EXPECT_EQ(wholeLinesLength("a\n\xE2\x80"), 2u);
  EXPECT_EQ(wholeLinesLength("a\n\xC2"), 2u);
  EXPECT_EQ(wholeLinesLength("a\xE2"), 0u);
}

TEST(WholeLines, EndAtALineEndBehindABrokenSequence) {
  EXPECT_EQ(wholeLinesLength("\xE2\x80\xE2\x80\xA8"), 5u);
  EXPECT_EQ(wholeLinesLength("\xF0\x9F\xC2\x85"), 4u);
}

TEST(WholeLines, DoNotEndWithinOtherCharacters) {
  EXPECT_EQ(wholeLinesLength("\x85"), 0u);
  EXPECT_EQ(wholeLinesLength("\xC3\x85"), 0u);
  EXPECT_EQ(wholeLinesLength("\xE3\x80\xA8"), 0u);
  EXPECT_EQ(wholeLinesLength("\x80\xA8"), 0u);
}

TEST(FirstWholeLine, IsNoneWithoutItsLineEnd) {
  for (const auto* text : {"", "RECV 01", "\r", "a\r", "a\xE2\x80", "a\xC2", "\xC3\x85"}) {
    EXPECT_EQ(firstWholeLineLength(text), 0u) << text;
  }
}

TEST(FirstWholeLine, EndsBehindACarriageReturnThatNoLineFeedFollows) {
  EXPECT_EQ(firstWholeLineLength("a\rb"), 2u);
  EXPECT_EQ(firstWholeLineLength("a\r\r"), 2u);
  EXPECT_EQ(firstWholeLineLength("a\r\nb"), 3u);
}

}  // namespace
}  // namespace tessline::test
