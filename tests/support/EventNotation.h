/// @file
/// Events as short text, so that an expected sequence reads in one line.
#pragma once

#include "tessline/events/TesslineEvent.h"

#include <span>
#include <string>

namespace tessline::test {

/// One event: "press volumeUp", "release voice", "started", "ended", or "frame 02 b8 01" with the
/// bytes as on the wire. A frame whose three fields disagree reads "inconsistent frame".
std::string notation(const TesslineEvent& event);

/// Events in order, separated by ", "; "" for none.
std::string notation(std::span<const TesslineEvent> events);

}  // namespace tessline::test
