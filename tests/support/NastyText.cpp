#include "tests/support/NastyText.h"

#include <array>

using namespace std::string_view_literals;

namespace tessline::test {

namespace {

constexpr std::array combinations = {
    "e\xCC\x81"sv,                                     // e and a combining acute accent
    "\xC3\xA9"sv,                                      // the same letter as one scalar
    "\xCC\x81"sv,                                      // the accent alone
    "1\xEF\xB8\x8F\xE2\x83\xA3"sv,                     // a keycap
    "\xE2\x80\x8D"sv,                                  // zero width joiner
    "\xEF\xB8\x8F"sv,                                  // variation selector
    "\xD8\x80"sv,                                      // a mark that joins the digit behind it
    "\xE0\xA4\xBE"sv,                                  // a spacing mark
    "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB"sv,  // two emoji joined to one
    "\xF0\x9F\x91\xA9"sv,
    "\xF0\x9F\x8F\xBD"sv,  // a skin tone
    "\xF0\x9F\x87\xA9"sv,  // half a flag
    "\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA"sv,
    "\xE1\x84\x80"sv,  // Hangul: a leading consonant, a vowel, a trailing consonant, a syllable
    "\xE1\x85\xA1"sv,
    "\xE1\x86\xA8"sv,
    "\xEA\xB0\x80"sv,
    "\xEF\xBC\x91"sv,  // full-width 1, A and f
    "\xEF\xBC\xA1"sv,
    "\xEF\xBD\x86"sv,
    "\xEF\xBC\xA7"sv,                                      // full-width G, which is no digit
    "\xEF\xBC\xB2\xEF\xBC\xA5\xEF\xBC\xA3\xEF\xBC\xB6"sv,  // full-width RECV
    "\xE2\x84\xAA"sv,                                      // the Kelvin sign
    "\0"sv,
};

constexpr std::array brokenUtf8 = {
    "\x80"sv,  // a tail without a head
    "\xC2"sv,  // heads without their tails
    "\xE2\x80"sv,
    "\xF0\x9F\x91"sv,
    "\xC1\xBF"sv,  // overlong forms
    "\xE0\x80\x8A"sv,
    "\xF0\x80\x80\x8A"sv,
    "\xED\xA0\x80"sv,      // a surrogate
    "\xF4\x90\x80\x80"sv,  // beyond the last scalar
    "\xFE"sv,
    "\xFF"sv,
};

constexpr std::array lineEnds = {
    "\n"sv,   "\v"sv,       "\f"sv,           "\r"sv,           "\r\n"sv,
    "\n\r"sv, "\xC2\x85"sv, "\xE2\x80\xA8"sv, "\xE2\x80\xA9"sv,
};

constexpr std::array ordinaryPieces = {
    "1b"sv,   "23"sv,   "00"sv,   "F0"sv,  "b8"sv,   "1B23"sv, "0x1B"sv, "a"sv,
    "abc"sv,  " "sv,    " "sv,    " "sv,   "  "sv,   "\t"sv,   ":"sv,    "-"sv,
    "RECV"sv, "recv"sv, "ReCv"sv, "REC"sv, "SEND"sv, "ACL"sv,  "g"sv,    nastyTextAddress,
};

constexpr std::array addresses = {
    nastyTextAddress,
    "aa:bb:cc:dd:ee:ff"sv,
    "00:00:00:00:00:00"sv,
    "AA:BB:CC:DD:EE:FF\xCC\x81"sv,
    "\xD8\x80"
    "00:00:00:00:00:00"sv,
};

constexpr auto allNastyPieces = [] {
  std::array<std::string_view, combinations.size() + brokenUtf8.size() + lineEnds.size()> all;
  std::size_t count = 0;
  for (const auto piece : combinations) all[count++] = piece;
  for (const auto piece : brokenUtf8) all[count++] = piece;
  for (const auto piece : lineEnds) all[count++] = piece;
  return all;
}();

}  // namespace

std::span<const std::string_view> nastyPieces() {
  return allNastyPieces;
}

std::string_view NastyTextGenerator::oneOf(std::span<const std::string_view> pieces) {
  return pieces[below(pieces.size())];
}

std::string NastyTextGenerator::anything() {
  std::string text;
  for (std::size_t count = below(40); count > 0; --count) {
    text += below(3) == 0 ? oneOf(allNastyPieces) : oneOf(ordinaryPieces);
  }
  return text;
}

std::string NastyTextGenerator::hexNumbers(std::size_t count) {
  constexpr std::string_view digits = "0123456789abcdefABCDEF";
  std::string text;
  for (; count > 0; --count) {
    text += digits[below(digits.size())];
    text += digits[below(digits.size())];
    text += below(12) == 0 ? oneOf(combinations) : " "sv;
  }
  return text;
}

std::string NastyTextGenerator::line() {
  std::string text = below(2) == 0 ? "Nov 21 01:02:03.456  " : "";
  text += below(5) == 0 ? "SEND" : oneOf(std::array{"RECV"sv, "recv"sv, "Recv"sv, "rEcV"sv});
  text += below(4) == 0 ? oneOf(combinations) : "  "sv;
  if (below(2) == 0) text += oneOf(addresses);
  // Bytes stand for characters here, so that what joins and what breaks moves the 55th about.
  const std::size_t length = 50 + below(10);
  while (text.size() < length) {
    text += below(6) == 0 ? oneOf(combinations) : " "sv;
    if (below(40) == 0) text += oneOf(brokenUtf8);
  }
  return below(3) == 0 ? text : text + hexNumbers(below(12));
}

std::string NastyTextGenerator::text() {
  std::string text;
  for (std::size_t count = below(12); count > 0; --count) {
    text += below(4) == 0 ? anything() : line();
    if (below(10) != 0) text += oneOf(lineEnds);
    if (below(4) == 0) text += oneOf(lineEnds);
  }
  return text;
}

}  // namespace tessline::test
