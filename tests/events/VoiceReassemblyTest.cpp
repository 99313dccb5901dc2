#include "tests/events/ReportParserFixture.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using VoiceReassembly = ReportParserFixture;
using DroppedVoiceFrames = ReportParserFixture;

TEST_F(VoiceReassembly, CollectsFromTheLengthByteOn) {
  ingest(frameStart("05 b8 01"));
  EXPECT_EQ(pending(), "05 b8 01");
}

TEST_F(VoiceReassembly, CollectsFromEveryPlaceAFrameCanBegin) {
  ingest(frameStart("05 b8 01", FlagByte::second));
  EXPECT_EQ(pending(), "05 b8 01");
  ingest(longFrameStart("05 b8 02"));
  EXPECT_EQ(pending(), "05 b8 02");
  ingest(longFrameStart("05 b8 03", FlagByte::second));
  EXPECT_EQ(pending(), "05 b8 03");
}

TEST_F(VoiceReassembly, CutsAStartBehindItsFrame) {
  ingest(frameStart("03 b8 01 02 03"));
  EXPECT_EQ(pending(), "03 b8 01 02");
}

TEST_F(VoiceReassembly, KeepsAStartThatHoldsItsFrameExactly) {
  ingest(frameStart("02 b8 01"));
  EXPECT_EQ(pending(), "02 b8 01");
}

TEST_F(VoiceReassembly, CollectsAFrameOfTwentyBytes) {
  ingest("00 20 00 00 00 00 00 00 1b 36 00 00 00 00 00 03 b8 77 78 79");
  EXPECT_EQ(pending(), "03 b8 77 78");
}

TEST_F(VoiceReassembly, CompletesAFrameByItsContinuation) {
  ingest(frameStart("05 b8 01"));
  EXPECT_EQ(ingest(continuation("02 03 04 05 06")), "");
  EXPECT_EQ(pending(), "05 b8 01 02 03 04");
}

TEST_F(VoiceReassembly, AddsNothingToACompleteFrame) {
  ingest(frameStart("02 b8 01"));
  EXPECT_EQ(ingest(continuation("02 03 04")), "");
  EXPECT_EQ(pending(), "02 b8 01");
}

TEST_F(VoiceReassembly, CollectsAFrameFromSeveralContinuations) {
  ingest(frameStart("06 b8"));
  ingest(continuation("01"));
  ingest(continuation("02 03", FlagByte::second));
  EXPECT_EQ(pending(), "06 b8 01 02 03");
  ingest(continuation("04 05 06 07"));
  EXPECT_EQ(pending(), "06 b8 01 02 03 04 05");
}

TEST_F(VoiceReassembly, CollectsTheLongestFrame) {
  ingest(frameStart("ff b8"));
  for (int part = 0; part < 130; ++part) ingest(continuation("01 02"));
  EXPECT_EQ(parser_.pendingVoiceFrameBytes().size(), 256u);
  const auto events = parser_.ingestPayload(bytes("1b 23 00 10 00"));
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(std::get<RemoteVoiceFrame>(events[0]).declaredByteCount, 255);
}

TEST_F(VoiceReassembly, IgnoresAContinuationWithNothingPending) {
  startSession();
  EXPECT_EQ(ingest(continuation("02 03 04")), "");
  EXPECT_EQ(pending(), "");
  EXPECT_EQ(endSession(), "ended");
}

TEST_F(VoiceReassembly, IgnoresAContinuationOutsideASession) {
  EXPECT_EQ(ingest(continuation("02 03 04")), "");
  EXPECT_EQ(pending(), "");
  EXPECT_FALSE(parser_.isCollectingVoice());
}

TEST_F(VoiceReassembly, DeliversAFrameWhenTheNextOneBegins) {
  EXPECT_EQ(ingest(frameStart("02 b8 01")), "started");
  EXPECT_EQ(ingest(frameStart("03 b8 02")), "frame 02 b8 01");
  EXPECT_EQ(ingest(continuation("03")), "");
  EXPECT_EQ(ingest(frameStart("02 b8 04")), "frame 03 b8 02 03");
  EXPECT_EQ(endSession(), "frame 02 b8 04, ended");
}

TEST_F(VoiceReassembly, DropsAnIncompleteFrameWhenTheNextOneBegins) {
  startSession();
  EXPECT_EQ(ingest(frameStart("04 b8 01")), "");
  EXPECT_EQ(ingest(frameStart("02 b8 02")), "");
  EXPECT_EQ(ingest(frameStart("02 b8 03")), "frame 02 b8 02");
}

