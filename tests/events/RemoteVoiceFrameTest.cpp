#include "tessline/events/RemoteVoiceFrame.h"
#include "tests/support/Bytes.h"

#include <cstdint>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

std::optional<RemoteVoiceFrame> frameOf(std::string_view rawBytes) {
  return RemoteVoiceFrame::fromRawBytes(bytes(rawBytes));
}

TEST(RemoteVoiceFrame, NeedsALengthByte) {
  EXPECT_EQ(frameOf(""), std::nullopt);
}

TEST(RemoteVoiceFrame, NeedsAsManyBytesAsItsLengthByteDeclares) {
  EXPECT_EQ(frameOf("03 b8 01"), std::nullopt);
  EXPECT_EQ(frameOf("01"), std::nullopt);
  EXPECT_EQ(frameOf("ff b8 01"), std::nullopt);
}

TEST(RemoteVoiceFrame, SplitsLengthByteAndPacket) {
  const auto frame = frameOf("02 b8 01");
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->declaredByteCount, 2);
  EXPECT_EQ(frame->packetBytes, bytes("b8 01"));
  EXPECT_EQ(frame->rawBytes, bytes("02 b8 01"));
}

TEST(RemoteVoiceFrame, MayBeEmpty) {
  const auto frame = frameOf("00");
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->declaredByteCount, 0);
  EXPECT_EQ(frame->packetBytes, bytes(""));
  EXPECT_EQ(frame->rawBytes, bytes("00"));
}

TEST(RemoteVoiceFrame, LeavesOutWhatFollowsThePacket) {
  const auto frame = frameOf("01 b8 ff ff");
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->declaredByteCount, 1);
  EXPECT_EQ(frame->packetBytes, bytes("b8"));
  EXPECT_EQ(frame->rawBytes, bytes("01 b8"));
}

TEST(RemoteVoiceFrame, LeavesOutWhatFollowsAnEmptyPacket) {
  const auto frame = frameOf("00 b8");
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->packetBytes, bytes(""));
  EXPECT_EQ(frame->rawBytes, bytes("00"));
}

TEST(RemoteVoiceFrame, HoldsUpTo255Bytes) {
  std::vector<std::uint8_t> raw(256, 0xB8);
  raw[0] = 255;
  const auto frame = RemoteVoiceFrame::fromRawBytes(raw);
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->declaredByteCount, 255);
  EXPECT_EQ(frame->packetBytes.size(), 255u);
  EXPECT_EQ(frame->rawBytes, raw);

  raw.pop_back();
  EXPECT_EQ(RemoteVoiceFrame::fromRawBytes(raw), std::nullopt);
}

TEST(RemoteVoiceFrame, OwnsItsBytes) {
  auto raw = bytes("02 b8 01");
  const auto frame = RemoteVoiceFrame::fromRawBytes(raw);
  raw.assign(3, 0);
  EXPECT_EQ(frame, frameOf("02 b8 01"));
}

TEST(RemoteVoiceFrame, IsEqualWhenAllFieldsAre) {
  const RemoteVoiceFrame frame{1, bytes("b8"), bytes("01 b8")};
  EXPECT_TRUE(frame == *frameOf("01 b8"));
  EXPECT_FALSE(frame == (RemoteVoiceFrame{2, bytes("b8"), bytes("01 b8")}));
  EXPECT_FALSE(frame == (RemoteVoiceFrame{1, bytes("b9"), bytes("01 b8")}));
  EXPECT_FALSE(frame == (RemoteVoiceFrame{1, bytes("b8"), bytes("01 b9")}));
}

}  // namespace
}  // namespace tessline::test
