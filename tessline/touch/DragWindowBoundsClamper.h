/// @file
/// Windows under the pointer, and keeping both on the screens.
#pragma once

#include "tessline/model/Geometry.h"
#include "tessline/platform/Accessibility.h"
#include "tessline/platform/Screens.h"

#include <memory>
#include <optional>

namespace tessline {

/// Functions over the host's windows and screens, without state. "Quartz" are global display
/// coordinates: points, y downwards, the origin in the upper left corner of the primary screen;
/// "AppKit" those of the window system, y upwards. Everything that fails gives nothing, false or
/// its argument unchanged. Screens are read anew by each call. Any thread; calls that look at
/// windows may wait for the application that shows them.
class DragWindowBoundsClamper {
 public:
  DragWindowBoundsClamper() = delete;

  /// An element of another application; null for none.
  using Element = std::shared_ptr<platform::AccessibilityElement>;

  /// The nearest window among the element and its eleven nearest ancestors.
  static Element windowAncestor(Element element);

  /// The window that is shown at that place.
  static Element windowElement(platform::Accessibility& accessibility, Point atQuartzPoint);

  /// The frame of a window, in Quartz coordinates.
  static std::optional<Rect> frame(platform::AccessibilityElement& element);

  /// The same rectangle in Quartz coordinates.
  static Rect quartzRect(platform::Screens& screens, const Rect& fromAppKit);

  /// The smallest rectangle that holds all screens; null without screens.
  static Rect screenUnionInQuartzCoordinates(platform::Screens& screens);

  /// Where a window has to go to be wholly within `within`; one that is larger keeps 48 points of
  /// itself there. Each axis for itself.
  static Point clampedOrigin(const Rect& window, const Rect& within);

  /// Moves a window back to the screens if it is off by more than half a point; whether it was
  /// moved.
  static bool clampWindowToScreens(platform::Screens& screens,
                                   platform::AccessibilityElement& window);

  /// The nearest point that is on the screens and one point inside their right and lower edge.
  static Point clampQuartzPointToScreens(platform::Screens& screens, Point point);

  /// Whether the point lies in the strip along the top of a window where title bars are: 12 % of
  /// its height, at least 22 and at most 40 points.
  static bool isTitleBarRegion(platform::Accessibility& accessibility, Point atQuartzPoint);
};

}  // namespace tessline
