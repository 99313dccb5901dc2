/// @file
/// The small stateless front of the library.
#pragma once

#include "tessline/events/TesslineEvent.h"
#include "tessline/packetlog/TesslineSnapshot.h"

#include <optional>
#include <string_view>
#include <vector>

namespace tessline {

/// Decodes a recorded capture in one call and tells the project's status. Holds nothing; any thread
/// may use one.
class TesslineService {
 public:
  /// The events of a whole PacketLogger text capture (UTF-8), decoded from a fresh state.
  /// `acceptedRemoteAddress` is used as `PacketLoggerLineParser` says.
  std::vector<TesslineEvent> decodeRecordedPacketLog(
      std::string_view text,
      std::optional<std::string_view> acceptedRemoteAddress = std::nullopt) const;

  /// The project's status; the same on every call.
  TesslineSnapshot makeSnapshot() const;
};

}  // namespace tessline
