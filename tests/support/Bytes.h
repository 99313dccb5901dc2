/// @file
/// Bytes written the way people write them, for short tests.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::test {

/// The bytes of `text`: two-digit hex numbers separated by single blanks, for example "1b 23 00".
/// Empty text is no bytes. Throws std::invalid_argument for anything else.
std::vector<std::uint8_t> bytes(std::string_view text);

/// `bytes` in the same notation.
std::string hexText(std::span<const std::uint8_t> bytes);

/// The concatenation of `parts`.
std::vector<std::uint8_t> joined(std::initializer_list<std::vector<std::uint8_t>> parts);

}  // namespace tessline::test
