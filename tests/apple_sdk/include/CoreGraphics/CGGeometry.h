/// @file
/// Points, sizes and rectangles of CoreGraphics.
#pragma once

using CGFloat = double;

struct CGPoint {
  CGFloat x;
  CGFloat y;
};

struct CGSize {
  CGFloat width;
  CGFloat height;
};

struct CGRect {
  CGPoint origin;
  CGSize size;
};

inline CGPoint CGPointMake(CGFloat x, CGFloat y) {
  return {x, y};
}
