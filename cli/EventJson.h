/// @file
/// The JSON form of decoded events, which all outputs for programs share.
#pragma once

#include "tessline/events/TesslineEvent.h"

#include <cstdint>
#include <span>
#include <string>

namespace tessline::cli {

/// Appends `bytes` as lower-case hex.
void appendHex(std::span<const std::uint8_t> bytes, std::string& text);

/// Appends the members of an event's object, from `"event":` on, without the braces.
void appendEventMembers(const TesslineEvent& event, std::string& text);

}  // namespace tessline::cli
