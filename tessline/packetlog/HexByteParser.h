/// @file
/// Bytes written as two-digit hexadecimal numbers among other text.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace tessline::HexByteParser {

/// The bytes that `text` (UTF-8) names, in text order; empty when it names none. Never fails.
///
/// Text is split into runs of hexadecimal digits; every other character separates runs. A run of
/// exactly two ASCII digits is a byte, a run of any other length is dropped whole: "1B23" gives
/// nothing, "0x1B" gives 1B. The full-width forms of the digits belong to runs but never make a
/// number, so a run that holds one is dropped too.
///
/// A character is a grapheme cluster: a digit that carries a combining mark is not a digit. Bytes
/// that are not valid UTF-8 separate runs, as U+FFFD would.
std::vector<std::uint8_t> parseBytes(std::string_view text);

/// As above, but appends to `bytes`, so that a caller can reuse its storage.
void parseBytes(std::string_view text, std::vector<std::uint8_t>& bytes);

}  // namespace tessline::HexByteParser
