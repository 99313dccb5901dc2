#include "tessline/packetlog/PacketLoggerLineParser.h"
#include "tests/support/Bytes.h"
#include "tests/support/PacketLines.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using namespace std::string_literals;

constexpr std::string_view wantedAddress = "AA:BB:CC:DD:EE:FF";
constexpr std::string_view placeholderAddress = "00:00:00:00:00:00";

/// The payload that `line` is read as, in hex text; "none" when the line is no packet.
std::string payloadOf(std::string_view line, std::optional<std::string> address = std::nullopt) {
  const auto packet = PacketLoggerLineParser{std::move(address)}.parseLine(line);
  return packet ? hexText(packet->payload) : "none";
}

std::string_view regionOf(std::string_view line) {
  return PacketLoggerLineParser::payloadRegion(line);
}

bool accepts(std::string_view line, std::optional<std::string> address) {
  return PacketLoggerLineParser{std::move(address)}.addressMatches(line);
}

TEST(PacketLine, YieldsItsPayloadAndItself) {
  const std::string line = receivedLine("1b 23 00 00 10");
  const auto packet = PacketLoggerLineParser().parseLine(line);
  ASSERT_TRUE(packet);
  EXPECT_EQ(packet->payload, bytes("1b 23 00 00 10"));
  EXPECT_EQ(packet->sourceLine, line);
}

TEST(PacketLine, KeepsItselfUnchanged) {
  for (const auto& line : {"  recv \t1B  "s, "RECV\xFF 1b\xE2\x80"s, "RECV\0 1b"s, "RECV 1b\r"s}) {
    const auto packet = PacketLoggerLineParser().parseLine(line);
    ASSERT_TRUE(packet) << line;
    EXPECT_EQ(packet->sourceLine, line);
  }
}

TEST(PacketLine, MayBeShort) {
  EXPECT_EQ(payloadOf("RECV 1b 23 00 00 10"), "1b 23 00 00 10");
  EXPECT_EQ(payloadOf("RECV1b"), "1b");
  EXPECT_EQ(payloadOf("RECV:1b"), "1b");
}

TEST(PacketLine, MustBeReceived) {
  EXPECT_EQ(payloadOf(""), "none");
  EXPECT_EQ(payloadOf("SEND 1b 23 00 00 10"), "none");
  EXPECT_EQ(payloadOf("1b 23 00 00 10"), "none");
  EXPECT_EQ(payloadOf(sentLine("1b 23 00 00 10")), "none");
}

TEST(PacketLine, MayWriteReceivedInAnyLetterCase) {
  for (const auto* mark : {"RECV", "recv", "Recv", "rECV", "ReCv"}) {
    EXPECT_EQ(payloadOf(mark + " 1b"s), "1b") << mark;
  }
}

TEST(PacketLine, MustSpellReceivedWhole) {
  for (const auto* mark : {"REC", "ECV", "RE CV", "R\nECV", "RECW", "REC\xC3\xA9V", "R.ECV"}) {
    EXPECT_EQ(payloadOf(mark + " 1b"s), "none") << mark;
  }
}

TEST(PacketLine, MayHoldReceivedWithinAWord) {
  EXPECT_EQ(payloadOf("xRECVx 1b"), "1b");
  EXPECT_EQ(payloadOf("recvd 1b"), "1b");
}

TEST(PacketLine, MayHoldReceivedBehindThePrefix) {
  EXPECT_EQ(payloadOf(sentLine("1b RECV 23")), "1b ec 23");
}

TEST(PacketLine, IsNotReceivedWhenAMarkChangesALetter) {
  EXPECT_EQ(payloadOf("RECV\xCC\x81 1b"), "none");
  EXPECT_EQ(payloadOf("RE\xCC\x81"
                      "CV 1b"),
            "none");
  EXPECT_EQ(payloadOf("RECV\xE2\x80\x8D 1b"), "none");
  EXPECT_EQ(payloadOf("\xD8\x80"
                      "RECV 1b"),
            "none");
  EXPECT_EQ(payloadOf("ＲＥＣＶ 1b"), "none");
  EXPECT_EQ(payloadOf("RECV\xCC\x81 RECV 1b"), "1b");
}

