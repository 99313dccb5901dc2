#include "tessline/model/Geometry.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tessline {

Rect Rect::null() {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  return {{infinity, infinity}, {0, 0}};
}

Rect Rect::infinite() {
  constexpr double largest = std::numeric_limits<double>::max();
  return {{-largest / 2, -largest / 2}, {largest, largest}};
}

bool Rect::isNull() const {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  return origin.x == infinity || origin.y == infinity;
}

bool Rect::isInfinite() const {
  return *this == infinite();
}

bool Rect::isEmpty() const {
  return isNull() || size.width == 0 || size.height == 0;
}

double Rect::minX() const {
  return origin.x + std::min(size.width, 0.0);
}
double Rect::maxX() const {
  return origin.x + std::max(size.width, 0.0);
}
double Rect::minY() const {
  return origin.y + std::min(size.height, 0.0);
}
double Rect::maxY() const {
  return origin.y + std::max(size.height, 0.0);
}
double Rect::width() const {
  return std::abs(size.width);
}
double Rect::height() const {
  return std::abs(size.height);
}

Rect Rect::standardized() const {
  if (isNull()) return null();
  return {{minX(), minY()}, {width(), height()}};
}

Rect Rect::united(const Rect& other) const {
  if (isNull()) return other;
  if (other.isNull()) return *this;
  const double left = std::min(minX(), other.minX());
  const double bottom = std::min(minY(), other.minY());
  return {{left, bottom},
          {std::max(maxX(), other.maxX()) - left, std::max(maxY(), other.maxY()) - bottom}};
}

bool Rect::contains(Point point) const {
  if (isEmpty()) return false;
  return point.x >= minX() && point.x < maxX() && point.y >= minY() && point.y < maxY();
}

}  // namespace tessline
