/// @file
/// A replay of touches, and its picture.
#pragma once

#include "cli/replay/Observation.h"
#include "tessline/model/Geometry.h"
#include "tessline/platform/SerialQueue.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::cli {

/// Collects what fingers did and what became of it, to be drawn.
class TouchPlot {
 public:
  /// The touch points of one frame and the gesture that they belong to.
  struct Frame {
    double time = 0;
    std::string_view mode;
    std::vector<SiriRemoteTouchPoint> points;
  };
  enum class MouseKind : std::uint8_t { down, up, move, drag };
  struct Mouse {
    double time = 0;
    MouseKind kind{};
    Point position;
  };
  struct ScrollAmount {
    double time = 0;
    std::string_view mode;
    double vertical = 0;
    double horizontal = 0;
  };
  struct Drag {
    double time = 0;
    DragChanged state;
  };
  struct Charge {
    double time = 0;
    DragLockChargePhase phase{};
  };
  struct WindowPath {
    Rect first;
    Rect last;
  };

  /// Takes the next observation.
  void observe(platform::QueueTime time, const Observation& observation);

  /// Whether there was nothing that could be drawn.
  bool isEmpty() const { return frames_.empty() && mouse_.empty(); }

  /// Times are seconds; each list is in their order.
  const std::vector<Frame>& frames() const { return frames_; }
  const std::vector<Mouse>& mouse() const { return mouse_; }
  const std::vector<ScrollAmount>& scrolls() const { return scrolls_; }
  const std::vector<Drag>& drags() const { return drags_; }
  const std::vector<Charge>& charges() const { return charges_; }
  /// All screens that there were, in global display coordinates.
  const std::vector<Rect>& screens() const { return screens_; }
  /// Where windows stood at first and at last, by name.
  const std::map<std::string, WindowPath>& windows() const { return windows_; }
  /// When the last observation was.
  double end() const { return end_; }

 private:
  void take(double time, const platform::simulated::PlatformCall& call);
  void take(const ScreensChanged& screens);

  std::vector<Frame> frames_;
  std::vector<Mouse> mouse_;
  std::vector<ScrollAmount> scrolls_;
  std::vector<Drag> drags_;
  std::vector<Charge> charges_;
  std::vector<Rect> screens_;
  std::map<std::string, WindowPath> windows_;
  std::string_view mode_ = "none";
  double end_ = 0;
};

/// The picture, as SVG: the clickpad with the paths of the fingers in the colour of the gesture,
/// the screens with the path of the pointer, its clicks and the windows, and below them gestures,
/// scrolling and the button over time.
std::string drawTouchPlot(const TouchPlot& plot, std::string_view title);

}  // namespace tessline::cli
