#include "cli/replay/plot/TouchPlotParts.h"

#include <cmath>
#include <cstdint>
#include <utility>

namespace tessline::cli::touchPlot {

namespace {

using Frame = TouchPlot::Frame;
using ScrollAmount = TouchPlot::ScrollAmount;

constexpr double labelWidth = 120;
constexpr double laneLeft = margin + labelWidth;
constexpr double laneRight = pictureWidth - margin;
constexpr double stripHeight = 18;
constexpr double scrollHeight = 66;
constexpr double laneGap = 14;

class LanesPainter {
 public:
  LanesPainter(const TouchPlot& plot, double top, Svg& svg)
      : plot_(plot), top_(top), svg_(svg), start_(startOf(plot)) {}

  void draw() {
    drawModeLane();
    drawScrollLane("vertical scroll", scrollTop(), &ScrollAmount::vertical, "up", "down");
    drawScrollLane("horizontal scroll", scrollTop() + scrollHeight + laneGap,
                   &ScrollAmount::horizontal, "left", "right");
    drawButtonLane();
    drawTimeAxis();
  }

  double bottom() const { return axisTop() + 44; }

 private:
  double modeTop() const { return top_; }
  double scrollTop() const { return modeTop() + stripHeight + laneGap; }
  // The names of charge phases stand above the button.
  double buttonTop() const { return scrollTop() + 2 * (scrollHeight + laneGap) + 8; }
  double axisTop() const { return buttonTop() + stripHeight + laneGap; }

  double laneX(double time) const {
    // Some room behind the last event, so that it is seen.
    const double length = std::max((plot_.end() - start_) * 1.04, 1e-3);
    return laneLeft + (laneRight - laneLeft) * (time - start_) / length;
  }

