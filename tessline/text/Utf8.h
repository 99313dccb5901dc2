/// @file
/// Reading UTF-8 that may be broken.
#pragma once

#include <cstddef>
#include <string_view>

namespace tessline {

/// What stands for bytes that are not UTF-8.
inline constexpr char32_t replacementCharacter = U'\uFFFD';

/// One Unicode scalar value and how many bytes of the text it took (1 to 4; 0 only at the end).
struct Utf8Scalar {
  char32_t value = 0;    ///< U+FFFD for bytes that are not UTF-8.
  std::size_t size = 0;  ///< In bytes.
};

/// The scalar at the front of `text`, with size 0 when `text` is empty. Where the text is not valid
/// UTF-8 this is U+FFFD, for each maximal part of a sequence that could have become valid: a
/// truncated sequence of three bytes is one, an overlong form or a surrogate is one for each byte.
Utf8Scalar firstScalar(std::string_view text);

/// Whether every byte of `text` is below 0x80.
bool isAscii(std::string_view text);

}  // namespace tessline
