#include "tessline/events/SiriRemoteReportParser.h"
#include "tests/events/ReportParserFixture.h"

#include <optional>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using ReportParser = ReportParserFixture;
using VoiceSession = ReportParserFixture;
using HeldCommand = ReportParserFixture;

TEST_F(ReportParser, BeginsIdle) {
  EXPECT_FALSE(parser_.isCollectingVoice());
  EXPECT_EQ(pending(), "");
  EXPECT_EQ(parser_.lastButtonMask(), 0);
  EXPECT_EQ(parser_.last1B23Command(), std::nullopt);
  EXPECT_EQ(parser_.droppedVoiceFrameCount(), 0u);
}

TEST_F(ReportParser, IgnoresPayloadsThatMeanNothing) {
  for (const auto* payload : {"", "00", "00 00 00", "1b", "1b 23 00 00", "ff ff ff ff ff"}) {
    EXPECT_EQ(ingest(payload), "") << payload;
    EXPECT_EQ(parser_.lastButtonMask(), 0);
    EXPECT_FALSE(parser_.isCollectingVoice());
  }
}

TEST_F(ReportParser, KeepsAllStateOverPayloadsThatMeanNothing) {
  ingest("00 10");
  ingest("1b 23 00 03 00");
  ingest(frameStart("05 b8 01"));
  for (const auto* payload : {"", "00", "00 00 00", "1b 23 00 00"}) EXPECT_EQ(ingest(payload), "");
  EXPECT_EQ(parser_.lastButtonMask(), 0x0010);
  EXPECT_EQ(parser_.last1B23Command(), RemoteCommand::select);
  EXPECT_TRUE(parser_.isCollectingVoice());
  EXPECT_EQ(pending(), "05 b8 01");
}

TEST_F(ReportParser, ReadsABareMask) {
  EXPECT_EQ(ingest("00 10"), "press left");
  EXPECT_EQ(ingest("00 00"), "release left");
}

TEST_F(ReportParser, ReadsAMaskBehindItsMarker) {
  EXPECT_EQ(ingest("fb 08 00 00 00"), "press select");
  EXPECT_EQ(ingest("fb 08 00 01"), "");
  EXPECT_EQ(ingest("fb 00 00"), "release select");
}

TEST_F(ReportParser, ReadsTheVoiceButtonOfAMaskWithoutSessionEvents) {
  EXPECT_EQ(ingest("01 fb 20 00"), "press voice");
  EXPECT_TRUE(parser_.isCollectingVoice());
  EXPECT_EQ(ingest("01 fb 00 00"), "release voice");
  EXPECT_FALSE(parser_.isCollectingVoice());
}

TEST_F(ReportParser, ReadsAMaskNotification) {
  EXPECT_EQ(ingest("40 20 0a 00 06 00 04 00 1b 15 00 fb 01 00"), "press home");
  EXPECT_EQ(ingest("1b 15 00 01 fb 00 01"), "release home, press playPause");
}

TEST_F(ReportParser, ReadsThePayloadOfAPacket) {
  EXPECT_EQ(notation(parser_.ingest({bytes("00 10"), "RECV fb ff ff"})), "press left");
}

TEST_F(ReportParser, AppendsToEventsOfBefore) {
  std::vector<TesslineEvent> events = {VoiceSessionEnded{}};
  parser_.ingestPayload(bytes("01 01"), events);
  parser_.ingestPayload(bytes("ff"), events);
  EXPECT_EQ(notation(events), "ended, press home, press playPause");
}

TEST_F(ReportParser, SharesNothingWithItsCopy) {
  ingest(frameStart("05 b8 01"));
  auto copy = parser_;
  ingest(continuation("02 03 04"));
  EXPECT_EQ(hexText(copy.pendingVoiceFrameBytes()), "05 b8 01");
  EXPECT_EQ(notation(copy.applyButtonMask(0x0010)), "press left");
  EXPECT_EQ(parser_.lastButtonMask(), 0);
}

TEST_F(ReportParser, IsResetByAFreshOne) {
  ingest("00 10");
  ingest("1b 23 00 03 00");
  parser_ = SiriRemoteReportParser();
  EXPECT_EQ(ingest("00 10"), "press left");
  EXPECT_EQ(ingest("1b 23 00 00 00"), "");
}

TEST_F(VoiceSession, StartsAndEnds) {
  EXPECT_EQ(ingest("1b 23 00 00 10"), "started");
  EXPECT_TRUE(parser_.isCollectingVoice());
  EXPECT_EQ(ingest("1b 23 00 10 00"), "ended");
  EXPECT_FALSE(parser_.isCollectingVoice());
}

