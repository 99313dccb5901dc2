#include "cli/listen/LiveWriter.h"

#include "cli/EventJson.h"

#include <cstddef>
#include <string>
#include <utility>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

// With U+FFFD for each control character: those of ASCII and, in UTF-8, U+0080 to U+009F.
std::string printable(std::string_view text) {
  constexpr std::string_view replacement = "\xEF\xBF\xBD";
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool isLong = byte(at) == 0xC2 && at + 1 < text.size() && byte(at + 1) < 0xA0;
    if (isLong || byte(at) < 0x20 || byte(at) == 0x7F) {
      result += replacement;
      if (isLong) ++at;
    } else {
      result += text[at];
    }
  }
  return result;
}

}  // namespace

LiveWriter::LiveWriter(Output output, OutputFormat format, std::function<Seconds()> elapsed)
    : output_(std::move(output)),
      format_(format),
      style_(TextStyle::forOutput(output_.isTerminal())),
      elapsed_(std::move(elapsed)) {}

void LiveWriter::note(std::string_view symbol, std::string_view text) {
  if (format_ == OutputFormat::text) row(style_.dim, symbol, printable(text));
}

void LiveWriter::object(std::string_view members) {
  if (format_ != OutputFormat::jsonl) return;
  output_.print("{{\"time\":{:.6f},{}}}\n", elapsed_().count(), members);
}

void LiveWriter::event(const TesslineEvent& event) {
  if (format_ == OutputFormat::jsonl) {
    std::string members;
    appendEventMembers(event, members);
    return object(members);
  }
  visitEvent(
      event,
      [&](const RemoteButtonEvent& button) {
        const bool isPress = button.phase == RemoteButtonPhase::pressed;
        row(isPress ? style_.green : style_.dim, isPress ? "▼" : "△",
            fmt::format("{} {}", name(button.command), rawValue(button.phase)));
      },
      [](const RemoteVoiceFrame&) {},
      [&](const VoiceSessionStarted&) { row(style_.magenta, "●", "voice session started"); },
      [](const VoiceSessionEnded&) {});
}

void LiveWriter::sessionClosed(const VoiceSessionRecord& record) {
  if (format_ == OutputFormat::jsonl) return;
  row(style_.magenta, "■",
      fmt::format("voice session {} {}: {:.2f} s of sound{}", record.number,
                  record.hasEnd ? "ended" : "broke off", record.seconds(),
                  record.opusFile.empty() ? "" : "  " + record.opusFile.filename().native()));
}

void LiveWriter::row(std::string_view color, std::string_view symbol, std::string_view text) {
  output_.print("{}{:>9.3f} s{}  {}{} {}{}\n", style_.dim, elapsed_().count(), style_.reset, color,
                symbol, text, style_.reset);
}

}  // namespace tessline::cli
