#include "tessline/platform/macos/AppKitScreens.h"
#include "tessline/platform/macos/CoreFoundationRunLoop.h"
#include "tests/support/GeometryPrinting.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <standin/appkit.h>
#include <standin/corefoundation.h>
#include <standin/foundation.h>
#include <standin/objc.h>

namespace tessline::test {
namespace {

namespace appkit = standin::appkit;
using platform::ScreenFrames;

const ScreenFrames atFirst = {{{0, 0}, {1440, 900}}};
const ScreenFrames later = {{{0, 0}, {1440, 900}}, {{-1920, -180.5}, {1920, 1080}}};

// What `ask` gives on another thread.
template <class Ask>
auto elsewhere(Ask ask) {
  decltype(ask()) answer;
  std::thread([&] { answer = ask(); }).join();
  return answer;
}

// The stand-in aborts if anyone asks for a screen off the main thread. Expects at the end that
// nothing is left of the screens.
class ScreensTest : public testing::Test {
 protected:
  ScreensTest() {
    appkit::reset();
    screens = platform::makeAppKitScreens(loop);
  }
  ScreensTest(const ScreensTest&) = delete;
  ScreensTest& operator=(const ScreensTest&) = delete;
  ~ScreensTest() override {
    screens.reset();
    EXPECT_EQ(standin::foundation::observers(), observersBefore);
    EXPECT_EQ(standin::objc::liveObjects(), objectsBefore);
    loop.reset();
    EXPECT_EQ(standin::liveCFObjects(), cfObjectsBefore);
  }

  // They are others, which nobody is told of.
  static void set(const ScreenFrames& frames) {
    std::vector<CGRect> all;
    for (const Rect& frame : frames) {
      all.push_back({{frame.origin.x, frame.origin.y}, {frame.size.width, frame.size.height}});
    }
    appkit::setScreens(std::move(all));
  }
  // The main run loop takes its turn, or nobody had anything for it.
  static void turn() { standin::runLoopUntilIdle(); }
  // How often the screens have been read since the last time.
  std::size_t takeReadings() {
    constexpr std::size_t questionsOfAReading = 2;
    const std::size_t questions = appkit::questions() - questionsBefore;
    questionsBefore += questions;
    EXPECT_EQ(questions % questionsOfAReading, 0U);
    return questions / questionsOfAReading;
  }
  ScreenFrames framesElsewhere() {
    return elsewhere([this] { return *screens->frames(); });
  }
  std::optional<Rect> mainFrameElsewhere() {
    return elsewhere([this] { return screens->mainFrame(); });
  }

