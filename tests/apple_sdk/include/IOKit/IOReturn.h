/// @file
/// Result codes of IOKit.
#pragma once

#include <cstdint>

using IOReturn = int;

inline constexpr IOReturn kIOReturnSuccess = 0;
inline constexpr auto kIOReturnError = static_cast<IOReturn>(0xE00002BC);
inline constexpr auto kIOReturnExclusiveAccess = static_cast<IOReturn>(0xE00002C5);
inline constexpr auto kIOReturnNotOpen = static_cast<IOReturn>(0xE00002CD);
inline constexpr auto kIOReturnAborted = static_cast<IOReturn>(0xE00002EB);
inline constexpr auto kIOReturnNotPermitted = static_cast<IOReturn>(0xE00002E2);
