#include "cli/replay/TouchPlot.h"

#include "cli/replay/Svg.h"
#include "tessline/touch/GestureConstants.h"
#include "tessline/touch/GestureMode.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <optional>
#include <utility>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

// One for each mode, in their order; told apart by every kind of colour vision.
constexpr std::array<std::string_view, 5> modeColours = {"#E69F00", "#9AA0A6", "#0072B2", "#009E73",
                                                         "#CC79A7"};
constexpr std::array<std::string_view, 5> modeLabels = {"undecided", "no gesture", "pointer",
                                                        "circular scroll", "two fingers"};
constexpr std::string_view dragColour = "#D55E00";

constexpr double pictureWidth = 1200;
constexpr double margin = 28;
constexpr double panelTop = 100;
constexpr double panelHeight = 380;
constexpr Rect padPanel = {{margin, panelTop}, {panelHeight, panelHeight}};
constexpr Rect screenPanel = {{padPanel.origin.x + panelHeight + margin, panelTop},
                              {pictureWidth - panelHeight - 3 * margin, panelHeight}};
constexpr double labelWidth = 120;
constexpr double laneLeft = margin + labelWidth;
constexpr double laneRight = pictureWidth - margin;
// Dots for single frames help while they can be told apart.
constexpr std::size_t mostDots = 1500;

constexpr std::string_view heading = R"(font-size="13" font-weight="600" fill="#202124")";
constexpr std::string_view small = R"(font-size="11" fill="#5F6368")";
constexpr std::string_view panelStyle = R"(fill="#F8F9FA" stroke="#DADCE0")";

std::size_t modeIndex(std::string_view mode) {
  return static_cast<std::size_t>(std::ranges::find(gestureModeNames, mode) -
                                  gestureModeNames.begin());
}

std::string stroke(std::string_view colour, double width) {
  return fmt::format(R"(stroke="{}" stroke-width="{}")", colour, width);
}

std::string fill(std::string_view colour) {
  return fmt::format(R"(fill="{}")", colour);
}

}  // namespace

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

// Draws one plot, panel by panel.
class TouchPlot::Painter {
 public:
  explicit Painter(const TouchPlot& plot) : plot_(plot), svg_(pictureWidth, height()) {}

