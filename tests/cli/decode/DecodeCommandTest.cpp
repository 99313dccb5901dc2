#include "tests/cli/support/Command.h"
#include "tests/support/Files.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

// A prefix of 54 characters, as packet loggers write it.
constexpr std::string_view prefix = "Nov 21 10:15:30.123  ACL RECV  AA:BB:CC:DD:EE:FF      ";
static_assert(prefix.size() == 54);

std::string packet(std::string_view bytes) {
  return std::string(prefix) + std::string(bytes);
}

// A frame start whose length byte stands at index 15, as the last bytes given.
std::string voiceFrame(std::string_view frame) {
  return packet("40 20 0f 00 0b 00 04 00 1b 36 00 01 02 03 04 " + std::string(frame));
}

const std::string selectPressed = packet("08 00");
const std::string allReleased = packet("00 00");
const std::string voiceStart = packet("40 20 09 00 05 00 04 00 1b 23 00 00 10");
const std::string voiceEnd = packet("40 20 09 00 05 00 04 00 1b 23 00 10 00");

std::vector<std::string> jsonl(std::vector<std::string> more = {}) {
  more.insert(more.begin(), {"decode", "--format", "jsonl"});
  return more;
}

TEST(DecodeJsonLines, WriteEachKindOfEventWithItsKeys) {
  const std::string capture = selectPressed + "\n" + voiceStart + "\n" + voiceFrame("03 b8 01 02") +
                              "\n" + voiceEnd + "\n" + allReleased + "\n";
  const CommandResult result = runCommand(jsonl(), capture);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output,
            R"({"line":1,"event":"button","command":"select","ordinal":4,"phase":"pressed"})"
            "\n"
            R"({"line":2,"event":"voiceSessionStarted"})"
            "\n"
            R"({"line":4,"event":"voiceFrame","declaredByteCount":3,"packetBytes":"b80102",)"
            R"("rawBytes":"03b80102"})"
            "\n"
            R"({"line":4,"event":"voiceSessionEnded"})"
            "\n"
            R"({"line":5,"event":"button","command":"select","ordinal":4,"phase":"released"})"
            "\n");
  EXPECT_EQ(result.errors, "");
}

TEST(DecodeJsonLines, CountLinesByEveryKindOfLineEndEmptyOnesIncluded) {
  const std::string capture =
      "a\nb\r\nc\rd\ve\ff\xC2\x85g\xE2\x80\xA8h\xE2\x80\xA9\n\r\n" + selectPressed;
  EXPECT_EQ(runCommand(jsonl(), capture).output,
            R"({"line":11,"event":"button","command":"select","ordinal":4,"phase":"pressed"})"
            "\n");
}

TEST(DecodeJsonLines, ReadAFileLikeStandardInput) {
  const TemporaryDirectory directory;
  const std::string file = directory.file("capture.txt", selectPressed + "\n");
  const std::string fromFile = runCommand(jsonl({file})).output;
  EXPECT_NE(fromFile, "");
  EXPECT_EQ(fromFile, runCommand(jsonl({"-"}), selectPressed + "\n").output);
}

TEST(DecodeCommand, AddressLetsOnlyThatRemoteThrough) {
  EXPECT_NE(runCommand(jsonl({"--address", "AA:BB:CC:DD:EE:FF"}), selectPressed).output, "");
  EXPECT_EQ(runCommand(jsonl({"--address", "aa:bb:cc:dd:ee:ff"}), selectPressed).output, "");
}

TEST(DecodeCommand, PayloadsAreReadAsHexTextALine) {
  const CommandResult result =
      runCommand(jsonl({"--payloads"}), "fb:08:00\n\nnothing here\nfb 00 00\n");
  EXPECT_EQ(result.output,
            R"({"line":1,"event":"button","command":"select","ordinal":4,"phase":"pressed"})"
            "\n"
            R"({"line":4,"event":"button","command":"select","ordinal":4,"phase":"released"})"
            "\n");
}

TEST(DecodeCommand, TimelineShowsButtonsSessionsAndTotals) {
  const std::string capture =
      selectPressed + "\n" + voiceStart + "\n" + voiceFrame("03 b8 01 02") + "\n" + voiceEnd + "\n";
  const CommandResult result = runCommand({"decode"}, capture);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output,
            "     line  event\n"
            "        1  ▼ select     pressed\n"
            "        2  ● voice      session started\n"
            "        4  ■ voice      session 1 ended: 0.02 s, 1 frame\n"
            "\n"
            "  lines    4\n"
            "  packets  4\n"
            "  skipped  nothing\n"
            "  presses  select 1\n"
            "  voice    1 session, 1 frame, 0.02 s of sound\n");
}

TEST(DecodeCommand, SummaryGroupsTheDigitsOfNumbersFromAThousand) {
  const auto ofEmptyLines = [](std::size_t count) {
    return runCommand({"decode", "--summary"}, std::string(count, '\n')).output;
  };
  EXPECT_NE(ofEmptyLines(999).find("  lines    999\n"), std::string::npos);
  EXPECT_NE(ofEmptyLines(1000).find("  lines    1,000\n"), std::string::npos);
  EXPECT_NE(ofEmptyLines(1234567).find("  lines    1,234,567\n"), std::string::npos);
  EXPECT_NE(ofEmptyLines(1234567).find("  skipped  1,234,567 empty\n"), std::string::npos);
}

