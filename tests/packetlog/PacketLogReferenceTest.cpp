#include "tests/support/NastyText.h"
#include "tests/support/PacketLines.h"
#include "tests/support/TextComparison.h"
#include "tests/support/VoicePayloads.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

const std::optional<std::string> anyAddress;
const std::optional<std::string> oneAddress = std::string(nastyTextAddress);

TEST(LineReading, AgreesWithTheReferenceOnEveryNastyPieceAroundReceived) {
  for (const auto before : nastyPieces()) {
    for (const auto behind : nastyPieces()) {
      const std::string line = std::string(before) + "recv" + std::string(behind) + "1b 23";
      ASSERT_EQ(compareLine(line, anyAddress), "") << line;
    }
  }
}

TEST(LineReading, AgreesWithTheReferenceOnEveryNastyPieceAroundTheAddress) {
  for (const std::string_view address : {nastyTextAddress, std::string_view("00:00:00:00:00:00")}) {
    for (const auto before : nastyPieces()) {
      for (const auto behind : nastyPieces()) {
        const std::string line =
            "RECV " + std::string(before) + std::string(address) + std::string(behind) + " 1b";
        ASSERT_EQ(compareLine(line, oneAddress), "") << line;
      }
    }
  }
}

TEST(LineReading, AgreesWithTheReferenceOnEveryNastyPieceWhereThePrefixEnds) {
  for (const auto piece : nastyPieces()) {
    for (std::size_t length = 44; length <= 52; ++length) {
      for (const auto* end : {"", "1", "1b", "12 34 56",
                              "e\xCC\x81"
                              "1b 23"}) {
        const std::string line = "RECV" + std::string(length, ' ') + std::string(piece) + end;
        ASSERT_EQ(compareLine(line, anyAddress), "") << line;
      }
    }
  }
}

TEST(LineReading, AgreesWithTheReferenceOnAddressesThatAreNastyPieces) {
  for (const auto piece : nastyPieces()) {
    const std::string address(piece);
    for (const auto& line : {"RECV " + address + " 1b", "RECV x" + address + "y 1b",
                             "RECV 1b " + address + address, std::string("RECV 1b")}) {
      ASSERT_EQ(compareLine(line, address), "") << line;
    }
  }
}

class PacketLogAgainstReference : public ::testing::TestWithParam<std::uint32_t> {
 protected:
  NastyTextGenerator generator_ = NastyTextGenerator(GetParam());
};

TEST_P(PacketLogAgainstReference, AgreesOnLines) {
  for (int count = 0; count < 300; ++count) {
    const std::string line = generator_.line();
    ASSERT_EQ(compareLine(line, anyAddress), "") << line;
    ASSERT_EQ(compareLine(line, oneAddress), "") << line;
  }
}

TEST_P(PacketLogAgainstReference, AgreesOnAnythingTakenForALine) {
  for (int count = 0; count < 300; ++count) {
    const std::string line = generator_.anything();
    ASSERT_EQ(compareLine(line, anyAddress), "") << line;
    ASSERT_EQ(compareLine(line, oneAddress), "") << line;
  }
}

TEST_P(PacketLogAgainstReference, AgreesOnCaptures) {
  for (int count = 0; count < 100; ++count) {
    const std::string text = generator_.text();
    ASSERT_EQ(compareCapture(text, anyAddress), "") << text;
    ASSERT_EQ(compareCapture(text, oneAddress), "") << text;
  }
}

TEST_P(PacketLogAgainstReference, AgreesWithItselfInPieces) {
  for (std::size_t pieceSize = 1; pieceSize < 40; ++pieceSize) {
    const std::string text = generator_.text();
    ASSERT_EQ(comparePieces(text, oneAddress, pieceSize), "") << text;
  }
}

INSTANTIATE_TEST_SUITE_P(Seed, PacketLogAgainstReference, ::testing::Range(100u, 116u));

TEST(CaptureReading, AgreesWithTheReferenceOnAVoiceSession) {
  std::string text;
  for (const auto* lineEnd : {"\n", "\r\n", "\xE2\x80\xA8", "\xC2\x85", "\r"}) {
    text += receivedLine("1b 3a 00 20 00", nastyTextAddress) + lineEnd;
    text += receivedLine(frameStart("05 b8 01"), nastyTextAddress) + lineEnd;
    text += receivedLine(continuation("02 03 04"), "00:00:00:00:00:00") + lineEnd;
    text += receivedLine(longFrameStart("02 b8 05 06"), nastyTextAddress) + lineEnd;
    text += receivedLine("1b 3a 00 00 00", nastyTextAddress) + lineEnd;
  }
  EXPECT_EQ(compareCapture(text, oneAddress), "");
  for (std::size_t pieceSize = 1; pieceSize < 200; ++pieceSize) {
    ASSERT_EQ(comparePieces(text, oneAddress, pieceSize), "");
  }
}

}  // namespace
}  // namespace tessline::test
