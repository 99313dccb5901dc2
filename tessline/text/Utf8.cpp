#include "tessline/text/Utf8.h"

#include <cstdint>
#include <cstring>

namespace tessline {

namespace {

// How a sequence goes on behind its lead byte. The range of the second byte is what keeps overlong
// forms, surrogates and values above U+10FFFF out.
struct SequenceShape {
  std::size_t size;
  std::uint8_t secondLow;
  std::uint8_t secondHigh;
};

constexpr SequenceShape shapeOf(std::uint8_t lead) {
  if (lead >= 0xC2 && lead <= 0xDF) return {2, 0x80, 0xBF};
  if (lead == 0xE0) return {3, 0xA0, 0xBF};
  if (lead == 0xED) return {3, 0x80, 0x9F};
  if (lead >= 0xE1 && lead <= 0xEF) return {3, 0x80, 0xBF};
  if (lead == 0xF0) return {4, 0x90, 0xBF};
  if (lead >= 0xF1 && lead <= 0xF3) return {4, 0x80, 0xBF};
  if (lead == 0xF4) return {4, 0x80, 0x8F};
  return {1, 0, 0};
}

}  // namespace

Utf8Scalar firstScalar(std::string_view text) {
  if (text.empty()) return {};
  const auto byteAt = [text](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
  const std::uint8_t lead = byteAt(0);
  if (lead < 0x80) return {lead, 1};
  const SequenceShape shape = shapeOf(lead);
  if (shape.size == 1) return {replacementCharacter, 1};

  char32_t value = lead & (0x7FU >> shape.size);
  for (std::size_t index = 1; index < shape.size; ++index) {
    const std::uint8_t low = index == 1 ? shape.secondLow : 0x80;
    const std::uint8_t high = index == 1 ? shape.secondHigh : 0xBF;
    if (index == text.size() || byteAt(index) < low || byteAt(index) > high) {
      return {replacementCharacter, index};
    }
    value = value << 6 | (byteAt(index) & 0x3FU);
  }
  return {value, shape.size};
}

bool isAscii(std::string_view text) {
  constexpr std::uint64_t highBits = 0x8080808080808080;
  std::uint64_t seen = 0;
  std::size_t index = 0;
  for (; index + sizeof seen <= text.size(); index += sizeof seen) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data() + index, sizeof word);
    seen |= word;
  }
  for (; index < text.size(); ++index) seen |= static_cast<std::uint8_t>(text[index]);
  return (seen & highBits) == 0;
}

}  // namespace tessline
