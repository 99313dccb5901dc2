// Entry points from several threads at once, on real queues: meant for ThreadSanitizer, and for
// whoever looks for a button that stays down.
#include "tessline/platform/Platform.h"
#include "tessline/touch/SiriRemoteGestureController.h"
#include "tessline/touch/SiriRemoteMultitouchService.h"
#include "tests/support/PlatformDecorator.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using namespace std::chrono_literals;
using platform::MouseEventType;

// Counts what is posted, and notices a button that goes down or up twice.
class CountingPointer : public platform::PointerEvents {
 public:
  std::optional<Point> currentLocation() override {
    const std::lock_guard lock(mutex_);
    return location_;
  }
  bool postMouseEvent(MouseEventType type, Point position, std::optional<std::int64_t>) override {
    const std::lock_guard lock(mutex_);
    location_ = position;
    if (type == MouseEventType::leftMouseDown) change(true);
    if (type == MouseEventType::leftMouseUp) change(false);
    if (isClosed_) ++lateCount_;
    return true;
  }
  bool postScrollEvent(std::int32_t, std::int32_t) override {
    if (isClosed_) ++lateCount_;
    return true;
  }

  /// Nothing is to be posted from now on.
  void close() { isClosed_ = true; }
  int lateCount() const { return lateCount_; }

  bool isDown() const { return isDown_; }
  int downs() const { return downs_; }
  int repeats() const { return repeats_; }

 private:
  void change(bool isDown) {
    if (isDown_.exchange(isDown) == isDown) ++repeats_;
    if (isDown) ++downs_;
  }

  std::mutex mutex_;
  Point location_{100, 100};
  std::atomic<bool> isDown_{false};
  std::atomic<int> downs_{0};
  std::atomic<int> repeats_{0};
  std::atomic<bool> isClosed_{false};
  std::atomic<int> lateCount_{0};
};

class OneScreen : public platform::Screens {
 public:
  std::shared_ptr<const platform::ScreenFrames> frames() override { return frames_; }
  std::optional<Rect> mainFrame() override { return frames_->front(); }
  Point mouseLocation() override { return {}; }

 private:
  const std::shared_ptr<const platform::ScreenFrames> frames_ =
      std::make_shared<platform::ScreenFrames>(1, Rect{{0, 0}, {800, 600}});
};

// A window everywhere, in front of everything.
class OneWindow : public platform::AccessibilityElement {
 public:
  platform::AccessibilityValue copyAttributeValue(std::string_view attribute) override {
    if (attribute == "AXRole") return std::string("AXWindow");
    if (attribute == "AXPosition") return Point{-50, 0};
    return Size{700, 500};
  }
  bool setAttributeValue(std::string_view, Point) override { return true; }
};

class TrustingAccessibility : public platform::Accessibility {
 public:
  bool isProcessTrusted() override { return true; }
  std::shared_ptr<platform::AccessibilityElement> copyElementAtPosition(float, float) override {
    return std::make_shared<OneWindow>();
  }
};

class SilentSurface : public platform::MultitouchDevice {};

