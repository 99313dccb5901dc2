#include "cli/simulate/BackgroundTraffic.h"
#include "tessline/events/SiriRemoteReportParser.h"
#include "tessline/packetlog/HexByteParser.h"
#include "tessline/packetlog/PacketLoggerLineParser.h"
#include "tests/support/Bytes.h"
#include "tests/support/EventNotation.h"

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

constexpr std::size_t lineCount = 20'000;

/// Calls `action` with each of many lines of background traffic, without their line ends.
template <class Action>
void forEachLine(Action action) {
  cli::BackgroundTraffic traffic(1, "AA:BB:CC:DD:EE:FF");
  cli::CaptureTextWriter writer;
  for (std::size_t count = 0; count < lineCount; ++count) {
    std::string line(traffic.next(writer));
    ASSERT_EQ(line.back(), '\n');
    line.pop_back();
    action(line);
  }
}

/// What a parser that has been fed `history` says and becomes when it gets `payload`.
struct Reaction {
  Reaction(const std::vector<std::string>& history, const std::vector<std::uint8_t>& payload) {
    for (const std::string& fed : history) parser.ingestPayload(bytes(fed));
    pendingBefore = hexText(parser.pendingVoiceFrameBytes());
    maskBefore = parser.lastButtonMask();
    collectingBefore = parser.isCollectingVoice();
    events = notation(parser.ingestPayload(payload));
  }

  bool isNone() const {
    return events.empty() && pendingBefore == hexText(parser.pendingVoiceFrameBytes()) &&
           maskBefore == parser.lastButtonMask() && collectingBefore == parser.isCollectingVoice();
  }

  SiriRemoteReportParser parser;
  std::string events;
  std::string pendingBefore;
  unsigned maskBefore = 0;
  bool collectingBefore = false;
};

const std::vector<std::vector<std::string>> histories = {
    {},
    {"08 00", "1b 23 00 03 00"},
    {"1b 23 00 00 10", "40 20 28 00 24 00 04 00 1b 36 00 00 00 80 3e ff b8 01 02 03"}};

TEST(BackgroundTraffic, MeansNothingToAParserInWhateverState) {
  forEachLine([](const std::string& line) {
    const auto packet = PacketLoggerLineParser().parseLine(line);
    if (!packet) return;
    for (const auto& history : histories) {
      const Reaction reaction(history, packet->payload);
      EXPECT_TRUE(reaction.isNone()) << line << "\n" << reaction.events;
    }
  });
}

TEST(BackgroundTraffic, StatesTheLengthsOfItsPackets) {
  forEachLine([](const std::string& line) {
    if (line.size() <= cli::linePrefixLength) return;
    const auto packet = HexByteParser::parseBytes(line.substr(cli::linePrefixLength));
    const bool isDamaged = packet.size() < 2;
    if (isDamaged) return;
    const std::string kind = line.substr(21, 5);
    if (kind == "ACL  ") {
      EXPECT_EQ(packet[2], packet.size() - 4) << line;
      EXPECT_EQ(packet[4], packet.size() - 8) << line;
    } else {
      const std::size_t header = kind == "EVENT" ? 2 : 3;
      EXPECT_EQ(packet[header - 1], packet.size() - header) << line;
    }
  });
}

TEST(BackgroundTraffic, ShowsSentPacketsAndOtherDevicesAllTheTime) {
  std::map<std::string, std::size_t> lines;
  forEachLine([&](const std::string& line) {
    if (line.size() <= cli::linePrefixLength) return ++lines["noise"], void();
    ++lines[line.substr(28, 4)];
    ++lines[line.substr(34, 17)];
  });
  EXPECT_GT(lines["SEND"], lineCount / 5);
  EXPECT_GT(lines["RECV"], lineCount / 3);
  EXPECT_GT(lines["AA:BB:CC:DD:EE:FF"], lineCount / 4);
  EXPECT_GT(lines["00:00:00:00:00:00"], lineCount / 10);
  EXPECT_GE(lines.size(), 10U);
  EXPECT_GT(lines["noise"], 0U);
  EXPECT_LT(lines["noise"], lineCount / 20);
}

TEST(BackgroundTraffic, HasEveryKindOfNoise) {
  std::map<PacketLogLine, std::set<std::string>> kinds;
  forEachLine([&](const std::string& line) {
    std::vector<std::uint8_t> payload;
    const PacketLogLine kind = PacketLoggerLineParser().readLine(line, payload);
    if (line.size() <= cli::linePrefixLength || kind == PacketLogLine::withoutPayload) {
      kinds[kind].insert(line.size() > 19 ? line.substr(19) : line);
    }
  });
  EXPECT_EQ(kinds[PacketLogLine::notReceived].count(""), 1U) << "a blank line";
  EXPECT_EQ(kinds[PacketLogLine::notReceived].count("# channel map updated"), 0U);
  EXPECT_GE(kinds[PacketLogLine::notReceived].size(), 5U);
  EXPECT_GE(kinds[PacketLogLine::withoutPayload].size(), 5U);
}

TEST(BackgroundTraffic, ComesAboutThirtyTimesASecond) {
  cli::BackgroundTraffic traffic(1, "AA:BB:CC:DD:EE:FF");
  cli::CaptureTextWriter writer;
  cli::SimulatedTime last = traffic.nextTime();
  for (std::size_t count = 0; count < lineCount; ++count) {
    traffic.next(writer);
    ASSERT_GT(traffic.nextTime(), last);
    last = traffic.nextTime();
  }
  const double seconds = std::chrono::duration<double>(last).count();
  EXPECT_NEAR(static_cast<double>(lineCount) / seconds, 30, 2);
}

}  // namespace
}  // namespace tessline::test
