/// @file
/// What tests see of the stand-in for CoreFoundation and its run loops.
#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include <CoreFoundation/CoreFoundation.h>

namespace standin {

/// How many objects live that somebody has to release.
long liveCFObjects();

/// Bytes: a value that is neither text, number nor truth value.
struct CFBytes {
  std::vector<std::uint8_t> bytes;
};

/// What an object is made of. Text of 16-bit units may be broken; numbers of 64 bits without a sign
/// are wider than any that `CFNumberCreate` makes.
using CFValue =
    std::variant<std::string, std::u16string, std::int64_t, std::uint64_t, double, bool, CFBytes>;

/// To be released.
CFTypeRef makeCFObject(const CFValue& value);

/// Of the common modes, the one of a mouse that tracks something.
CFRunLoopMode eventTrackingMode();
/// A mode that is not common.
CFRunLoopMode uncommonMode();

/// Runs the current loop until nothing is left to do in that mode.
void runLoopUntilIdle(CFRunLoopMode mode = kCFRunLoopDefaultMode);

}  // namespace standin
