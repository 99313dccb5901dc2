/// @file
/// What can be seen of a replay, for output and for checks.
#pragma once

#include "tessline/bluetooth/BluetoothRemoteDiscoverySnapshot.h"
#include "tessline/capture/PacketLoggerCaptureSnapshot.h"
#include "tessline/events/TesslineEvent.h"
#include "tessline/hid/ConnectedRemoteHIDSnapshot.h"
#include "tessline/model/Geometry.h"
#include "tessline/model/SiriRemoteTouchPoint.h"
#include "tessline/model/UUID.h"
#include "tessline/platform/BluetoothCentral.h"
#include "tessline/platform/simulated/PlatformCall.h"
#include "tessline/touch/DragLockChargePhase.h"
#include "tessline/touch/GestureConstants.h"

#include <cstdint>
#include <optional>
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

/// The application made its Bluetooth service.
struct BluetoothCreated {};
/// The application let go of it, and it is gone.
struct BluetoothReleased {};
/// The application asked it for something.
struct BluetoothAsked {};
/// The host's Bluetooth or a peripheral is not as it was.
struct BluetoothHostChanged {};
/// A snapshot was published, and this is how the host was at that moment.
struct BluetoothPublication {
  BluetoothRemoteDiscoverySnapshot snapshot;
  platform::BluetoothState state{};
  bool isScanning = false;
  std::vector<UUID> connected;  ///< The peripherals that are connected.
};
/// `onBatteryLevelChanged` was called.
struct BatteryLevel {
  std::optional<std::int64_t> percent;
};
/// `onRawPayload` of the Bluetooth service was called.
struct BluetoothRawPayload {
  std::vector<std::uint8_t> bytes;
};
/// `onTransportEvents` of the Bluetooth service was called.
struct BluetoothEvents {
  std::vector<TesslineEvent> events;
};

/// One thing that happened. Snapshots and calls stand for themselves.
using Observation =
    std::variant<HIDServiceCreated, HIDServiceReleased, ConnectedRemoteHIDSnapshot, HIDRawPayload,
                 HIDEvents, TouchCreated, TouchReleased, ButtonsReset, TouchPoints, ModeChanged,
                 DragChanged, ChargePhase, ScreensChanged, WindowPlaced, CaptureCreated,
                 CaptureReleased, PacketLoggerCaptureSnapshot, CaptureRawPayload, CaptureEvents,
                 BluetoothCreated, BluetoothReleased, BluetoothAsked, BluetoothHostChanged,
                 BluetoothPublication, BatteryLevel, BluetoothRawPayload, BluetoothEvents,
                 platform::simulated::PlatformCall>;

}  // namespace tessline::cli
