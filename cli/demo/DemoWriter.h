/// @file
/// What the demonstration shows.
#pragma once

#include "cli/Output.h"
#include "cli/TextStyle.h"
#include "cli/voice/VoiceSessionRecord.h"
#include "tessline/events/TesslineEvent.h"
#include "tessline/model/Geometry.h"
#include "tessline/platform/SerialQueue.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::cli {

/// Where something comes from.
enum class DemoSource : std::uint8_t { bluetooth, hid, capture, touch };

/// Counts over the whole demonstration.
struct DemoTotals {
  std::uint64_t buttonEvents = 0;
  std::uint64_t pointerMoves = 0;
  std::uint64_t scrollEvents = 0;
  std::uint64_t buttonPresses = 0;  ///< Of the mouse, not of the remote.
  VoiceTotals voice;
};

/// What comes by the dozen and is shown as one row.
struct DemoStroke {
  platform::QueueTime began{};
  platform::QueueTime last{};
  std::uint64_t count = 0;
};
/// Of the pointer.
struct DemoMotion : DemoStroke {
  Point position;
};
/// Of the wheel.
struct DemoScrolling : DemoStroke {
  std::int64_t vertical = 0;
  std::int64_t horizontal = 0;
};

/// Writes one row for each thing that happens, with its time. Moves of the pointer and scrolling
/// come by the dozen and are written as one row for each stroke, before whatever happens next.
class DemoWriter {
 public:
  /// `now` gives the time of a row. `output` outlives the writer.
  DemoWriter(Output& output, std::function<platform::QueueTime()> now);

  /// A heading over what follows.
  void scene(std::string_view title);
  /// A status, as the service words it. The same one again is not written again.
  void status(DemoSource source, std::string_view text);
  /// Anything else, behind a symbol of its own.
  void note(DemoSource source, std::string_view symbol, std::string_view text);
  /// The events of a transport, but for voice frames.
  void events(DemoSource source, const std::vector<TesslineEvent>& events);
  /// A voice session that is over.
  void session(DemoSource source, const VoiceSessionRecord& record);

  /// The pointer was moved, with or without the button held.
  void pointerMoved(Point position);
  /// The wheel was turned.
  void scrolled(std::int64_t vertical, std::int64_t horizontal);
  /// The left button went down or up.
  void button(bool isDown, Point position);

  /// Writes what is held back, the totals, and where voice files are if there are any.
  void finish(const std::optional<std::filesystem::path>& voiceDirectory);

  const DemoTotals& totals() const { return totals_; }

 private:
  template <class Stroke>
  Stroke& goOn(std::optional<Stroke>& stroke);
  void writeHeldBack();
  void row(platform::QueueTime time, DemoSource source, std::string_view color,
           std::string_view symbol, std::string_view text);

  Output& output_;
  const TextStyle style_;
  const std::function<platform::QueueTime()> now_;
  std::optional<DemoMotion> motion_;
  std::optional<DemoScrolling> scrolling_;
  std::array<std::string, 4> lastStatus_;
  DemoTotals totals_;
};

}  // namespace tessline::cli
