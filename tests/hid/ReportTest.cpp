#include "tests/hid/HIDFixture.h"

#include <limits>

namespace tessline::test {
namespace {

using Payload = std::vector<std::uint8_t>;

const TesslineEvent selectPressed =
    RemoteButtonEvent{RemoteCommand::select, RemoteButtonPhase::pressed};
const TesslineEvent selectReleased =
    RemoteButtonEvent{RemoteCommand::select, RemoteButtonPhase::released};

class HIDReportTest : public HIDServiceTest {
 protected:
  HIDReportTest() {
    device = connect();
    service->startListening();
    host->runReady();
  }

  Payload payloadOf(std::uint32_t reportID, Payload bytes) {
    payloads.clear();
    report(device, reportID, std::move(bytes));
    EXPECT_EQ(payloads.size(), 1U);
    return payloads.empty() ? Payload() : payloads.front();
  }

  Device device;
};

TEST_F(HIDReportTest, PayloadBeginsWithItsReportID) {
  EXPECT_EQ(payloadOf(2, {2, 9}), (Payload{2, 9}));
  EXPECT_EQ(payloadOf(2, {9}), (Payload{2, 9}));
  EXPECT_EQ(payloadOf(1, {}), (Payload{1}));
  EXPECT_EQ(payloadOf(255, {1}), (Payload{255, 1}));
  EXPECT_EQ(payloadOf(255, {255, 1}), (Payload{255, 1}));
}

TEST_F(HIDReportTest, ReportWithoutAnIDIsPassedAsItIs) {
  EXPECT_EQ(payloadOf(0, {9}), (Payload{9}));
  EXPECT_EQ(payloadOf(0, {}), Payload());
  EXPECT_EQ(payloadOf(256, {9}), (Payload{9}));
  EXPECT_EQ(payloadOf(0x102, {9}), (Payload{9}));
}

TEST_F(HIDReportTest, EventsFollowTheRawPayload) {
  std::vector<std::string> order;
  service->onRawPayload = [&](const Payload&) { order.emplace_back("raw"); };
  service->onTransportEvents = [&](const std::vector<TesslineEvent>&) {
    order.emplace_back("events");
  };
  report(device, 0, {0x08, 0x00});
  EXPECT_EQ(order, (std::vector<std::string>{"raw", "events"}));
}

TEST_F(HIDReportTest, ButtonsArePressedAndReleased) {
  report(device, 0, {0xFB, 0x08, 0x00});
  report(device, 0, {0xFB, 0x00, 0x00});
  ASSERT_EQ(eventBatches.size(), 2U);
  EXPECT_EQ(eventBatches[0], std::vector{selectPressed});
  EXPECT_EQ(eventBatches[1], std::vector{selectReleased});
}

TEST_F(HIDReportTest, ReportIDOneAndTheButtonReportMakeOneLayout) {
  report(device, 1, {0xFB, 0x08, 0x00});
  ASSERT_EQ(eventBatches.size(), 1U);
  EXPECT_EQ(eventBatches[0], std::vector{selectPressed});
}

TEST_F(HIDReportTest, EmptyResultIsNeverPassedOn) {
  report(device, 0, {1, 2, 3, 4, 5});
  EXPECT_EQ(payloads.size(), 1U);
  EXPECT_TRUE(eventBatches.empty());
}

TEST_F(HIDReportTest, FramedReportIsDecodedAgainWithoutItsFirstByte) {
  report(device, 0, {0xFF, 0x08, 0x00});
  EXPECT_EQ(payloads, (std::vector<Payload>{{0xFF, 0x08, 0x00}}));
  ASSERT_EQ(eventBatches.size(), 1U);
  EXPECT_EQ(eventBatches[0], std::vector{selectPressed});
}

TEST_F(HIDReportTest, FramedReportThatMeansNothingIsPassedAsRawPayloadOnce) {
  report(device, 0, {0xFF, 1, 2, 3});
  EXPECT_EQ(payloads, (std::vector<Payload>{{0xFF, 1, 2, 3}}));
  EXPECT_TRUE(eventBatches.empty());
}

TEST_F(HIDReportTest, LoneFramingByteMeansNothing) {
  report(device, 0, {0xFF});
  EXPECT_EQ(payloads, (std::vector<Payload>{{0xFF}}));
  EXPECT_TRUE(eventBatches.empty());
}

TEST_F(HIDReportTest, OneParserServesAllInterfacesAndSurvivesARestart) {
  const Device second = connect({{"PrimaryUsage", std::int64_t{2}}});
  host->runReady();
  report(device, 0, {0x08, 0x00});
  service->stopListening();
  service->startListening();
  report(second, 0, {0x00, 0x00});
  ASSERT_EQ(eventBatches.size(), 2U);
  EXPECT_EQ(eventBatches[1], std::vector{selectReleased});
}

TEST_F(HIDReportTest, BufferHasTheSizeOfTheLargestReport) {
  EXPECT_EQ(device->bufferSize(), 100U);
}

TEST_F(HIDReportTest, BufferIsNeverShorterThan64Bytes) {
  const auto sizeFor = [this](HIDProperty value) {
    const Device other = connect({{"MaxInputReportSize", value}});
    host->runReady();
    return other->bufferSize();
  };
  EXPECT_EQ(sizeFor(std::int64_t{63}), 64U);
  EXPECT_EQ(sizeFor(std::int64_t{64}), 64U);
  EXPECT_EQ(sizeFor(std::int64_t{65}), 65U);
  EXPECT_EQ(sizeFor(std::int64_t{-1}), 64U);
  EXPECT_EQ(sizeFor(std::monostate()), 64U);
  EXPECT_EQ(sizeFor(std::string("200")), 64U);
}

TEST_F(HIDReportTest, BufferOfAnAbsurdSizeIsNotAllocated) {
  const Device other = connect({{"MaxInputReportSize", std::numeric_limits<std::int64_t>::max()}});
  host->runReady();
  EXPECT_EQ(other->bufferSize(), std::size_t{1} << 20);
}

TEST_F(HIDReportTest, LateReportOfARemovedInterfaceTouchesNoBuffer) {
  host->hid().disconnect(device);
  host->runReady();
  EXPECT_EQ(device->bufferSize(), 0U);
  // The device delivers as if nothing had happened; a freed buffer would be written to here.
  device->deliver(0, Payload{0x08, 0x00});
  EXPECT_TRUE(payloads.empty());
}

TEST_F(HIDReportTest, LateReportAfterStopTouchesNoBuffer) {
  service->stopListening();
  device->deliver(0, Payload{0x08, 0x00});
  EXPECT_TRUE(payloads.empty());
}

TEST_F(HIDReportTest, LateReportAfterTheServiceIsGoneTouchesNothing) {
  service.reset();
  device->deliver(0, Payload{0x08, 0x00});
  EXPECT_TRUE(payloads.empty());
}

TEST_F(HIDReportTest, InterfaceThatMatchesAgainKeepsReporting) {
  service->stopListening();
  service->startListening();
  host->runReady();
  report(device, 0, {0x08, 0x00});
  EXPECT_EQ(payloads.size(), 1U);
}

TEST_F(HIDReportTest, StopFromWithinACallbackIsSafe) {
  service->onRawPayload = [this](const Payload&) { service->stopListening(); };
  report(device, 0, {0x08, 0x00});
  EXPECT_EQ(status(), "Stopped");
  ASSERT_EQ(eventBatches.size(), 1U);
  EXPECT_EQ(eventBatches[0], std::vector{selectPressed});
}

TEST_F(HIDReportTest, LettingGoOfTheServiceFromWithinACallbackIsSafe) {
  service->onRawPayload = [this](const Payload&) { service.reset(); };
  report(device, 0, {0x08, 0x00});
  EXPECT_EQ(status(), "Stopped");
}

TEST_F(HIDReportTest, ReportWithinAReportDoesNotDisturbIt) {
  service->onRawPayload = [this](const Payload& payload) {
    payloads.push_back(payload);
    if (payloads.size() == 1) device->deliver(0, Payload{0x00, 0x10, 0x00, 0x00});
    EXPECT_EQ(payloads.front(), (Payload{0x08, 0x00}));
  };
  report(device, 0, {0x08, 0x00});
  EXPECT_EQ(payloads, (std::vector<Payload>{{0x08, 0x00}, {0x00, 0x10, 0x00, 0x00}}));
  ASSERT_EQ(eventBatches.size(), 1U);
  EXPECT_EQ(eventBatches[0], std::vector{selectPressed});
}

}  // namespace
}  // namespace tessline::test