// One surface, whose frames come on whatever thread calls `deliver`.
class ThreadedLibrary : public platform::MultitouchLibrary,
                        public std::enable_shared_from_this<ThreadedLibrary> {
 public:
  platform::MultitouchFunction symbol(std::string_view name) override {
    if (name == "MTDeviceCreateList") {
      return platform::DeviceListFunction(
          [this] { return std::optional(platform::MultitouchDeviceList{surface_}); });
    }
    if (name == "MTDeviceGetSensorSurfaceDimensions") {
      return platform::DeviceDimensionsFunction(
          [](platform::MultitouchDevice&, std::int32_t& width, std::int32_t& height) {
            width = height = 2775;
            return 0;
          });
    }
    if (name == "MTDeviceStart") {
      return platform::DeviceStartFunction(
          [](platform::MultitouchDevice&, std::int32_t) { return 0; });
    }
    if (name == "MTDeviceStop") {
      return platform::DeviceStopFunction([](platform::MultitouchDevice&) { return 0; });
    }
    if (name == "MTRegisterContactFrameCallbackWithRefcon") {
      return platform::RegisterCallbackFunction(
          [this](platform::MultitouchDevice&, platform::ContactFrameCallback callback) {
            const std::lock_guard lock(mutex_);
            callback_ = std::move(callback);
          });
    }
    if (name == "MTUnregisterContactFrameCallback") {
      return platform::UnregisterCallbackFunction([this](platform::MultitouchDevice&) {
        const std::lock_guard lock(mutex_);
        callback_ = nullptr;
      });
    }
    return {};
  }

  void deliver(const std::byte* touches, std::int64_t numTouches) {
    const std::lock_guard lock(mutex_);
    if (callback_) callback_(touches, numTouches);
  }

 private:
  // Recursive, as a frame may end the registration that it came by.
  std::recursive_mutex mutex_;
  platform::ContactFrameCallback callback_;
  const std::shared_ptr<SilentSurface> surface_ = std::make_shared<SilentSurface>();
};

class SilentLog : public platform::LogSink {
 public:
  void log(std::string_view) override {}
};

// Real queues, everything else made up.
class StressPlatform : public PlatformDecorator {
 public:
  StressPlatform() : PlatformDecorator(platform::hostPlatform()) {}

  std::shared_ptr<platform::LogSink> logSink() override { return log_; }
  std::shared_ptr<platform::MultitouchLibrary> openMultitouchLibrary(std::string_view) override {
    return library;
  }
  std::shared_ptr<platform::Accessibility> accessibility() override { return accessibility_; }
  std::shared_ptr<platform::Screens> screens() override { return screens_; }
  std::shared_ptr<platform::PointerEvents> pointerEvents() override { return pointer; }

  const std::shared_ptr<CountingPointer> pointer = std::make_shared<CountingPointer>();
  const std::shared_ptr<ThreadedLibrary> library = std::make_shared<ThreadedLibrary>();

 private:
  const std::shared_ptr<platform::LogSink> log_ = std::make_shared<SilentLog>();
  const std::shared_ptr<platform::Accessibility> accessibility_ =
      std::make_shared<TrustingAccessibility>();
  const std::shared_ptr<platform::Screens> screens_ = std::make_shared<OneScreen>();
};

void buttonAtRandom(SiriRemoteGestureController& controller, std::mt19937& random) {
  controller.handleButton(RemoteCommand::select, random() % 2 == 0 ? RemoteButtonPhase::pressed
                                                                   : RemoteButtonPhase::released);
}

void touchAtRandom(SiriRemoteGestureController& controller, std::mt19937& random) {
  std::array<SiriRemoteTouchPoint, 3> points;
  for (auto& point : points) {
    point = {0, static_cast<float>(random() % 100) / 100, static_cast<float>(random() % 100) / 100,
             4};
  }
  controller.handleTouches(std::span(points).first(random() % 4));
}

// One frame of one moved contact, as the library delivers it.
std::array<std::byte, 96> frameAt(float x) {
  std::array<std::byte, 96> record{};
  const std::int32_t state = 4;
  std::memcpy(record.data() + 20, &state, sizeof state);
  std::memcpy(record.data() + 32, &x, sizeof x);
  return record;
}

