/// @file
/// Types that HID managers and devices share.
#pragma once

#include <cstdint>

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOReturn.h>

using IOOptionBits = UInt32;
using IOHIDDeviceRef = struct __IOHIDDevice*;
using IOHIDManagerRef = struct __IOHIDManager*;

enum : IOOptionBits { kIOHIDOptionsTypeNone = 0 };

enum IOHIDReportType {
  kIOHIDReportTypeInput = 0,
  kIOHIDReportTypeOutput,
  kIOHIDReportTypeFeature,
};

extern "C" {

/// The sender is the manager.
using IOHIDDeviceCallback = void (*)(void* context, IOReturn result, void* sender,
                                     IOHIDDeviceRef device);
/// The sender is the device.
using IOHIDReportCallback = void (*)(void* context, IOReturn result, void* sender,
                                     IOHIDReportType type, std::uint32_t reportID,
                                     std::uint8_t* report, CFIndex reportLength);
}
