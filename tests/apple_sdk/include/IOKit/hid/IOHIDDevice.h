/// @file
/// One HID device.
#pragma once

#include <IOKit/hid/IOHIDBase.h>
#include <IOKit/hid/IOHIDKeys.h>

extern "C" {

CFTypeID IOHIDDeviceGetTypeID();
/// Not to be released; stays as long as the device.
CFTypeRef IOHIDDeviceGetProperty(IOHIDDeviceRef device, CFStringRef key);
/// Reports come through the buffer given last. Without a callback it unregisters that of `context`,
/// and the buffer must be given all the same.
void IOHIDDeviceRegisterInputReportCallback(IOHIDDeviceRef device, std::uint8_t* report,
                                            CFIndex reportLength, IOHIDReportCallback callback,
                                            void* context);
}
