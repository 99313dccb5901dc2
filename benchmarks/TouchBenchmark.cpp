// What a touch frame costs from the library's callback to the posted event, on a host that does
// nothing of its own. "p50_ns" and "p99_ns" are of single frames, reading the clock included;
// "allocations" is per frame. BM_FormatLogLine is the peer: every moved contact owes the log a
// line.
#include "benchmarks/AllocationCounter.h"
#include "tessline/platform/Platform.h"
#include "tessline/touch/ContactRecord.h"
#include "tessline/touch/SiriRemoteGestureController.h"
#include "tessline/touch/SiriRemoteMultitouchService.h"
#include "tests/support/PlatformDecorator.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace tessline;
using benchmarks::allocationCount;
using Frame = std::vector<std::byte>;

class CountingPointer : public platform::PointerEvents {
 public:
  std::optional<Point> currentLocation() override { return Point{700, 400}; }
  bool postMouseEvent(platform::MouseEventType, Point, std::optional<std::int64_t>) override {
    ++posted;
    return true;
  }
  bool postScrollEvent(std::int32_t, std::int32_t) override {
    ++posted;
    return true;
  }

  std::size_t posted = 0;
};

class TwoScreens : public platform::Screens {
 public:
  std::shared_ptr<const platform::ScreenFrames> frames() override { return frames_; }
  std::optional<Rect> mainFrame() override { return frames_->front(); }
  Point mouseLocation() override { return {}; }

 private:
  std::shared_ptr<const platform::ScreenFrames> frames_ =
      std::make_shared<const platform::ScreenFrames>(
          platform::ScreenFrames{{{0, 0}, {1440, 900}}, {{1440, 0}, {1920, 1080}}});
};

class NoWindows : public platform::Accessibility {
 public:
  bool isProcessTrusted() override { return true; }
  std::shared_ptr<platform::AccessibilityElement> copyElementAtPosition(float, float) override {
    return nullptr;
  }
};

class CountingLog : public platform::LogSink {
 public:
  void log(std::string_view line) override { bytes += line.size(); }

  std::size_t bytes = 0;
};

class Surface : public platform::MultitouchDevice {};

class OneSurface : public platform::MultitouchLibrary {
 public:
  explicit OneSurface(platform::ContactFrameCallback& callback) : callback_(callback) {}
  platform::MultitouchFunction symbol(std::string_view name) override {
    if (name == "MTDeviceCreateList") {
      return platform::DeviceListFunction(
          [] { return platform::MultitouchDeviceList{std::make_shared<Surface>()}; });
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
    if (name == "MTRegisterContactFrameCallbackWithRefcon") {
      return platform::RegisterCallbackFunction(
          [this](platform::MultitouchDevice&, platform::ContactFrameCallback callback) {
            callback_ = std::move(callback);
          });
    }
    return {};
  }

 private:
  platform::ContactFrameCallback& callback_;
};

// A host that costs as little as it can, so that what is measured is ours.
class QuietPlatform : public test::PlatformDecorator {
 public:
  QuietPlatform() : PlatformDecorator(platform::hostPlatform()) {}

  std::shared_ptr<platform::LogSink> logSink() override { return std::make_shared<CountingLog>(); }
  std::shared_ptr<platform::MultitouchLibrary> openMultitouchLibrary(std::string_view) override {
    return std::make_shared<OneSurface>(callback);
  }
  std::shared_ptr<platform::Accessibility> accessibility() override {
    return std::make_shared<NoWindows>();
  }
  std::shared_ptr<platform::Screens> screens() override { return std::make_shared<TwoScreens>(); }
  std::shared_ptr<platform::PointerEvents> pointerEvents() override { return pointer; }

  platform::ContactFrameCallback callback;
  const std::shared_ptr<CountingPointer> pointer = std::make_shared<CountingPointer>();
};

void appendContact(std::int32_t identifier, double x, double y, Frame& frame) {
  using namespace contactRecordLayout;
  const std::size_t start = frame.size();
  frame.resize(start + stride);
  const auto write = [&](std::size_t offset, const auto& field) {
    std::memcpy(frame.data() + start + offset, &field, sizeof field);
  };
  write(stateOffset, contactMoved);
  write(identifierOffset, identifier);
  write(xOffset, static_cast<float>(x));
  write(yOffset, static_cast<float>(y));
  write(velocityXOffset, 1.25F);
  write(velocityYOffset, -0.5F);
}

// A finger that goes to and fro across the middle.
std::vector<Frame> pointing() {
  std::vector<Frame> frames(64);
  for (std::size_t index = 0; index < frames.size(); ++index) {
    const double phase = static_cast<double>(index) / 64 * 6.283;
    appendContact(1, 0.5 + 0.2 * std::sin(phase), 0.5 + 0.1 * std::cos(phase), frames[index]);
  }
  return frames;
}

// A finger that goes round the rim.
std::vector<Frame> circling() {
  std::vector<Frame> frames(64);
  for (std::size_t index = 0; index < frames.size(); ++index) {
    const double angle = static_cast<double>(index) / 64 * 6.283185307;
    appendContact(1, 0.5 + 0.45 * std::cos(angle), 0.5 + 0.45 * std::sin(angle), frames[index]);
  }
  return frames;
}

// Two fingers side by side.
std::vector<Frame> scrolling() {
  std::vector<Frame> frames = pointing();
  for (Frame& frame : frames) appendContact(2, 0.7, 0.6, frame);
  return frames;
}

// What an application has: the service's touches go to the controller.
class Clickpad {
 public:
  Clickpad() {
    service_->onTouchesChanged = [this](std::span<const SiriRemoteTouchPoint> touches) {
      controller_->handleTouches(touches);
    };
    service_->start();
  }

