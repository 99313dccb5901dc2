/// @file
/// Pictures as SVG text.
#pragma once

#include "tessline/model/Geometry.h"

#include <span>
#include <string>
#include <string_view>

namespace tessline::cli {

/// Draws shapes one above the other. Coordinates are pixels, y downwards; `style` is text of SVG
/// attributes, for example `fill="none" stroke="#000"`. All other text is escaped.
class Svg {
 public:
  Svg(double width, double height);

  void rectangle(const Rect& frame, std::string_view style);
  void circle(Point centre, double radius, std::string_view style);
  void line(Point from, Point to, std::string_view style);
  /// Nothing for fewer than two points.
  void polyline(std::span<const Point> points, std::string_view style);
  void polygon(std::span<const Point> corners, std::string_view style);
  /// `position` is the left end of the base line, or what `style` makes of it.
  void text(Point position, std::string_view text, std::string_view style);

  /// Shows what is drawn from here on only within `frame`, until `endClip`.
  void beginClip(const Rect& frame);
  void endClip();

  /// The whole picture.
  std::string finish() const;

 private:
  void appendPoints(std::span<const Point> points);

  std::string text_;
  int clipCount_ = 0;
};

}  // namespace tessline::cli
