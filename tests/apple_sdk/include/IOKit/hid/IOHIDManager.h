/// @file
/// What finds HID devices and opens them.
#pragma once

#include <IOKit/hid/IOHIDBase.h>
#include <IOKit/hid/IOHIDDevice.h>

extern "C" {

CFTypeID IOHIDManagerGetTypeID();
IOHIDManagerRef IOHIDManagerCreate(CFAllocatorRef allocator, IOOptionBits options);
/// An array of dictionaries; null for every device.
void IOHIDManagerSetDeviceMatchingMultiple(IOHIDManagerRef manager, CFArrayRef multiple);
void IOHIDManagerRegisterDeviceMatchingCallback(IOHIDManagerRef manager,
                                                IOHIDDeviceCallback callback, void* context);
void IOHIDManagerRegisterDeviceRemovalCallback(IOHIDManagerRef manager,
                                               IOHIDDeviceCallback callback, void* context);
void IOHIDManagerScheduleWithRunLoop(IOHIDManagerRef manager, CFRunLoopRef loop, CFStringRef mode);
void IOHIDManagerUnscheduleFromRunLoop(IOHIDManagerRef manager, CFRunLoopRef loop,
                                       CFStringRef mode);
IOReturn IOHIDManagerOpen(IOHIDManagerRef manager, IOOptionBits options);
IOReturn IOHIDManagerClose(IOHIDManagerRef manager, IOOptionBits options);
/// Null as long as no device has ever matched.
CFSetRef IOHIDManagerCopyDevices(IOHIDManagerRef manager);
}
