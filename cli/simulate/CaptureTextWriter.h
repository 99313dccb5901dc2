/// @file
/// The text that a packet logger prints for one packet.
#pragma once

#include "cli/simulate/SimulatedLine.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tessline::cli {

/// What a line tells of.
enum class RecordKind : std::uint8_t {
  acl,      ///< A data packet as the controller passes it on.
  report,   ///< An input report alone, without the packet that carried it.
  event,    ///< Of the controller.
  command,  ///< To the controller.
};

/// Who sent it: the remote side to this computer, or this computer.
enum class RecordDirection : std::uint8_t { received, sent };

/// The address of lines that concern no device in particular.
inline constexpr std::string_view placeholderAddress = "00:00:00:00:00:00";

/// How many characters stand before a line's bytes.
inline constexpr std::size_t linePrefixLength = 54;

/// Formats lines like
/// `Nov 21 10:15:30.123  ACL    RECV  D6:1E:52:A0:37:4B   40 20 09 00 05 00 04 00 1B 23 00 00 10`,
/// with a date and time that begin at a fixed moment. What a function returns has a line end and is
/// valid until the next call.
class CaptureTextWriter {
 public:
  CaptureTextWriter();

  /// The line of a packet of at least one byte; `address` has 17 characters.
  std::string_view packetLine(SimulatedTime time, RecordKind kind, RecordDirection direction,
                              std::string_view address, std::span<const std::uint8_t> payload);

  /// As above, with `text` where the bytes belong.
  std::string_view textLine(SimulatedTime time, RecordKind kind, RecordDirection direction,
                            std::string_view address, std::string_view text);

  /// The first `length` characters (at most 54) of a line's prefix, as a line of its own.
  std::string_view cutOffLine(SimulatedTime time, RecordKind kind, RecordDirection direction,
                              std::string_view address, std::size_t length);

  /// `text` as a line without a prefix.
  std::string_view bareLine(std::string_view text);

 private:
  void writePrefix(SimulatedTime time, RecordKind kind, RecordDirection direction,
                   std::string_view address);
  void writeTime(SimulatedTime time);

  std::string prefix_;
  std::int64_t writtenSecond_ = -1;
  std::string line_;
};

}  // namespace tessline::cli
