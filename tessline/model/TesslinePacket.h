/// @file
/// One received packet, as a line of a packet log told of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessline {

/// The bytes of one packet and the text line they were read from.
struct TesslinePacket {
  std::vector<std::uint8_t>
      payload;             ///< Never empty when `PacketLoggerLineParser` made the packet.
  std::string sourceLine;  ///< The whole line, unchanged.

  bool operator==(const TesslinePacket&) const = default;
};

}  // namespace tessline
