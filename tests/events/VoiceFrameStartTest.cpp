#include "tessline/events/SiriRemoteReportParser.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Index = std::optional<std::size_t>;
constexpr Index noStart;

struct Row {
  std::string_view behaviour;
  std::size_t size;
  std::vector<std::pair<std::size_t, std::uint8_t>> values;  // The other bytes are zero.
  Index expected;

  std::vector<std::uint8_t> payload() const {
    std::vector<std::uint8_t> bytes(size);
    for (const auto& [index, value] : values) bytes.at(index) = value;
    return bytes;
  }
};

std::string behaviour(const ::testing::TestParamInfo<Row>& row) {
  return std::string(row.param.behaviour);
}

const std::vector<Row> frameStartRows = {
    {"NoneInNoBytes", 0, {}, noStart},
    {"NoneInOneByte", 1, {{0, 0x20}}, noStart},
    {"NoneInTwoBytes", 2, {{1, 0x20}}, noStart},
    {"NoneInThreeBytes", 3, {{1, 0x20}, {2, 0x20}}, noStart},

    {"LongForm", 40, {{1, 0x20}, {18, 0xB8}}, 17},
    {"LongFormThatEndsWithItsFirstOpusByte", 19, {{1, 0x20}, {18, 0xB8}}, 17},
    {"LongFormThatEndsWithItsLengthByte", 18, {{1, 0x20}, {17, 0xB8}}, noStart},
    {"LongFormWithAnotherFirstOpusByte", 40, {{1, 0x20}, {18, 0xB9}}, noStart},
    {"NotificationForm", 40, {{1, 0x20}, {8, 0x1B}, {9, 0x36}, {16, 0xB8}}, 15},
    {"NotificationFormOfTwentyBytes",
     20,
     {{1, 0x20}, {8, 0x1B}, {9, 0x36}, {15, 0x03}, {16, 0xB8}, {18, 0x77}, {19, 0x78}},
     15},
    {"NotificationFormThatEndsWithItsFirstOpusByte",
     17,
     {{1, 0x20}, {8, 0x1B}, {9, 0x36}, {16, 0xB8}},
     15},
    {"NotificationFormThatEndsWithItsLengthByte",
     16,
     {{1, 0x20}, {8, 0x1B}, {9, 0x36}, {15, 0xB8}},
     noStart},
    {"NotificationFormWithAnotherFirstOpusByte",
     40,
     {{1, 0x20}, {8, 0x1B}, {9, 0x36}, {16, 0xB0}},
     noStart},
    {"NotificationOfAnotherHandle", 40, {{1, 0x20}, {8, 0x1B}, {9, 0x35}, {16, 0xB8}}, noStart},
    {"OtherOperationThanANotification", 40, {{1, 0x20}, {8, 0x1D}, {9, 0x36}, {16, 0xB8}}, noStart},

    {"LongFormBehindAnExtraByte", 40, {{2, 0x20}, {19, 0xB8}}, 18},
    {"LongFormBehindAnExtraByteThatEndsWithItsFirstOpusByte", 20, {{2, 0x20}, {19, 0xB8}}, 18},
    {"LongFormBehindAnExtraByteThatEndsWithItsLengthByte", 19, {{2, 0x20}, {18, 0xB8}}, noStart},
    {"NotificationFormBehindAnExtraByte", 40, {{2, 0x20}, {9, 0x1B}, {10, 0x36}, {17, 0xB8}}, 16},
    {"NotificationFormBehindAnExtraByteThatEndsWithItsFirstOpusByte",
     18,
     {{2, 0x20}, {9, 0x1B}, {10, 0x36}, {17, 0xB8}},
     16},
    {"NotificationFormBehindAnExtraByteThatEndsWithItsLengthByte",
     17,
     {{2, 0x20}, {9, 0x1B}, {10, 0x36}, {16, 0xB8}},
     noStart},
    {"NotificationOfAnotherHandleBehindAnExtraByte",
     40,
     {{2, 0x20}, {9, 0x1B}, {10, 0x37}, {17, 0xB8}},
     noStart},
    {"NothingBehindTwoExtraBytes", 40, {{3, 0x20}, {20, 0xB8}}, noStart},

    {"LongFormBeforeNotificationForm",
     40,
     {{1, 0x20}, {8, 0x1B}, {9, 0x36}, {16, 0xB8}, {18, 0xB8}},
     17},
    {"LongFormBeforeNotificationFormBehindAnExtraByte",
     40,
     {{2, 0x20}, {9, 0x1B}, {10, 0x36}, {17, 0xB8}, {19, 0xB8}},
     18},
    {"FirstFlagByteBeforeTheSecond", 40, {{1, 0x20}, {2, 0x20}, {18, 0xB8}, {19, 0xB8}}, 17},
    {"NotificationFormBeforeLongFormBehindAnExtraByte",
     40,
     {{1, 0x20}, {2, 0x20}, {8, 0x1B}, {9, 0x36}, {16, 0xB8}, {19, 0xB8}},
     15},
    {"SecondFlagByteWhenNothingFollowsTheFirst", 40, {{1, 0x20}, {2, 0x20}, {19, 0xB8}}, 18},
    {"SecondFlagByteWhenTheFirstNotifiesAnotherHandle",
     40,
     {{1, 0x20}, {2, 0x20}, {8, 0x1B}, {9, 0x35}, {19, 0xB8}},
     18},
    {"SecondFlagByteWhenTheFirstNotificationHasAnotherOpusByte",
     40,
     {{1, 0x20}, {2, 0x20}, {8, 0x1B}, {9, 0x36}, {19, 0xB8}},
     18},
    {"StopsAtANotificationWithoutHandle", 9, {{1, 0x20}, {2, 0x20}, {8, 0x1B}}, noStart},
    {"StopsAtANotificationWithoutHandleBehindAnExtraByte", 10, {{2, 0x20}, {9, 0x1B}}, noStart},

    {"OtherBitsOfTheFlagByteSet", 40, {{1, 0xEF}, {18, 0xB8}}, 17},
    {"OtherBitsOfTheSecondFlagByteSet", 40, {{2, 0xEF}, {19, 0xB8}}, 18},
    {"NoFlag", 40, {{1, 0x00}, {18, 0xB8}}, noStart},
    {"ContinuationFlag", 40, {{1, 0x10}, {18, 0xB8}}, noStart},
    {"BothFlagBits", 40, {{1, 0x30}, {18, 0xB8}}, noStart},
    {"ContinuationFlagBehindAnExtraByte", 40, {{2, 0x10}, {19, 0xB8}}, noStart},
    {"BothFlagBitsBehindAnExtraByte", 40, {{2, 0x30}, {19, 0xB8}}, noStart},
};

