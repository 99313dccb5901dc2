/// @file
/// Lines of a packet log, made to order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tessline::test {

/// How many characters stand before a line's packet bytes.
inline constexpr std::size_t packetLinePrefixLength = 54;

/// A received packet's line of full length, without a line end: `address`, then `payload` (any
/// text) from the 55th character on.
std::string receivedLine(std::string_view payload, std::string_view address = "");
std::string receivedLine(std::span<const std::uint8_t> payload, std::string_view address = "");

/// The same for a packet that was sent.
std::string sentLine(std::string_view payload, std::string_view address = "");

}  // namespace tessline::test
