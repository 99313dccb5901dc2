#include "cli/replay/Recording.h"

#include <cmath>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

using nlohmann::json;

constexpr double nanosecondsPerSecond = 1e9;

json take(json& object, const char* key) {
  const auto found = object.find(key);
  if (found == object.end()) return {};
  json value = std::move(*found);
  object.erase(found);
  return value;
}

}  // namespace

std::optional<json> RecordingReader::nextObject() {
  std::string text;
  while (std::getline(input_, text)) {
    ++line_;
    if (text.find_first_not_of(" \t\r") == std::string::npos) continue;
    json object = json::parse(text, nullptr, false);
    if (!object.is_object()) throw RecordingError("this is no JSON object; expected one a line");
    return object;
  }
  return std::nullopt;
}

void RecordingReader::readHeader() {
  hasHeader_ = true;
  const auto header = nextObject();
  const auto expected =
      fmt::format(R"(expected {{"recording":"tessline","version":{}}})", recordingVersion);
  if (!header) throw RecordingError("the recording is empty; " + expected);
  if (header->value("recording", json()) != "tessline") {
    throw RecordingError("this is no header of a recording; " + expected);
  }
  if (header->value("version", json()) != recordingVersion) {
    throw RecordingError(fmt::format("version {} is not known; {}",
                                     header->value("version", json()).dump(), expected));
  }
}

std::optional<Record> RecordingReader::next() {
  if (!hasHeader_) readHeader();
  auto object = nextObject();
  if (!object) return std::nullopt;
  const json time = take(*object, "time");
  if (!time.is_number() || time.get<double>() < 0 || time.get<double>() > longestSeconds) {
    throw RecordingError(
        R"(the "time" is missing or no time; expected seconds since the start, 0 to 1000000000)");
  }
  const json type = take(*object, "type");
  if (!type.is_string()) {
    throw RecordingError(R"(the "type" is missing or no text; expected a type of record)");
  }
  Record record{
      .time = platform::QueueTime(std::llround(time.get<double>() * nanosecondsPerSecond)),
      .type = type.get<std::string>(),
      .members = std::move(*object)};
  if (record.time < lastTime_) {
    throw RecordingError(
        fmt::format("the time {} lies before that of the record in front of it; "
                    "expected {} or later",
                    secondsText(record.time), secondsText(lastTime_)));
  }
  lastTime_ = record.time;
  return record;
}

std::string secondsText(platform::QueueTime time) {
  constexpr std::int64_t perSecond = 1'000'000'000;
  const std::int64_t count = time.count();
  std::string text = fmt::format("{}.{:09}", count / perSecond, count % perSecond);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

}  // namespace tessline::cli