class VoiceFrameStart : public ::testing::TestWithParam<Row> {};

TEST_P(VoiceFrameStart, IsFound) {
  EXPECT_EQ(SiriRemoteReportParser::voiceFrameByteStart(GetParam().payload()), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Of, VoiceFrameStart, ::testing::ValuesIn(frameStartRows), behaviour);

const std::vector<Row> continuationRows = {
    {"NoneInNoBytes", 0, {}, noStart},
    {"NoneInOneByte", 1, {{0, 0x10}}, noStart},
    {"NoneInTwoBytes", 2, {{1, 0x10}}, noStart},
    {"NoneInAHeaderAlone", 4, {{1, 0x10}}, noStart},
    {"BehindTheHeader", 5, {{1, 0x10}}, 4},
    {"BehindTheHeaderOfALongPacket", 40, {{1, 0x10}}, 4},
    {"NoneInAHeaderAloneBehindAnExtraByte", 5, {{2, 0x10}}, noStart},
    {"BehindTheHeaderAndAnExtraByte", 6, {{2, 0x10}}, 5},
    {"FirstFlagByteBeforeTheSecond", 40, {{1, 0x10}, {2, 0x10}}, 4},
    {"SecondFlagByteWhenTheFirstIsAnother", 40, {{1, 0x20}, {2, 0x10}}, 5},
    {"NothingBehindTwoExtraBytes", 40, {{3, 0x10}}, noStart},
    {"OtherBitsOfTheFlagByteSet", 40, {{1, 0xDF}}, 4},
    {"OtherBitsOfTheSecondFlagByteSet", 40, {{2, 0xDF}}, 5},
    {"NoFlag", 40, {}, noStart},
    {"FirstFragmentFlag", 40, {{1, 0x20}}, noStart},
    {"BothFlagBits", 40, {{1, 0x30}}, noStart},
    {"BothFlagBitsBehindAnExtraByte", 40, {{2, 0x30}}, noStart},
};

class VoiceContinuationStart : public ::testing::TestWithParam<Row> {};

TEST_P(VoiceContinuationStart, IsFound) {
  EXPECT_EQ(SiriRemoteReportParser::voiceContinuationDataStart(GetParam().payload()),
            GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Of, VoiceContinuationStart, ::testing::ValuesIn(continuationRows),
                         behaviour);

}  // namespace
}  // namespace tessline::test
