/// @file
/// Universally unique identifiers.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessline {

/// 128 bits that name one thing.
struct UUID {
  std::array<std::uint8_t, 16> bytes{};  ///< In the order in which they are written.

  /// Reads the usual form of 36 characters, in either letter case, for example
  /// "8341F2B4-C013-4F04-8197-C4CDB42E26DC"; nothing for any other text.
  static constexpr std::optional<UUID> parse(std::string_view text);

  /// The usual form, in upper case.
  std::string text() const;

  bool operator==(const UUID&) const = default;
  /// By the bytes, the first one first.
  friend constexpr std::strong_ordering operator<=>(const UUID& left, const UUID& right) {
    // Not every standard library compares arrays in three ways.
    if (left.bytes == right.bytes) return std::strong_ordering::equal;
    return left.bytes < right.bytes ? std::strong_ordering::less : std::strong_ordering::greater;
  }
};

/// The value of a hexadecimal digit, in either letter case; nothing for any other character.
constexpr std::optional<std::uint8_t> hexDigit(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<std::uint8_t>(digit - '0');
  if (digit >= 'A' && digit <= 'F') return static_cast<std::uint8_t>(digit - 'A' + 10);
  if (digit >= 'a' && digit <= 'f') return static_cast<std::uint8_t>(digit - 'a' + 10);
  return std::nullopt;
}

constexpr std::optional<UUID> UUID::parse(std::string_view text) {
  constexpr std::size_t length = 36;
  if (text.size() != length) return std::nullopt;
  UUID result;
  std::size_t place = 0;
  for (std::size_t index = 0; index < result.bytes.size(); ++index) {
    // Hyphens stand behind the bytes 4, 6, 8 and 10.
    if ((index == 4 || index == 6 || index == 8 || index == 10) && text[place++] != '-') {
      return std::nullopt;
    }
    const auto high = hexDigit(text[place++]);
    const auto low = hexDigit(text[place++]);
    if (!high || !low) return std::nullopt;
    result.bytes[index] = static_cast<std::uint8_t>(*high << 4 | *low);
  }
  return result;
}

}  // namespace tessline
