/// @file
/// Decodes a capture on several threads, with the result of one.
#pragma once

#include "cli/decode/CaptureReader.h"
#include "tessline/events/TesslineEvent.h"
#include "tessline/packetlog/RecordedRemoteCaptureDecoder.h"

#include <cstdint>
#include <functional>
#include <span>

namespace tessline::cli {

/// What the lines of an input hold.
enum class InputKind : std::uint8_t {
  packetLog,  ///< PacketLogger's text.
  payloads,   ///< One payload a line, written as hex text.
};

/// What was read so far.
struct DecodeProgress {
  std::uint64_t bytes = 0;
  std::uint64_t overlongLines = 0;  ///< Included in `counts.lines`, in none of its kinds.
  PacketLogLineCounts counts;
};

/// Receives what a decode finds, in the order of the input, one call at a time but on changing
/// threads. An exception thrown here ends the decode and leaves it.
struct DecodeSink {
  /// Events of one payload and the 1-based number of the line that completed them.
  std::function<void(std::uint64_t line, std::span<const TesslineEvent> events)> onEvents;
  /// After each stretch of the input.
  std::function<void(const DecodeProgress& progress)> onProgress;
};

/// Reads `reader` to its end on `threadCount` threads (at least 1, the caller's among them): each
/// takes a stretch of text and finds its packets; the packets go through `decoder` in order.
DecodeProgress decodeCapture(CaptureReader& reader, InputKind kind, unsigned threadCount,
                             RecordedRemoteCaptureDecoder& decoder, const DecodeSink& sink);

}  // namespace tessline::cli
