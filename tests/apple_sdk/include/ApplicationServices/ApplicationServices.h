/// @file
/// The accessibility functions that the adapters call.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

using AXUIElementRef = const struct __AXUIElement*;
using AXValueRef = const struct __AXValue*;

enum AXError : SInt32 {
  kAXErrorSuccess = 0,
  kAXErrorFailure = -25200,
  kAXErrorIllegalArgument = -25201,
  kAXErrorInvalidUIElement = -25202,
  kAXErrorCannotComplete = -25204,
  kAXErrorAttributeUnsupported = -25205,
  kAXErrorNotImplemented = -25208,
  kAXErrorAPIDisabled = -25211,
  kAXErrorNoValue = -25212,
};

enum AXValueType : UInt32 {
  kAXValueTypeIllegal = 0,
  kAXValueTypeCGPoint = 1,
  kAXValueTypeCGSize = 2,
  kAXValueTypeCGRect = 3,
  kAXValueTypeCFRange = 4,
  kAXValueTypeAXError = 5,
};

extern "C" {

Boolean AXIsProcessTrusted();

// What is copied is set in success alone.

CFTypeID AXUIElementGetTypeID();
AXUIElementRef AXUIElementCreateSystemWide();
AXError AXUIElementCopyElementAtPosition(AXUIElementRef application, float x, float y,
                                         AXUIElementRef* element);
AXError AXUIElementCopyAttributeValue(AXUIElementRef element, CFStringRef attribute,
                                      CFTypeRef* value);
AXError AXUIElementSetAttributeValue(AXUIElementRef element, CFStringRef attribute,
                                     CFTypeRef value);

CFTypeID AXValueGetTypeID();
/// May be NULL.
AXValueRef AXValueCreate(AXValueType type, const void* value);
AXValueType AXValueGetType(AXValueRef value);
/// False, and nothing is filled, if the value is of another type.
Boolean AXValueGetValue(AXValueRef value, AXValueType type, void* filled);
}
