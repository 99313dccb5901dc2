#include "tessline/text/Whitespace.h"

#include "tessline/text/Utf8.h"

#include <cstddef>

#include <utf8proc.h>

namespace tessline {

namespace {

constexpr std::string_view encodedReplacementCharacter = "\xEF\xBF\xBD";

bool isNewline(char32_t scalar) {
  return (scalar >= U'\n' && scalar <= U'\r') || scalar == U'\u0085' || scalar == U'\u2028' ||
         scalar == U'\u2029';
}

bool isWhitespace(char32_t scalar) {
  if (scalar < 0x80) return scalar == U' ' || scalar == U'\t';
  return scalar == U'\u200B' ||
         utf8proc_category(static_cast<utf8proc_int32_t>(scalar)) == UTF8PROC_CATEGORY_ZS;
}

template <class IsTrimmed>
std::string_view trimmed(std::string_view text, IsTrimmed isTrimmed) {
  std::size_t begin = text.size();
  std::size_t end = text.size();
  for (std::size_t at = 0; at < text.size();) {
    const Utf8Scalar scalar = firstScalar(text.substr(at));
    if (!isTrimmed(scalar.value)) {
      if (begin == text.size()) begin = at;
      end = at + scalar.size;
    }
    at += scalar.size;
  }
  return text.substr(begin, end - begin);
}

}  // namespace

bool isValidUtf8(std::string_view text) {
  if (isAscii(text)) return true;
  while (!text.empty()) {
    const Utf8Scalar scalar = firstScalar(text);
    if (scalar.value == replacementCharacter && !text.starts_with(encodedReplacementCharacter)) {
      return false;
    }
    text.remove_prefix(scalar.size);
  }
  return true;
}

std::string_view trimmedOfWhitespace(std::string_view text) {
  return trimmed(text, isWhitespace);
}

std::string_view trimmedOfWhitespaceAndNewlines(std::string_view text) {
  return trimmed(text, [](char32_t scalar) { return isWhitespace(scalar) || isNewline(scalar); });
}

std::vector<std::string_view> splitAtNewlines(std::string_view text) {
  std::vector<std::string_view> pieces;
  std::size_t begin = 0;
  for (std::size_t at = 0; at < text.size();) {
    const Utf8Scalar scalar = firstScalar(text.substr(at));
    if (isNewline(scalar.value)) {
      pieces.push_back(text.substr(begin, at - begin));
      begin = at + scalar.size;
    }
    at += scalar.size;
  }
  pieces.push_back(text.substr(begin));
  return pieces;
}

}  // namespace tessline