TEST(PacketLine, IsReceivedNextToBrokenBytes) {
  EXPECT_EQ(payloadOf("\xFFRECV\xE2\x80 1b"), "1b");
}

TEST(PacketLine, MustHaveBytes) {
  EXPECT_EQ(payloadOf("RECV"), "none");
  EXPECT_EQ(payloadOf("RECV 1 234 xyz"), "none");
  EXPECT_EQ(payloadOf("1b RECV"), "none");
  EXPECT_EQ(payloadOf(receivedLine("--")), "none");
}

TEST(PayloadRegion, BeginsBehind54Characters) {
  const std::string prefix(54, 'x');
  EXPECT_EQ(regionOf(prefix + "1"), "1");
  EXPECT_EQ(regionOf(prefix + "1b 23"), "1b 23");
}

TEST(PayloadRegion, IgnoresReceivedInAFullLengthLine) {
  EXPECT_EQ(regionOf("RECV " + std::string(49, 'x') + "1b"), "1b");
  EXPECT_EQ(regionOf(std::string(54, 'x') + "RECV 1b"), "RECV 1b");
}

TEST(PayloadRegion, BeginsBehindReceivedInALineOf54Characters) {
  const std::string rest = " 1b" + std::string(47, 'x');
  EXPECT_EQ(regionOf("RECV" + rest), rest);
  EXPECT_EQ(regionOf("RECV" + rest + "y"), "y");
}

TEST(PayloadRegion, BeginsBehindTheFirstReceived) {
  EXPECT_EQ(regionOf("12 recv 34 RECV 56"), " 34 RECV 56");
  EXPECT_EQ(regionOf("RECV"), "");
}

TEST(PayloadRegion, IsAWholeShortLineWithoutReceived) {
  EXPECT_EQ(regionOf("1b 23"), "1b 23");
  EXPECT_EQ(regionOf(""), "");
  EXPECT_EQ(regionOf("RECV\xCC\x81 1b"), "RECV\xCC\x81 1b");
}

TEST(PayloadRegion, CountsCharactersAndNotBytes) {
  std::string accents;
  for (int count = 0; count < 50; ++count) accents += "\xC3\xA9";
  EXPECT_EQ(regionOf("RECV" + accents), accents);
  EXPECT_EQ(regionOf("RECV" + accents + "1"), "1");
}

TEST(PayloadRegion, CountsALetterAndItsMarkAsOne) {
  std::string accents;
  for (int count = 0; count < 50; ++count) accents += "e\xCC\x81";
  EXPECT_EQ(regionOf("RECV" + accents), accents);
  EXPECT_EQ(regionOf("RECV" + accents + "1b"), "1b");
}

TEST(PayloadRegion, CountsJoinedEmojiAndFlagsAsOne) {
  std::string symbols;
  for (int count = 0; count < 25; ++count) {
    symbols += "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB";
    symbols += "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA";
  }
  EXPECT_EQ(regionOf("RECV" + symbols), symbols);
  EXPECT_EQ(regionOf("RECV" + symbols + "1b"), "1b");
}

TEST(PayloadRegion, CountsACarriageReturnAndLineFeedAsOne) {
  const std::string rest(49, 'x');
  EXPECT_EQ(regionOf("RECV\r\n" + rest), "\r\n" + rest);
  EXPECT_EQ(regionOf("RECV\n\r" + rest), "x");
}

TEST(PayloadRegion, CountsABrokenSequenceAsOne) {
  const std::string rest(49, 'x');
  EXPECT_EQ(regionOf("RECV\xE2\x80" + rest), "\xE2\x80" + rest);
  EXPECT_EQ(regionOf("RECV\xC1\xBF" + rest), "x");
}

TEST(PayloadRegion, TakesAMarkOnThe54thCharacterAsThePrefixs) {
  const std::string prefix = "RECV" + std::string(49, 'x') + "e\xCC\x81";
  EXPECT_EQ(regionOf(prefix + "1b"), "1b");
}

TEST(PayloadRegion, IgnoresHexTextInThePrefix) {
  EXPECT_EQ(payloadOf("RECV 11 22 33 " + std::string(40, ' ') + "44 be deed 55"), "44 be 55");
}

