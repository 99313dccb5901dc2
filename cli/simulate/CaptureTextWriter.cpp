#include "cli/simulate/CaptureTextWriter.h"

#include <array>
#include <chrono>
#include <cstring>

namespace tessline::cli {

namespace {

using namespace std::chrono_literals;

/// The moment at which every simulated capture begins.
constexpr std::chrono::sys_seconds captureBeginning =
    std::chrono::sys_days(std::chrono::year(2026) / 11 / 21) + 10h + 15min + 30s;

constexpr std::array<std::string_view, 12> monthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// Where the parts of a prefix stand. What lies between them is blank.
constexpr std::size_t dayPosition = 4;
constexpr std::size_t hoursPosition = 7;
constexpr std::size_t minutesPosition = 10;
constexpr std::size_t secondsPosition = 13;
constexpr std::size_t millisecondsPosition = 16;
constexpr std::size_t kindPosition = 21;
constexpr std::size_t directionPosition = 28;
constexpr std::size_t addressPosition = 34;

constexpr std::string_view kindText(RecordKind kind) {
  switch (kind) {
    case RecordKind::acl:
      return "ACL  ";
    case RecordKind::report:
      return "HID  ";
    case RecordKind::event:
      return "EVENT";
    case RecordKind::command:
      return "CMD  ";
  }
  return {};
}

constexpr std::string_view directionText(RecordDirection direction) {
  switch (direction) {
    case RecordDirection::received:
      return "RECV";
    case RecordDirection::sent:
      return "SEND";
  }
  return {};
}

constexpr std::size_t charactersPerByte = 3;

/// "hh " for every byte.
constexpr auto hexTable = [] {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::array<std::array<char, charactersPerByte>, 256> table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    table[byte] = {digits[byte >> 4U], digits[byte & 0x0FU], ' '};
  }
  return table;
}();

void put(char* place, std::string_view text) {
  std::memcpy(place, text.data(), text.size());
}

/// Writes `number` with leading zeros into `digits` characters.
void putNumber(char* place, std::int64_t number, std::size_t digits) {
  for (std::size_t position = digits; position > 0; --position, number /= 10) {
    place[position - 1] = static_cast<char>('0' + number % 10);
  }
}

}  // namespace

CaptureTextWriter::CaptureTextWriter() : prefix_(linePrefixLength, ' ') {}

std::string_view CaptureTextWriter::packetLine(SimulatedTime time, RecordKind kind,
                                               RecordDirection direction, std::string_view address,
                                               std::span<const std::uint8_t> payload) {
  writePrefix(time, kind, direction, address);
  line_.assign(prefix_);
  line_.resize(linePrefixLength + payload.size() * charactersPerByte);
  char* place = line_.data() + linePrefixLength;
  for (const std::uint8_t byte : payload) {
    std::memcpy(place, hexTable[byte].data(), charactersPerByte);
    place += charactersPerByte;
  }
  line_.back() = '\n';
  return line_;
}

std::string_view CaptureTextWriter::textLine(SimulatedTime time, RecordKind kind,
                                             RecordDirection direction, std::string_view address,
                                             std::string_view text) {
  writePrefix(time, kind, direction, address);
  line_.assign(prefix_).append(text).push_back('\n');
  return line_;
}

std::string_view CaptureTextWriter::cutOffLine(SimulatedTime time, RecordKind kind,
                                               RecordDirection direction, std::string_view address,
                                               std::size_t length) {
  writePrefix(time, kind, direction, address);
  line_.assign(prefix_, 0, length).push_back('\n');
  return line_;
}

std::string_view CaptureTextWriter::bareLine(std::string_view text) {
  line_.assign(text).push_back('\n');
  return line_;
}

void CaptureTextWriter::writePrefix(SimulatedTime time, RecordKind kind, RecordDirection direction,
                                    std::string_view address) {
  writeTime(time);
  char* const prefix = prefix_.data();
  put(prefix + kindPosition, kindText(kind));
  put(prefix + directionPosition, directionText(direction));
  put(prefix + addressPosition, address);
}

void CaptureTextWriter::writeTime(SimulatedTime time) {
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
  char* const prefix = prefix_.data();
  putNumber(prefix + millisecondsPosition, milliseconds % 1000, 3);
  if (milliseconds / 1000 == writtenSecond_) return;
  writtenSecond_ = milliseconds / 1000;
  const std::chrono::sys_seconds moment = captureBeginning + std::chrono::seconds(writtenSecond_);
  const auto day = std::chrono::floor<std::chrono::days>(moment);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss<std::chrono::seconds> timeOfDay(moment - day);
  put(prefix, monthNames[static_cast<unsigned>(date.month()) - 1]);
  putNumber(prefix + dayPosition, static_cast<unsigned>(date.day()), 2);
  putNumber(prefix + hoursPosition, timeOfDay.hours().count(), 2);
  put(prefix + hoursPosition + 2, ":");
  putNumber(prefix + minutesPosition, timeOfDay.minutes().count(), 2);
  put(prefix + minutesPosition + 2, ":");
  putNumber(prefix + secondsPosition, timeOfDay.seconds().count(), 2);
  put(prefix + secondsPosition + 2, ".");
}

}  // namespace tessline::cli
