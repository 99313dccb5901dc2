#include "cli/simulate/PayloadLayouts.h"

#include "cli/voice/LittleEndian.h"

#include <stdexcept>

namespace tessline::cli {

namespace {

constexpr std::uint8_t aclPacketType = 0x02;
constexpr std::uint16_t attributeChannel = 0x0004;
constexpr std::uint8_t notificationOpcode = 0x1B;
constexpr std::size_t attributeHeadLength = 3;
constexpr std::uint16_t maskAttributeHandle = 0x0015;
constexpr std::uint8_t maskReportType = 0xFB;
constexpr std::uint8_t maskReportId = 0x01;

std::vector<std::uint8_t> maskReport(bool withId, std::uint16_t mask, std::size_t zeros) {
  std::vector<std::uint8_t> report;
  if (withId) report.push_back(maskReportId);
  report.push_back(maskReportType);
  report.push_back(static_cast<std::uint8_t>(mask >> 8U));
  report.push_back(static_cast<std::uint8_t>(mask & 0xFFU));
  report.insert(report.end(), zeros, 0x00);
  return report;
}

}  // namespace

bool carries(ButtonLayout layout, RemoteCommand command) {
  return layout != ButtonLayout::commandHandle || command == RemoteCommand::volumeUp ||
         command == RemoteCommand::volumeDown || command == RemoteCommand::select;
}

ShortNotification commandPressNotification(RemoteCommand command) {
  if (command == RemoteCommand::volumeUp) return {0x0023, {0x00, 0x02}};
  if (command == RemoteCommand::volumeDown) return {0x0023, {0x00, 0x04}};
  if (command == RemoteCommand::select) return {0x0023, {0x03, 0x00}};
  throw std::invalid_argument("this button has no command notification");
}

void appendAclHeader(std::vector<std::uint8_t>& payload, PacketFraming framing,
                     PacketBoundary boundary, std::size_t dataLength) {
  if (framing == PacketFraming::leadingByte) payload.push_back(aclPacketType);
  appendLittleEndian(payload, static_cast<std::uint16_t>(remoteConnectionHandle |
                                                         static_cast<unsigned>(boundary) << 8U));
  appendLittleEndian(payload, static_cast<std::uint16_t>(dataLength));
}

void appendNotificationHead(std::vector<std::uint8_t>& payload, std::uint16_t attributeHandle,
                            std::size_t valueLength) {
  appendLittleEndian(payload, static_cast<std::uint16_t>(attributeHeadLength + valueLength));
  appendLittleEndian(payload, attributeChannel);
  payload.push_back(notificationOpcode);
  appendLittleEndian(payload, attributeHandle);
}

std::vector<std::uint8_t> notificationPayload(PacketFraming framing, std::uint16_t attributeHandle,
                                              std::span<const std::uint8_t> value) {
  std::vector<std::uint8_t> payload;
  appendAclHeader(payload, framing, PacketBoundary::first, notificationHeadLength + value.size());
  appendNotificationHead(payload, attributeHandle, value.size());
  payload.insert(payload.end(), value.begin(), value.end());
  return payload;
}

std::vector<std::uint8_t> notificationPayload(PacketFraming framing,
                                              const ShortNotification& notification) {
  return notificationPayload(framing, notification.attributeHandle, notification.value);
}

std::vector<std::uint8_t> maskPayload(ButtonLayout layout, std::uint16_t mask,
                                      PacketFraming framing, std::size_t zeros) {
  switch (layout) {
    case ButtonLayout::value:
      return {static_cast<std::uint8_t>(mask >> 8U), static_cast<std::uint8_t>(mask & 0xFFU)};
    case ButtonLayout::report:
      return maskReport(false, mask, zeros);
    case ButtonLayout::reportWithId:
      return maskReport(true, mask, zeros);
    case ButtonLayout::notification:
      return notificationPayload(framing, maskAttributeHandle, maskReport(false, mask, zeros));
    case ButtonLayout::notificationWithId:
      return notificationPayload(framing, maskAttributeHandle, maskReport(true, mask, zeros));
    case ButtonLayout::commandHandle:
      break;
  }
  throw std::invalid_argument("this layout carries no mask");
}

}  // namespace tessline::cli