  void deliver(const Frame& frame) {
    platform_->callback(frame.data(),
                        static_cast<std::int64_t>(frame.size() / contactRecordLayout::stride));
  }
  std::size_t posted() const { return platform_->pointer->posted; }

 private:
  std::shared_ptr<QuietPlatform> platform_ = std::make_shared<QuietPlatform>();
  std::shared_ptr<SiriRemoteGestureController> controller_ =
      SiriRemoteGestureController::create(platform_);
  std::shared_ptr<SiriRemoteMultitouchService> service_ =
      SiriRemoteMultitouchService::create(platform_);
};

void countAllocations(benchmark::State& state, std::uint64_t before) {
  state.counters["allocations"] = benchmark::Counter(
      static_cast<double>(allocationCount() - before), benchmark::Counter::kAvgIterations);
}

void deliverAll(benchmark::State& state, const std::vector<Frame>& frames) {
  Clickpad clickpad;
  for (const Frame& frame : frames) clickpad.deliver(frame);
  const std::uint64_t before = allocationCount();
  const std::size_t postedBefore = clickpad.posted();
  std::size_t next = 0;
  for (auto _ : state) {
    clickpad.deliver(frames[next]);
    next = (next + 1) % frames.size();
  }
  countAllocations(state, before);
  if (clickpad.posted() - postedBefore != static_cast<std::size_t>(state.iterations())) {
    state.SkipWithError("a frame was not posted");
  }
}

void BM_FrameToMove(benchmark::State& state) {
  deliverAll(state, pointing());
}
BENCHMARK(BM_FrameToMove);

void BM_FrameToCircularScroll(benchmark::State& state) {
  deliverAll(state, circling());
}
BENCHMARK(BM_FrameToCircularScroll);

void BM_FrameToTwoFingerScroll(benchmark::State& state) {
  deliverAll(state, scrolling());
}
BENCHMARK(BM_FrameToTwoFingerScroll);

// The line that a moved contact owes the log, by the C library.
void BM_FormatLogLine(benchmark::State& state) {
  std::array<char, 256> text;
  double x = 0.25;
  for (auto _ : state) {
    x = x < 1 ? x + 0.001 : 0.25;
    std::snprintf(text.data(), text.size(),
                  "Morvane Clickpad Moved: ID=%d, X=%.4f, Y=%.4f, dx=%.4f, dy=%.4f, "
                  "velocity=(%.2f, %.2f)",
                  1, x, 0.5, 0.001, 0.0, 1.25, -0.5);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_FormatLogLine);

// Fingers alone, without log, lock and event.
void BM_RecognizeFrame(benchmark::State& state) {
  GestureRecognizer recognizer;
  std::array<SiriRemoteTouchPoint, 64> touches;
  for (std::size_t index = 0; index < touches.size(); ++index) {
    const float angle = static_cast<float>(index) / 64 * 6.283185F;
    touches[index] = {1, 0.5F + 0.45F * std::cos(angle), 0.5F + 0.45F * std::sin(angle), 4};
  }
  std::size_t next = 0;
  const std::uint64_t before = allocationCount();
  for (auto _ : state) {
    benchmark::DoNotOptimize(recognizer.handleTouches(std::span(touches).subspan(next, 1)));
    next = (next + 1) % touches.size();
  }
  countAllocations(state, before);
}
BENCHMARK(BM_RecognizeFrame);

// A million frames, each timed.
void BM_MillionFrames(benchmark::State& state) {
  using Clock = std::chrono::steady_clock;
  constexpr std::size_t count = 1'000'000;
  const std::vector<Frame> frames = pointing();
  std::vector<std::int64_t> times(count);
  for (auto _ : state) {
    Clickpad clickpad;
    for (std::size_t index = 0; index < count; ++index) {
      const Clock::time_point start = Clock::now();
      clickpad.deliver(frames[index % frames.size()]);
      times[index] = (Clock::now() - start).count();
    }
  }
  const auto percentile = [&](std::size_t percent) {
    const auto at = times.begin() + static_cast<std::ptrdiff_t>(count * percent / 100);
    std::ranges::nth_element(times, at);
    return static_cast<double>(*at);
  };
  state.counters["p50_ns"] = percentile(50);
  state.counters["p99_ns"] = percentile(99);
}
BENCHMARK(BM_MillionFrames)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
