#include "tests/touch/MultitouchFixture.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>

namespace tessline::test {
namespace {

class MultitouchFrameTest : public MultitouchServiceTest {
 protected:
  MultitouchFrameTest() { service->start(); }

  /// What is logged for the frame.
  Lines frame(const std::vector<SimulatedContact>& contacts) {
    return logOfFrame(surface, contacts);
  }
  /// Whether a frame in which the contact moves finds where it was before.
  bool isKnown(std::int32_t identifier) { return !frame({moved(identifier, 0.5F, 0.5F)}).empty(); }

  Surface surface = connect();
};

TEST_F(MultitouchFrameTest, ContactThatBeganIsLoggedAndReported) {
  EXPECT_EQ(frame({began(7, 0.25F, 0.75F)}),
            Lines{"Morvane Clickpad Touch Began: ID=7, X=0.2500, Y=0.7500"});
  EXPECT_EQ(reports, (std::vector<TouchPoints>{{{7, 0.25F, 0.75F, 3}}}));
}

TEST_F(MultitouchFrameTest, ContactThatMovedIsLoggedAndReported) {
  frame({began(7, 0.25F, 0.75F)});
  EXPECT_EQ(frame({moved(7, 0.5F, 0.625F, 1.5F, -0.25F)}),
            Lines{"Morvane Clickpad Moved: ID=7, X=0.5000, Y=0.6250, dx=0.2500, dy=-0.1250, "
                  "velocity=(1.50, -0.25)"});
  EXPECT_EQ(reports.back(), (TouchPoints{{7, 0.5F, 0.625F, 4}}));
}

TEST_F(MultitouchFrameTest, MotionCountsFromTheFrameBefore) {
  frame({began(7, 0.25F, 0.75F)});
  frame({moved(7, 0.5F, 0.5F)});
  EXPECT_EQ(frame({moved(7, 0.5625F, 0.375F)}),
            Lines{"Morvane Clickpad Moved: ID=7, X=0.5625, Y=0.3750, dx=0.0625, dy=-0.1250, "
                  "velocity=(0.00, 0.00)"});
}

TEST_F(MultitouchFrameTest, ContactThatEndedIsLoggedAndNotReported) {
  frame({began(7, 0.25F, 0.75F)});
  EXPECT_EQ(frame({ended(7)}), Lines{"Morvane Clickpad Touch Ended: ID=7"});
  EXPECT_EQ(reports.back(), TouchPoints());
  EXPECT_FALSE(isKnown(7));
}

TEST_F(MultitouchFrameTest, ContactThatEndsTakesNoOtherAlong) {
  frame({began(7, 0.25F, 0.75F), began(8, 0.25F, 0.75F), began(9, 0.25F, 0.75F)});
  EXPECT_EQ(frame({ended(8), moved(7, 0.5F, 0.5F), moved(9, 0.5F, 0.5F)}).size(), 3U);
}

TEST_F(MultitouchFrameTest, ContactThatEndsWithoutHavingBegunIsLogged) {
  EXPECT_EQ(frame({ended(-3)}), Lines{"Morvane Clickpad Touch Ended: ID=-3"});
  EXPECT_EQ(reports, std::vector<TouchPoints>{{}});
}

TEST_F(MultitouchFrameTest, OtherStatesMeanNothing) {
  for (const std::int32_t state : {0, 1, 2, 6, 7, -1, std::numeric_limits<std::int32_t>::max(),
                                   std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EQ(frame({{7, state, 0.5F, 0.5F}}), Lines()) << state;
    EXPECT_EQ(reports.back(), TouchPoints()) << state;
    EXPECT_FALSE(isKnown(7)) << state;
    frame({});
  }
}

TEST_F(MultitouchFrameTest, FirstMoveOfAnUnknownContactIsReportedWithoutALine) {
  EXPECT_EQ(frame({moved(7, 0.25F, 0.75F)}), Lines());
  EXPECT_EQ(reports.back(), (TouchPoints{{7, 0.25F, 0.75F, 4}}));
  EXPECT_EQ(frame({moved(7, 0.5F, 0.75F)}),
            Lines{"Morvane Clickpad Moved: ID=7, X=0.5000, Y=0.7500, dx=0.2500, dy=0.0000, "
                  "velocity=(0.00, 0.00)"});
}

TEST_F(MultitouchFrameTest, ContactThatBeginsAnewMovesFromThere) {
  frame({began(7, 0.25F, 0.75F)});
  frame({began(7, 0.5F, 0.5F)});
  EXPECT_EQ(frame({moved(7, 0.75F, 0.25F)}),
            Lines{"Morvane Clickpad Moved: ID=7, X=0.7500, Y=0.2500, dx=0.2500, dy=-0.2500, "
                  "velocity=(0.00, 0.00)"});
}

TEST_F(MultitouchFrameTest, ContactsAreTakenInTheirOrderAndReportedLast) {
  frame({began(2, 0.5F, 0.5F), began(9, 0.5F, 0.5F)});
  reports.clear();
  EXPECT_EQ(
      storyOf([&] {
        send(surface, {moved(9, 0.25F, 0.5F), ended(2), {4, 1}, began(-1, 0.125F, 1)});
      }),
      (Lines{"Morvane Clickpad Moved: ID=9, X=0.2500, Y=0.5000, dx=-0.2500, dy=0.0000, "
             "velocity=(0.00, 0.00)",
             "Morvane Clickpad Touch Ended: ID=2",
             "Morvane Clickpad Touch Began: ID=-1, X=0.1250, Y=1.0000", "onTouchesChanged 2"}));
  EXPECT_EQ(reports, (std::vector<TouchPoints>{{{9, 0.25F, 0.5F, 4}, {-1, 0.125F, 1, 3}}}));
}

TEST_F(MultitouchFrameTest, ContactTwiceInAFrameMovesTwice) {
  EXPECT_EQ(frame({moved(7, 0.25F, 0.5F), moved(7, 0.5F, 0.5F)}),
            Lines{"Morvane Clickpad Moved: ID=7, X=0.5000, Y=0.5000, dx=0.2500, dy=0.0000, "
                  "velocity=(0.00, 0.00)"});
  EXPECT_EQ(reports.back(), (TouchPoints{{7, 0.25F, 0.5F, 4}, {7, 0.5F, 0.5F, 4}}));
  EXPECT_TRUE(isKnown(7));
}

TEST_F(MultitouchFrameTest, ContactThatEndsAndMovesInOneFrameIsNewAndStays) {
  frame({began(7, 0.25F, 0.5F)});
  EXPECT_EQ(frame({ended(7), moved(7, 0.5F, 0.5F)}), Lines{"Morvane Clickpad Touch Ended: ID=7"});
  EXPECT_EQ(reports.back(), (TouchPoints{{7, 0.5F, 0.5F, 4}}));
  EXPECT_TRUE(isKnown(7));
}

TEST_F(MultitouchFrameTest, ContactThatMovesAndEndsInOneFrameIsReportedAndForgotten) {
  frame({began(7, 0.25F, 0.5F)});
  EXPECT_EQ(frame({moved(7, 0.5F, 0.5F), ended(7)}).size(), 2U);
  EXPECT_EQ(reports.back(), (TouchPoints{{7, 0.5F, 0.5F, 4}}));
  EXPECT_FALSE(isKnown(7));
}

TEST_F(MultitouchFrameTest, ContactsThatAreMissingFromAFrameAreForgotten) {
  frame({began(1, 0.5F, 0.5F), began(2, 0.5F, 0.5F), began(3, 0.5F, 0.5F)});
  frame({moved(2, 0.5F, 0.5F)});
  const Lines log = frame({moved(1, 0.5F, 0.5F), moved(2, 0.5F, 0.5F), moved(3, 0.5F, 0.5F)});
  EXPECT_EQ(log, Lines{"Morvane Clickpad Moved: ID=2, X=0.5000, Y=0.5000, dx=0.0000, dy=0.0000, "
                       "velocity=(0.00, 0.00)"});
}

TEST_F(MultitouchFrameTest, ContactOfAnotherStateIsRememberedWhileItIsThere) {
  frame({began(7, 0.25F, 0.5F)});
  frame({{7, 6, 0.75F, 0.75F}});
  frame({began(1, 0, 0), {7, 7, 0.75F, 0.75F}});
  EXPECT_EQ(reports.back(), (TouchPoints{{1, 0, 0, 3}}));
  EXPECT_EQ(frame({moved(7, 0.5F, 0.5F)}),
            Lines{"Morvane Clickpad Moved: ID=7, X=0.5000, Y=0.5000, dx=0.2500, dy=0.0000, "
                  "velocity=(0.00, 0.00)"});
  frame({{7, 6}});
  frame({began(1, 0, 0)});
  EXPECT_FALSE(isKnown(7));
}

TEST_F(MultitouchFrameTest, FrameWithoutContactsIsReportedAndForgetsThem) {
  frame({began(1, 0.5F, 0.5F), began(2, 0.5F, 0.5F)});
  host->calls().clear();
  host->multitouch().sendRecords(*surface, nullptr, 0);
  EXPECT_EQ(story(), Lines{"onTouchesChanged 0"});
  EXPECT_EQ(reports.back(), TouchPoints());
  EXPECT_EQ(frame({moved(1, 0.5F, 0.5F), moved(2, 0.5F, 0.5F)}), Lines());
}

TEST_F(MultitouchFrameTest, EveryFrameIsReportedHoweverEmpty) {
  frame({});
  frame({ended(7)});
  frame({{7, 6}});
  EXPECT_EQ(reports, std::vector<TouchPoints>(3));
}

TEST_F(MultitouchFrameTest, WithoutACallbackFramesAreStillFollowed) {
  const auto callback = std::exchange(service->onTouchesChanged, nullptr);
  EXPECT_EQ(frame({began(7, 0.25F, 0.5F)}).size(), 1U);
  service->onTouchesChanged = callback;
  EXPECT_TRUE(isKnown(7));
  EXPECT_EQ(reports.size(), 1U);
}

TEST_F(MultitouchFrameTest, StopForgetsWhereContactsWere) {
  frame({began(7, 0.25F, 0.5F)});
  service->stop();
  service->start();
  EXPECT_FALSE(isKnown(7));
}

TEST_F(MultitouchFrameTest, SurfacesShareWhatIsRemembered) {
  service->stop();
  const Surface other = connect();
  service->start();
  send(surface, {began(7, 0.25F, 0.5F)});
  EXPECT_EQ(logOfFrame(other, {moved(7, 0.5F, 0.5F)}).size(), 1U);
  send(other, {began(8, 0.5F, 0.5F)});
  EXPECT_FALSE(isKnown(7));
}

TEST_F(MultitouchFrameTest, FramesOfASurfaceCountBeforeTheNextOneStarts) {
  service->stop();
  connect();
  host->calls().onCall = [&](const PlatformCall& call) {
    if (call.operation == "MTDeviceStart" && call.argument<std::int64_t>("device") == 2) {
      send(surface, {began(7, 0.25F, 0.5F)});
      EXPECT_FALSE(service->isListening());
    }
  };
  service->start();
  host->calls().onCall = nullptr;
  EXPECT_EQ(reports.back(), (TouchPoints{{7, 0.25F, 0.5F, 3}}));
}

TEST_F(MultitouchFrameTest, FrameDuringTheReleaseCallsNothing) {
  int frames = 0;
  host->calls().onCall = [&](const PlatformCall& call) {
    if (call.operation != "MTDeviceStop") return;
    send(surface, {began(1, 0.5F, 0.5F)});
    ++frames;
  };
  EXPECT_EQ(releasing(), (Lines{"MTDeviceStop 1", "MTUnregisterContactFrameCallback 1",
                                "onTouchesChanged 0", stopped, "dlclose"}));
  EXPECT_EQ(frames, 1);
}

TEST_F(MultitouchFrameTest, ReleaseFromItsOwnCallbackComesAfterTheFrame) {
  service->onTouchesChanged = [this](auto touches) {
    service.reset();
    host->calls().add("onTouchesChanged", {{"count", static_cast<std::int64_t>(touches.size())}});
  };
  EXPECT_EQ(storyOf([&] { send(surface, {began(1, 0.5F, 0.5F)}); }),
            (Lines{"Morvane Clickpad Touch Began: ID=1, X=0.5000, Y=0.5000", "onTouchesChanged 1",
                   "MTDeviceStop 1", "MTUnregisterContactFrameCallback 1", "onTouchesChanged 0",
                   stopped, "dlclose"}));
  EXPECT_EQ(storyOf([&] { send(surface, {began(2, 0.5F, 0.5F)}); }), Lines());
}

TEST_F(MultitouchFrameTest, StopFromItsOwnCallbackLeavesTheFrameAlone) {
  service->onTouchesChanged = [this](auto touches) {
    service->stop();
    reports.emplace_back(touches.begin(), touches.end());
  };
  EXPECT_EQ(storyOf([&] { send(surface, {began(1, 0.5F, 0.25F)}); }),
            (Lines{"Morvane Clickpad Touch Began: ID=1, X=0.5000, Y=0.2500", "MTDeviceStop 1",
                   "MTUnregisterContactFrameCallback 1", stopped}));
  EXPECT_EQ(reports, (std::vector<TouchPoints>{{}, {{1, 0.5F, 0.25F, 3}}}));
  EXPECT_FALSE(service->isListening());
  EXPECT_EQ(storyOf([&] { send(surface, {moved(1, 0.5F, 0.5F)}); }), Lines());
}

// Memory of exactly the size that is needed: AddressSanitizer sees a read beyond it.
TEST_F(MultitouchFrameTest, NothingBehindTheLastContactIsRead) {
  std::vector<std::byte> records(96 + 48);
  const auto put = [&](std::size_t offset, std::int32_t value) {
    std::memcpy(records.data() + offset, &value, sizeof value);
  };
  put(20, 3);
  put(24, 1);
  put(96 + 20, 3);
  put(96 + 24, 2);
  host->multitouch().sendRecords(*surface, records.data(), 2);
  EXPECT_EQ(reports.back(), (TouchPoints{{1, 0, 0, 3}, {2, 0, 0, 3}}));
}

TEST_F(MultitouchFrameTest, NegativeNumbersKeepTheirSign) {
  frame({began(std::numeric_limits<std::int32_t>::min(), 0, 0)});
  EXPECT_EQ(
      frame({moved(std::numeric_limits<std::int32_t>::min(), -0.5F, -0.00001F, -12.345F, -0.0F)}),
      Lines{"Morvane Clickpad Moved: ID=-2147483648, X=-0.5000, Y=-0.0000, dx=-0.5000, "
            "dy=-0.0000, velocity=(-12.35, -0.00)"});
}

TEST_F(MultitouchFrameTest, NumbersAreRoundedOnceFromTheirExactValue) {
  // 0.03125 and 0.125 lie in the middle; 0.00005F lies just below it, and 0.00015F just above.
  EXPECT_EQ(frame({began(1, 0.03125F, 0.09375F)}),
            Lines{"Morvane Clickpad Touch Began: ID=1, X=0.0312, Y=0.0938"});
  EXPECT_EQ(frame({began(1, 0.00005F, 0.00015F)}),
            Lines{"Morvane Clickpad Touch Began: ID=1, X=0.0000, Y=0.0002"});
  EXPECT_EQ(frame({moved(1, 0.99996F, 0.99994F, 0.125F, 0.375F)}),
            Lines{"Morvane Clickpad Moved: ID=1, X=1.0000, Y=0.9999, dx=0.9999, dy=0.9998, "
                  "velocity=(0.12, 0.38)"});
}

TEST_F(MultitouchFrameTest, MotionIsASinglePrecisionDifference) {
  frame({began(1, -1, 0.1F)});
  EXPECT_EQ(frame({moved(1, 16777216, 4096)}),
            Lines{"Morvane Clickpad Moved: ID=1, X=16777216.0000, Y=4096.0000, dx=16777216.0000, "
                  "dy=4095.8999, velocity=(0.00, 0.00)"});
}

TEST_F(MultitouchFrameTest, LongLinesAreWhole) {
  const std::string large = "1000000015047466219876688855040";  // 1e30F exactly.
  frame({began(1, -1e30F, 0)});
  EXPECT_EQ(frame({moved(1, 0, 1e30F, -1e30F, 1e30F)}),
            Lines{"Morvane Clickpad Moved: ID=1, X=0.0000, Y=" + large + ".0000, dx=" + large +
                  ".0000, dy=" + large + ".0000, velocity=(-" + large + ".00, " + large + ".00)"});
}

TEST_F(MultitouchFrameTest, InfinitiesAreNamed) {
  const float infinity = std::numeric_limits<float>::infinity();
  EXPECT_EQ(frame({began(1, infinity, -infinity)}),
            Lines{"Morvane Clickpad Touch Began: ID=1, X=inf, Y=-inf"});
}

// Lines of every length, around that of the buffer, too.
TEST_F(MultitouchFrameTest, NumbersReadAsTheCLibraryWritesThem) {
  std::mt19937 random(20260401);
  const auto number = [&] {
    float value = 0;
    do {
      value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    } while (!std::isfinite(value));
    return random() % 2 == 0 ? value : std::remainder(value, 1.0F);
  };
  for (int count = 0; count < 5000; ++count) {
    const float x0 = number();
    const float y0 = number();
    const SimulatedContact contact = moved(count, number(), number(), number(), number());
    frame({began(count, x0, y0)});
    char line[512];
    const float dx = contact.x - x0;
    const float dy = contact.y - y0;
    std::snprintf(line, sizeof line,
                  "Morvane Clickpad Moved: ID=%d, X=%.4f, Y=%.4f, dx=%.4f, dy=%.4f, "
                  "velocity=(%.2f, %.2f)",
                  contact.identifier, double{contact.x}, double{contact.y}, double{dx}, double{dy},
                  double{contact.velocityX}, double{contact.velocityY});
    ASSERT_EQ(frame({contact}), Lines{line});
  }
}

}  // namespace
}  // namespace tessline::test
