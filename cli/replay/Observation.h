/// @file
/// What can be seen of a replay, for output and for checks.
#pragma once

#include "tessline/capture/PacketLoggerCaptureSnapshot.h"
#include "tessline/events/TesslineEvent.h"
#include "tessline/hid/ConnectedRemoteHIDSnapshot.h"
#include "tessline/model/Geometry.h"
#include "tessline/model/SiriRemoteTouchPoint.h"
#include "tessline/platform/simulated/PlatformCall.h"
#include "tessline/touch/DragLockChargePhase.h"
#include "tessline/touch/GestureConstants.h"

#include <cstdint>
#include <string>
#include <string_view>
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

/// The application made its multitouch service and its gesture controller.
struct TouchCreated {
  GestureSettings settings;
};
/// The application let go of both, and they are gone.
struct TouchReleased {};
/// The application reset the buttons; what that caused came before.
struct ButtonsReset {};
/// `onTouchesChanged` was called.
struct TouchPoints {
  std::vector<SiriRemoteTouchPoint> points;
};
/// The gesture is another one.
struct ModeChanged {
  std::string_view mode;
};
/// `isDragging` or `isDragLocked` changed.
struct DragChanged {
  bool isDragging = false;
  bool isDragLocked = false;
};
/// `onDragLockChargePhase` was called.
struct ChargePhase {
  DragLockChargePhase phase{};
};
/// The screens are these, in the window system's coordinates.
struct ScreensChanged {
  std::vector<Rect> frames;
};
/// A window stands there, in global display coordinates.
struct WindowPlaced {
  std::string window;
  Rect frame;
  bool isByRecord =
      false;  ///< Because the recording says so, and not because of what was replayed.
};

/// The application made its capture service.
struct CaptureCreated {};
/// The application let go of it, and it is gone.
struct CaptureReleased {};
/// `onRawPayload` of the capture was called.
struct CaptureRawPayload {
  std::vector<std::uint8_t> bytes;
};
/// `onTransportEvents` of the capture was called.
struct CaptureEvents {
  std::vector<TesslineEvent> events;
};

/// One thing that happened. Snapshots and calls stand for themselves.
using Observation =
    std::variant<HIDServiceCreated, HIDServiceReleased, ConnectedRemoteHIDSnapshot, HIDRawPayload,
                 HIDEvents, TouchCreated, TouchReleased, ButtonsReset, TouchPoints, ModeChanged,
                 DragChanged, ChargePhase, ScreensChanged, WindowPlaced, CaptureCreated,
                 CaptureReleased, PacketLoggerCaptureSnapshot, CaptureRawPayload, CaptureEvents,
                 platform::simulated::PlatformCall>;

}  // namespace tessline::cli
