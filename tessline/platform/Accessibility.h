/// @file
/// Porting contract: what other applications show, and moving it.
#pragma once

#include "tessline/model/Geometry.h"

#include <memory>
#include <string>
#include <string_view>
#include <variant>

namespace tessline::platform {

class AccessibilityElement;

/// A value of a type that no service reads.
struct OtherAccessibilityValue {
  bool operator==(const OtherAccessibilityValue&) const = default;
};

/// The value of an attribute; `std::monostate` if it could not be copied or there is none.
using AccessibilityValue =
    std::variant<std::monostate, std::string, Point, Size, std::shared_ptr<AccessibilityElement>,
                 OtherAccessibilityValue>;

/// A window, a button, or anything else that is shown. Attributes have the names of the macOS
/// Accessibility interface. Any thread; calls may wait for the application that shows it.
class AccessibilityElement {
 public:
  virtual ~AccessibilityElement() = default;

  /// The attribute of that name.
  virtual AccessibilityValue copyAttributeValue(std::string_view attribute) = 0;

  /// Sets an attribute that holds a point. False if it could not be set.
  virtual bool setAttributeValue(std::string_view attribute, Point value) = 0;
};

/// The host's accessibility interface. Any thread.
class Accessibility {
 public:
  virtual ~Accessibility() = default;

  /// Whether the user has allowed this process to use it.
  virtual bool isProcessTrusted() = 0;

  /// The element that is shown at that place, in global display coordinates with y downwards; null
  /// if there is none or it cannot be told.
  virtual std::shared_ptr<AccessibilityElement> copyElementAtPosition(float x, float y) = 0;
};

}  // namespace tessline::platform
