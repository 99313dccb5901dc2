#include "tessline/capture/PacketLoggerInstallation.h"
#include "tessline/model/TesslineError.h"
#include "tests/capture/PackedRuntime.h"
#include "tests/support/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Data = std::vector<std::uint8_t>;

const std::string badHeader = "PacketLoggerRuntime.payload has an invalid header.";
const std::string badKeyLength = "PacketLoggerRuntime.payload key length is invalid.";
const std::string noZip = "PacketLoggerRuntime.payload did not decode to a zip archive.";

Data decoded(std::span<const std::uint8_t> data) {
  return PacketLoggerInstallation::decodePayload(data);
}

// What is wrong with a packed runtime; nothing is "".
std::string refusal(std::span<const std::uint8_t> data) {
  try {
    decoded(data);
    return "";
  } catch (const TesslineError& error) {
    EXPECT_EQ(error.domain(), "Morvane");
    EXPECT_EQ(error.code(), 400);
    return error.localizedDescription();
  }
}

Data randomBytes(std::size_t size) {
  static std::mt19937 random(19);
  Data data(size);
  for (auto& byte : data) byte = static_cast<std::uint8_t>(random());
  return data;
}

// Begins as a zip archive does, as far as it reaches.
Data archiveOf(std::size_t size) {
  Data archive = randomBytes(size);
  if (size > 0) archive[0] = 'P';
  if (size > 1) archive[1] = 'K';
  return archive;
}

PackedRuntime smallRuntime() {
  return {.key = bytes("11 22 33"), .archive = bytes("50 4b 03 04 05 06 07")};
}

TEST(RuntimePayload, IsTheArchiveUnderItsKey) {
  EXPECT_EQ(decoded(bytes("4d 52 50 4c 01 00 03 00 11 22 33 41 69 30 15 27")),
            bytes("50 4b 03 04 05"));
  EXPECT_EQ(decoded(smallRuntime().packed()), smallRuntime().archive);
}

TEST(RuntimePayload, ReservedByteIsNotRead) {
  auto runtime = smallRuntime();
  runtime.reserved = 0xFF;
  EXPECT_EQ(decoded(runtime.packed()), runtime.archive);
}

TEST(RuntimePayload, KeyOfOneByteCombinesWithEveryByte) {
  EXPECT_EQ(decoded(bytes("4d 52 50 4c 01 00 01 00 ff af b4 00 ff 0f")), bytes("50 4b ff 00 f0"));
}

TEST(RuntimePayload, KeyLengthIsTwoBytesLowFirst) {
  const PackedRuntime runtime{.key = randomBytes(0x0102), .archive = archiveOf(1000)};
  const Data data = runtime.packed();
  EXPECT_EQ(data[6], 0x02);
  EXPECT_EQ(data[7], 0x01);
  EXPECT_EQ(decoded(data), runtime.archive);
}

TEST(RuntimePayload, ShorterThanNineBytesHasNoHeader) {
  const Data data = bytes("4d 52 50 4c 01 00 01 00 5a");
  for (std::size_t size = 0; size < 9; ++size) {
    EXPECT_EQ(refusal(std::span(data).first(size)), badHeader) << size;
  }
  EXPECT_EQ(refusal(data), noZip);
}

TEST(RuntimePayload, EveryByteOfTheMagicCounts) {
  for (std::size_t index = 0; index < 4; ++index) {
    Data data = smallRuntime().packed();
    data[index] ^= 0x20;
    EXPECT_EQ(refusal(data), badHeader) << index;
  }
}

TEST(RuntimePayload, EveryOtherVersionIsRefusedByItsNumber) {
  for (unsigned version = 0; version < 256; ++version) {
    auto runtime = smallRuntime();
    runtime.version = static_cast<std::uint8_t>(version);
    const std::string expected =
        "Unsupported PacketLogger payload version " + std::to_string(version) + ".";
    EXPECT_EQ(refusal(runtime.packed()), version == 1 ? "" : expected);
  }
}

TEST(RuntimePayload, EmptyKeyIsRefused) {
  EXPECT_EQ(refusal(smallRuntime().packedWithKeyLength(0)), badKeyLength);
}

TEST(RuntimePayload, KeyBeyondTheEndIsRefused) {
  const PackedRuntime runtime{.key = bytes("01 02 03"), .archive = {}};
  EXPECT_EQ(refusal(runtime.packedWithKeyLength(4)), badKeyLength);
  EXPECT_EQ(refusal(runtime.packedWithKeyLength(0xFFFF)), badKeyLength);
  EXPECT_EQ(refusal(runtime.packedWithKeyLength(0x0103)), badKeyLength);
  EXPECT_EQ(refusal(runtime.packedWithKeyLength(3)), noZip);
}

