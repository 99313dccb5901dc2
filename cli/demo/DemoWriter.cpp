#include "cli/demo/DemoWriter.h"

#include "cli/Counting.h"

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

constexpr std::array<std::string_view, 4> sourceNames = {"bluetooth", "hid", "capture", "touch"};

std::string text(Point point) {
  return fmt::format("{:.0f}, {:.0f}", point.x, point.y);
}

std::string_view direction(std::int64_t amount, std::string_view positive,
                           std::string_view negative) {
  return amount > 0 ? positive : negative;
}

std::string fileNames(const VoiceSessionRecord& record) {
  std::string names;
  for (const std::filesystem::path& file : {record.opusFile, record.wavFile}) {
    if (!file.empty()) names += "  " + file.filename().native();
  }
  return names;
}

}  // namespace

DemoWriter::DemoWriter(Output& output, std::function<platform::QueueTime()> now)
    : output_(output), style_(TextStyle::forOutput(output.isTerminal())), now_(std::move(now)) {}

void DemoWriter::scene(std::string_view title) {
  writeHeldBack();
  output_.print("{}{}{}\n", style_.bold, title, style_.reset);
}

void DemoWriter::status(DemoSource source, std::string_view text) {
  auto& last = lastStatus_.at(static_cast<std::size_t>(source));
  if (last == text) return;
  last = text;
  note(source, "·", text);
}

void DemoWriter::note(DemoSource source, std::string_view symbol, std::string_view text) {
  writeHeldBack();
  row(now_(), source, style_.dim, symbol, text);
}

void DemoWriter::events(DemoSource source, const std::vector<TesslineEvent>& events) {
  for (const TesslineEvent& event : events) {
    visitEvent(
        event,
        [&](const RemoteButtonEvent& button) {
          ++totals_.buttonEvents;
          writeHeldBack();
          const bool isPress = button.phase == RemoteButtonPhase::pressed;
          row(now_(), source, isPress ? style_.green : style_.dim, isPress ? "▼" : "△",
              fmt::format("{} {}", name(button.command), rawValue(button.phase)));
        },
        [](const RemoteVoiceFrame&) {},
        [&](const VoiceSessionStarted&) {
          writeHeldBack();
          row(now_(), source, style_.magenta, "●", "voice session started");
        },
        [](const VoiceSessionEnded&) {});
  }
}

void DemoWriter::session(DemoSource source, const VoiceSessionRecord& record) {
  totals_.voice.add(record);
  writeHeldBack();
  row(now_(), source, style_.magenta, "■",
      fmt::format("voice session {}: {:.2f} s of sound, {}{}", record.number, record.seconds(),
                  counted(record.frameCount, "frame"), fileNames(record)));
}

template <class Stroke>
Stroke& DemoWriter::goOn(std::optional<Stroke>& stroke) {
  constexpr std::chrono::milliseconds pause{200};
  if (!stroke || now_() - stroke->last > pause) {
    writeHeldBack();
    stroke.emplace();
    stroke->began = now_();
  }
  stroke->last = now_();
  ++stroke->count;
  return *stroke;
}

void DemoWriter::pointerMoved(Point position) {
  ++totals_.pointerMoves;
  goOn(motion_).position = position;
}

void DemoWriter::scrolled(std::int64_t vertical, std::int64_t horizontal) {
  ++totals_.scrollEvents;
  DemoScrolling& scrolling = goOn(scrolling_);
  scrolling.vertical += vertical;
  scrolling.horizontal += horizontal;
}

void DemoWriter::button(bool isDown, Point position) {
  writeHeldBack();
  if (isDown) ++totals_.buttonPresses;
  row(now_(), DemoSource::touch, isDown ? style_.green : style_.dim, isDown ? "◆" : "◇",
      fmt::format("left button {} at {}", isDown ? "down" : "up", text(position)));
}

void DemoWriter::finish(const std::optional<std::filesystem::path>& voiceDirectory) {
  writeHeldBack();
  const auto total = [this](std::string_view title, std::string_view text) {
    output_.print("  {}{:<9}{}{}\n", style_.bold, title, style_.reset, text);
  };
  output_.print("\n");
  total("buttons", counted(totals_.buttonEvents, "event"));
  total("voice",
        fmt::format("{}, {:.2f} s of sound", counted(totals_.voice.sessionCount, "session"),
                    totals_.voice.seconds()));
  total("pointer", fmt::format("{}, {}, {}", counted(totals_.pointerMoves, "move"),
                               counted(totals_.scrollEvents, "scroll event"),
                               counted(totals_.buttonPresses, "mouse button press", "es")));
  total("files", voiceDirectory ? voiceDirectory->native()
                                : "none; --voice DIR keeps the voice that comes by Bluetooth LE");
}

void DemoWriter::writeHeldBack() {
  if (const auto motion = std::exchange(motion_, std::nullopt)) {
    row(motion->began, DemoSource::touch, style_.yellow, "→",
        fmt::format("pointer to {} in {}", text(motion->position), counted(motion->count, "move")));
  }
  if (const auto scrolling = std::exchange(scrolling_, std::nullopt)) {
    std::string text = "scrolled";
    if (scrolling->vertical != 0) {
      text += fmt::format(" {} by {}", direction(scrolling->vertical, "up", "down"),
                          std::abs(scrolling->vertical));
    }
    if (scrolling->horizontal != 0) {
      text += fmt::format(" {} by {}", direction(scrolling->horizontal, "left", "right"),
                          std::abs(scrolling->horizontal));
    }
    row(scrolling->began, DemoSource::touch, style_.yellow, "↕",
        fmt::format("{} in {}", text, counted(scrolling->count, "step")));
  }
}

void DemoWriter::row(platform::QueueTime time, DemoSource source, std::string_view color,
                     std::string_view symbol, std::string_view text) {
  const double seconds = std::chrono::duration<double>(time).count();
  output_.print("{}{:>8.3f} s  {:<9}{}  {}{} {}{}\n", style_.dim, seconds,
                sourceNames.at(static_cast<std::size_t>(source)), style_.reset, color, symbol, text,
                style_.reset);
}

}  // namespace tessline::cli
