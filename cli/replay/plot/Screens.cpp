#include "cli/replay/plot/TouchPlotParts.h"

#include <vector>

namespace tessline::cli::touchPlot {

namespace {

using Mouse = TouchPlot::Mouse;
using MouseKind = TouchPlot::MouseKind;

constexpr Rect screenPanel = {{margin + panelHeight + margin, panelTop},
                              {pictureWidth - panelHeight - 3 * margin, panelHeight}};
constexpr std::string_view windowStyle =
    R"(fill="#5F6368" fill-opacity="0.07" stroke="#5F6368" stroke-width="1.2")";

class ScreensPainter {
 public:
  ScreensPainter(const TouchPlot& plot, Svg& svg) : plot_(plot), svg_(svg) {}

  void draw() {
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
    for (const Rect& screen : plot_.screens()) {
      svg_.rectangle(placeFrame(screen), R"(fill="#FFFFFF" stroke="#80868B" stroke-width="1.5")");
      svg_.text(place({screen.minX(), screen.maxY()}),
                fmt::format("{:.0f} × {:.0f}", screen.width(), screen.height()),
                R"(font-size="10" fill="#80868B" dx="5" dy="-5")");
    }
    for (const auto& [name, window] : plot_.windows()) {
      if (window.first != window.last) {
        svg_.rectangle(placeFrame(window.first),
                       R"(fill="none" stroke="#BDC1C6" stroke-dasharray="5 4")");
      }
      const Rect last = placeFrame(window.last);
      svg_.rectangle(last, windowStyle);
    }
    drawPointer(place);
    for (const auto& [name, window] : plot_.windows()) {
      const Rect last = placeFrame(window.last);
      svg_.text({last.minX(), last.maxY()}, name,
                R"(font-size="11" fill="#3C4043" dx="6" dy="-6")");
    }
    svg_.endClip();
    if (plot_.screens().empty()) {
      svg_.text({screenPanel.minX() + 12, screenPanel.minY() + 22}, "no screens", small);
    }
    drawPointerLegend();
  }

 private:
  // What the screen panel has to show: windows, too, as far as they are not far off.
  Rect shownArea() const {
    Rect area = Rect::null();
    for (const Rect& screen : plot_.screens()) area = area.united(screen);
    for (const Mouse& event : plot_.mouse()) area = area.united({event.position, {1, 1}});
    if (area.isNull()) return {{0, 0}, {1, 1}};
    const double left = area.minX() - area.width() / 2;
    const double right = area.maxX() + area.width() / 2;
    const double top = area.minY() - area.height() / 2;
    const double bottom = area.maxY() + area.height() / 2;
    for (const auto& [name, window] : plot_.windows()) {
      for (const Rect& frame : {window.first, window.last}) {
        const Point low = {std::clamp(frame.minX(), left, right),
                           std::clamp(frame.minY(), top, bottom)};
        const Point high = {std::clamp(frame.maxX(), left, right),
                            std::clamp(frame.maxY(), top, bottom)};
        area = area.united({low, {high.x - low.x, high.y - low.y}});
      }
    }
    return area;
  }

  template <class Place>
  void drawPointer(Place place) {
    std::vector<Point> path;
    MouseKind kind = MouseKind::move;
    const auto finish = [&] {
      const bool isDrag = kind == MouseKind::drag;
      svg_.polyline(path, stroke(isDrag ? dragColour : pointerColour, isDrag ? 3 : 1.6));
      if (!path.empty()) path = {path.back()};
    };
    for (const Mouse& event : plot_.mouse()) {
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
    if (!plot_.mouse().empty()) {
      svg_.circle(place(plot_.mouse().front().position), 2.5, fill(pointerColour));
    }
    for (const Mouse& event : plot_.mouse()) {
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
    svg_.line({x, y}, {x + 16, y}, stroke(pointerColour, 1.6));
    svg_.text({x + 22, y + 4}, "pointer", small);
    svg_.line({x + 80, y}, {x + 96, y}, stroke(dragColour, 3));
    svg_.text({x + 102, y + 4}, "drag", small);
    svg_.circle({x + 152, y}, 5, fill(dragColour));
    svg_.text({x + 162, y + 4}, "button down", small);
    svg_.circle({x + 252, y}, 7, fmt::format(R"(fill="none" {})", stroke(dragColour, 2)));
    svg_.text({x + 264, y + 4}, "button up", small);
    svg_.line({x + 336, y}, {x + 352, y}, R"(stroke="#BDC1C6" stroke-dasharray="5 4")");
    svg_.text({x + 358, y + 4}, "where a window was", small);
    svg_.rectangle({{x + 490, y - 5}, {16, 10}}, windowStyle);
    svg_.text({x + 512, y + 4}, "where it is", small);
  }

  const TouchPlot& plot_;
  Svg& svg_;
};

}  // namespace

void drawScreens(const TouchPlot& plot, Svg& svg) {
  ScreensPainter(plot, svg).draw();
}

}  // namespace tessline::cli::touchPlot
