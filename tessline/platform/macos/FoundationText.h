/// @file
/// Text of Foundation's as ours, and the other way round. Objective-C++ alone.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <Foundation/Foundation.h>

namespace tessline::platform {

/// In UTF-8; none of nil, or of what no UTF-8 can hold.
std::optional<std::string> textOf(NSString* text);

/// Nil if `text` is no UTF-8.
NSString* makeNSString(std::string_view text);

}  // namespace tessline::platform
