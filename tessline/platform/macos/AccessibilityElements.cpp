#include "tessline/platform/macos/AccessibilityElements.h"

#include "tessline/platform/macos/CFConversion.h"
#include "tessline/platform/macos/CFReference.h"

#include <utility>

#include <ApplicationServices/ApplicationServices.h>

namespace tessline::platform {

namespace {

// What functions that copy leave behind when they fail is not looked at.

AccessibilityValue valueOf(CFTypeRef object);

class UIElement : public AccessibilityElement {
 public:
  explicit UIElement(CFReference<AXUIElementRef> element) : element_(std::move(element)) {}

  AccessibilityValue copyAttributeValue(std::string_view attribute) override {
    const auto name = makeCFString(attribute);
    if (!name) return {};
    CFTypeRef copy = nullptr;
    const AXError error = AXUIElementCopyAttributeValue(element_.get(), name.get(), &copy);
    if (error != kAXErrorSuccess) return {};
    const auto value = CFReference<CFTypeRef>::created(copy);
    return value ? valueOf(value.get()) : AccessibilityValue();
  }

  bool setAttributeValue(std::string_view attribute, Point value) override {
    const auto name = makeCFString(attribute);
    const CGPoint point = {value.x, value.y};
    const auto made = CFReference<AXValueRef>::created(AXValueCreate(kAXValueTypeCGPoint, &point));
    if (!name || !made) return false;
    return AXUIElementSetAttributeValue(element_.get(), name.get(), made.get()) == kAXErrorSuccess;
  }

 private:
  const CFReference<AXUIElementRef> element_;
};

// A structure, of which there are more kinds than are read.
AccessibilityValue structureOf(AXValueRef value) {
  const AXValueType type = AXValueGetType(value);
  CGPoint point = {};
  CGSize size = {};
  if (type == kAXValueTypeCGPoint && AXValueGetValue(value, type, &point)) {
    return Point{point.x, point.y};
  }
  if (type == kAXValueTypeCGSize && AXValueGetValue(value, type, &size)) {
    return Size{size.width, size.height};
  }
  return OtherAccessibilityValue();
}

AccessibilityValue valueOf(CFTypeRef object) {
  const CFTypeID type = CFGetTypeID(object);
  if (type == CFStringGetTypeID()) return textOf(static_cast<CFStringRef>(object));
  if (type == AXValueGetTypeID()) return structureOf(static_cast<AXValueRef>(object));
  if (type == AXUIElementGetTypeID()) {
    return std::make_shared<UIElement>(
        CFReference<AXUIElementRef>::retained(static_cast<AXUIElementRef>(object)));
  }
  return OtherAccessibilityValue();
}

class AccessibilityElements : public Accessibility {
 public:
  bool isProcessTrusted() override { return AXIsProcessTrusted(); }

  std::shared_ptr<AccessibilityElement> copyElementAtPosition(float x, float y) override {
    const auto systemWide = CFReference<AXUIElementRef>::created(AXUIElementCreateSystemWide());
    if (!systemWide) return nullptr;
    AXUIElementRef copy = nullptr;
    const AXError error = AXUIElementCopyElementAtPosition(systemWide.get(), x, y, &copy);
    if (error != kAXErrorSuccess) return nullptr;
    auto element = CFReference<AXUIElementRef>::created(copy);
    return element ? std::make_shared<UIElement>(std::move(element)) : nullptr;
  }
};

}  // namespace

std::shared_ptr<Accessibility> makeAccessibilityElements() {
  return std::make_shared<AccessibilityElements>();
}

}  // namespace tessline::platform
