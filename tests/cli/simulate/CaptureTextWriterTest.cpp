#include "cli/simulate/CaptureTextWriter.h"
#include "tests/support/Bytes.h"

#include <chrono>
#include <string>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using namespace std::chrono_literals;
using cli::RecordDirection;
using cli::RecordKind;

constexpr std::string_view address = "AA:BB:CC:DD:EE:FF";

class CaptureTextWriting : public testing::Test {
 protected:
  std::string packet(cli::SimulatedTime time, std::string_view payload) {
    return std::string(writer.packetLine(time, RecordKind::acl, RecordDirection::received, address,
                                         bytes(payload)));
  }
  std::string timeText(cli::SimulatedTime time) { return packet(time, "00").substr(0, 19); }

  cli::CaptureTextWriter writer;
};

TEST_F(CaptureTextWriting, WritesAPacketBehindAPrefixOf54Characters) {
  EXPECT_EQ(packet(1234ms, "40 20 ff 0a"),
            "Nov 21 10:15:31.234  ACL    RECV  AA:BB:CC:DD:EE:FF   40 20 FF 0A\n");
  EXPECT_EQ(packet(1234ms, "40").find("40"), 54U);
}

TEST_F(CaptureTextWriting, NamesTheKindAndTheDirection) {
  EXPECT_EQ(writer.packetLine(0s, RecordKind::command, RecordDirection::sent, address, bytes("01")),
            "Nov 21 10:15:30.000  CMD    SEND  AA:BB:CC:DD:EE:FF   01\n");
  EXPECT_EQ(
      writer.packetLine(0s, RecordKind::event, RecordDirection::received, address, bytes("01")),
      "Nov 21 10:15:30.000  EVENT  RECV  AA:BB:CC:DD:EE:FF   01\n");
  EXPECT_EQ(
      writer.packetLine(0s, RecordKind::report, RecordDirection::received, address, bytes("01")),
      "Nov 21 10:15:30.000  HID    RECV  AA:BB:CC:DD:EE:FF   01\n");
}

TEST_F(CaptureTextWriting, WritesEveryByte) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const auto value = static_cast<std::uint8_t>(byte);
    const std::string line(writer.packetLine(0s, RecordKind::acl, RecordDirection::received,
                                             address, std::span(&value, 1)));
    EXPECT_EQ(std::stoul(line.substr(54), nullptr, 16), byte);
  }
}

TEST_F(CaptureTextWriting, LeavesNothingOfALongerLineBehind) {
  packet(0s, "01 02 03 04 05 06");
  EXPECT_EQ(packet(0s, "ff"), "Nov 21 10:15:30.000  ACL    RECV  AA:BB:CC:DD:EE:FF   FF\n");
}

TEST_F(CaptureTextWriting, TellsTheTimeOfDay) {
  EXPECT_EQ(timeText(999999us), "Nov 21 10:15:30.999");
  EXPECT_EQ(timeText(29s), "Nov 21 10:15:59.000");
  EXPECT_EQ(timeText(30s + 1ms), "Nov 21 10:16:00.001");
  EXPECT_EQ(timeText(3h), "Nov 21 13:15:30.000");
}

TEST_F(CaptureTextWriting, GoesOnWithTheNextDayMonthAndYear) {
  EXPECT_EQ(timeText(14h), "Nov 22 00:15:30.000");
  EXPECT_EQ(timeText(10 * 24h), "Dec 01 10:15:30.000");
  EXPECT_EQ(timeText(41 * 24h), "Jan 01 10:15:30.000");
}

TEST_F(CaptureTextWriting, WritesTextWhereBytesBelong) {
  EXPECT_EQ(writer.textLine(0s, RecordKind::acl, RecordDirection::sent, address, "--"),
            "Nov 21 10:15:30.000  ACL    SEND  AA:BB:CC:DD:EE:FF   --\n");
}

TEST_F(CaptureTextWriting, CutsALineOff) {
  EXPECT_EQ(writer.cutOffLine(0s, RecordKind::acl, RecordDirection::received, address, 30),
            "Nov 21 10:15:30.000  ACL    RE\n");
  EXPECT_EQ(packet(0s, "01"), "Nov 21 10:15:30.000  ACL    RECV  AA:BB:CC:DD:EE:FF   01\n");
}

TEST_F(CaptureTextWriting, WritesABareLine) {
  EXPECT_EQ(writer.bareLine(""), "\n");
  EXPECT_EQ(writer.bareLine("# remark"), "# remark\n");
}

}  // namespace
}  // namespace tessline::test
