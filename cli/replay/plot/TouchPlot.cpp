#include "cli/replay/plot/TouchPlot.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>

namespace tessline::cli {

void TouchPlot::observe(platform::QueueTime when, const Observation& observation) {
  const double time = std::chrono::duration<double>(when).count();
  end_ = time;
  if (const auto* const touches = std::get_if<TouchPoints>(&observation)) {
    frames_.push_back({time, mode_, touches->points});
  } else if (const auto* const change = std::get_if<ModeChanged>(&observation)) {
    mode_ = change->mode;
    // The frame that changed the mode counts as part of the new one.
    if (!frames_.empty() && frames_.back().time == time) frames_.back().mode = mode_;
  } else if (const auto* const drag = std::get_if<DragChanged>(&observation)) {
    drags_.push_back({time, *drag});
  } else if (const auto* const charge = std::get_if<ChargePhase>(&observation)) {
    charges_.push_back({time, charge->phase});
  } else if (const auto* const screens = std::get_if<ScreensChanged>(&observation)) {
    take(*screens);
  } else if (const auto* const window = std::get_if<WindowPlaced>(&observation)) {
    windows_.try_emplace(window->window, WindowPath{window->frame, window->frame})
        .first->second.last = window->frame;
  } else if (const auto* const call =
                 std::get_if<platform::simulated::PlatformCall>(&observation)) {
    take(time, *call);
  }
}

void TouchPlot::take(double time, const platform::simulated::PlatformCall& call) {
  if (!call.argument<bool>("posted")) return;
  if (call.operation == "CGEventCreateScrollWheelEvent2") {
    scrolls_.push_back({time, mode_, static_cast<double>(call.argument<std::int64_t>("wheel1")),
                        static_cast<double>(call.argument<std::int64_t>("wheel2"))});
    return;
  }
  const auto type = call.argument<std::string>("type");
  const MouseKind kind = type == "kCGEventLeftMouseDown"      ? MouseKind::down
                         : type == "kCGEventLeftMouseUp"      ? MouseKind::up
                         : type == "kCGEventLeftMouseDragged" ? MouseKind::drag
                                                              : MouseKind::move;
  mouse_.push_back({time, kind, {call.argument<double>("x"), call.argument<double>("y")}});
}

void TouchPlot::take(const ScreensChanged& screens) {
  for (const Rect& frame : screens.frames) {
    const Rect turned = {{frame.minX(), screens.frames.front().maxY() - frame.maxY()},
                         {frame.width(), frame.height()}};
    if (std::ranges::find(screens_, turned) == screens_.end()) screens_.push_back(turned);
  }
}

}  // namespace tessline::cli
