/// @file
/// Recordings: what entered a system from outside, as JSON Lines.
#pragma once

#include "tessline/platform/SerialQueue.h"

#include <cstdint>
#include <istream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace tessline::cli {

/// The version of the recording format that this program reads.
inline constexpr int recordingVersion = 1;

/// The longest time or duration of a record in seconds. It is exact in nanoseconds of 64 bits.
inline constexpr double longestSeconds = 1e9;

/// A record that cannot be used. The message says what is wrong and what was expected.
class RecordingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One record behind the first.
struct Record {
  platform::QueueTime time{};  ///< Since the start of the recording.
  std::string type;            ///< For example "hid.report".
  nlohmann::json members;      ///< The rest of the object.
};

/// Reads a recording record by record. Throws RecordingError.
class RecordingReader {
 public:
  /// `input` must outlive the reader.
  explicit RecordingReader(std::istream& input) : input_(input) {}

  /// The next record; none at the end.
  std::optional<Record> next();

  /// The number, from 1, of the line read last.
  std::uint64_t line() const { return line_; }

 private:
  std::optional<nlohmann::json> nextObject();
  void readHeader();

  std::istream& input_;
  std::uint64_t line_ = 0;
  bool hasHeader_ = false;
  platform::QueueTime lastTime_{};
};

/// A time in seconds, in as few digits as say it exactly, for example "1.5".
std::string secondsText(platform::QueueTime time);

}  // namespace tessline::cli
