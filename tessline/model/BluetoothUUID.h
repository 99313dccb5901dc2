/// @file
/// The identifiers of Bluetooth services and characteristics.
#pragma once

#include "tessline/model/UUID.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessline {

/// A UUID in one of the three widths that Bluetooth sends: 16, 32 or 128 bits. The short ones stand
/// for 128 bits, at the front of the Bluetooth Base UUID; two are equal if these bits are, whatever
/// their widths.
class BluetoothUUID {
 public:
  /// Reads 4 or 8 hexadecimal digits or the form of 36 characters, in either letter case; nothing
  /// for any other text.
  static constexpr std::optional<BluetoothUUID> parse(std::string_view text);

  /// All 128 bits.
  constexpr const UUID& value() const { return value_; }

  /// In upper case, as wide as it was made: "180F", or 36 characters for one of 128 bits.
  std::string text() const;

  /// Whether all 128 bits are the same.
  friend constexpr bool operator==(const BluetoothUUID& left, const BluetoothUUID& right) {
    return left.value_ == right.value_;
  }
  /// By all 128 bits.
  friend constexpr std::strong_ordering operator<=>(const BluetoothUUID& left,
                                                    const BluetoothUUID& right) {
    return left.value_ <=> right.value_;
  }

 private:
  constexpr BluetoothUUID(const UUID& value, std::size_t textSize)
      : value_(value), textSize_(textSize) {}

  UUID value_;
  std::size_t textSize_;  // 4, 8 or 36.
};

constexpr std::optional<BluetoothUUID> BluetoothUUID::parse(std::string_view text) {
  constexpr std::size_t digitsOf16Bits = 4;
  constexpr std::size_t digitsOf32Bits = 8;
  if (text.size() != digitsOf16Bits && text.size() != digitsOf32Bits) {
    const auto whole = UUID::parse(text);
    if (!whole) return std::nullopt;
    return BluetoothUUID(*whole, text.size());
  }
  // The Bluetooth Base UUID; the short value replaces its first 32 bits.
  UUID value = UUID::parse("00000000-0000-1000-8000-00805F9B34FB").value();
  std::size_t half = digitsOf32Bits - text.size();
  for (const char character : text) {
    const auto digit = hexDigit(character);
    if (!digit) return std::nullopt;
    auto& byte = value.bytes[half++ / 2];
    byte = static_cast<std::uint8_t>(byte << 4 | *digit);
  }
  return BluetoothUUID(value, text.size());
}

}  // namespace tessline
