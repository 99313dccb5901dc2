/// @file
/// Picks a remote's received packets out of the text that PacketLogger writes.
#pragma once

#include "tessline/model/TesslinePacket.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ranges>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessline {

/// What a text line turned out to be.
enum class PacketLogLine : std::uint8_t {
  packet,          ///< A received packet of an accepted remote, with bytes.
  notReceived,     ///< No "RECV" in it: a sent packet or another record.
  otherRemote,     ///< Received, but from an address that is not accepted.
  withoutPayload,  ///< Received and accepted, but without a two-digit hex number where bytes
                   ///< belong.
};

/// Reads PacketLogger's text, one packet a line: a prefix of 54 characters that holds "RECV" for
/// received packets and may hold the peer's address, then the packet's bytes as two-digit hex
/// numbers separated by blanks.
///
/// Text is UTF-8 and its characters are grapheme clusters, in what counts as a position and in what
/// matches: a letter that carries a combining mark is another character than the bare letter, and
/// CR LF is one character. Bytes that are not valid UTF-8 stand for U+FFFD, one for each maximal
/// ill-formed sequence; they affect their own line alone, and `sourceLine` keeps them as they were.
///
/// A value without state between lines; const operations may run on several threads at once.
struct PacketLoggerLineParser {
  /// The address text of the remote wanted, matched as it stands, letter case and separators
  /// included. None or empty accepts every address. Lines that hold the placeholder address
  /// "00:00:00:00:00:00" are accepted whatever stands here.
  std::optional<std::string> acceptedRemoteAddress;

  /// The packet of `line`; none when it is not a received packet of an accepted remote or has no
  /// bytes. `line` is one line without its line end.
  std::optional<TesslinePacket> parseLine(std::string_view line) const;

  /// The packets of `lines` (any range of strings), in order.
  template <std::ranges::input_range Lines>
  std::vector<TesslinePacket> parseLines(Lines&& lines) const {
    std::vector<TesslinePacket> packets;
    for (const std::string_view line : lines) {
      if (auto packet = parseLine(line)) packets.push_back(std::move(*packet));
    }
    return packets;
  }

  /// Says what `line` is and, for a packet alone, appends its bytes to `payload`. `parseLine`
  /// without the copies.
  PacketLogLine readLine(std::string_view line, std::vector<std::uint8_t>& payload) const;

  /// Whether the line's address is accepted.
  bool addressMatches(std::string_view line) const;

  /// The part of the line that is read as hex text: what follows the first 54 characters of a line
  /// of 55 characters or more; in a shorter line what follows the first "RECV", or the whole line
  /// when it has none.
  static std::string_view payloadRegion(std::string_view line);

 private:
  friend class PacketLogBatch;
  // As `readLine`, for a line of ASCII without line ends, given where its "RECV" stands.
  PacketLogLine readAsciiLine(std::string_view line, std::size_t received,
                              std::vector<std::uint8_t>& payload) const;
};

}  // namespace tessline