TEST(RuntimePayload, EmptyBodyIsNoArchive) {
  EXPECT_EQ(refusal(PackedRuntime{.archive = {}}.packed()), noZip);
  EXPECT_EQ(refusal(PackedRuntime{.key = randomBytes(5000), .archive = {}}.packed()), noZip);
}

TEST(RuntimePayload, ArchiveBeginsWithBothItsLetters) {
  EXPECT_EQ(refusal(PackedRuntime{.archive = bytes("50")}.packed()), noZip);
  EXPECT_EQ(refusal(PackedRuntime{.archive = bytes("50 4a 03 04")}.packed()), noZip);
  EXPECT_EQ(refusal(PackedRuntime{.archive = bytes("51 4b 03 04")}.packed()), noZip);
  EXPECT_EQ(refusal(PackedRuntime{.archive = bytes("4b 50 03 04")}.packed()), noZip);
  EXPECT_EQ(refusal(PackedRuntime{.archive = bytes("50 4b")}.packed()), "");
}

TEST(RuntimePayload, EarlierFaultsAreReportedFirst) {
  // Everything is wrong at first, and then one thing less each time.
  PackedRuntime runtime{
      .key = bytes("01 02"), .archive = bytes("00 00"), .magic = "mrpl", .version = 7};
  EXPECT_EQ(refusal(runtime.packedWithKeyLength(0)), badHeader);
  runtime.magic = "MRPL";
  EXPECT_EQ(refusal(runtime.packedWithKeyLength(0)), "Unsupported PacketLogger payload version 7.");
  EXPECT_EQ(refusal(runtime.packedWithKeyLength(999)),
            "Unsupported PacketLogger payload version 7.");
  runtime.version = 1;
  EXPECT_EQ(refusal(runtime.packedWithKeyLength(999)), badKeyLength);
  EXPECT_EQ(refusal(runtime.packed()), noZip);
  runtime.archive = bytes("50 4b");
  EXPECT_EQ(refusal(runtime.packed()), "");
}

class RuntimePayloadKey : public testing::TestWithParam<std::size_t> {};
INSTANTIATE_TEST_SUITE_P(OfLength, RuntimePayloadKey,
                         testing::Values(1, 2, 3, 7, 2047, 2048, 2049, 4095, 4096, 4097, 8191,
                                         65535),
                         [](const auto& row) { return std::to_string(row.param); });

TEST_P(RuntimePayloadKey, DecodesBodiesOfLengthsAroundItsMultiples) {
  const std::size_t length = GetParam();
  const Data key = randomBytes(length);
  for (const std::size_t multiple : {length, 2 * length, 3 * length, std::size_t{4096}}) {
    for (const std::size_t size : {multiple - 1, multiple, multiple + 1}) {
      if (size < 2) continue;
      const PackedRuntime runtime{.key = key, .archive = archiveOf(size)};
      ASSERT_EQ(decoded(runtime.packed()), runtime.archive) << size;
    }
  }
}

TEST_P(RuntimePayloadKey, GoesRoundManyTimes) {
  const PackedRuntime runtime{.key = randomBytes(GetParam()), .archive = archiveOf(500'003)};
  EXPECT_TRUE(decoded(runtime.packed()) == runtime.archive);
}

TEST(RuntimePayloadReference, AgreesWithAPlainLoopOnRandomData) {
  std::mt19937 random(7);
  for (int round = 0; round < 300; ++round) {
    Data data = joined({bytes("4d 52 50 4c 01"), randomBytes(1)});
    const std::size_t keyLength = 1 + random() % (round % 3 == 0 ? 6000 : 40);
    data.push_back(static_cast<std::uint8_t>(keyLength % 256));
    data.push_back(static_cast<std::uint8_t>(keyLength / 256));
    data = joined({data, randomBytes(keyLength + 2 + random() % 20'000)});
    data[8 + keyLength] = static_cast<std::uint8_t>('P' ^ data[8]);
    data[8 + keyLength + 1] = static_cast<std::uint8_t>('K' ^ data[8 + 1 % keyLength]);
    Data expected;
    for (std::size_t i = 0; 8 + keyLength + i < data.size(); ++i) {
      expected.push_back(
          static_cast<std::uint8_t>(data[8 + keyLength + i] ^ data[8 + i % keyLength]));
    }
    ASSERT_TRUE(decoded(data) == expected) << "key of " << keyLength << " bytes";
  }
}

}  // namespace
}  // namespace tessline::test
