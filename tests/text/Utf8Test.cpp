#include "tessline/text/Utf8.h"
#include "tests/support/NastyText.h"
#include "tests/support/ReferenceTextReader.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using namespace std::string_view_literals;

struct Row {
  std::string_view behaviour;
  std::string_view text;
  char32_t value;
  std::size_t size;
};

constexpr char32_t ill = U'\uFFFD';

constexpr Row rows[] = {
    {"NothingAtTheEnd", "", 0, 0},
    {"Nul", "\0x"sv, 0, 1},
    {"Ascii", "ab", U'a', 1},
    {"LastAscii", "\x7F", 0x7F, 1},
    {"FirstOfTwoBytes", "\xC2\x80", 0x80, 2},
    {"LastOfTwoBytes", "\xDF\xBFx", 0x7FF, 2},
    {"FirstOfThreeBytes", "\xE0\xA0\x80", 0x800, 3},
    {"LastBeforeTheSurrogates", "\xED\x9F\xBF", 0xD7FF, 3},
    {"FirstBehindTheSurrogates", "\xEE\x80\x80", 0xE000, 3},
    {"TheReplacementCharacterItself", "\xEF\xBF\xBD", ill, 3},
    {"LastOfThreeBytes", "\xEF\xBF\xBFx", 0xFFFF, 3},
    {"FirstOfFourBytes", "\xF0\x90\x80\x80", 0x10000, 4},
    {"LastOfFourBytes", "\xF4\x8F\xBF\xBFx", 0x10FFFF, 4},
    {"MiddleOfFourBytes", "\xF1\x80\x80\x81", 0x40001, 4},

    {"TailAlone", "\x80x", ill, 1},
    {"TailsOneByOne", "\xBF\xBF", ill, 1},
    {"OverlongOfTwoBytesByteByByte", "\xC0\x80", ill, 1},
    {"LastOverlongOfTwoBytesByteByByte", "\xC1\xBF", ill, 1},
    {"OverlongOfThreeBytesByteByByte", "\xE0\x9F\xBF", ill, 1},
    {"OverlongOfFourBytesByteByByte", "\xF0\x8F\xBF\xBF", ill, 1},
    {"FirstSurrogateByteByByte", "\xED\xA0\x80", ill, 1},
    {"LastSurrogateByteByByte", "\xED\xBF\xBF", ill, 1},
    {"BeyondTheLastScalarByteByByte", "\xF4\x90\x80\x80", ill, 1},
    {"HeadsBeyondTheLastScalar", "\xF5\x80\x80\x80", ill, 1},
    {"BytesThatNeverOccur", "\xFF\xFE", ill, 1},

    {"TwoBytesCutAtTheEnd", "\xC2", ill, 1},
    {"TwoBytesCutByAscii", "\xC2x", ill, 1},
    {"ThreeBytesCutBehindOne", "\xE2", ill, 1},
    {"ThreeBytesCutBehindTwoAsOne", "\xE2\x80", ill, 2},
    {"ThreeBytesCutByAsciiAsOne", "\xE2\x80x", ill, 2},
    {"ThreeBytesCutByAnotherHeadAsOne", "\xE2\x80\xE2\x80\xA8", ill, 2},
    {"FourBytesCutBehindOne", "\xF0", ill, 1},
    {"FourBytesCutBehindTwoAsOne", "\xF0\x9F", ill, 2},
    {"FourBytesCutBehindThreeAsOne", "\xF0\x9F\x91", ill, 3},
    {"FourBytesCutByALineEndAsOne", "\xF0\x9F\x91\n", ill, 3},
};

class FirstScalar : public ::testing::TestWithParam<Row> {};

TEST_P(FirstScalar, IsRead) {
  const Utf8Scalar scalar = firstScalar(GetParam().text);
  EXPECT_EQ(scalar.value, GetParam().value);
  EXPECT_EQ(scalar.size, GetParam().size);
}

INSTANTIATE_TEST_SUITE_P(Of, FirstScalar, ::testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.behaviour); });

std::u32string scalarsOf(std::string_view text) {
  std::u32string result;
  while (!text.empty()) {
    const Utf8Scalar scalar = firstScalar(text);
    result += scalar.value;
    text.remove_prefix(scalar.size);
  }
  return result;
}

std::u32string referenceScalarsOf(std::string_view text) {
  std::u32string result;
  for (const auto& character : ReferenceTextReader::characters(text)) result += character.scalars;
  return result;
}

TEST(Utf8, ReadsEveryShortSequenceAsTheReferenceDoes) {
  for (unsigned first = 0; first < 256; ++first) {
    for (unsigned second = 0; second < 256; ++second) {
      for (const char tail : {'\x80', '\xBF', 'x'}) {
        const std::string text = {static_cast<char>(first), static_cast<char>(second), tail,
                                  '\x80'};
        ASSERT_EQ(scalarsOf(text), referenceScalarsOf(text)) << first << ' ' << second;
      }
    }
  }
}

TEST(Utf8, ReadsNastyTextsAsTheReferenceDoes) {
  NastyTextGenerator generator(1);
  for (int count = 0; count < 500; ++count) {
    const std::string text = generator.anything();
    ASSERT_EQ(scalarsOf(text), referenceScalarsOf(text)) << text;
  }
}

TEST(Utf8, KnowsAscii) {
  EXPECT_TRUE(isAscii(""));
  EXPECT_TRUE(isAscii("\0\n\x7F"sv));
  EXPECT_FALSE(isAscii("\x80"));
  EXPECT_FALSE(isAscii("\xC3\xA9"));
}

TEST(Utf8, KnowsAsciiWhereverTheOtherByteStands) {
  for (std::size_t size = 1; size < 100; ++size) {
    std::string text(size, 'x');
    EXPECT_TRUE(isAscii(text));
    for (char& byte : text) {
      byte = '\x80';
      EXPECT_FALSE(isAscii(text)) << size;
      byte = 'x';
    }
  }
}

}  // namespace
}  // namespace tessline::test
