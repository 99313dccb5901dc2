#include "tests/support/ReferenceTextReader.h"

#include <algorithm>
#include <array>
#include <utility>

#include <utf8proc.h>

namespace tessline::test {

namespace {

struct ByteRange {
  unsigned first;
  unsigned last;
};

constexpr ByteRange tail = {0x80, 0xBF};

// Every well-formed sequence, as Unicode's table of them lists the bytes.
const std::array<std::vector<ByteRange>, 9> wellFormedSequences = {{
    {{0x00, 0x7F}},
    {{0xC2, 0xDF}, tail},
    {{0xE0, 0xE0}, {0xA0, 0xBF}, tail},
    {{0xE1, 0xEC}, tail, tail},
    {{0xED, 0xED}, {0x80, 0x9F}, tail},
    {{0xEE, 0xEF}, tail, tail},
    {{0xF0, 0xF0}, {0x90, 0xBF}, tail, tail},
    {{0xF1, 0xF3}, tail, tail, tail},
    {{0xF4, 0xF4}, {0x80, 0x8F}, tail, tail},
}};

unsigned byteAt(std::string_view text, std::size_t index) {
  return static_cast<unsigned char>(text[index]);
}

std::size_t matchingLength(std::string_view text, const std::vector<ByteRange>& sequence) {
  std::size_t length = 0;
  while (length < sequence.size() && length < text.size() &&
         byteAt(text, length) >= sequence[length].first &&
         byteAt(text, length) <= sequence[length].last) {
    ++length;
  }
  return length;
}

char32_t decoded(std::string_view sequence) {
  if (sequence.size() == 1) return byteAt(sequence, 0);
  char32_t value = byteAt(sequence, 0) & (0x7Fu >> sequence.size());
  for (std::size_t index = 1; index < sequence.size(); ++index) {
    value = value * 64 + (byteAt(sequence, index) - 0x80);
  }
  return value;
}

struct Scalar {
  char32_t value;
  std::string source;
};

Scalar frontScalar(std::string_view text) {
  std::size_t longestPart = 1;
  for (const auto& sequence : wellFormedSequences) {
    const std::size_t length = matchingLength(text, sequence);
    const std::string_view part = text.substr(0, length);
    if (length == sequence.size()) return {decoded(part), std::string(part)};
    longestPart = std::max(longestPart, length);
  }
  return {U'\uFFFD', std::string(text.substr(0, longestPart))};
}

bool isNewline(const ReferenceCharacter& character) {
  const std::array<std::u32string, 8> newlines = {U"\n",   U"\v",     U"\f",     U"\r",
                                                  U"\r\n", U"\u0085", U"\u2028", U"\u2029"};
  return std::find(newlines.begin(), newlines.end(), character.scalars) != newlines.end();
}

bool isOneOf(const ReferenceCharacter& character, std::u32string_view scalars) {
  return character.scalars.size() == 1 &&
         scalars.find(character.scalars[0]) != std::u32string_view::npos;
}

bool isAsciiHexDigit(const ReferenceCharacter& character) {
  return isOneOf(character, U"0123456789abcdefABCDEF");
}

bool isHexDigit(const ReferenceCharacter& character) {
  return isAsciiHexDigit(character) ||
         isOneOf(character, U"０１２３４５６７８９ａｂｃｄｅｆＡＢＣＤＥＦ");
}

std::uint8_t hexNumber(const ReferenceCharacter& high, const ReferenceCharacter& low) {
  return static_cast<std::uint8_t>(std::stoul(high.source + low.source, nullptr, 16));
}

// By their bytes: two broken sequences read alike, but only the same one is the same text.
bool isSameUnit(const ReferenceCharacter& left, const ReferenceCharacter& right) {
  return left.source == right.source;
}

bool isSameIgnoringAsciiCase(const ReferenceCharacter& left, const ReferenceCharacter& right) {
  const auto folded = [](std::u32string scalars) {
    for (char32_t& scalar : scalars) {
      if (scalar >= U'A' && scalar <= U'Z') scalar += U'a' - U'A';
    }
    return scalars;
  };
  return folded(left.scalars) == folded(right.scalars);
}

template <class Same>
std::optional<std::size_t> positionOf(std::string_view word, const ReferenceCharacters& text,
                                      Same same) {
  const ReferenceCharacters wanted = ReferenceTextReader::characters(word);
  for (std::size_t start = 0; start + wanted.size() <= text.size(); ++start) {
    bool found = true;
    for (std::size_t index = 0; index < wanted.size(); ++index) {
      found = found && same(text[start + index], wanted[index]);
    }
    if (found) return start;
  }
  return std::nullopt;
}

std::optional<std::size_t> positionOfReceivedMark(const ReferenceCharacters& line) {
  return positionOf("RECV", line, isSameIgnoringAsciiCase);
}

ReferenceCharacters withoutFirst(std::size_t count, const ReferenceCharacters& text) {
  return {text.begin() + static_cast<std::ptrdiff_t>(count), text.end()};
}

}  // namespace

ReferenceCharacters ReferenceTextReader::characters(std::string_view text) {
  ReferenceCharacters result;
  utf8proc_int32_t state = 0;
  char32_t previous = 0;
  while (!text.empty()) {
    const Scalar scalar = frontScalar(text);
    text.remove_prefix(scalar.source.size());
    if (result.empty() ||
        utf8proc_grapheme_break_stateful(static_cast<utf8proc_int32_t>(previous),
                                         static_cast<utf8proc_int32_t>(scalar.value), &state)) {
      result.emplace_back();
    }
    result.back().scalars += scalar.value;
    result.back().source += scalar.source;
    previous = scalar.value;
  }
  return result;
}

std::vector<std::uint8_t> ReferenceTextReader::hexBytes(const ReferenceCharacters& text) {
  std::vector<ReferenceCharacters> runs(1);
  for (const auto& character : text) {
    if (isHexDigit(character)) {
      runs.back().push_back(character);
    } else {
      runs.emplace_back();
    }
  }
  std::vector<std::uint8_t> result;
  for (const auto& run : runs) {
    if (run.size() == 2 && isAsciiHexDigit(run[0]) && isAsciiHexDigit(run[1])) {
      result.push_back(hexNumber(run[0], run[1]));
    }
  }
  return result;
}

std::vector<ReferenceCharacters> ReferenceTextReader::lines(const ReferenceCharacters& text) {
  std::vector<ReferenceCharacters> result(1);
  for (const auto& character : text) {
    if (isNewline(character)) {
      result.emplace_back();
    } else {
      result.back().push_back(character);
    }
  }
  if (result.back().empty()) result.pop_back();
  return result;
}

ReferenceCharacters ReferenceTextReader::payloadRegion(const ReferenceCharacters& line) {
  if (line.size() >= 55) return withoutFirst(54, line);
  if (const auto position = positionOfReceivedMark(line)) return withoutFirst(*position + 4, line);
  return line;
}

std::string ReferenceTextReader::sourceText(const ReferenceCharacters& characters) {
  std::string text;
  for (const auto& character : characters) text += character.source;
  return text;
}

bool ReferenceTextReader::addressMatches(const ReferenceCharacters& line) const {
  if (!acceptedRemoteAddress_.has_value() || acceptedRemoteAddress_->empty()) return true;
  return positionOf(*acceptedRemoteAddress_, line, isSameUnit).has_value() ||
         positionOf("00:00:00:00:00:00", line, isSameUnit).has_value();
}

ReferenceLineKind ReferenceTextReader::readLine(const ReferenceCharacters& line,
                                                std::vector<std::uint8_t>& payload) const {
  if (!positionOfReceivedMark(line)) return ReferenceLineKind::notReceived;
  if (!addressMatches(line)) return ReferenceLineKind::otherRemote;
  const auto found = hexBytes(payloadRegion(line));
  if (found.empty()) return ReferenceLineKind::withoutPayload;
  payload.insert(payload.end(), found.begin(), found.end());
  return ReferenceLineKind::packet;
}

ReferenceReading ReferenceTextReader::read(std::string_view text) const {
  ReferenceReading reading;
  for (const auto& line : lines(characters(text))) {
    ++reading.lines;
    if (line.empty()) {
      ++reading.empty;
      continue;
    }
    std::vector<std::uint8_t> payload;
    switch (readLine(line, payload)) {
      case ReferenceLineKind::packet:
        reading.packets.push_back({reading.lines, sourceText(line), payload});
        break;
      case ReferenceLineKind::notReceived:
        ++reading.notReceived;
        break;
      case ReferenceLineKind::otherRemote:
        ++reading.otherRemote;
        break;
      case ReferenceLineKind::withoutPayload:
        ++reading.withoutPayload;
        break;
    }
  }
  return reading;
}

}  // namespace tessline::test
