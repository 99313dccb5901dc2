/// @file
/// The services and characteristics of a Siri Remote.
#pragma once

#include "tessline/model/BluetoothUUID.h"

namespace tessline {

/// The 16-bit ones are the Bluetooth SIG's assigned numbers, the 128-bit ones the remote's own.
struct SiriRemoteBluetoothUUIDs {
  SiriRemoteBluetoothUUIDs() = delete;

  /// Battery Service.
  static constexpr BluetoothUUID batteryService = BluetoothUUID::parse("180F").value();
  /// Battery Level: one byte, percent.
  static constexpr BluetoothUUID batteryLevel = BluetoothUUID::parse("2A19").value();
  /// Battery Power State.
  static constexpr BluetoothUUID powerState = BluetoothUUID::parse("2A1A").value();
  /// Human Interface Device (HID over GATT).
  static constexpr BluetoothUUID hidService = BluetoothUUID::parse("1812").value();
  /// HID Report. A remote has several.
  static constexpr BluetoothUUID hidReport = BluetoothUUID::parse("2A4D").value();
  /// The remote's own service, which carries voice.
  static constexpr BluetoothUUID customVoiceService =
      BluetoothUUID::parse("8341F2B4-C013-4F04-8197-C4CDB42E26DC").value();
  /// The characteristic of that service that notifies.
  static constexpr BluetoothUUID customVoiceNotify =
      BluetoothUUID::parse("30E69638-3752-4FEB-A3AA-3226BCD05ACE").value();
};

}  // namespace tessline
