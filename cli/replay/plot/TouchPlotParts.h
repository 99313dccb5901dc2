/// @file
/// What the parts of a touch plot have in common, and the parts.
#pragma once

#include "cli/replay/plot/Svg.h"
#include "cli/replay/plot/TouchPlot.h"
#include "tessline/model/Geometry.h"
#include "tessline/touch/GestureMode.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace tessline::cli::touchPlot {

/// One for each mode, in their order; told apart by every kind of colour vision.
inline constexpr std::array<std::string_view, 5> modeColours = {"#E69F00", "#9AA0A6", "#0072B2",
                                                                "#009E73", "#CC79A7"};
inline constexpr std::string_view pointerColour = modeColours[2];
inline constexpr std::string_view dragColour = "#D55E00";

inline constexpr double pictureWidth = 1200;
inline constexpr double margin = 28;
inline constexpr double panelTop = 100;
inline constexpr double panelHeight = 380;

inline constexpr std::string_view heading = R"(font-size="13" font-weight="600" fill="#202124")";
inline constexpr std::string_view small = R"(font-size="11" fill="#5F6368")";
inline constexpr std::string_view panelStyle = R"(fill="#F8F9FA" stroke="#DADCE0")";

inline std::size_t modeIndex(std::string_view mode) {
  return static_cast<std::size_t>(std::ranges::find(gestureModeNames, mode) -
                                  gestureModeNames.begin());
}

inline std::string_view modeColour(std::string_view mode) {
  return modeColours[modeIndex(mode)];
}

inline std::string stroke(std::string_view colour, double width) {
  return fmt::format(R"(stroke="{}" stroke-width="{}")", colour, width);
}

inline std::string fill(std::string_view colour) {
  return fmt::format(R"(fill="{}")", colour);
}

/// When the first thing happened that is to be seen; setting up may have taken long.
inline double startOf(const TouchPlot& plot) {
  double first = plot.end();
  if (!plot.frames().empty()) first = std::min(first, plot.frames().front().time);
  if (!plot.mouse().empty()) first = std::min(first, plot.mouse().front().time);
  return first;
}

/// The clickpad, on the left.
void drawClickpad(const TouchPlot& plot, Svg& svg);
/// The screens, on the right.
void drawScreens(const TouchPlot& plot, Svg& svg);
/// Gestures, scrolling and the button over time, from `top` on.
void drawLanes(const TouchPlot& plot, double top, Svg& svg);
/// How much room that takes.
double lanesHeight();

}  // namespace tessline::cli::touchPlot
