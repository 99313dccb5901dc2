#include "tests/cli/simulate/PlayedScenario.h"

#include "cli/simulate/Melody.h"
#include "tessline/events/ByteSearch.h"
#include "tests/support/Bytes.h"
#include "tests/support/EventNotation.h"

#include <algorithm>
#include <bit>
#include <string_view>

namespace tessline::test {

namespace {

bool contains(std::span<const std::uint8_t> payload, std::string_view pattern) {
  return firstIndex(payload, bytes(pattern)).has_value();
}

bool holds(const std::vector<TesslineEvent>& events, const TesslineEvent& event) {
  return std::find(events.begin(), events.end(), event) != events.end();
}

bool isButton(const TesslineEvent& event) {
  return std::holds_alternative<RemoteButtonEvent>(event);
}

bool isVoiceButton(const std::vector<TesslineEvent>& events, RemoteButtonPhase phase) {
  return holds(events, RemoteButtonEvent{RemoteCommand::voice, phase});
}

/// What a button report is known by.
std::string reportLayout(std::span<const std::uint8_t> payload) {
  if (payload.size() == 2) return "value";
  for (const std::string_view pattern : {"1b 15 00 01 fb", "1b 15 00 fb", "1b 23 00", "1b 3a 00"}) {
    if (contains(payload, pattern)) return std::string(pattern);
  }
  return payload[0] == 0xFB ? "fb" : "01 fb";
}

std::string boundLayout(std::span<const std::uint8_t> payload) {
  if (SiriRemoteReportParser::voiceFrameByteStart(payload)) return "frame";
  if (contains(payload, "1b 23 00")) return "1b 23";
  if (contains(payload, "1b 3a 00")) return "1b 3a";
  return "mask";
}

}  // namespace

const cli::VoicePackets& melodyPackets() {
  static const cli::VoicePackets packets = cli::VoicePackets::encode(cli::melody());
  return packets;
}

std::vector<TesslineEvent> libraryEvents(std::span<const cli::IntendedEvent> intended) {
  struct ToLibrary {
    TesslineEvent operator()(const cli::IntendedVoiceFrame& frame) const {
      RemoteVoiceFrame result;
      result.declaredByteCount = static_cast<std::int64_t>(frame.packet.size());
      result.packetBytes.assign(frame.packet.begin(), frame.packet.end());
      result.rawBytes.push_back(static_cast<std::uint8_t>(frame.packet.size()));
      result.rawBytes.insert(result.rawBytes.end(), frame.packet.begin(), frame.packet.end());
      return result;
    }
    TesslineEvent operator()(const RemoteButtonEvent& event) const { return event; }
    TesslineEvent operator()(const VoiceSessionStarted& event) const { return event; }
    TesslineEvent operator()(const VoiceSessionEnded& event) const { return event; }
  };
  std::vector<TesslineEvent> events;
  for (const cli::IntendedEvent& event : intended) {
    events.push_back(std::visit(ToLibrary{}, event));
  }
  return events;
}

PlayedScenario::PlayedScenario(const cli::ScenarioOptions& options, const cli::ScenarioLimit& limit,
                               const cli::VoicePackets& voice) {
  ours_.lines.acceptedRemoteAddress = options.remoteAddress;
  cli::RemoteScenario(options, voice, *this).play(limit);
}

void PlayedScenario::write(const cli::SimulatedLine& line) {
  text_ += line.text;
  end_ = line.time;
  const std::vector<TesslineEvent> intended = libraryEvents(line.intended);
  events_.insert(events_.end(), intended.begin(), intended.end());
  compare(std::string(line.text.substr(0, line.text.size() - 1)), intended);
}

void PlayedScenario::compare(const std::string& line, const std::vector<TesslineEvent>& intended) {
  const std::vector<TesslineEvent> ours = ours_.decode(line);
  const std::vector<TesslineEvent> any = any_.decode(line);
  if (!any_.payload.empty()) observe(any_.payload, any);
  if (!mismatch_.empty() || (any == intended && ours == intended)) return;
  mismatch_ = line + "\nintended: " + notation(intended) + "\nof any remote: " + notation(any) +
              "\nof the remote: " + notation(ours);
}

void PlayedScenario::observe(std::span<const std::uint8_t> payload,
                             const std::vector<TesslineEvent>& events) {
  for (const TesslineEvent& event : events) {
    if (isButton(event)) {
      buttonReports_.insert(notation(event) + " by " + reportLayout(payload));
    }
    if (std::holds_alternative<RemoteVoiceFrame>(event)) {
      ++frameCount_;
      packetsPerFrame_.insert(packetsOfFrame_);
    }
  }
  constexpr unsigned voiceButton = 0x2000;
  mostButtonChanges_ =
      std::max(mostButtonChanges_, std::count_if(events.begin(), events.end(), isButton));
  mostButtonsDown_ =
      std::max(mostButtonsDown_, std::popcount(any_.reports.lastButtonMask() & ~voiceButton));
  if (const auto start = SiriRemoteReportParser::voiceFrameByteStart(payload)) {
    frameStarts_.insert(*start);
    packetsOfFrame_ = 1;
    sessionHasFrames_ = true;
  } else if (SiriRemoteReportParser::voiceContinuationDataStart(payload)) {
    ++packetsOfFrame_;
  }
  observeBounds(payload, events);
}

void PlayedScenario::observeBounds(std::span<const std::uint8_t> payload,
                                   const std::vector<TesslineEvent>& events) {
  if (holds(events, VoiceSessionStarted{}) || isVoiceButton(events, RemoteButtonPhase::pressed)) {
    opening_ = boundLayout(payload);
    sessionHasFrames_ = opening_ == "frame";
  }
  if (holds(events, VoiceSessionEnded{}) || isVoiceButton(events, RemoteButtonPhase::released)) {
    if (sessionHasFrames_) sessionBounds_.insert(opening_ + " to " + boundLayout(payload));
    sessionHasFrames_ = false;
  }
}

std::vector<TesslineEvent> PlayedScenario::LineDecoder::decode(std::string_view line) {
  payload.clear();
  if (lines.readLine(line, payload) != PacketLogLine::packet) {
    payload.clear();
    return {};
  }
  return reports.ingestPayload(payload);
}

}  // namespace tessline::test
