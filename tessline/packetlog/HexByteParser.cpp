#include "tessline/packetlog/HexByteParser.h"

#include "tessline/packetlog/TextKernel.h"
#include "tessline/text/Graphemes.h"
#include "tessline/text/Utf8.h"

#include <cstddef>

namespace tessline::HexByteParser {

namespace {

constexpr bool isAsciiHexDigit(char32_t scalar) {
  return (scalar >= U'0' && scalar <= U'9') || (scalar >= U'a' && scalar <= U'f') ||
         (scalar >= U'A' && scalar <= U'F');
}

constexpr bool isFullWidthHexDigit(char32_t scalar) {
  constexpr char32_t fullWidthOffset = 0xFEE0;  // From "!" to its full-width form, and so on.
  return scalar > fullWidthOffset && isAsciiHexDigit(scalar - fullWidthOffset);
}

// Reads text in which bytes and characters differ, one grapheme cluster at a time.
void parseCharacters(std::string_view text, std::vector<std::uint8_t>& bytes) {
  GraphemeWalk walk(text);
  while (!walk.rest().empty()) {
    const std::string_view runAndRest = walk.rest();
    std::size_t digits = 0;
    bool allAscii = true;
    std::string_view character;
    while (!(character = walk.next()).empty()) {
      const Utf8Scalar scalar = firstScalar(character);
      const bool isDigit = isAsciiHexDigit(scalar.value) || isFullWidthHexDigit(scalar.value);
      if (!isDigit || scalar.size != character.size()) break;
      ++digits;
      allAscii = allAscii && scalar.size == 1;
    }
    if (digits == 2 && allAscii) appendHexBytes(runAndRest.substr(0, digits), bytes);
  }
}

}  // namespace

void parseBytes(std::string_view text, std::vector<std::uint8_t>& bytes) {
  if (isAscii(text)) {
    appendHexBytes(text, bytes);
  } else {
    parseCharacters(text, bytes);
  }
}

std::vector<std::uint8_t> parseBytes(std::string_view text) {
  std::vector<std::uint8_t> bytes;
  parseBytes(text, bytes);
  return bytes;
}

}  // namespace tessline::HexByteParser
