/// @file
/// What can be seen of a replay, for output and for checks.
#pragma once

#include "tessline/events/TesslineEvent.h"
#include "tessline/hid/ConnectedRemoteHIDSnapshot.h"
#include "tessline/platform/simulated/PlatformCall.h"

#include <cstdint>
#include <variant>
#include <vector>

namespace tessline::cli {

/// The application made its HID service.
struct HIDServiceCreated {};
/// The application let go of it, and it is gone.
struct HIDServiceReleased {};
/// `onRawPayload` was called.
struct HIDRawPayload {
  std::vector<std::uint8_t> bytes;
};
/// `onTransportEvents` was called.
struct HIDEvents {
  std::vector<TesslineEvent> events;
};

/// One thing that happened. Snapshots and calls stand for themselves.
using Observation = std::variant<HIDServiceCreated, HIDServiceReleased, ConnectedRemoteHIDSnapshot,
                                 HIDRawPayload, HIDEvents, platform::simulated::PlatformCall>;

}  // namespace tessline::cli
