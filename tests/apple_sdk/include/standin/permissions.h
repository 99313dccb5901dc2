/// @file
/// How tests control what the stand-in says of input devices. Bluetooth and accessibility have
/// their own controls.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace standin::permissions {

/// A number of IOHIDAccessType, or a later one.
void setListenAccess(std::uint32_t access);

/// The calls so far with their arguments.
std::vector<std::string> calls();
/// Forgets them.
void clearCalls();

}  // namespace standin::permissions
