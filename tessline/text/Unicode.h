/// @file
/// Comparing text as Unicode asks for. All of it takes broken UTF-8, which counts as
/// `firstScalar` says.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

namespace tessline {

/// `text` in lower case: Unicode's full mapping, each scalar by itself and without a locale. U+0130
/// becomes two scalars; a sigma is never final.
std::string lowercased(std::string_view text);

/// Whether `text` begins with `prefix`, without regard to letter case (full case folding) and to
/// how characters are composed. The prefix must end where a character of `text` ends. Every text
/// begins with the empty prefix.
bool startsWithIgnoringCase(std::string_view text, std::string_view prefix);

/// The order of two texts in Unicode's canonical order: by their scalars when composed (NFC),
/// letter case included. Texts that differ only in how characters are composed are equal.
std::strong_ordering compareCanonically(std::string_view left, std::string_view right);

/// What kind of character a scalar is, by the first letter of its general category.
enum class UnicodeCategory : std::uint8_t {
  letter,  ///< L
  mark,    ///< M
  number,  ///< N
  other,   ///< P, S, Z and C
};

/// The kind of that scalar.
UnicodeCategory unicodeCategory(char32_t scalar);

}  // namespace tessline
