// What the button's timers, its window and its callbacks are held to, on hosts of their own.
#include "tests/support/PlatformDecorator.h"
#include "tests/touch/GestureFixture.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessline::test {
namespace {

// Gives out one element again and again, and tells whether anyone still holds it.
class WatchedWindow : public PlatformDecorator, public platform::Accessibility {
 public:
  using PlatformDecorator::PlatformDecorator;

  std::shared_ptr<platform::Accessibility> accessibility() override {
    return {std::shared_ptr<void>(), this};
  }
  bool isProcessTrusted() override { return true; }
  std::shared_ptr<platform::AccessibilityElement> copyElementAtPosition(float, float) override {
    return std::exchange(element_, nullptr);
  }

  bool isHeld() const { return !weak_.expired(); }

 private:
  class Element : public platform::AccessibilityElement {
   public:
    platform::AccessibilityValue copyAttributeValue(std::string_view) override {
      return std::string("AXWindow");
    }
    bool setAttributeValue(std::string_view, Point) override { return false; }
  };

  std::shared_ptr<platform::AccessibilityElement> element_ = std::make_shared<Element>();
  std::weak_ptr<platform::AccessibilityElement> weak_ = element_;
};

class WatchedWindowTest : public GestureControllerTest {
 protected:
  // Presses where the window is.
  void pressWindow(const GestureSettings& settings = {}) {
    watched = std::make_shared<WatchedWindow>(host);
    makeController(settings, watched);
    press();
    EXPECT_TRUE(watched->isHeld());
  }

  std::shared_ptr<WatchedWindow> watched;
};

TEST_F(WatchedWindowTest, IsLetGoOfWithTheButton) {
  pressWindow();
  release();
  EXPECT_FALSE(watched->isHeld());
}

TEST_F(WatchedWindowTest, IsLetGoOfByTheTimeout) {
  pressWindow({.dragLockLongPressDuration = 10s});
  host->advance(3s);
  EXPECT_FALSE(watched->isHeld());
}

TEST_F(WatchedWindowTest, IsHeldByALockUntilItEnds) {
  pressWindow();
  host->advance(1s);
  release();
  EXPECT_TRUE(watched->isHeld());
  press();
  EXPECT_FALSE(watched->isHeld());
}

TEST_F(WatchedWindowTest, IsLetGoOfByAReset) {
  pressWindow();
  controller->resetButtonState();
  EXPECT_FALSE(watched->isHeld());
}

// Queues whose timers cannot be cancelled any more: their work is under way already.
class LateTimers : public PlatformDecorator {
 public:
  using PlatformDecorator::PlatformDecorator;

  std::shared_ptr<platform::SerialQueue> makeSerialQueue(
      std::string_view label, platform::QualityOfService quality) override {
    return std::make_shared<Queue>(PlatformDecorator::makeSerialQueue(label, quality));
  }

 private:
  class Timer : public platform::QueueTimer {
    void cancel() override {}
  };
  class Queue : public platform::SerialQueue {
   public:
    explicit Queue(std::shared_ptr<platform::SerialQueue> inner) : inner_(std::move(inner)) {}
    std::string_view label() const override { return inner_->label(); }
    void async(platform::Work work) override { inner_->async(std::move(work)); }
    void asyncAfter(platform::QueueTime delay, platform::Work work) override {
      inner_->asyncAfter(delay, std::move(work));
    }
    std::unique_ptr<platform::QueueTimer> startTimer(platform::QueueTime delay,
                                                     platform::Work work) override {
      inner_->asyncAfter(delay, std::move(work));
      return std::make_unique<Timer>();
    }
    bool isCurrent() const override { return inner_->isCurrent(); }
    platform::QueueTime now() const override { return inner_->now(); }

   private:
    std::shared_ptr<platform::SerialQueue> inner_;
  };
};

TEST_F(ButtonTest, LongPressThatWasCancelledTooLateDoesNotLockTheNextPress) {
  makeController({}, std::make_shared<LateTimers>(host));
  press();
  release();
  host->advance(500ms);
  press();
  host->advance(500ms);
  EXPECT_FALSE(controller->isDragLocked());
  host->advance(500ms);
  EXPECT_TRUE(controller->isDragLocked());
}

TEST_F(ButtonTest, TimeoutThatWasCancelledTooLateDoesNotReleaseTheNextPress) {
  makeController({.dragLockLongPressDuration = 10s}, std::make_shared<LateTimers>(host));
  press();
  release();
  host->advance(1s);
  press();
  host->advance(2s);
  EXPECT_TRUE(controller->isDragging());
  host->advance(1s);
  EXPECT_FALSE(controller->isDragging());
}

TEST_F(ButtonTest, LongPressIsArmedBeforeTheTimeout) {
  // Due together, the one that was armed first wins.
  makeController({.selectDownSafetyTimeout = 1s, .dragLockLongPressDuration = 1s});
  press();
  host->advance(1s);
  EXPECT_TRUE(controller->isDragLocked());
  EXPECT_EQ(mouseTypes(), Types{"LeftMouseDown"});
}

TEST_F(ButtonTest, LockAndResetLeaveNoTimerArmed) {
  press();
  host->advance(1s);
  EXPECT_EQ(host->scheduler().pendingCount(), 0U);
  release();
  press();
  release();
  press();
  EXPECT_EQ(host->scheduler().pendingCount(), 2U);
  controller->resetButtonState();
  EXPECT_EQ(host->scheduler().pendingCount(), 0U);
}

TEST_F(ButtonTest, PositionIsReadOnceForEveryButtonEventAlsoForThoseThatAreIgnored) {
  int reads = 0;
  controller->currentPositionProvider = [&] {
    ++reads;
    return Point{10, 10};
  };
  release();
  EXPECT_EQ(reads, 1) << "release without press";
  press();
  EXPECT_EQ(reads, 2);
  press();
  EXPECT_EQ(reads, 3) << "second press";
  host->advance(1s);
  release();
  press();
  release();
  EXPECT_EQ(reads, 6) << "end of a lock and its suppressed release";
  controller->resetButtonState();
  EXPECT_EQ(reads, 6) << "reset with nothing to let go of";
}

TEST_F(TitleBarTest, CancelledChargeComesBeforeTheButtonIsUpButForTheTimeout) {
  std::vector<bool> isDragging;
  const auto watch = [&](const GestureSettings& settings) {
    makeController(settings);
    controller->onDragLockChargePhase = [&](DragLockChargePhase phase) {
      if (phase == DragLockChargePhase::cancelled) isDragging.push_back(controller->isDragging());
    };
    press();
  };
  watch({});
  release();
  watch({});
  controller->resetButtonState();
  watch({.dragLockLongPressDuration = 10s});
  host->advance(3s);
  EXPECT_EQ(isDragging, (std::vector<bool>{true, true, false}));
}

}  // namespace
}  // namespace tessline::test
