#include "cli/simulate/CaptureTimeline.h"

#include <string_view>

namespace tessline::cli {

namespace {
constexpr std::uint32_t linesPerPlaceholder = 12;
}

CaptureTimeline::CaptureTimeline(std::uint64_t seed, const std::string& remoteAddress,
                                 SimulatedLineSink& sink)
    : random_(seed),
      background_(random_.next(), remoteAddress),
      remoteAddress_(remoteAddress),
      sink_(sink) {}

void CaptureTimeline::advanceTo(SimulatedTime time) {
  if (time <= now_) return;
  while (background_.nextTime() < time) {
    const SimulatedTime due = background_.nextTime();
    write(due, background_.next(writer_), {});
  }
  now_ = time;
}

void CaptureTimeline::receive(RecordKind kind, std::span<const std::uint8_t> payload,
                              std::span<const IntendedEvent> intended) {
  const std::string_view address =
      random_.oneIn(linesPerPlaceholder) ? placeholderAddress : std::string_view(remoteAddress_);
  write(now_, writer_.packetLine(now_, kind, RecordDirection::received, address, payload),
        intended);
}

void CaptureTimeline::write(SimulatedTime time, std::string_view text,
                            std::span<const IntendedEvent> intended) {
  byteCount_ += text.size();
  sink_.write({time, text, intended});
}

}  // namespace tessline::cli
