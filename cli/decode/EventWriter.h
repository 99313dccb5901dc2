/// @file
/// The forms in which decoded events and totals are written.
#pragma once

#include "cli/Output.h"
#include "cli/decode/DecodePipeline.h"
#include "cli/voice/VoiceSessionRecord.h"
#include "tessline/events/TesslineEvent.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>

namespace tessline::cli {

/// Everything that a decode counts.
struct DecodeTotals {
  DecodeProgress input;
  std::array<std::uint64_t, remoteCommandCount> presses = {};  ///< By the command's ordinal.
  VoiceTotals voice;
  std::uint64_t droppedFrames = 0;  ///< Begun, but never completed.
  bool framePendingAtEnd = false;   ///< The capture ends within a frame or behind one.
  std::optional<std::filesystem::path> voiceDirectory;  ///< Where the sound went, if anywhere.
};

/// Writes events as they come, then totals.
class EventWriter {
 public:
  virtual ~EventWriter() = default;

  virtual void event(std::uint64_t line, const TesslineEvent& event) = 0;
  virtual void sessionClosed(const VoiceSessionRecord& record) = 0;
  virtual void totals(const DecodeTotals& totals) = 0;
};

/// A timeline for people: a row for each button event and session, sound as a figure.
std::unique_ptr<EventWriter> makeTimelineWriter(Output& output);
/// One JSON object for each event, as docs/formats.md describes it; no totals.
std::unique_ptr<EventWriter> makeJsonLinesWriter(Output& output);
/// Leaves events out and writes the totals for people.
std::unique_ptr<EventWriter> makeSummaryWriter(Output& output);
/// Leaves events out and writes the totals as one JSON object.
std::unique_ptr<EventWriter> makeJsonSummaryWriter(Output& output);

}  // namespace tessline::cli
