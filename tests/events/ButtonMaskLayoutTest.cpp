#include "tessline/events/SiriRemoteReportParser.h"
#include "tests/support/Bytes.h"

#include <cstdint>
#include <optional>
#include <string_view>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

struct LayoutRow {
  std::string_view behaviour;
  std::string_view payload;
  std::optional<std::uint16_t> mask;
};

constexpr auto none = std::optional<std::uint16_t>();

constexpr LayoutRow layoutRows[] = {
    {"EmptyPayloadHasNone", "", none},
    {"OneByteHasNone", "10", none},
    {"TwoBytesAreTheMaskHighByteFirst", "12 34", 0x1234},
    {"TwoZeroBytesAreAnEmptyMask", "00 00", 0x0000},
    {"TwoBytesAreTheMaskEvenBehindAReportMarker", "fb 08", 0xFB08},
    {"TwoBytesAreTheMaskEvenWithAReportId", "01 fb", 0x01FB},
    {"ThreeOtherBytesHaveNone", "00 12 34", none},

    {"MarkerAndMask", "fb 12 34", 0x1234},
    {"MarkerAndMaskAndOneZero", "fb 12 34 00", 0x1234},
    {"MarkerAndMaskAndZeros", "fb 08 00 00 00", 0x0800},
    {"MarkerAndMaskAndALastByteThatIsNotZero", "fb 08 00 01", none},
    {"MarkerAndMaskAndALaterByteThatIsNotZero", "fb 08 00 00 00 01", none},
    {"OtherMarker", "fa 12 34", none},

    {"ReportIdAndMarkerAndMask", "01 fb 20 00", 0x2000},
    {"ReportIdAndMarkerAndMaskAndZeros", "01 fb 12 34 00 00", 0x1234},
    {"ReportIdAndMarkerAndMaskAndALastByteThatIsNotZero", "01 fb 12 34 01", none},
    {"ReportIdAndMarkerCutShort", "01 fb 12", none},
    {"OtherReportId", "02 fb 12 34", none},
    {"ReportIdAndOtherMarker", "01 fa 12 34", none},

    {"Notification", "1b 15 00 fb 12 34", 0x1234},
    {"NotificationInsideAPacket", "40 20 0a 00 06 00 04 00 1b 15 00 fb 12 34 00", 0x1234},
    {"NotificationWithoutLowByte", "1b 15 00 fb 12", none},
    {"NotificationWithoutMask", "1b 15 00 fb", none},
    {"NotificationOfAnotherHandle", "1b 16 00 fb 12 34", none},
    {"FirstOfTwoNotifications", "1b 15 00 fb 12 34 1b 15 00 fb 56 78", 0x1234},

    {"NotificationWithReportId", "1b 15 00 01 fb 12 34", 0x1234},
    {"NotificationWithReportIdInsideAPacket", "40 20 00 1b 15 00 01 fb 12 34 ff", 0x1234},
    {"NotificationWithReportIdWithoutLowByte", "1b 15 00 01 fb 12", none},
    {"NotificationWithReportIdWithoutMask", "1b 15 00 01 fb", none},
    {"NotificationWithOtherReportId", "1b 15 00 02 fb 12 34", none},
    {"FirstOfTwoNotificationsWithReportId", "1b 15 00 01 fb 12 34 1b 15 00 01 fb 56 78", 0x1234},

    {"PlainNotificationBeforeOneWithReportId", "1b 15 00 01 fb 12 34 1b 15 00 fb 56 78", 0x5678},
    {"PlainNotificationTooCloseToTheEnd", "1b 15 00 01 fb 12 34 1b 15 00 fb 56", 0x1234},
    {"MarkerFollowedByANotification", "fb 00 00 1b 15 00 fb 12 34", 0x1234},
    {"ReportIdFollowedByANotification", "01 fb 00 00 1b 15 00 01 fb 12 34", 0x1234},
    {"MarkerAndMaskThatLookLikeANotificationsEnd", "fb 1b 15 00 00 00", 0x1B15},
};

class ButtonMaskLayout : public ::testing::TestWithParam<LayoutRow> {};

TEST_P(ButtonMaskLayout, IsRead) {
  EXPECT_EQ(SiriRemoteReportParser::buttonMask(bytes(GetParam().payload)), GetParam().mask);
}

INSTANTIATE_TEST_SUITE_P(Of, ButtonMaskLayout, ::testing::ValuesIn(layoutRows),
                         [](const auto& row) { return std::string(row.param.behaviour); });

}  // namespace
}  // namespace tessline::test
