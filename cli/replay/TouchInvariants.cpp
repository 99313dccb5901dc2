#include "cli/replay/Invariants.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

using platform::QueueTime;
using platform::simulated::PlatformCall;

// The call if it asks for a mouse event.
const PlatformCall* mouseEvent(const Observation& observation) {
  const auto* const call = std::get_if<PlatformCall>(&observation);
  return call != nullptr && call->operation == "CGEventCreateMouseEvent" ? call : nullptr;
}

class ButtonGoesUpOnce : public Invariant {
 public:
  void observe(QueueTime time, const Observation& observation,
               std::vector<Violation>& violations) override {
    checkTimeout(time, violations);
    if (const auto* const created = std::get_if<TouchCreated>(&observation)) {
      timeout_ = created->settings.selectDownSafetyTimeout;
    }
    if (std::holds_alternative<TouchReleased>(observation)) *this = {};
    if (const auto* const drag = std::get_if<DragChanged>(&observation)) {
      isLocked_ = drag->isDragLocked;
    }
    if (std::holds_alternative<ButtonsReset>(observation) && downSince_) {
      violations.push_back({time, "the left button is down after a reset"});
    }
    if (const PlatformCall* const call = mouseEvent(observation)) {
      follow(time, call->argument<std::string>("type"), violations);
    }
  }

  void finish(QueueTime time, std::vector<Violation>& violations) override {
    checkTimeout(time, violations);
  }

 private:
  void follow(QueueTime time, std::string_view type, std::vector<Violation>& violations) {
    if (type == "kCGEventLeftMouseDown") {
      if (downSince_) violations.push_back({time, "the left button went down twice"});
      downSince_ = time;
    } else if (type == "kCGEventLeftMouseUp") {
      if (!downSince_) violations.push_back({time, "the left button went up without being down"});
      downSince_.reset();
    } else if ((type == "kCGEventLeftMouseDragged") != downSince_.has_value()) {
      violations.push_back(
          {time, fmt::format("{} while the left button was {}", type, downSince_ ? "down" : "up")});
    }
  }

  void checkTimeout(QueueTime time, std::vector<Violation>& violations) {
    if (!downSince_ || isLocked_ || time - *downSince_ <= timeout_) return;
    violations.push_back({time, fmt::format("the left button is down since {:.3f} s, unlocked",
                                            std::chrono::duration<double>(*downSince_).count())});
    downSince_.reset();
  }

  std::optional<QueueTime> downSince_;
  bool isLocked_ = false;
  QueueTime timeout_{};
};

class PointerStaysOnScreens : public Invariant {
 public:
  void observe(QueueTime time, const Observation& observation,
               std::vector<Violation>& violations) override {
    if (const auto* const screens = std::get_if<ScreensChanged>(&observation)) take(*screens);
    const PlatformCall* const call = mouseEvent(observation);
    if (call == nullptr || !hasArea_) return;
    const auto x = call->argument<double>("x");
    const auto y = call->argument<double>("y");
    if (x >= left_ && x <= right_ - 1 && y >= top_ && y <= bottom_ - 1) return;
    violations.push_back({time, fmt::format("the pointer is at ({}, {}), off the screens", x, y)});
  }

 private:
  // Y of the screens goes up; turned, the first begins at 0.
  void take(const ScreensChanged& screens) {
    hasArea_ = false;
    for (const Rect& frame : screens.frames) {
      const double height = screens.frames.front().maxY();
      const bool isFirst = &frame == &screens.frames.front();
      left_ = isFirst ? frame.minX() : std::min(left_, frame.minX());
      right_ = isFirst ? frame.maxX() : std::max(right_, frame.maxX());
      top_ = isFirst ? 0 : std::min(top_, height - frame.maxY());
      bottom_ = isFirst ? frame.height() : std::max(bottom_, height - frame.minY());
    }
    // A screen of less than a point has no place that is inside and a point from its edges.
    hasArea_ = !screens.frames.empty() && right_ - left_ >= 1 && bottom_ - top_ >= 1;
  }

  bool hasArea_ = false;
  double left_ = 0;
  double right_ = 0;
  double top_ = 0;
  double bottom_ = 0;
};

class ChargesEndOnce : public Invariant {
 public:
  void observe(QueueTime time, const Observation& observation,
               std::vector<Violation>& violations) override {
    if (std::holds_alternative<TouchReleased>(observation)) isCharging_ = false;
    const auto* const charge = std::get_if<ChargePhase>(&observation);
    if (charge == nullptr) return;
    const bool begins = charge->phase == DragLockChargePhase::began;
    if (begins == isCharging_) {
      violations.push_back({time, fmt::format("a charge {} while {} was in progress",
                                              name(charge->phase), begins ? "another" : "none")});
    }
    isCharging_ = begins;
  }

 private:
  bool isCharging_ = false;
};

}  // namespace

std::unique_ptr<Invariant> makeButtonGoesUpOnce() {
  return std::make_unique<ButtonGoesUpOnce>();
}
std::unique_ptr<Invariant> makePointerStaysOnScreens() {
  return std::make_unique<PointerStaysOnScreens>();
}
std::unique_ptr<Invariant> makeChargesEndOnce() {
  return std::make_unique<ChargesEndOnce>();
}

}  // namespace tessline::cli