TEST(DecodeCommand, SummaryCountsEverythingAndNamesWhyLinesWereSkipped) {
  const std::string capture = selectPressed + "\n" + allReleased + "\n\n" + "ACL SEND 01\n" +
                              "ACL RECV\n" + "RECV 11:22:33:44:55:66 08 00\n" + voiceStart + "\n" +
                              voiceFrame("05 b8 01") + "\n" + voiceFrame("00 b8") + "\n" +
                              voiceEnd + "\n" + voiceStart + "\n" + voiceFrame("02 b8 01") + "\n";
  const std::vector<std::string> options = {"decode", "--summary", "--address",
                                            "AA:BB:CC:DD:EE:FF"};
  EXPECT_EQ(runCommand(options, capture).output,
            "  lines    12\n"
            "  packets  8\n"
            "  skipped  1 not received, 2 of other remotes, 1 empty\n"
            "  presses  select 1\n"
            "  voice    2 sessions, 0 frames, 0.00 s of sound\n"
            "           1 session without an end\n"
            "           1 frame dropped as incomplete\n"
            "           1 frame without a packet left out\n"
            "           the capture ends before the last frame was followed by another\n");
}

TEST(DecodeCommand, SummaryAsJsonIsOneObject) {
  const std::string capture = selectPressed + "\n" + "ACL RECV\n" + "other\n\n";
  EXPECT_EQ(
      runCommand(jsonl({"--summary"}), capture).output,
      R"({"event":"summary","bytes":76,"lines":4,"packets":1,"skippedLines":{"empty":1,)"
      R"("notReceived":1,"otherRemote":0,"withoutPayload":1,"overlong":0},"presses":{"up":0,)"
      R"("down":0,"left":0,"right":0,"select":1,"back":0,"home":0,"playPause":0,"volumeUp":0,)"
      R"("volumeDown":0,"voice":0,"mute":0,"power":0},"voiceSessions":0,)"
      R"("voiceSessionsWithoutEnd":0,"voiceFrames":0,"audioSeconds":0.00,"emptyFrames":0,)"
      R"("droppedFrames":0,"refusedPackets":0,"framePendingAtEnd":false})"
      "\n");
}

TEST(DecodeCommand, EmptyInputYieldsNothing) {
  const CommandResult result = runCommand(jsonl());
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output, "");
}

TEST(DecodeCommand, BrokenUtf8LosesNoOtherLine) {
  EXPECT_EQ(runCommand(jsonl(), "\xFF\xC0 RECV \xE2\x80\n" + selectPressed + "\n").output,
            R"({"line":2,"event":"button","command":"select","ordinal":4,"phase":"pressed"})"
            "\n");
}

TEST(DecodeCommand, OverlongLineIsSkippedAndCountedAsOneLine) {
  const TemporaryDirectory directory;
  std::string capture =
      selectPressed + "\n" + "RECV " + std::string(3 << 20, 'x') + "\r\n" + allReleased + "\n";
  const std::string file = directory.file("capture.txt", capture);
  EXPECT_EQ(runCommand(jsonl({file})).output,
            R"({"line":1,"event":"button","command":"select","ordinal":4,"phase":"pressed"})"
            "\n"
            R"({"line":3,"event":"button","command":"select","ordinal":4,"phase":"released"})"
            "\n");
  EXPECT_NE(runCommand({"decode", "--summary", file}).output.find("  skipped  1 too long\n"),
            std::string::npos);
}

TEST(DecodeCommand, MissingFileIsNamedWithTheSystemsReason) {
  const CommandResult result = runCommand({"decode", "/no/such/capture.txt"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.errors,
            "tessline: could not open /no/such/capture.txt: No such file or directory\n");
}

TEST(DecodeCommand, DirectoryAsInputIsAnError) {
  const TemporaryDirectory directory;
  const CommandResult result = runCommand({"decode", directory.path().native()});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.errors,
            "tessline: could not read " + directory.path().native() + ": Is a directory\n");
}

TEST(DecodeCommand, UsageErrorsExitWithTwo) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"decode", "--no-such-option"},
        {"decode", "--threads", "0"},
        {"decode", "--format", "xml"},
        {"decode", "--wav"},
        {"decode", "one", "two"},
        {},
        {"no-such-command"}}) {
    const CommandResult result = runCommand(arguments);
    EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(arguments);
    EXPECT_NE(result.errors, "") << testing::PrintToString(arguments);
    EXPECT_EQ(result.output, "") << testing::PrintToString(arguments);
  }
}

TEST(DecodeCommand, HelpExitsWithZero) {
  const CommandResult result = runCommand({"decode", "--help"});
  EXPECT_EQ(result.exitCode, 0);
  for (const char* option :
       {"--address", "--threads", "--format", "--payloads", "--voice", "--wav", "--summary"}) {
    EXPECT_NE(result.output.find(option), std::string::npos) << option;
  }
}

}  // namespace
}  // namespace tessline::test