  std::string draw(std::string_view title) {
    svg_.rectangle({{0, 0}, {pictureWidth, height()}}, fill("#FFFFFF"));
    svg_.text({margin, 34}, title, R"(font-size="18" font-weight="600" fill="#202124")");
    svg_.text({margin, 54}, summary(), small);
    drawClickpad();
    drawScreens();
    drawModeLane();
    drawScrollLane("vertical scroll", scrollTop(), &ScrollAmount::vertical, "up", "down");
    drawScrollLane("horizontal scroll", scrollTop() + scrollHeight + laneGap,
                   &ScrollAmount::horizontal, "left", "right");
    drawButtonLane();
    drawTimeAxis();
    return svg_.finish();
  }

 private:
  static constexpr double modeTop = panelTop + panelHeight + 64;
  static constexpr double stripHeight = 18;
  static constexpr double scrollHeight = 66;
  static constexpr double laneGap = 14;

  static constexpr double scrollTop() { return modeTop + stripHeight + laneGap; }
  // The names of charge phases stand above the button.
  static constexpr double buttonTop() { return scrollTop() + 2 * (scrollHeight + laneGap) + 8; }
  static constexpr double axisTop() { return buttonTop() + stripHeight + laneGap; }
  static constexpr double height() { return axisTop() + 44; }

  double laneX(double time) const {
    const double length = std::max(plot_.end_ - start(), 1e-3);
    return laneLeft + (laneRight - laneLeft) * (time - start()) / length;
  }

  // The first thing that is to be seen; setting up may have taken long.
  double start() const {
    double first = plot_.end_;
    if (!plot_.frames_.empty()) first = std::min(first, plot_.frames_.front().time);
    if (!plot_.mouse_.empty()) first = std::min(first, plot_.mouse_.front().time);
    return first;
  }

  std::string summary() const {
    const auto count = [this](MouseKind kind) {
      return std::ranges::count(plot_.mouse_, kind, &Mouse::kind);
    };
    return fmt::format(
        "{:.2f} s  ·  touch frames {}  ·  moves {}  ·  drags {}  ·  button down {}, up {}  ·  "
        "scroll events {}",
        plot_.end_ - start(), plot_.frames_.size(), count(MouseKind::move), count(MouseKind::drag),
        count(MouseKind::down), count(MouseKind::up), plot_.scrolls_.size());
  }

  static Point onPad(float x, float y) {
    return {padPanel.minX() + x * panelHeight, padPanel.maxY() - y * panelHeight};
  }

  void drawClickpad() {
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

  void drawFingers() {
    // Of each finger that is down, the stretch of its path in one mode that is not drawn yet.
    struct Stretch {
      std::string_view mode;
      std::vector<Point> points;
    };
    std::map<std::int32_t, Stretch> down;
    const auto finish = [this](const Stretch& stretch) {
      svg_.polyline(stretch.points, stroke(modeColours[modeIndex(stretch.mode)], 2.5));
    };
    std::size_t dots = 0;
    for (const Frame& frame : plot_.frames_) {
      std::erase_if(down, [&](const auto& entry) {
        const bool isUp =
            std::ranges::find(frame.points, entry.first, &SiriRemoteTouchPoint::identifier) ==
            frame.points.end();
        if (isUp) finish(entry.second);
        return isUp;
      });
      const std::string_view colour = modeColours[modeIndex(frame.mode)];
      for (const SiriRemoteTouchPoint& touch : frame.points) {
        const Point point = onPad(touch.x, touch.y);
        const auto [entry, isNew] = down.try_emplace(touch.identifier, Stretch{frame.mode, {}});
        Stretch& stretch = entry->second;
        if (isNew) {
          svg_.circle(point, 6, fmt::format(R"(fill="none" {})", stroke(colour, 2)));
        } else if (stretch.mode != frame.mode) {
          finish(stretch);
          stretch = {frame.mode, {stretch.points.back()}};
        }
        stretch.points.push_back(point);
        if (++dots <= mostDots) svg_.circle(point, 2.2, fill(colour));
      }
    }
    for (const auto& [identifier, stretch] : down) finish(stretch);
  }

  void drawModeLegend() {
    double x = padPanel.minX();
    for (std::size_t mode = 0; mode < modeColours.size(); ++mode) {
      if (gestureModeNames[mode] == "none") continue;
      svg_.rectangle({{x, padPanel.maxY() + 13}, {14, 4}}, fill(modeColours[mode]));
      svg_.text({x + 18, padPanel.maxY() + 19}, modeLabels[mode], small);
      x += 34 + 6.2 * static_cast<double>(modeLabels[mode].size());
    }
    svg_.circle({padPanel.minX() + 7, padPanel.maxY() + 34}, 5,
                fmt::format(R"(fill="none" {})", stroke("#5F6368", 2)));
    svg_.text({padPanel.minX() + 18, padPanel.maxY() + 38}, "a finger landed", small);
  }

  // What the screen panel has to show.
  Rect shownArea() const {
    Rect area = Rect::null();
    for (const Rect& screen : plot_.screens_) area = area.united(screen);
    for (const Mouse& event : plot_.mouse_) area = area.united({event.position, {1, 1}});
    return area.isNull() ? Rect{{0, 0}, {1, 1}} : area;
  }

  void drawScreens() {
    svg_.text({screenPanel.minX(), panelTop - 10}, "Screens", heading);
    svg_.rectangle(screenPanel, panelStyle);
    const Rect area = shownArea();
    constexpr double inset = 14;
    const double scale = std::min((screenPanel.width() - 2 * inset) / area.width(),
                                  (screenPanel.height() - 2 * inset) / area.height());
    const Point corner = {screenPanel.minX() + (screenPanel.width() - area.width() * scale) / 2,
                          screenPanel.minY() + (screenPanel.height() - area.height() * scale) / 2};
    const auto place = [&](Point point) {
      return Point{corner.x + (point.x - area.minX()) * scale,
                   corner.y + (point.y - area.minY()) * scale};
    };
    const auto placeFrame = [&](const Rect& frame) {
      return Rect{place({frame.minX(), frame.minY()}),
                  {frame.width() * scale, frame.height() * scale}};
    };
    svg_.beginClip(screenPanel);
    for (const Rect& screen : plot_.screens_) {
      svg_.rectangle(placeFrame(screen), R"(fill="#FFFFFF" stroke="#80868B" stroke-width="1.5")");
      svg_.text(place({screen.minX(), screen.maxY()}),
                fmt::format("{:.0f} × {:.0f}", screen.width(), screen.height()),
                R"(font-size="10" fill="#80868B" dx="5" dy="-5")");
    }
    for (const auto& [name, window] : plot_.windows_) {
      if (window.first != window.last) {
        svg_.rectangle(placeFrame(window.first),
                       R"(fill="none" stroke="#BDC1C6" stroke-dasharray="5 4")");
      }
      const Rect last = placeFrame(window.last);
      svg_.rectangle(last,
                     R"(fill="#5F6368" fill-opacity="0.07" stroke="#5F6368" stroke-width="1.2")");
      svg_.text({last.minX(), last.minY()}, name,
                R"(font-size="11" fill="#3C4043" dx="6" dy="15")");
    }
    drawPointer(place);
    svg_.endClip();
    drawPointerLegend();
  }

  template <class Place>
  void drawPointer(Place place) {
    std::vector<Point> path;
    MouseKind kind = MouseKind::move;
    const auto finish = [&] {
      const bool isDrag = kind == MouseKind::drag;
      svg_.polyline(path, stroke(isDrag ? dragColour : modeColours[2], isDrag ? 3 : 1.6));
      if (!path.empty()) path = {path.back()};
    };
    for (const Mouse& event : plot_.mouse_) {
      const bool isDown = event.kind == MouseKind::down || event.kind == MouseKind::drag;
      const MouseKind next = isDown ? MouseKind::drag : MouseKind::move;
      const Point position = place(event.position);
      if (event.kind == MouseKind::up) path.push_back(position);
      if (next != kind) {
        finish();
        kind = next;
      }
      // The pointer got elsewhere by other means.
      if (event.kind == MouseKind::down) path.clear();
      if (event.kind != MouseKind::up) path.push_back(position);
    }
    finish();
    if (!plot_.mouse_.empty()) {
      svg_.circle(place(plot_.mouse_.front().position), 2.5, fill(modeColours[2]));
    }
    for (const Mouse& event : plot_.mouse_) {
      if (event.kind == MouseKind::down) {
        svg_.circle(place(event.position), 5, fill(dragColour));
      } else if (event.kind == MouseKind::up) {
        svg_.circle(place(event.position), 8,
                    fmt::format(R"(fill="none" {})", stroke(dragColour, 2)));
      }
    }
  }

  void drawPointerLegend() {
    const double y = screenPanel.maxY() + 14;
    const double x = screenPanel.minX();
    svg_.line({x, y}, {x + 16, y}, stroke(modeColours[2], 1.6));
    svg_.text({x + 22, y + 4}, "pointer", small);
    svg_.line({x + 80, y}, {x + 96, y}, stroke(dragColour, 3));
    svg_.text({x + 102, y + 4}, "drag", small);
    svg_.circle({x + 152, y}, 5, fill(dragColour));
    svg_.text({x + 162, y + 4}, "button down", small);
    svg_.circle({x + 252, y}, 7, fmt::format(R"(fill="none" {})", stroke(dragColour, 2)));
    svg_.text({x + 264, y + 4}, "button up", small);
    svg_.line({x + 336, y}, {x + 352, y}, R"(stroke="#BDC1C6" stroke-dasharray="5 4")");
    svg_.text({x + 358, y + 4}, "where a window was", small);
  }

  void drawLabel(double top, double laneHeight, std::string_view label) {
    svg_.text({margin, top + laneHeight / 2 + 4}, label, R"(font-size="12" fill="#202124")");
  }

  void drawModeLane() {
    drawLabel(modeTop, stripHeight, "gesture");
    svg_.rectangle({{laneLeft, modeTop}, {laneRight - laneLeft, stripHeight}}, panelStyle);
    for (std::size_t index = 0; index < plot_.frames_.size();) {
      const Frame& first = plot_.frames_[index];
      std::size_t next = index + 1;
      while (next < plot_.frames_.size() && plot_.frames_[next].mode == first.mode) ++next;
      const double end = next < plot_.frames_.size() ? plot_.frames_[next].time : plot_.end_;
      if (first.mode != "none") {
        svg_.rectangle({{laneX(first.time), modeTop},
                        {std::max(laneX(end) - laneX(first.time), 1.0), stripHeight}},
                       fill(modeColours[modeIndex(first.mode)]));
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
    for (const ScrollAmount& scroll : plot_.scrolls_) {
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
    for (const ScrollAmount& scroll : plot_.scrolls_) {
      const double end = middle - scroll.*amount / largest * (scrollHeight / 2 - 6);
      if (scroll.*amount == 0) continue;
      svg_.line({laneX(scroll.time), middle}, {laneX(scroll.time), end},
                stroke(modeColours[modeIndex(scroll.mode)], 2));
    }
  }

  void drawButtonLane() {
    const double top = buttonTop();
    drawLabel(top, stripHeight, "left button");
    svg_.rectangle({{laneLeft, top}, {laneRight - laneLeft, stripHeight}}, panelStyle);
    for (std::size_t index = 0; index < plot_.drags_.size(); ++index) {
      const Drag& drag = plot_.drags_[index];
      if (!drag.state.isDragging) continue;
      const bool isLast = index + 1 == plot_.drags_.size();
      const double left = laneX(drag.time);
      const double right = laneX(isLast ? plot_.end_ : plot_.drags_[index + 1].time);
      const Rect held = {{left, top}, {std::max(right - left, 1.0), stripHeight}};
      svg_.rectangle(held, fmt::format(R"(fill="{}" fill-opacity="{}")", dragColour,
                                       drag.state.isDragLocked ? 0.45 : 1));
      constexpr double roomForText = 44;
      if (held.width() > roomForText) {
        svg_.text({held.minX() + 6, top + 13}, drag.state.isDragLocked ? "locked" : "held",
                  R"(font-size="11" fill="#FFFFFF")");
      }
    }
    if (!plot_.charges_.empty()) svg_.text({laneLeft, top - 7}, "charge:", small);
    double free = laneLeft + 46;
    for (const Charge& charge : plot_.charges_) {
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
    const double length = std::max(plot_.end_ - start(), 1e-3);
    double step = std::pow(10, std::floor(std::log10(length / mostTicks)));
    for (const double factor : {2.0, 2.5, 2.0}) {
      if (length / step > mostTicks) step *= factor;
    }
    svg_.line({laneLeft, axisTop()}, {laneRight, axisTop()}, R"(stroke="#80868B")");
    for (double time = std::ceil(start() / step) * step; time <= plot_.end_ + step / 1000;
         time += step) {
      const double x = laneX(time);
      svg_.line({x, axisTop()}, {x, axisTop() + 5}, R"(stroke="#80868B")");
      svg_.text({x, axisTop() + 18}, fmt::format("{:.4g} s", time),
                R"(font-size="11" fill="#5F6368" text-anchor="middle")");
    }
  }

  const TouchPlot& plot_;
  Svg svg_;
};

std::string TouchPlot::draw(std::string_view title) const {
  return Painter(*this).draw(title);
}

}  // namespace tessline::cli
