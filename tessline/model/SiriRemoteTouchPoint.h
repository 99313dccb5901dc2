/// @file
/// One finger on the clickpad.
#pragma once

#include <cstdint>

namespace tessline {

/// A contact in one touch frame.
struct SiriRemoteTouchPoint {
  std::int32_t identifier = 0;  ///< Stays the same for the life of the contact.
  float x = 0;                  ///< 0 to 1, to the right.
  float y = 0;                  ///< 0 to 1, upwards.
  std::int32_t state = 0;       ///< 3: it began in this frame; 4: it was there before.

  bool operator==(const SiriRemoteTouchPoint&) const = default;
};

}  // namespace tessline