TEST_F(VoiceSession, StartsAndEndsWithPatternsAnywhereInThePayload) {
  EXPECT_EQ(ingest("40 20 09 00 1b 23 00 00 10 ff"), "started");
  EXPECT_EQ(ingest("40 20 09 00 1b 23 00 10 00 ff"), "ended");
}

TEST_F(VoiceSession, StartsAgainWhileOneIsOpen) {
  EXPECT_EQ(startSession(), "started");
  EXPECT_EQ(startSession(), "started");
  EXPECT_TRUE(parser_.isCollectingVoice());
}

TEST_F(VoiceSession, DropsThePendingFrameWhenItStartsAgain) {
  ingest(frameStart("02 b8 01"));
  EXPECT_EQ(startSession(), "started");
  EXPECT_EQ(pending(), "");
  EXPECT_EQ(endSession(), "ended");
}

TEST_F(VoiceSession, EndsEvenWhenNoneIsOpen) {
  EXPECT_EQ(endSession(), "ended");
  EXPECT_EQ(endSession(), "ended");
}

TEST_F(VoiceSession, DeliversThePendingFrameBeforeItsEnd) {
  ingest(frameStart("02 b8 01"));
  EXPECT_EQ(endSession(), "frame 02 b8 01, ended");
  EXPECT_EQ(pending(), "");
  EXPECT_EQ(endSession(), "ended");
}

TEST_F(VoiceSession, DropsAnIncompleteFrameAtItsEnd) {
  ingest(frameStart("03 b8 01"));
  EXPECT_EQ(endSession(), "ended");
  EXPECT_EQ(pending(), "");
}

TEST_F(VoiceSession, IsBracketedByTheVoiceButtonsNotifications) {
  EXPECT_EQ(ingest("40 20 1b 3a 00 20 00"), "started, press voice");
  EXPECT_TRUE(parser_.isCollectingVoice());
  EXPECT_EQ(ingest(frameStart("02 b8 01")), "");
  EXPECT_EQ(ingest("40 20 1b 3a 00 00 00"), "frame 02 b8 01, ended, release voice");
  EXPECT_FALSE(parser_.isCollectingVoice());
}

TEST_F(VoiceSession, DropsAnIncompleteFrameAtTheVoiceButtonsRelease) {
  ingest("1b 3a 00 20 00");
  ingest(frameStart("03 b8 01"));
  EXPECT_EQ(ingest("1b 3a 00 00 00"), "ended, release voice");
  EXPECT_EQ(pending(), "");
}

TEST_F(VoiceSession, IgnoresAVoiceButtonPressWhileItIsOpen) {
  ingest(frameStart("03 b8 01"));
  EXPECT_EQ(ingest("1b 3a 00 20 00"), "");
  EXPECT_TRUE(parser_.isCollectingVoice());
  EXPECT_EQ(pending(), "03 b8 01");
}

TEST_F(VoiceSession, IgnoresAVoiceButtonReleaseWhileNoneIsOpen) {
  EXPECT_EQ(ingest("1b 3a 00 00 00"), "");
  EXPECT_FALSE(parser_.isCollectingVoice());
}

TEST_F(VoiceSession, IgnoresASecondVoiceButtonRelease) {
  ingest("1b 3a 00 20 00");
  EXPECT_EQ(ingest("1b 3a 00 00 00"), "ended, release voice");
  EXPECT_EQ(ingest("1b 3a 00 00 00"), "");
}

TEST_F(VoiceSession, LooksNoFurtherWhenItIgnoresTheVoiceButton) {
  EXPECT_EQ(ingest("1b 3a 00 00 00 1b 15 00 fb 08 00"), "");
  EXPECT_EQ(parser_.lastButtonMask(), 0);
  startSession();
  EXPECT_EQ(ingest("1b 3a 00 20 00 1b 15 00 fb 08 00"), "");
  EXPECT_EQ(parser_.lastButtonMask(), 0);
}

TEST_F(VoiceSession, LeavesTheMaskAloneOnTheVoiceButtonsNotifications) {
  ingest("1b 3a 00 20 00");
  EXPECT_EQ(parser_.lastButtonMask(), 0);
  EXPECT_EQ(applyMask(0x2000), "press voice");
}

TEST_F(VoiceSession, IsEndedByAMaskThatReleasesTheVoiceButton) {
  applyMask(0x2000);
  EXPECT_EQ(ingest("1b 3a 00 20 00"), "");
  EXPECT_EQ(applyMask(0), "release voice");
  EXPECT_EQ(ingest("1b 3a 00 00 00"), "");
}

