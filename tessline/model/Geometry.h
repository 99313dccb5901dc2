/// @file
/// Points, sizes and rectangles, with the rules that CoreGraphics has for them.
#pragma once

namespace tessline {

/// A place. Its unit and the direction of y are those of the coordinates it is given in.
struct Point {
  double x = 0;  ///< To the right.
  double y = 0;  ///< Up or down, as the coordinates say.

  bool operator==(const Point&) const = default;
};

/// An extent. Either number may be negative.
struct Size {
  double width = 0;   ///< Along x.
  double height = 0;  ///< Along y.

  bool operator==(const Size&) const = default;
};

/// A rectangle: a corner and an extent from there. A negative extent reaches towards smaller
/// coordinates; `minX` and its kind, `contains` and `united` look at the area, however it is
/// written down.
struct Rect {
  Point origin;  ///< The corner, as it was given.
  Size size;     ///< The extent, as it was given.

  /// No rectangle at all, as opposed to an empty one: the union of no rectangles.
  static Rect null();
  /// The whole plane.
  static Rect infinite();

  /// Whether this is no rectangle.
  bool isNull() const;
  /// Whether this is the whole plane, as `infinite` writes it down.
  bool isInfinite() const;
  /// Whether there is no area: null, or without width or height.
  bool isEmpty() const;

  double minX() const;    ///< The smaller x.
  double maxX() const;    ///< The larger x.
  double minY() const;    ///< The smaller y.
  double maxY() const;    ///< The larger y.
  double width() const;   ///< Not negative.
  double height() const;  ///< Not negative.

  /// The same area with no negative extent; null stays null.
  Rect standardized() const;

  /// The smallest rectangle that holds both. An empty rectangle counts; null adds nothing, and what
  /// it meets stays as it is written down.
  Rect united(const Rect& other) const;

  /// Whether the point lies in the area: the smaller edges belong to it, the larger do not.
  bool contains(Point point) const;

  /// Equality of what is stored: two ways to write one area are different.
  bool operator==(const Rect&) const = default;
};

}  // namespace tessline