  // Those of the process's own platform may be there all the time.
  const std::size_t observersBefore = standin::foundation::observers();
  const long objectsBefore = standin::objc::liveObjects();
  const long cfObjectsBefore = standin::liveCFObjects();
  std::shared_ptr<platform::MainRunLoop> loop = platform::makeCoreFoundationRunLoop();
  std::shared_ptr<platform::Screens> screens;
  std::size_t questionsBefore = 0;
};

TEST_F(ScreensTest, AreReadAnewForWhoAsksOnTheMainThread) {
  set(later);
  EXPECT_EQ(*screens->frames(), later);
  EXPECT_EQ(screens->mainFrame(), later.front());
  appkit::setMainScreen(std::nullopt);
  EXPECT_EQ(screens->mainFrame(), std::nullopt);
}

TEST_F(ScreensTest, AreThoseOfTheLastReadingElsewhere) {
  EXPECT_EQ(framesElsewhere(), atFirst);
  EXPECT_EQ(mainFrameElsewhere(), atFirst.front());
  set(later);
  EXPECT_EQ(framesElsewhere(), atFirst);
}

TEST_F(ScreensTest, AreReadAtOnceWhenTheyHaveChanged) {
  set(later);
  appkit::setMainScreen(CGRect{{-1920, -180.5}, {1920, 1080}});
  appkit::tellOfScreens();
  EXPECT_EQ(framesElsewhere(), later);
  EXPECT_EQ(mainFrameElsewhere(), later.back());
  set({});
  appkit::tellOfScreens();
  EXPECT_EQ(framesElsewhere(), ScreenFrames());
  EXPECT_EQ(mainFrameElsewhere(), std::nullopt);
}

TEST_F(ScreensTest, AskingForFramesElsewhereReadsNothing) {
  takeReadings();
  framesElsewhere();
  turn();
  EXPECT_EQ(takeReadings(), 0U);
}

// Another application's window may get the keyboard focus without a notification.
TEST_F(ScreensTest, QuestionForTheMainScreenElsewhereLetsItBeReadAgain) {
  set(later);
  appkit::setMainScreen(CGRect{{-1920, -180.5}, {1920, 1080}});
  EXPECT_EQ(mainFrameElsewhere(), atFirst.front());
  turn();
  EXPECT_EQ(mainFrameElsewhere(), later.back());
  EXPECT_EQ(framesElsewhere(), later);
}

TEST_F(ScreensTest, QuestionsElsewhereLeadToOneReadingTogether) {
  takeReadings();
  for (int question = 0; question < 3; ++question) mainFrameElsewhere();
  EXPECT_EQ(takeReadings(), 0U);
  turn();
  EXPECT_EQ(takeReadings(), 1U);
  turn();
  EXPECT_EQ(takeReadings(), 0U);
  mainFrameElsewhere();
  turn();
  EXPECT_EQ(takeReadings(), 1U);
}

TEST_F(ScreensTest, AreReadWhileTheMouseTracksSomething) {
  set(later);
  mainFrameElsewhere();
  standin::runLoopUntilIdle(standin::eventTrackingMode());
  EXPECT_EQ(framesElsewhere(), later);
}

TEST_F(ScreensTest, MadeElsewhereThereAreNoneUntilTheLoopRuns) {
  const auto made = elsewhere([this] { return platform::makeAppKitScreens(loop); });
  const auto framesOfMade = [&] { return *made->frames(); };
  ASSERT_EQ(elsewhere(framesOfMade), ScreenFrames());
  turn();
  EXPECT_EQ(elsewhere(framesOfMade), atFirst);
}

TEST_F(ScreensTest, ChangeThatIsToldElsewhereIsReadOnTheMainThread) {
  set(later);
  std::thread(appkit::tellOfScreens).join();
  EXPECT_EQ(framesElsewhere(), atFirst);
  turn();
  EXPECT_EQ(framesElsewhere(), later);
}

TEST_F(ScreensTest, FramesAreSharedWhileTheyAreTheSame) {
  const auto first = screens->frames();
  EXPECT_EQ(screens->frames(), first);
  appkit::tellOfScreens();
  EXPECT_EQ(elsewhere([this] { return screens->frames(); }), first);
  set(later);
  EXPECT_NE(screens->frames(), first);
  EXPECT_EQ(*first, atFirst);
}

TEST_F(ScreensTest, ObserveAsLongAsTheyAreUsed) {
  EXPECT_EQ(standin::foundation::observers(), observersBefore + 1);
  takeReadings();
  appkit::tellOfScreens();
  const std::size_t readings = takeReadings();
  screens.reset();
  EXPECT_EQ(standin::foundation::observers(), observersBefore);
  appkit::tellOfScreens();
  EXPECT_EQ(takeReadings(), readings - 1);
}

TEST_F(ScreensTest, ReadingThatIsUnderWayEndsWithTheScreens) {
  mainFrameElsewhere();
  takeReadings();
  screens.reset();
  turn();
  EXPECT_EQ(takeReadings(), 0U);
}

TEST_F(ScreensTest, MouseIsWhereTheSystemSaysOnAnyThread) {
  appkit::setMouseLocation({-10.5, 20});
  EXPECT_EQ(screens->mouseLocation(), (Point{-10.5, 20}));
  EXPECT_EQ(elsewhere([this] { return screens->mouseLocation(); }), (Point{-10.5, 20}));
}

TEST_F(ScreensTest, MayGoOnAnyThreadWhileTheirChangeIsTold) {
  std::atomic<bool> isDone = false;
  std::thread user([&] {
    for (int turn = 0; turn < 100; ++turn) {
      const auto made = platform::makeAppKitScreens(loop);
      made->mainFrame();
    }
    isDone = true;
  });
  while (!isDone) {
    appkit::tellOfScreens();
    turn();
  }
  user.join();
  turn();
}

TEST_F(ScreensTest, AreWholeForWhoAsksWhileTheyChange) {
  std::atomic<bool> isDone = false;
  std::thread asking([&] {
    for (int turn = 0; turn < 500; ++turn) {
      const auto frames = screens->frames();
      EXPECT_TRUE(*frames == atFirst || *frames == later);
      const auto mainFrame = screens->mainFrame();
      EXPECT_TRUE(mainFrame == atFirst.front());
    }
    isDone = true;
  });
  for (bool isLater = true; !isDone; isLater = !isLater) {
    set(isLater ? later : atFirst);
    appkit::tellOfScreens();
    turn();
  }
  asking.join();
}

}  // namespace
}  // namespace tessline::test
