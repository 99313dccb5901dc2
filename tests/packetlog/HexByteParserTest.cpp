#include "tessline/packetlog/HexByteParser.h"
#include "tests/support/Bytes.h"
#include "tests/support/NastyText.h"
#include "tests/support/ReferenceTextReader.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

struct Row {
  std::string_view behaviour;
  std::string_view text;
  std::string_view bytes;
};

constexpr Row rows[] = {
    {"EmptyText", "", ""},
    {"Hyphens", "--", ""},
    {"NumbersSeparatedByBlanks", "1b 23 00 00 10", "1b 23 00 00 10"},
    {"NumbersSeparatedByColons", "1B:23:00", "1b 23 00"},
    {"NumbersSeparatedByAnything", "1b,23;00\t10\n11\r\n12\v13", "1b 23 00 10 11 12 13"},
    {"NumbersSeparatedByALetterThatIsNoDigit", "1bg23", "1b 23"},
    {"ADate", "12:34:56.789", "12 34 56"},
    {"Words", "abc de f", "de"},
    {"OneDigit", "1", ""},
    {"TwoDigits", "1b", "1b"},
    {"ThreeDigits", "1b2", ""},
    {"FourDigits", "1B23", ""},
    {"ManyDigits", "1b2300001b2300001b2300001b230000", ""},
    {"OneDigitAtTheEnd", "1b 2", "1b"},
    {"ThreeDigitsAtTheEnd", "1b 234", "1b"},
    {"ANumberWithItsPrefix", "0x1B", "1b"},
    {"EveryDigit", "01 23 45 67 89 ab cd ef AB CD EF", "01 23 45 67 89 ab cd ef ab cd ef"},
    {"MixedCase", "aB Ab fF", "ab ab ff"},
    {"LettersNextToTheDigits", "/0: 9: @a `b g1 G2", ""},
    {"TheWordRecv", "RECV", "ec"},
    {"TheWordAcl", "ACL", "ac"},
    {"ANulBetweenNumbers",
     {"1b\0"
      "23",
      5},
     "1b 23"},

    {"FullWidthDigits", "１ｂ", ""},
    {"OneFullWidthDigitMakesANumberNone", "1ｂ １b", ""},
    {"FullWidthDigitsLengthenARun", "1b２ ２1b 1２b", ""},
    {"AsciiDigitsBesideARunOfFullWidthOnes", "1b １ｂ 23", "1b 23"},
    {"EveryFullWidthDigitLengthensARun", "1b０ 1b９ 1bａ 1bｆ 1bＡ 1bＦ", ""},
    {"FullWidthLettersThatAreNoDigits", "1bｇ 23Ｇ 45／ 67： 89＠ ab｀", "1b 23 45 67 89 ab"},
    {"OtherDigitsOfUnicode", "1b\xD9\xA1 23\xE0\xA5\xA7 45\xC2\xB2", "1b 23 45"},

    {"MarkOnTheSecondDigit", "1b\xCC\x81", ""},
    {"MarkOnTheFirstDigit",
     "1\xCC\x81"
     "b",
     ""},
    {"MarkOnAThirdDigit", "1b2\xCC\x81", "1b"},
    {"MarkOnASeparator",
     "1b \xCC\x81"
     "23",
     "1b 23"},
    {"MarkOnTheFirstOfThreeDigits",
     "1\xCC\x81"
     "23",
     "23"},
    {"MarkThatTakesTheNextDigit",
     "\xD8\x80"
     "1b \xD8\x80"
     "123",
     "23"},
    {"Keycap",
     "1\xEF\xB8\x8F\xE2\x83\xA3"
     "23",
     "23"},
    {"JoinerBehindANumber",
     "1b\xE2\x80\x8D"
     "23",
     "23"},
    {"SpacingMarkBehindANumber", "1b\xE0\xA4\xBE 23", "23"},

    {"BrokenBytesSeparate",
     "1b\xFF"
     "23\xE2\x80"
     "45\x80"
     "67",
     "1b 23 45 67"},
    {"MarkOnABrokenByte",
     "1b\xFF\xCC\x81"
     "23",
     "1b 23"},
};

class HexBytes : public ::testing::TestWithParam<Row> {};

TEST_P(HexBytes, AreRead) {
  EXPECT_EQ(hexText(HexByteParser::parseBytes(GetParam().text)), GetParam().bytes);
}

TEST_P(HexBytes, AreReadBehindALongPrefix) {
  const std::string text = std::string(100, '-') + " " + std::string(GetParam().text);
  EXPECT_EQ(hexText(HexByteParser::parseBytes(text)), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Of, HexBytes, ::testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.behaviour); });

TEST(HexByteParser, AppendsToBytesOfBefore) {
  auto result = bytes("ff");
  HexByteParser::parseBytes("1b 23", result);
  HexByteParser::parseBytes("--", result);
  HexByteParser::parseBytes("00", result);
  EXPECT_EQ(hexText(result), "ff 1b 23 00");
}

TEST(HexByteParser, ReadsEveryNumber) {
  for (unsigned value = 0; value < 256; ++value) {
    const std::vector<std::uint8_t> number = {static_cast<std::uint8_t>(value)};
    EXPECT_EQ(HexByteParser::parseBytes(hexText(number)), number);
  }
}

TEST(HexByteParser, DropsARunOfAnyOtherLength) {
  for (std::size_t length = 0; length < 200; ++length) {
    const std::string text = "12 " + std::string(length, 'a') + " 34";
    EXPECT_EQ(hexText(HexByteParser::parseBytes(text)), length == 2 ? "12 aa 34" : "12 34");
  }
}

TEST(HexByteParser, ReadsANumberAtEveryPosition) {
  for (std::size_t before = 0; before < 80; ++before) {
    for (std::size_t behind = 0; behind < 70; behind += 23) {
      const std::string text = std::string(before, ' ') + "1b" + std::string(behind, ' ');
      ASSERT_EQ(hexText(HexByteParser::parseBytes(text)), "1b") << before << ' ' << behind;
    }
  }
}

TEST(HexByteParser, ReadsLongTexts) {
  std::vector<std::uint8_t> numbers;
  for (unsigned value = 0; value < 10000; ++value) {
    numbers.push_back(static_cast<std::uint8_t>(value * 7));
  }
  EXPECT_EQ(HexByteParser::parseBytes(hexText(numbers)), numbers);
}

TEST(HexByteParser, AgreesWithTheReferenceOnNastyTexts) {
  NastyTextGenerator generator(3);
  for (int count = 0; count < 3000; ++count) {
    const std::string text = generator.anything();
    const auto expected = ReferenceTextReader::hexBytes(ReferenceTextReader::characters(text));
    ASSERT_EQ(hexText(HexByteParser::parseBytes(text)), hexText(expected)) << text;
  }
}

}  // namespace
}  // namespace tessline::test
