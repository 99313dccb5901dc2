/// @file
/// Blanks and line ends, as Unicode knows them.
#pragma once

#include <string_view>
#include <vector>

namespace tessline {

/// Whether every byte belongs to a well-formed sequence.
bool isValidUtf8(std::string_view text);

/// `text` without the blanks at both ends: space separators, tabs and U+200B, but no line ends.
std::string_view trimmedOfWhitespace(std::string_view text);

/// `text` without the blanks and line ends at both ends. Line ends are LF, VT, FF, CR, U+0085,
/// U+2028 and U+2029.
std::string_view trimmedOfWhitespaceAndNewlines(std::string_view text);

/// The pieces between line ends, each scalar that is one being an end of its own: CR LF has an
/// empty piece in between. An empty text has one piece.
std::vector<std::string_view> splitAtNewlines(std::string_view text);

}  // namespace tessline
