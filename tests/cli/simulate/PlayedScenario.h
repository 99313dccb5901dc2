/// @file
/// A simulated capture, taken apart by the library's own parsers while it is made.
#pragma once

#include "cli/simulate/RemoteScenario.h"
#include "cli/simulate/SimulatedLine.h"
#include "cli/simulate/VoicePackets.h"
#include "tessline/events/SiriRemoteReportParser.h"
#include "tessline/events/TesslineEvent.h"
#include "tessline/packetlog/PacketLoggerLineParser.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace tessline::test {

/// The voice packets of the melody, encoded once for all tests.
const cli::VoicePackets& melodyPackets();

/// The events that the library has to give for the intended ones.
std::vector<TesslineEvent> libraryEvents(std::span<const cli::IntendedEvent> intended);

/// Plays a scenario to its end and decodes every line of it, once for any remote and once for the
/// scenario's remote alone.
class PlayedScenario final : public cli::SimulatedLineSink {
 public:
  explicit PlayedScenario(const cli::ScenarioOptions& options = {},
                          const cli::ScenarioLimit& limit = {.duration = std::chrono::seconds(30)},
                          const cli::VoicePackets& voice = melodyPackets());

  void write(const cli::SimulatedLine& line) override;

  /// All lines.
  const std::string& text() const { return text_; }
  /// All intended events.
  const std::vector<TesslineEvent>& events() const { return events_; }
  /// When the last line was written.
  cli::SimulatedTime end() const { return end_; }
  /// The first line, with the events in question, from which other events were decoded than
  /// intended; empty when there is none.
  const std::string& mismatch() const { return mismatch_; }
  std::size_t frameCount() const { return frameCount_; }
  std::uint64_t droppedFrameCount() const { return any_.reports.droppedVoiceFrameCount(); }

  /// Every press and release that was decoded, with the layout of its payload, for example
  /// "press select by 01 fb".
  const std::set<std::string>& buttonReports() const { return buttonReports_; }
  /// The most changes of buttons in one report, and the most buttons down at a time in mask
  /// reports, the voice button left out.
  std::ptrdiff_t mostButtonChanges() const { return mostButtonChanges_; }
  int mostButtonsDown() const { return mostButtonsDown_; }
  /// Every way in which a session with frames was opened and closed, for example "mask to 1b 3a".
  const std::set<std::string>& sessionBounds() const { return sessionBounds_; }
  /// Every index of a frame's length byte.
  const std::set<std::size_t>& frameStarts() const { return frameStarts_; }
  /// Every number of packets that carried one whole frame.
  const std::set<std::size_t>& packetsPerFrame() const { return packetsPerFrame_; }

 private:
  struct LineDecoder {
    std::vector<TesslineEvent> decode(std::string_view line);

    PacketLoggerLineParser lines;
    SiriRemoteReportParser reports;
    std::vector<std::uint8_t> payload;
  };

  void compare(const std::string& line, const std::vector<TesslineEvent>& intended);
  void observe(std::span<const std::uint8_t> payload, const std::vector<TesslineEvent>& events);
  void observeBounds(std::span<const std::uint8_t> payload,
                     const std::vector<TesslineEvent>& events);

  LineDecoder any_;
  LineDecoder ours_;
  std::string text_;
  std::vector<TesslineEvent> events_;
  cli::SimulatedTime end_{0};
  std::string mismatch_;
  std::size_t frameCount_ = 0;
  std::set<std::string> buttonReports_;
  std::ptrdiff_t mostButtonChanges_ = 0;
  int mostButtonsDown_ = 0;
  std::set<std::string> sessionBounds_;
  std::set<std::size_t> frameStarts_;
  std::set<std::size_t> packetsPerFrame_;
  std::string opening_;
  bool sessionHasFrames_ = false;
  std::size_t packetsOfFrame_ = 0;
};

}  // namespace tessline::test