TEST(PayloadRegion, CutsANumberThatThePrefixSplits) {
  EXPECT_EQ(payloadOf("RECV" + std::string(49, ' ') + "1b 23"), "23");
  EXPECT_EQ(payloadOf("RECV" + std::string(49, ' ') + "1b2 23"), "b2 23");
}

TEST(AcceptedAddress, AcceptsAllWhenThereIsNone) {
  EXPECT_TRUE(accepts("", std::nullopt));
  EXPECT_TRUE(accepts("RECV 1b", std::nullopt));
  EXPECT_TRUE(accepts("RECV 1b", ""));
}

TEST(AcceptedAddress, IsLookedForInTheWholeLine) {
  const std::string address(wantedAddress);
  EXPECT_TRUE(accepts("RECV AA:BB:CC:DD:EE:FF 1b", address));
  EXPECT_TRUE(accepts("AA:BB:CC:DD:EE:FF", address));
  EXPECT_TRUE(accepts(receivedLine("AA:BB:CC:DD:EE:FF"), address));
  EXPECT_TRUE(accepts("xAA:BB:CC:DD:EE:FFx", address));
  EXPECT_FALSE(accepts("RECV 1b", address));
  EXPECT_FALSE(accepts("", address));
}

TEST(AcceptedAddress, MustBeSpeltTheSame) {
  const std::string address(wantedAddress);
  EXPECT_FALSE(accepts("RECV aa:bb:cc:dd:ee:ff 1b", address));
  EXPECT_FALSE(accepts("RECV AA-BB-CC-DD-EE-FF 1b", address));
  EXPECT_FALSE(accepts("RECV AABBCCDDEEFF 1b", address));
  EXPECT_FALSE(accepts("RECV AA:BB:CC:DD:EE:FE 1b", address));
  EXPECT_FALSE(accepts("RECV AA:BB:CC:DD:EE:F", address));
}

TEST(AcceptedAddress, MayBeAnyText) {
  EXPECT_TRUE(accepts("RECV remote 1b", "remote"));
  EXPECT_FALSE(accepts("RECV Remote 1b", "remote"));
  EXPECT_TRUE(accepts("RECV \xC3\xA9 1b", "\xC3\xA9"));
  EXPECT_FALSE(accepts("RECV e\xCC\x81 1b", "\xC3\xA9"));
}

TEST(AcceptedAddress, ConsistsOfWholeCharacters) {
  const std::string address(wantedAddress);
  EXPECT_FALSE(accepts("RECV " + address + "\xCC\x81 1b", address));
  EXPECT_FALSE(accepts("RECV \xD8\x80" + address + " 1b", address));
  EXPECT_TRUE(accepts("RECV " + address + "\xCC\x81 " + address, address));
  EXPECT_FALSE(accepts("RECV e\xCC\x81 1b", "e"));
}

TEST(AcceptedAddress, TellsBrokenBytesApart) {
  EXPECT_TRUE(accepts("RECV \xFF 1b", "\xFF"));
  EXPECT_FALSE(accepts("RECV \xFE 1b", "\xFF"));
  EXPECT_FALSE(accepts("RECV \xE2\x80 1b", "\xE2"));
  EXPECT_FALSE(accepts("RECV \xFF 1b", "\xEF\xBF\xBD"));
}

TEST(AcceptedAddress, IsNotNeededByThePlaceholder) {
  const std::string address(wantedAddress);
  EXPECT_TRUE(accepts("RECV 00:00:00:00:00:00 1b", address));
  EXPECT_TRUE(accepts(std::string(placeholderAddress), address));
  EXPECT_FALSE(accepts("RECV 00:00:00:00:00:01 1b", address));
  EXPECT_FALSE(accepts("RECV 00:00:00:00:00:0", address));
  EXPECT_FALSE(accepts("RECV 00-00-00-00-00-00 1b", address));
  EXPECT_FALSE(accepts("RECV 00:00:00:00:00:00\xCC\x81 1b", address));
}

