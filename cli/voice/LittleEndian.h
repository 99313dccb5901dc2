/// @file
/// Putting together and taking apart the headers of WAV and Ogg Opus files and of captured packets,
/// whose numbers stand with their low byte first.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tessline::cli {

/// Appends the bytes of `number` to `bytes`, its low byte first.
template <std::unsigned_integral Number>
void appendLittleEndian(std::vector<std::uint8_t>& bytes, Number number) {
  for (std::size_t shift = 0; shift < 8 * sizeof(Number); shift += 8) {
    bytes.push_back(static_cast<std::uint8_t>(number >> shift));
  }
}

/// Appends the characters of `text` to `bytes`.
inline void appendText(std::vector<std::uint8_t>& bytes, std::string_view text) {
  bytes.insert(bytes.end(), text.begin(), text.end());
}

/// The number at the front of `bytes`, which must hold at least `sizeof(Number)` of them.
template <std::unsigned_integral Number>
Number littleEndian(std::span<const std::uint8_t> bytes) {
  std::uintmax_t number = 0;
  for (std::size_t index = sizeof(Number); index-- > 0;) number = number << 8 | bytes[index];
  return static_cast<Number>(number);
}

}  // namespace tessline::cli