TEST_F(VoiceSession, StartsByItselfWithAFrame) {
  EXPECT_EQ(ingest(frameStart("02 b8 01")), "started");
  EXPECT_TRUE(parser_.isCollectingVoice());
}

TEST_F(HeldCommand, IsVolumeUpWhenThePayloadEndsSo) {
  EXPECT_EQ(ingest("40 20 1b 23 00 00 02"), "press volumeUp");
  EXPECT_EQ(parser_.last1B23Command(), RemoteCommand::volumeUp);
  EXPECT_EQ(ingest("40 20 1b 23 00 00 00 ff"), "release volumeUp");
  EXPECT_EQ(parser_.last1B23Command(), std::nullopt);
}

TEST_F(HeldCommand, IsVolumeDownWhenThePayloadEndsSo) {
  EXPECT_EQ(ingest("40 20 1b 23 00 00 04"), "press volumeDown");
  EXPECT_EQ(parser_.last1B23Command(), RemoteCommand::volumeDown);
  EXPECT_EQ(ingest("1b 23 00 00 00"), "release volumeDown");
}

TEST_F(HeldCommand, MayBeTheWholePayload) {
  EXPECT_EQ(ingest("1b 23 00 00 02"), "press volumeUp");
  EXPECT_EQ(ingest("1b 23 00 00 04"), "press volumeDown");
}

TEST_F(HeldCommand, IsNoVolumeCommandInsideThePayload) {
  EXPECT_EQ(ingest("1b 23 00 00 02 00"), "");
  EXPECT_EQ(ingest("1b 23 00 00 04 00"), "");
  EXPECT_EQ(parser_.last1B23Command(), std::nullopt);
}

TEST_F(HeldCommand, IsNoVolumeCommandWhenThePayloadIsTooShort) {
  EXPECT_EQ(ingest("23 00 00 02"), "");
  EXPECT_EQ(ingest("23 00 00 04"), "");
}

TEST_F(HeldCommand, IsSelectAnywhereInThePayload) {
  EXPECT_EQ(ingest("1b 23 00 03 00"), "press select");
  EXPECT_EQ(parser_.last1B23Command(), RemoteCommand::select);
  EXPECT_EQ(ingest("40 1b 23 00 03 00 ff"), "press select");
  EXPECT_EQ(ingest("1b 23 00 00 00"), "release select");
}

TEST_F(HeldCommand, IsReleasedOnce) {
  ingest("1b 23 00 00 02");
  EXPECT_EQ(ingest("1b 23 00 00 00"), "release volumeUp");
  EXPECT_EQ(ingest("1b 23 00 00 00"), "");
}

TEST_F(HeldCommand, IsReplacedWithoutReleaseByASecondPress) {
  ingest("1b 23 00 00 02");
  EXPECT_EQ(ingest("1b 23 00 03 00"), "press select");
  EXPECT_EQ(ingest("1b 23 00 00 00"), "release select");
  EXPECT_EQ(ingest("1b 23 00 00 00"), "");
}

TEST_F(HeldCommand, IsPressedAgainByTheSamePayload) {
  EXPECT_EQ(ingest("1b 23 00 00 02"), "press volumeUp");
  EXPECT_EQ(ingest("1b 23 00 00 02"), "press volumeUp");
}

TEST_F(HeldCommand, LetsAReleaseWithNothingHeldReachLaterRules) {
  EXPECT_EQ(ingest("1b 23 00 00 00 1b 15 00 fb 08 00"), "press select");
  EXPECT_EQ(ingest("1b 23 00 00 00 1b 23 00 00 02"), "press volumeUp");
}

TEST_F(HeldCommand, IsApartFromTheMask) {
  EXPECT_EQ(applyMask(0x0200), "press volumeUp");
  EXPECT_EQ(ingest("1b 23 00 00 02"), "press volumeUp");
  EXPECT_EQ(parser_.lastButtonMask(), 0x0200);
  EXPECT_EQ(applyMask(0), "release volumeUp");
  EXPECT_EQ(parser_.last1B23Command(), RemoteCommand::volumeUp);
  EXPECT_EQ(ingest("1b 23 00 00 00"), "release volumeUp");
}

TEST_F(HeldCommand, OutlivesAVoiceSession) {
  ingest("1b 23 00 00 04");
  startSession();
  endSession();
  EXPECT_EQ(ingest("1b 23 00 00 00"), "release volumeDown");
}

}  // namespace
}  // namespace tessline::test
