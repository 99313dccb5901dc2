/// @file
/// Bluetooth UUIDs by value, whatever their width.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace standin::bluetooth {

/// All 128 bits.
using UUIDValue = std::array<std::uint8_t, 16>;

/// The bytes of 4 or 8 digits, or of the form of 36 characters; none for other texts.
std::optional<std::vector<std::uint8_t>> parseUUID(const std::string& text);
/// Of 2, 4 or 16 bytes.
UUIDValue valueOfUUID(const std::vector<std::uint8_t>& bytes);
/// As wide as it is.
std::string textOfUUID(const std::vector<std::uint8_t>& bytes);

}  // namespace standin::bluetooth
