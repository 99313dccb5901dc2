/// @file
/// How points look when a test fails.
#pragma once

#include "tessline/model/Geometry.h"

#include <ostream>

namespace tessline {

inline void PrintTo(const Point& point, std::ostream* out) {
  *out << '(' << point.x << ", " << point.y << ')';
}

inline void PrintTo(const Rect& rect, std::ostream* out) {
  *out << '(' << rect.origin.x << ", " << rect.origin.y << "; " << rect.size.width << " x "
       << rect.size.height << ')';
}

}  // namespace tessline
