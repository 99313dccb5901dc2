#include "cli/replay/plot/TouchPlotParts.h"
#include "tessline/touch/GestureConstants.h"

#include <cmath>
#include <cstdint>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

namespace tessline::cli::touchPlot {

namespace {

using Frame = TouchPlot::Frame;

constexpr Rect padPanel = {{margin, panelTop}, {panelHeight, panelHeight}};
constexpr std::array<std::string_view, 5> modeLabels = {"undecided", "no gesture", "pointer",
                                                        "circular scroll", "two fingers"};
// Dots for single frames help while they can be told apart.
constexpr std::size_t mostDots = 1500;

class ClickpadPainter {
 public:
  ClickpadPainter(const TouchPlot& plot, Svg& svg) : plot_(plot), svg_(svg) {}

  void draw() {
    using namespace gestureConstants;
    const auto threshold = [this](float radius, const std::string& label) {
      svg_.circle(onPad(centre, centre), radius * panelHeight,
                  R"(fill="none" stroke="#9AA0A6" stroke-dasharray="4 4")");
      svg_.text(onPad(centre, centre - radius), label,
                R"(font-size="10" fill="#5F6368" text-anchor="middle" dy="-4")");
    };
    svg_.text({padPanel.minX(), panelTop - 10}, "Clickpad", heading);
    svg_.rectangle(padPanel, panelStyle);
    svg_.circle(onPad(centre, centre), panelHeight / 2, R"(fill="#FFFFFF" stroke="#BDC1C6")");
    threshold(rimRadius, fmt::format("rim {:.2f}", rimRadius));
    threshold(scrollRadius, fmt::format("centre {:.2f}", scrollRadius));
    svg_.circle(onPad(centre, centre), 2, fill("#9AA0A6"));
    svg_.beginClip(padPanel);
    drawFingers();
    svg_.endClip();
    drawModeLegend();
  }

 private:
  static Point onPad(float x, float y) {
    return {padPanel.minX() + x * panelHeight, padPanel.maxY() - y * panelHeight};
  }

  // Of each finger, the stretch of its path in one gesture.
  struct Stretch {
    std::string_view mode;
    std::vector<Point> points;
  };

  void drawFingers() {
    std::map<std::int32_t, Stretch> down;
    std::vector<Stretch> finished;
    std::vector<std::pair<Point, std::string_view>> landings;
    const auto lift = [&](Stretch& stretch) {
      drawArrowHead(stretch);
      finished.push_back(std::move(stretch));
    };
    std::size_t dots = 0;
    for (const Frame& frame : plot_.frames()) {
      for (auto entry = down.begin(); entry != down.end();) {
        const bool isDown =
            std::ranges::find(frame.points, entry->first, &SiriRemoteTouchPoint::identifier) !=
            frame.points.end();
        if (!isDown) lift(entry->second);
        entry = isDown ? std::next(entry) : down.erase(entry);
      }
      const std::string_view colour = modeColour(frame.mode);
      for (const SiriRemoteTouchPoint& touch : frame.points) {
        const Point point = onPad(touch.x, touch.y);
        const auto [entry, isNew] = down.try_emplace(touch.identifier, Stretch{frame.mode, {}});
        Stretch& stretch = entry->second;
        if (isNew) {
          landings.emplace_back(point, colour);
        } else if (stretch.mode != frame.mode) {
          const Point joint = stretch.points.back();
          finished.push_back(std::exchange(stretch, {frame.mode, {joint}}));
        }
        stretch.points.push_back(point);
        if (++dots <= mostDots) svg_.circle(point, 1.8, fill(colour));
      }
    }
    for (auto& [identifier, stretch] : down) lift(stretch);
    // What was undecided is short and would be covered by what came of it.
    std::stable_partition(finished.begin(), finished.end(),
                          [](const Stretch& each) { return each.mode != "undecided"; });
    for (const Stretch& stretch : finished) {
      svg_.polyline(stretch.points, stroke(modeColour(stretch.mode), 2));
    }
    for (const auto& [point, colour] : landings) {
      svg_.circle(point, 6, fmt::format(R"(fill="none" {})", stroke(colour, 2)));
    }
  }

  // Where a finger left, pointing the way it went.
  void drawArrowHead(const Stretch& stretch) {
    const Point tip = stretch.points.back();
    const auto before = std::find_if(
        stretch.points.rbegin(), stretch.points.rend(),
        [&](const Point& point) { return std::hypot(tip.x - point.x, tip.y - point.y) > 2; });
    if (before == stretch.points.rend()) return;
    constexpr double length = 11;
    constexpr double halfWidth = 5;
    const double distance = std::hypot(tip.x - before->x, tip.y - before->y);
    const Point along = {(tip.x - before->x) / distance, (tip.y - before->y) / distance};
    const Point base = {tip.x - along.x * length, tip.y - along.y * length};
    const std::array<Point, 3> corners = {
        tip, Point{base.x - along.y * halfWidth, base.y + along.x * halfWidth},
        Point{base.x + along.y * halfWidth, base.y - along.x * halfWidth}};
    svg_.polygon(corners, fill(modeColour(stretch.mode)));
  }

  void drawModeLegend() {
    double x = padPanel.minX();
    for (std::size_t mode = 0; mode < modeColours.size(); ++mode) {
      if (gestureModeNames[mode] == "none") continue;
      svg_.rectangle({{x, padPanel.maxY() + 13}, {14, 4}}, fill(modeColours[mode]));
      svg_.text({x + 18, padPanel.maxY() + 19}, modeLabels[mode], small);
      x += 36 + 5.8 * static_cast<double>(modeLabels[mode].size());
    }
    svg_.circle({padPanel.minX() + 7, padPanel.maxY() + 34}, 5,
                fmt::format(R"(fill="none" {})", stroke("#5F6368", 2)));
    svg_.text({padPanel.minX() + 18, padPanel.maxY() + 38}, "a finger landed", small);
    svg_.polygon(std::array{Point{padPanel.minX() + 131, padPanel.maxY() + 34},
                            Point{padPanel.minX() + 120, padPanel.maxY() + 29},
                            Point{padPanel.minX() + 120, padPanel.maxY() + 39}},
                 fill("#5F6368"));
    svg_.text({padPanel.minX() + 137, padPanel.maxY() + 38}, "it left", small);
  }

  const TouchPlot& plot_;
  Svg& svg_;
};

}  // namespace

void drawClickpad(const TouchPlot& plot, Svg& svg) {
  ClickpadPainter(plot, svg).draw();
}

}  // namespace tessline::cli::touchPlot
