/// @file
/// The bytes in which a remote reports its buttons and the bounds of its voice sessions.
#pragma once

#include "tessline/model/RemoteCommand.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tessline::cli {

/// What a captured ACL packet begins with.
enum class PacketFraming : std::uint8_t {
  handle,       ///< The connection handle.
  leadingByte,  ///< One byte that names the packet type, then the connection handle.
};

/// The ways in which a button travels.
enum class ButtonLayout : std::uint8_t {
  value,               ///< The mask's two bytes alone.
  report,              ///< FB, the mask, perhaps zeros.
  reportWithId,        ///< 01 FB, the mask, perhaps zeros.
  notification,        ///< A notification of handle 0x0015 that holds FB and the mask.
  notificationWithId,  ///< The same with 01 FB.
  commandHandle,       ///< A notification of handle 0x0023, which knows three buttons.
};

inline constexpr std::array buttonLayouts = {ButtonLayout::value,
                                             ButtonLayout::report,
                                             ButtonLayout::reportWithId,
                                             ButtonLayout::notification,
                                             ButtonLayout::notificationWithId,
                                             ButtonLayout::commandHandle};

/// Whether `layout` can report `command`.
bool carries(ButtonLayout layout, RemoteCommand command);

/// Whether a payload of that layout is read as a button report while voice is collected, too. The
/// others can look like a piece of a voice frame then.
constexpr bool isDistinctWhileVoiceIsOpen(ButtonLayout layout) {
  return layout == ButtonLayout::notification || layout == ButtonLayout::notificationWithId ||
         layout == ButtonLayout::commandHandle;
}

/// A notification whose value is two bytes.
struct ShortNotification {
  std::uint16_t attributeHandle;
  std::array<std::uint8_t, 2> value;
};

inline constexpr ShortNotification voiceStartNotification = {0x0023, {0x00, 0x10}};
inline constexpr ShortNotification voiceEndNotification = {0x0023, {0x10, 0x00}};
inline constexpr ShortNotification voiceButtonDownNotification = {0x003A, {0x20, 0x00}};
inline constexpr ShortNotification voiceButtonUpNotification = {0x003A, {0x00, 0x00}};
inline constexpr ShortNotification commandReleaseNotification = {0x0023, {0x00, 0x00}};
/// The press of a command that `ButtonLayout::commandHandle` carries.
ShortNotification commandPressNotification(RemoteCommand command);

/// The connection handle of the remote. Its low byte has none of the bits that mark the place of a
/// packet in a longer frame, so that it is not mistaken for the byte behind it.
inline constexpr std::uint16_t remoteConnectionHandle = 0x0040;

/// Which part of an L2CAP frame an ACL packet is.
enum class PacketBoundary : std::uint8_t { continuation = 0x10, first = 0x20 };

/// Appends the header of one ACL packet of the remote with `dataLength` bytes to follow.
void appendAclHeader(std::vector<std::uint8_t>& payload, PacketFraming framing,
                     PacketBoundary boundary, std::size_t dataLength);

/// Appends the L2CAP header and the head of an ATT notification with `valueLength` bytes to follow.
void appendNotificationHead(std::vector<std::uint8_t>& payload, std::uint16_t attributeHandle,
                            std::size_t valueLength);

/// How many bytes `appendNotificationHead` appends.
inline constexpr std::size_t notificationHeadLength = 7;

/// A whole ACL packet that notifies `value`.
std::vector<std::uint8_t> notificationPayload(PacketFraming framing, std::uint16_t attributeHandle,
                                              std::span<const std::uint8_t> value);
std::vector<std::uint8_t> notificationPayload(PacketFraming framing,
                                              const ShortNotification& notification);

/// A button mask in a layout other than `commandHandle`. `framing` matters to notifications alone,
/// `zeros` (how many follow the mask, 0 to 3) to all layouts but `value`.
std::vector<std::uint8_t> maskPayload(ButtonLayout layout, std::uint16_t mask,
                                      PacketFraming framing, std::size_t zeros);

}  // namespace tessline::cli
