/// @file
/// Decodes PacketLogger text that was saved to a file.
#pragma once

#include "tessline/events/SiriRemoteReportParser.h"
#include "tessline/events/TesslineEvent.h"
#include "tessline/packetlog/PacketLogBatch.h"
#include "tessline/packetlog/PacketLoggerLineParser.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ranges>
#include <span>
#include <string_view>
#include <vector>

namespace tessline {

/// Turns a recorded capture into the events that a live transport would have delivered.
///
/// The report parser's state runs on from line to line and from call to call, so a capture may be
/// fed in pieces that end at line ends, with the same result as in one piece. Nothing fails: lines
/// that are not packets of the accepted remote add nothing. A value; one thread at a time.
class RecordedRemoteCaptureDecoder {
 public:
  /// `acceptedRemoteAddress` is used as `PacketLoggerLineParser` says.
  explicit RecordedRemoteCaptureDecoder(
      std::optional<std::string_view> acceptedRemoteAddress = std::nullopt);

  /// The events of a capture text (UTF-8), in order. Line ends are those of `PacketLogBatch`.
  std::vector<TesslineEvent> decode(std::string_view text);

  /// The events of lines already split, in order.
  template <std::ranges::input_range Lines>
  std::vector<TesslineEvent> decodeLines(Lines&& lines) {
    std::vector<TesslineEvent> events;
    for (const std::string_view line : lines) decodeLine(line, events);
    return events;
  }

  /// Decodes a batch that `lineParser()` read and calls `sink(packet, events)` for each packet that
  /// has events, with a `PacketLogBatch::Packet` and a `std::span<const TesslineEvent>`.
  template <class Sink>
  void decodeBatch(const PacketLogBatch& batch, Sink&& sink) {
    for (std::size_t index = 0; index < batch.size(); ++index) {
      const PacketLogBatch::Packet packet = batch[index];
      events_.clear();
      reportParser_.ingestPayload(packet.payload, events_);
      if (!events_.empty()) sink(packet, std::span<const TesslineEvent>(events_));
    }
  }

  /// What reads the lines; never changes.
  const PacketLoggerLineParser& lineParser() const { return lineParser_; }
  /// What decodes the payloads, in its state after the last of them.
  const SiriRemoteReportParser& reportParser() const { return reportParser_; }

 private:
  void decodeLine(std::string_view line, std::vector<TesslineEvent>& events);

  PacketLoggerLineParser lineParser_;
  SiriRemoteReportParser reportParser_;
  std::vector<std::uint8_t> payload_;
  std::vector<TesslineEvent> events_;
};

}  // namespace tessline
