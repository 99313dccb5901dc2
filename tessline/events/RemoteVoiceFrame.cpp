#include "tessline/events/RemoteVoiceFrame.h"

#include <cstddef>

namespace tessline {

namespace {

// Kept out of line: where GCC knows that at most 256 bytes are copied it picks an instruction that
// takes longer than a call of memcpy, and frames are the bulk of a recording.
[[gnu::noinline]] std::vector<std::uint8_t> copyOf(std::span<const std::uint8_t> bytes) {
  return {bytes.begin(), bytes.end()};
}

}  // namespace

std::optional<RemoteVoiceFrame> RemoteVoiceFrame::fromRawBytes(
    std::span<const std::uint8_t> rawBytes) {
  if (rawBytes.empty()) return std::nullopt;
  const std::size_t declared = rawBytes[0];
  if (rawBytes.size() <= declared) return std::nullopt;
  const auto frame = rawBytes.first(declared + 1);
  return RemoteVoiceFrame{.declaredByteCount = static_cast<std::int64_t>(declared),
                          .packetBytes = copyOf(frame.subspan(1)),
                          .rawBytes = copyOf(frame)};
}

}  // namespace tessline
