#include "cli/replay/plot/TouchPlotParts.h"

namespace tessline::cli {

using namespace touchPlot;

namespace {

std::string summary(const TouchPlot& plot) {
  const auto count = [&plot](TouchPlot::MouseKind kind) {
    return std::ranges::count(plot.mouse(), kind, &TouchPlot::Mouse::kind);
  };
  return fmt::format(
      "{:.2f} s  ·  touch frames {}  ·  moves {}  ·  drags {}  ·  button down {}, up {}  ·  "
      "scroll events {}",
      plot.end() - startOf(plot), plot.frames().size(), count(TouchPlot::MouseKind::move),
      count(TouchPlot::MouseKind::drag), count(TouchPlot::MouseKind::down),
      count(TouchPlot::MouseKind::up), plot.scrolls().size());
}

}  // namespace

std::string drawTouchPlot(const TouchPlot& plot, std::string_view title) {
  constexpr double lanesTop = panelTop + panelHeight + 64;
  const double height = lanesTop + lanesHeight();
  Svg svg(pictureWidth, height);
  svg.rectangle({{0, 0}, {pictureWidth, height}}, fill("#FFFFFF"));
  svg.text({margin, 34}, title, R"(font-size="18" font-weight="600" fill="#202124")");
  svg.text({margin, 54}, summary(plot), small);
  drawClickpad(plot, svg);
  drawScreens(plot, svg);
  drawLanes(plot, lanesTop, svg);
  return svg.finish();
}

}  // namespace tessline::cli