  void drawLabel(double top, double laneHeight, std::string_view label) {
    svg_.text({margin, top + laneHeight / 2 + 4}, label, R"(font-size="12" fill="#202124")");
  }

  void drawModeLane() {
    drawLabel(modeTop(), stripHeight, "gesture");
    svg_.rectangle({{laneLeft, modeTop()}, {laneRight - laneLeft, stripHeight}}, panelStyle);
    for (std::size_t index = 0; index < plot_.frames().size();) {
      const Frame& first = plot_.frames()[index];
      std::size_t next = index + 1;
      while (next < plot_.frames().size() && plot_.frames()[next].mode == first.mode) ++next;
      const double end = next < plot_.frames().size() ? plot_.frames()[next].time : plot_.end();
      if (first.mode != "none") {
        svg_.rectangle({{laneX(first.time), modeTop()},
                        {std::max(laneX(end) - laneX(first.time), 1.0), stripHeight}},
                       fill(modeColour(first.mode)));
      }
      index = next;
    }
  }

  void drawScrollLane(std::string_view label, double top, double ScrollAmount::*amount,
                      std::string_view positive, std::string_view negative) {
    drawLabel(top, 24, label);
    double largest = 0;
    double sumUp = 0;
    double sumDown = 0;
    for (const ScrollAmount& scroll : plot_.scrolls()) {
      largest = std::max(largest, std::abs(scroll.*amount));
      (scroll.*amount > 0 ? sumUp : sumDown) += std::abs(scroll.*amount);
    }
    double y = top + 32;
    for (const auto& [what, pixels] :
         {std::pair(positive, sumUp), {negative, sumDown}, {"tallest", largest}}) {
      svg_.text({margin, y}, fmt::format("{} {:.0f} px", what, pixels), small);
      y += 15;
    }
    svg_.rectangle({{laneLeft, top}, {laneRight - laneLeft, scrollHeight}}, panelStyle);
    const double middle = top + scrollHeight / 2;
    svg_.line({laneLeft, middle}, {laneRight, middle}, R"(stroke="#DADCE0")");
    if (largest == 0) return;
    for (const ScrollAmount& scroll : plot_.scrolls()) {
      const double end = middle - scroll.*amount / largest * (scrollHeight / 2 - 6);
      if (scroll.*amount == 0) continue;
      svg_.line({laneX(scroll.time), middle}, {laneX(scroll.time), end},
                stroke(modeColour(scroll.mode), 2));
    }
  }

  void drawButtonLane() {
    const double top = buttonTop();
    drawLabel(top, stripHeight, "left button");
    svg_.rectangle({{laneLeft, top}, {laneRight - laneLeft, stripHeight}}, panelStyle);
    for (std::size_t index = 0; index < plot_.drags().size(); ++index) {
      const TouchPlot::Drag& drag = plot_.drags()[index];
      if (!drag.state.isDragging) continue;
      const bool isLast = index + 1 == plot_.drags().size();
      const double left = laneX(drag.time);
      const double right = laneX(isLast ? plot_.end() : plot_.drags()[index + 1].time);
      const Rect held = {{left, top}, {std::max(right - left, 1.0), stripHeight}};
      svg_.rectangle(held, fmt::format(R"(fill="{}" fill-opacity="{}")", dragColour,
                                       drag.state.isDragLocked ? 0.45 : 1));
      constexpr double roomForText = 44;
      if (held.width() > roomForText) {
        svg_.text({held.minX() + 6, top + 13}, drag.state.isDragLocked ? "locked" : "held",
                  drag.state.isDragLocked ? R"(font-size="11" fill="#202124")"
                                          : R"(font-size="11" fill="#FFFFFF")");
      }
    }
    if (!plot_.charges().empty()) svg_.text({laneLeft, top - 7}, "charge:", small);
    double free = laneLeft + 46;
    for (const TouchPlot::Charge& charge : plot_.charges()) {
      const double x = laneX(charge.time);
      svg_.line({x, top - 4}, {x, top + stripHeight + 4}, R"(stroke="#202124" stroke-width="1.5")");
      constexpr double nameWidth = 56;
      const double textLeft = std::clamp(x, free, laneRight);
      // A name that finds no room near its mark is left out.
      if (textLeft - x > nameWidth || textLeft + nameWidth > laneRight + margin) continue;
      svg_.text({textLeft, top - 7}, name(charge.phase), R"(font-size="10" fill="#202124")");
      free = textLeft + nameWidth;
    }
  }

  void drawTimeAxis() {
    constexpr double mostTicks = 12;
    const double length = std::max(plot_.end() - start_, 1e-3);
    double step = std::pow(10, std::floor(std::log10(length / mostTicks)));
    for (const double factor : {2.0, 2.5, 2.0}) {
      if (length / step > mostTicks) step *= factor;
    }
    svg_.line({laneLeft, axisTop()}, {laneRight, axisTop()}, R"(stroke="#80868B")");
    const auto first = static_cast<std::int64_t>(std::ceil(start_ / step));
    const auto last = static_cast<std::int64_t>(std::floor(plot_.end() / step + 0.001));
    for (std::int64_t tick = first; tick <= last; ++tick) {
      const double time = static_cast<double>(tick) * step;
      const double x = laneX(time);
      svg_.line({x, axisTop()}, {x, axisTop() + 5}, R"(stroke="#80868B")");
      svg_.text({x, axisTop() + 18}, fmt::format("{:.4g} s", time),
                R"(font-size="11" fill="#5F6368" text-anchor="middle")");
    }
  }

  const TouchPlot& plot_;
  const double top_;
  Svg& svg_;
  const double start_;
};

}  // namespace

void drawLanes(const TouchPlot& plot, double top, Svg& svg) {
  LanesPainter(plot, top, svg).draw();
}

double lanesHeight() {
  const TouchPlot empty;
  Svg nowhere(0, 0);
  return LanesPainter(empty, 0, nowhere).bottom();
}

}  // namespace tessline::cli::touchPlot
