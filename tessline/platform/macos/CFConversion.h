/// @file
/// CoreFoundation's text and numbers as ours, and the other way round.
#pragma once

#include "tessline/platform/macos/CFReference.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include <CoreFoundation/CoreFoundation.h>

namespace tessline::platform {

/// None if `text` is no UTF-8.
CFReference<CFStringRef> makeCFString(std::string_view text);
CFReference<CFNumberRef> makeCFNumber(std::int64_t number);

/// In UTF-8; U+FFFD stands for each half of a surrogate pair that is alone.
std::string textOf(CFStringRef string);
/// A whole number beyond 64 bits, or beyond their sign, is given by its lower 64 bits.
std::variant<std::int64_t, double> numberOf(CFNumberRef number);

}  // namespace tessline::platform