TEST(AcceptedAddress, DecidesWhichLinesArePackets) {
  const std::string address(wantedAddress);
  EXPECT_EQ(payloadOf(receivedLine("1b", wantedAddress), address), "1b");
  EXPECT_EQ(payloadOf(receivedLine("1b", placeholderAddress), address), "1b");
  EXPECT_EQ(payloadOf(receivedLine("1b", "aa:bb:cc:dd:ee:ff"), address), "none");
  EXPECT_EQ(payloadOf(receivedLine("1b", "11:22:33:44:55:66"), address), "none");
  EXPECT_EQ(payloadOf(receivedLine("1b"), address), "none");
  EXPECT_EQ(payloadOf(receivedLine("1b", "11:22:33:44:55:66")), "1b");
}

TEST(AcceptedAddress, IsPartOfTheTextBehindAShortLinesReceived) {
  EXPECT_EQ(payloadOf("RECV AA:BB:CC:DD:EE:FF 1b", std::string(wantedAddress)),
            "aa bb cc dd ee ff 1b");
}

TEST(LineKind, IsDecidedInOrder) {
  const PacketLoggerLineParser parser{std::string(wantedAddress)};
  std::vector<std::uint8_t> payload;
  EXPECT_EQ(parser.readLine("", payload), PacketLogLine::notReceived);
  EXPECT_EQ(parser.readLine("SEND --", payload), PacketLogLine::notReceived);
  EXPECT_EQ(parser.readLine("RECV --", payload), PacketLogLine::otherRemote);
  EXPECT_EQ(parser.readLine("RECV 1b", payload), PacketLogLine::otherRemote);
  EXPECT_EQ(parser.readLine(receivedLine("--", wantedAddress), payload),
            PacketLogLine::withoutPayload);
  EXPECT_EQ(payload, bytes(""));
  EXPECT_EQ(parser.readLine(receivedLine("1b", wantedAddress), payload), PacketLogLine::packet);
  EXPECT_EQ(payload, bytes("1b"));
}

TEST(LineKind, ComesWithPayloadAppendedForAPacketAlone) {
  const PacketLoggerLineParser parser;
  auto payload = bytes("ff");
  EXPECT_EQ(parser.readLine("RECV 1b 23", payload), PacketLogLine::packet);
  EXPECT_EQ(parser.readLine("SEND 45", payload), PacketLogLine::notReceived);
  EXPECT_EQ(parser.readLine("RECV 678", payload), PacketLogLine::withoutPayload);
  EXPECT_EQ(hexText(payload), "ff 1b 23");
}

TEST(PacketLines, YieldTheirPacketsInOrder) {
  const std::vector<std::string> lines = {"RECV 01", "SEND 02", "RECV --", "", "recv 03"};
  const std::vector<TesslinePacket> packets = {{bytes("01"), "RECV 01"}, {bytes("03"), "recv 03"}};
  EXPECT_EQ(PacketLoggerLineParser().parseLines(lines), packets);
}

TEST(PacketLines, MayBeAnyRangeOfText) {
  const std::vector<std::string_view> views = {"RECV 01"};
  const char* const pointers[] = {"RECV 01", "RECV 02"};
  EXPECT_EQ(PacketLoggerLineParser().parseLines(views).size(), 1u);
  EXPECT_EQ(PacketLoggerLineParser().parseLines(pointers).size(), 2u);
  EXPECT_EQ(PacketLoggerLineParser().parseLines(std::vector<std::string>{"RECV 01"}).size(), 1u);
  EXPECT_EQ(PacketLoggerLineParser().parseLines(std::vector<std::string>{}).size(), 0u);
}

TEST(PacketLines, AreFilteredByAddress) {
  const std::vector<std::string> lines = {receivedLine("01", "11:22:33:44:55:66"),
                                          receivedLine("02", wantedAddress),
                                          receivedLine("03", placeholderAddress)};
  const auto packets = PacketLoggerLineParser{std::string(wantedAddress)}.parseLines(lines);
  ASSERT_EQ(packets.size(), 2u);
  EXPECT_EQ(packets[0].payload, bytes("02"));
  EXPECT_EQ(packets[1].payload, bytes("03"));
}

}  // namespace
}  // namespace tessline::test
