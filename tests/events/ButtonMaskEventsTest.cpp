#include "tests/events/ReportParserFixture.h"

#include <cstdint>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

struct MaskRow {
  std::uint16_t mask;
  std::uint8_t ordinal;
  std::string_view name;
};

constexpr MaskRow maskRows[] = {
    {0x0100, 6, "home"},   {0x0200, 8, "volumeUp"}, {0x0400, 9, "volumeDown"},
    {0x0800, 4, "select"}, {0x1000, 12, "power"},   {0x2000, 10, "voice"},
    {0x4000, 5, "back"},   {0x8000, 11, "mute"},    {0x0001, 7, "playPause"},
    {0x0002, 0, "up"},     {0x0004, 3, "right"},    {0x0008, 1, "down"},
    {0x0010, 2, "left"},
};

std::string press(std::string_view name) {
  return "press " + std::string(name);
}
std::string release(std::string_view name) {
  return "release " + std::string(name);
}

class ButtonMaskBit : public ReportParserFixture, public ::testing::WithParamInterface<MaskRow> {};

TEST_P(ButtonMaskBit, PressesAndReleasesItsButton) {
  EXPECT_EQ(applyMask(GetParam().mask), press(GetParam().name));
  EXPECT_EQ(applyMask(0), release(GetParam().name));
}

TEST_P(ButtonMaskBit, SaysNothingWhileItStays) {
  applyMask(GetParam().mask);
  EXPECT_EQ(applyMask(GetParam().mask), "");
  EXPECT_EQ(parser_.lastButtonMask(), GetParam().mask);
}

TEST_P(ButtonMaskBit, StandsForItsOrdinal) {
  const auto events = parser_.applyButtonMask(GetParam().mask);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(ordinal(std::get<RemoteButtonEvent>(events[0]).command), GetParam().ordinal);
}

TEST_P(ButtonMaskBit, LeavesTheOthersAlone) {
  const auto others = static_cast<std::uint16_t>(0xFFFF & ~GetParam().mask);
  applyMask(others);
  EXPECT_EQ(applyMask(0xFFFF), press(GetParam().name));
  EXPECT_EQ(applyMask(others), release(GetParam().name));
}

INSTANTIATE_TEST_SUITE_P(Of, ButtonMaskBit, ::testing::ValuesIn(maskRows),
                         [](const auto& row) { return std::string(row.param.name); });

using ButtonMask = ReportParserFixture;

TEST_F(ButtonMask, ReportsAllButtonsInTableOrder) {
  std::string allPresses;
  std::string allReleases;
  for (const auto& row : maskRows) {
    const std::string separator = allPresses.empty() ? "" : ", ";
    allPresses += separator + press(row.name);
    allReleases += separator + release(row.name);
  }
  EXPECT_EQ(applyMask(0xFFFF), allPresses);
  EXPECT_EQ(applyMask(0), allReleases);
}

TEST_F(ButtonMask, ListsItsMappingsInThatOrder) {
  const auto& mappings = SiriRemoteReportParser::buttonMappings;
  ASSERT_EQ(mappings.size(), std::size(maskRows));
  for (std::size_t index = 0; index < mappings.size(); ++index) {
    EXPECT_EQ(mappings[index].mask, maskRows[index].mask);
    EXPECT_EQ(ordinal(mappings[index].command), maskRows[index].ordinal);
  }
}

TEST_F(ButtonMask, ReportsTheHighByteBeforeTheLow) {
  EXPECT_EQ(applyMask(0x0101), "press home, press playPause");
}

TEST_F(ButtonMask, InterleavesReleasesAndPressesInTableOrder) {
  EXPECT_EQ(applyMask(0x0100), "press home");
  EXPECT_EQ(applyMask(0x0001), "release home, press playPause");
  EXPECT_EQ(applyMask(0x0100), "press home, release playPause");
}

TEST_F(ButtonMask, InterleavesAcrossThreeButtons) {
  applyMask(0x0206);
  EXPECT_EQ(applyMask(0x0502), "press home, release volumeUp, press volumeDown, release right");
}

TEST_F(ButtonMask, RemembersBitsThatMeanNothing) {
  constexpr std::uint16_t meaninglessMasks[] = {0x0020, 0x0040, 0x0080, 0x00E0};
  for (const std::uint16_t mask : meaninglessMasks) {
    EXPECT_EQ(applyMask(mask), "");
    EXPECT_EQ(parser_.lastButtonMask(), mask);
    EXPECT_EQ(applyMask(0), "");
    EXPECT_EQ(parser_.lastButtonMask(), 0);
  }
}

TEST_F(ButtonMask, ReportsMeaningfulBitsAmongThoseThatMeanNothing) {
  EXPECT_EQ(applyMask(0x00F0), "press left");
  EXPECT_EQ(applyMask(0x00E0), "release left");
  EXPECT_EQ(parser_.lastButtonMask(), 0x00E0);
}

TEST_F(ButtonMask, OpensVoiceCollectionSilentlyOnTheVoiceButton) {
  EXPECT_EQ(applyMask(0x2000), "press voice");
  EXPECT_TRUE(parser_.isCollectingVoice());
  EXPECT_EQ(applyMask(0), "release voice");
  EXPECT_FALSE(parser_.isCollectingVoice());
}

TEST_F(ButtonMask, LeavesVoiceCollectionAloneOnOtherButtons) {
  EXPECT_EQ(applyMask(0x0801), "press select, press playPause");
  EXPECT_FALSE(parser_.isCollectingVoice());
  startSession();
  applyMask(0);
  EXPECT_TRUE(parser_.isCollectingVoice());
}

TEST_F(ButtonMask, DropsThePendingFrameWhenTheVoiceButtonGoesDown) {
  ingest(frameStart("02 b8 01"));
  EXPECT_EQ(applyMask(0x2000), "press voice");
  EXPECT_EQ(pending(), "");
  EXPECT_TRUE(parser_.isCollectingVoice());
  EXPECT_EQ(endSession(), "ended");
}

TEST_F(ButtonMask, DeliversThePendingFrameBeforeTheRelease) {
  applyMask(0x2000);
  ingest(frameStart("02 b8 01"));
  EXPECT_EQ(applyMask(0), "frame 02 b8 01, release voice");
  EXPECT_EQ(pending(), "");
}

TEST_F(ButtonMask, DropsAnIncompleteFrameAtTheRelease) {
  applyMask(0x2000);
  ingest(frameStart("04 b8 01"));
  EXPECT_EQ(applyMask(0), "release voice");
  EXPECT_EQ(pending(), "");
}

TEST_F(ButtonMask, PutsThePendingFrameAmongOtherChanges) {
  applyMask(0x2100);
  ingest(frameStart("02 b8 01"));
  EXPECT_EQ(applyMask(0x8001),
            "release home, frame 02 b8 01, release voice, press mute, press playPause");
}

TEST_F(ButtonMask, KeepsThePendingFrameWhileTheVoiceButtonStays) {
  applyMask(0x2000);
  ingest(frameStart("02 b8 01"));
  EXPECT_EQ(applyMask(0x2001), "press playPause");
  EXPECT_EQ(pending(), "02 b8 01");
}

}  // namespace
}  // namespace tessline::test