TEST_F(VoiceReassembly, DeliversAnEmptyFrame) {
  ingest(frameStart("00 b8"));
  EXPECT_EQ(pending(), "00");
  EXPECT_EQ(ingest(continuation("01 02")), "");
  EXPECT_EQ(pending(), "00");
  EXPECT_EQ(endSession(), "frame 00, ended");
}

TEST_F(VoiceReassembly, DeliversAFrameOfOneByte) {
  ingest(frameStart("01 b8"));
  EXPECT_EQ(endSession(), "frame 01 b8, ended");
}

TEST_F(VoiceReassembly, DeliversFramesOfAVoiceButtonSession) {
  ingest("1b 3a 00 20 00");
  ingest(frameStart("05 b8 01"));
  ingest(continuation("02 03 04"));
  EXPECT_EQ(ingest(frameStart("02 b8 05")), "frame 05 b8 01 02 03 04");
  EXPECT_EQ(ingest("1b 3a 00 00 00"), "frame 02 b8 05, ended, release voice");
}

TEST_F(VoiceReassembly, OpensASessionAgainAfterItsEnd) {
  ingest(frameStart("02 b8 01"));
  endSession();
  EXPECT_EQ(ingest(continuation("01")), "");
  EXPECT_EQ(ingest(frameStart("02 b8 02")), "started");
}

TEST_F(VoiceReassembly, DeliversFramesThatOwnTheirBytes) {
  ingest(frameStart("02 b8 01"));
  const auto events = parser_.ingestPayload(frameStart("02 b8 02"));
  endSession();
  startSession();
  EXPECT_EQ(notation(events), "frame 02 b8 01");
}

TEST_F(DroppedVoiceFrames, AreNoneWhenAllFramesAreDelivered) {
  startSession();
  ingest(frameStart("02 b8 01"));
  ingest(frameStart("02 b8 02"));
  endSession();
  endSession();
  EXPECT_EQ(parser_.droppedVoiceFrameCount(), 0u);
}

TEST_F(DroppedVoiceFrames, CountOneThatItsSuccessorCutsShort) {
  ingest(frameStart("04 b8 01"));
  EXPECT_EQ(parser_.droppedVoiceFrameCount(), 0u);
  ingest(frameStart("02 b8 01"));
  EXPECT_EQ(parser_.droppedVoiceFrameCount(), 1u);
}

TEST_F(DroppedVoiceFrames, CountOneThatTheSessionsEndCutsShort) {
  ingest(frameStart("04 b8 01"));
  endSession();
  EXPECT_EQ(parser_.droppedVoiceFrameCount(), 1u);
}

TEST_F(DroppedVoiceFrames, CountOneThatTheVoiceButtonsReleaseCutsShort) {
  ingest(frameStart("04 b8 01"));
  ingest("1b 3a 00 00 00");
  EXPECT_EQ(parser_.droppedVoiceFrameCount(), 1u);
  applyMask(0x2000);
  ingest(frameStart("04 b8 01"));
  applyMask(0);
  EXPECT_EQ(parser_.droppedVoiceFrameCount(), 2u);
}

TEST_F(DroppedVoiceFrames, CountOneThatAnotherSessionsStartCutsOff) {
  ingest(frameStart("04 b8 01"));
  startSession();
  EXPECT_EQ(parser_.droppedVoiceFrameCount(), 1u);
  ingest(frameStart("04 b8 01"));
  applyMask(0x2000);
  EXPECT_EQ(parser_.droppedVoiceFrameCount(), 2u);
}

TEST_F(DroppedVoiceFrames, CountACompleteOneThatIsNotDelivered) {
  ingest(frameStart("02 b8 01"));
  startSession();
  EXPECT_EQ(parser_.droppedVoiceFrameCount(), 1u);
}

TEST_F(DroppedVoiceFrames, DoNotCountSessionsWithoutFrames) {
  startSession();
  startSession();
  endSession();
  ingest("1b 3a 00 20 00");
  ingest("1b 3a 00 00 00");
  applyMask(0x2000);
  applyMask(0);
  EXPECT_EQ(parser_.droppedVoiceFrameCount(), 0u);
}

}  // namespace
}  // namespace tessline::test