TEST(Concurrency, NoButtonStaysDownWhateverComesTogether) {
  const auto platform = std::make_shared<StressPlatform>();
  const auto controller = SiriRemoteGestureController::create(
      platform, {.selectDownSafetyTimeout = 300us, .dragLockLongPressDuration = 200us});
  std::atomic<int> charges{0};
  controller->onDragLockChargePhase = [&](DragLockChargePhase phase) {
    charges += phase == DragLockChargePhase::began ? 1 : -1;
    EXPECT_TRUE(charges == 0 || charges == 1);
  };
  constexpr int rounds = 3000;
  const auto run = [&](unsigned seed, auto step) {
    return std::thread([&controller, seed, step] {
      std::mt19937 random(seed);
      for (int round = 0; round < rounds; ++round) step(*controller, random);
    });
  };
  std::vector<std::thread> threads;
  threads.push_back(run(1, [](auto& each, auto& random) { touchAtRandom(each, random); }));
  threads.push_back(run(2, [](auto& each, auto& random) { buttonAtRandom(each, random); }));
  threads.push_back(run(3, [](auto& each, auto& random) { buttonAtRandom(each, random); }));
  threads.push_back(run(4, [](auto& each, auto& random) {
    if (random() % 16 == 0) each.resetButtonState();
    static_cast<void>(each.isDragging() && each.isDragLocked());
    static_cast<void>(each.mode());
  }));
  for (auto& thread : threads) thread.join();
  controller->resetButtonState();
  EXPECT_FALSE(controller->isDragging());
  EXPECT_FALSE(platform->pointer->isDown());
  EXPECT_EQ(platform->pointer->repeats(), 0);
  EXPECT_GT(platform->pointer->downs(), 0);
  EXPECT_EQ(charges, 0);
}

TEST(Concurrency, ControllerThatGoesWhileItsTimersFirePostsNothingMore) {
  std::vector<std::shared_ptr<StressPlatform>> platforms;
  std::mt19937 random(5);
  for (int round = 0; round < 500; ++round) {
    const auto platform = platforms.emplace_back(std::make_shared<StressPlatform>());
    auto controller = SiriRemoteGestureController::create(
        platform, {.selectDownSafetyTimeout = std::chrono::microseconds(random() % 100),
                   .dragLockLongPressDuration = std::chrono::microseconds(random() % 100)});
    const std::weak_ptr<SiriRemoteGestureController> weak = controller;
    std::thread presser([held = std::move(controller), seed = random()]() mutable {
      std::mt19937 own(seed);
      for (int press = 0; press < 8; ++press) buttonAtRandom(*held, own);
      held.reset();
    });
    // A timer that fired may hold it for a moment longer.
    while (!weak.expired()) std::this_thread::yield();
    platform->pointer->close();
    presser.join();
  }
  // By now every timer is due.
  std::promise<void> passed;
  const auto queue = platform::hostPlatform()->makeSerialQueue("waiting");
  queue->asyncAfter(2ms, [&] { passed.set_value(); });
  passed.get_future().wait();
  for (const auto& platform : platforms) EXPECT_EQ(platform->pointer->lateCount(), 0);
}

TEST(Concurrency, FramesMayComeWhileTheServiceStartsStopsAndGoes) {
  const auto platform = std::make_shared<StressPlatform>();
  std::atomic<bool> isOver{false};
  std::thread frames([&] {
    float x = 0;
    while (!isOver) {
      const auto record = frameAt(x += 0.001F);
      platform->library->deliver(record.data(), 1);
    }
  });
  std::atomic<bool> mayCall{false};
  std::atomic<int> calls{0};
  for (int round = 0; round < 300; ++round) {
    const auto controller = SiriRemoteGestureController::create(platform);
    auto service = SiriRemoteMultitouchService::create(platform);
    // Goes with the callback, at the very end of the service.
    auto token = std::make_shared<int>();
    const std::weak_ptr<int> end = token;
    service->onTouchesChanged =
        [&, controller, token = std::move(token)](std::span<const SiriRemoteTouchPoint> points) {
          EXPECT_TRUE(mayCall);
          ++calls;
          controller->handleTouches(points);
        };
    mayCall = true;
    service->start();
    EXPECT_TRUE(service->isListening());
    const int before = calls;
    while (calls < before + 2) std::this_thread::yield();
    if (round % 2 == 0) {
      service->stop();
      mayCall = false;
    }
    // Otherwise it stops as it goes, on whichever thread lets go last.
    service.reset();
    while (!end.expired()) std::this_thread::yield();
    mayCall = false;
  }
  isOver = true;
  frames.join();
}

}  // namespace
}  // namespace tessline::test
