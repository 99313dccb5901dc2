/// @file
/// Captured HCI ACL packets that carry voice, made to order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tessline::test {

/// Where the byte with the packet-boundary flag stands: 1 in a packet that begins with its
/// connection handle, 2 with one more byte before that.
enum class FlagByte : std::size_t { first = 1, second = 2 };

/// A first fragment whose ATT notification carries `frame` (hex text: length byte, Opus bytes).
std::vector<std::uint8_t> frameStart(std::string_view frame, FlagByte flag = FlagByte::first);

/// A first fragment in which `frame` begins two bytes later and no ATT header is looked at.
std::vector<std::uint8_t> longFrameStart(std::string_view frame, FlagByte flag = FlagByte::first);

/// A continuation fragment that carries `data` (hex text).
std::vector<std::uint8_t> continuation(std::string_view data, FlagByte flag = FlagByte::first);

}  // namespace tessline::test
