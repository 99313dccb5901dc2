/// @file
/// What a process may do with input devices.
#pragma once

#include <cstdint>

enum IOHIDRequestType : std::uint32_t {
  kIOHIDRequestTypePostEvent = 0,
  kIOHIDRequestTypeListenEvent = 1,
};

enum IOHIDAccessType : std::uint32_t {
  kIOHIDAccessTypeGranted = 0,
  kIOHIDAccessTypeDenied = 1,
  kIOHIDAccessTypeUnknown = 2,
};

extern "C" IOHIDAccessType IOHIDCheckAccess(IOHIDRequestType requestType);
