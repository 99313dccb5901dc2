/// @file
/// The packets of a stretch of capture text, found in one pass over it.
#pragma once

#include "tessline/packetlog/PacketLoggerLineParser.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace tessline {

/// How many lines a text had, by what they were. The kinds add up to `lines`.
struct PacketLogLineCounts {
  std::uint64_t lines = 0;           ///< All of them, empty ones included.
  std::uint64_t empty = 0;           ///< Without a character.
  std::uint64_t packets = 0;         ///< `PacketLogLine::packet`.
  std::uint64_t notReceived = 0;     ///< `PacketLogLine::notReceived`.
  std::uint64_t otherRemote = 0;     ///< `PacketLogLine::otherRemote`.
  std::uint64_t withoutPayload = 0;  ///< `PacketLogLine::withoutPayload`.

  /// Adds the counts of another stretch.
  PacketLogLineCounts& operator+=(const PacketLogLineCounts& other);
  bool operator==(const PacketLogLineCounts&) const = default;
};

/// Splits text into lines and keeps the payloads of those that are packets, without a copy of the
/// lines. Holds no decoder state, so stretches of one capture can be read on several threads and
/// decoded in order afterwards. Reading again reuses the storage.
class PacketLogBatch {
 public:
  /// One packet of the text.
  struct Packet {
    std::uint64_t line;                     ///< Its line's 0-based number within the text.
    std::span<const std::uint8_t> payload;  ///< Valid until the batch is read again.
  };

  /// Forgets what it held and reads `text` (UTF-8). Lines end at LF, VT, FF, CR, CR LF (one line
  /// end), U+0085, U+2028 and U+2029; what follows the last line end counts as a line unless it is
  /// empty. A stretch of a longer text must begin at a line's beginning and end behind a line end.
  void read(std::string_view text, const PacketLoggerLineParser& lineParser);

  /// As above, for text of which every line is one payload, read by `HexByteParser`.
  void readPayloads(std::string_view text);

  /// How many packets the text had.
  std::size_t size() const { return packets_.size(); }
  /// The packet at `index`, which is below `size()`, in the order of the text.
  Packet operator[](std::size_t index) const;
  /// What the lines of the text were.
  const PacketLogLineCounts& counts() const { return counts_; }

 private:
  template <class ReadPlainLine, class ReadLine>
  void readLines(std::string_view text, ReadPlainLine readPlainLine, ReadLine readLine);
  void add(PacketLogLine kind);

  struct Entry {
    std::uint64_t line;
    std::size_t payloadEnd;
  };
  std::vector<Entry> packets_;
  std::vector<std::uint8_t> payloads_;
  PacketLogLineCounts counts_;
};

/// The length of the first line of `text` with its line end; 0 when the text does not hold the line
/// end whole, which a CR at the very end does not show.
std::size_t firstWholeLineLength(std::string_view text);

/// The length of the longest front part of `text` that ends behind a line end and that more text
/// cannot change; 0 when there is none. A CR at the very end is left out, as an LF may follow it.
std::size_t wholeLinesLength(std::string_view text);

}  // namespace tessline
