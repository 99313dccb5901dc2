/// @file
/// The library's reading of packet log text and the slow one, side by side.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tessline::test {

/// Has every text kernel that can run look at `text`. "" when all scan alike and, where the text is
/// ASCII, name the bytes of the slow reading.
std::string compareKernels(std::string_view text);

/// Reads one line both ways. "" when kind, payload, region, address match and packet agree;
/// otherwise a description of the first difference.
std::string compareLine(std::string_view line, const std::optional<std::string>& address);

/// Reads and decodes a capture both ways: lines, counts, packets and events. "" when all agree.
std::string compareCapture(std::string_view text, const std::optional<std::string>& address);

/// Decodes `text` at once, and as it would arrive `pieceSize` bytes at a time, whole lines as soon
/// as they are there. "" when events and line counts agree.
std::string comparePieces(std::string_view text, const std::optional<std::string>& address,
                          std::size_t pieceSize);

}  // namespace tessline::test
