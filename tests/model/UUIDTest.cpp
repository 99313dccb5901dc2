#include "tessline/model/UUID.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

constexpr UUID voice = {{0x83, 0x41, 0xF2, 0xB4, 0xC0, 0x13, 0x4F, 0x04, 0x81, 0x97, 0xC4, 0xCD,
                         0xB4, 0x2E, 0x26, 0xDC}};
constexpr std::string_view voiceText = "8341F2B4-C013-4F04-8197-C4CDB42E26DC";

static_assert(UUID::parse(voiceText) == voice, "must be of use in constants");

TEST(HexDigit, HasAValueInEitherCaseAndNoOtherCharacterHas) {
  const std::string_view lower = "0123456789abcdef";
  const std::string_view upper = "0123456789ABCDEF";
  for (int code = 0; code < 256; ++code) {
    const char character = static_cast<char>(code);
    const std::size_t value = std::min(lower.find(character), upper.find(character));
    const auto digit = hexDigit(character);
    EXPECT_EQ(digit ? *digit : std::string_view::npos, value) << code;
  }
}

TEST(UUID, IsWrittenInUpperCase) {
  EXPECT_EQ(voice.text(), voiceText);
  EXPECT_EQ(UUID().text(), "00000000-0000-0000-0000-000000000000");
}

TEST(UUID, IsReadInEitherCase) {
  EXPECT_EQ(UUID::parse(voiceText), voice);
  EXPECT_EQ(UUID::parse("8341f2b4-c013-4f04-8197-c4cdb42e26dc"), voice);
  EXPECT_EQ(UUID::parse("8341f2B4-C013-4f04-8197-C4cdb42E26dC"), voice);
}

TEST(UUID, EveryByteIsReadAtItsPlace) {
  const auto counted = UUID::parse("00010203-0405-0607-0809-0A0B0C0D0E0F");
  ASSERT_TRUE(counted);
  for (std::uint8_t index = 0; index < 16; ++index) EXPECT_EQ(counted->bytes[index], index);
}

TEST(UUID, NoOtherCharacterIsReadAnywhere) {
  for (std::size_t place = 0; place < voiceText.size(); ++place) {
    for (const char wrong : {'G', 'g', ' ', '/', ':', '@', '`', '\0', '\xC3'}) {
      std::string text(voiceText);
      text[place] = wrong;
      EXPECT_EQ(UUID::parse(text), std::nullopt) << text;
    }
    std::string text(voiceText);
    text[place] = text[place] == '-' ? '0' : '-';
    EXPECT_EQ(UUID::parse(text), std::nullopt) << text;
  }
}

TEST(UUID, NoOtherLengthIsRead) {
  const std::string text(voiceText);
  for (const std::string& other :
       {std::string(), text.substr(1), text.substr(0, 35), text + "0", " " + text, "{" + text + "}",
        std::string("8341F2B4C01340F08197C4CDB42E26DC"), text + text}) {
    EXPECT_EQ(UUID::parse(other), std::nullopt) << other;
  }
}

TEST(UUID, IsOrderedByItsBytesFromTheFront) {
  const std::set<UUID> sorted = {*UUID::parse("FF000000-0000-0000-0000-000000000000"),
                                 *UUID::parse("00000000-0000-0000-0000-000000000001"),
                                 *UUID::parse("00000000-0000-0000-0000-0000000000FF"),
                                 *UUID::parse("00000000-0001-0000-0000-000000000000"), UUID()};
  std::string order;
  for (const UUID& each : sorted) order += each.text().substr(0, 2) + each.text().substr(34) + " ";
  EXPECT_EQ(order, "0000 0001 00FF 0000 FF00 ");
}

TEST(UUID, IsEqualWhenAllBytesAre) {
  for (std::size_t index = 0; index < 16; ++index) {
    UUID other = voice;
    other.bytes[index] ^= 1U;
    EXPECT_NE(other, voice) << index;
  }
}

}  // namespace
}  // namespace tessline::test
