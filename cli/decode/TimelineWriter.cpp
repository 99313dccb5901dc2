#include "cli/Counting.h"
#include "cli/TextStyle.h"
#include "cli/decode/EventWriter.h"

#include <cstddef>
#include <string>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

std::string soundFigure(const VoiceSessionRecord& record) {
  return fmt::format("{:.2f} s, {}", record.seconds(), counted(record.frameCount, "frame"));
}

void printTotals(Output& output, const TextStyle& style, const DecodeTotals& totals) {
  const auto row = [&](std::string_view title, std::string_view text) {
    output.print("  {}{:<9}{}{}\n", style.bold, title, style.reset, text);
  };
  const PacketLogLineCounts& counts = totals.input.counts;
  std::string skipped;
  const auto skip = [&](std::uint64_t count, std::string_view reason) {
    if (count == 0) return;
    skipped += fmt::format("{}{} {}", skipped.empty() ? "" : ", ", grouped(count), reason);
  };
  skip(counts.notReceived, "not received");
  skip(counts.otherRemote, "of other remotes");
  skip(counts.withoutPayload, "without bytes");
  skip(counts.empty, "empty");
  skip(totals.input.overlongLines, "too long");
  row("lines", grouped(counts.lines));
  row("packets", grouped(counts.packets));
  row("skipped", skipped.empty() ? "nothing" : skipped);

  std::string presses;
  for (std::size_t index = 0; index < remoteCommandCount; ++index) {
    if (totals.presses[index] == 0) continue;
    presses += fmt::format("{}{} {}", presses.empty() ? "" : ", ", remoteCommandNames[index],
                           grouped(totals.presses[index]));
  }
  row("presses", presses.empty() ? "none" : presses);

  const VoiceTotals& voice = totals.voice;
  row("voice", fmt::format("{}, {}, {:.2f} s of sound", counted(voice.sessionCount, "session"),
                           counted(voice.frameCount, "frame"), voice.seconds()));
  const auto note = [&](bool applies, const std::string& text) {
    if (applies) output.print("  {:<9}{}{}{}\n", "", style.yellow, text, style.reset);
  };
  note(voice.sessionWithoutEndCount > 0,
       fmt::format("{} without an end", counted(voice.sessionWithoutEndCount, "session")));
  note(totals.droppedFrames > 0,
       fmt::format("{} dropped as incomplete", counted(totals.droppedFrames, "frame")));
  note(voice.emptyFrameCount > 0,
       fmt::format("{} without a packet left out", counted(voice.emptyFrameCount, "frame")));
  note(voice.refusedPacketCount > 0, fmt::format("{} could not be decoded and stand as concealment",
                                                 counted(voice.refusedPacketCount, "packet")));
  note(totals.framePendingAtEnd, "the capture ends before the last frame was followed by another");
  if (totals.voiceDirectory) row("files", totals.voiceDirectory->native());
}

class TimelineWriter : public EventWriter {
 public:
  explicit TimelineWriter(Output& output)
      : output_(output), style_(TextStyle::forOutput(output.isTerminal())) {}

  void event(std::uint64_t line, const TesslineEvent& event) override {
    line_ = line;
    visitEvent(
        event,
        [&](const RemoteButtonEvent& button) {
          switch (button.phase) {
            case RemoteButtonPhase::pressed:
              return row("▼", style_.green, name(button.command), "pressed");
            case RemoteButtonPhase::released:
              return row("△", style_.dim, name(button.command), "released");
          }
        },
        [](const RemoteVoiceFrame&) {},
        [&](const VoiceSessionStarted&) { row("●", style_.magenta, "voice", "session started"); },
        [](const VoiceSessionEnded&) {});
  }

  void sessionClosed(const VoiceSessionRecord& record) override {
    std::string text = fmt::format("session {} {}: {}", record.number,
                                   record.hasEnd ? "ended" : "broke off", soundFigure(record));
    for (const std::filesystem::path& file : {record.opusFile, record.wavFile}) {
      if (!file.empty()) text += fmt::format("  {}", file.filename().native());
    }
    row("■", style_.magenta, "voice", text);
  }

  void totals(const DecodeTotals& totals) override {
    output_.write("\n");
    printTotals(output_, style_, totals);
  }

 private:
  void row(std::string_view symbol, std::string_view color, std::string_view what,
           std::string_view text) {
    if (!hasRows_) output_.print("{}{:>9}  event{}\n", style_.bold, "line", style_.reset);
    hasRows_ = true;
    output_.print("{}{:>9}{}  {}{} {:<11}{}{}\n", style_.dim, line_, style_.reset, color, symbol,
                  what, style_.reset, text);
  }

  Output& output_;
  const TextStyle style_;
  std::uint64_t line_ = 0;
  bool hasRows_ = false;
};

class SummaryWriter : public EventWriter {
 public:
  explicit SummaryWriter(Output& output) : output_(output) {}

  void event(std::uint64_t, const TesslineEvent&) override {}
  void sessionClosed(const VoiceSessionRecord&) override {}
  void totals(const DecodeTotals& totals) override {
    printTotals(output_, TextStyle::forOutput(output_.isTerminal()), totals);
  }

 private:
  Output& output_;
};

}  // namespace

std::unique_ptr<EventWriter> makeTimelineWriter(Output& output) {
  return std::make_unique<TimelineWriter>(output);
}

std::unique_ptr<EventWriter> makeSummaryWriter(Output& output) {
  return std::make_unique<SummaryWriter>(output);
}

}  // namespace tessline::cli
