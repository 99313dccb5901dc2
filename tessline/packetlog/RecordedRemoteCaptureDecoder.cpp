#include "tessline/packetlog/RecordedRemoteCaptureDecoder.h"

#include <string>

namespace tessline {

RecordedRemoteCaptureDecoder::RecordedRemoteCaptureDecoder(
    std::optional<std::string_view> acceptedRemoteAddress)
    : lineParser_{acceptedRemoteAddress ? std::optional<std::string>(*acceptedRemoteAddress)
                                        : std::nullopt} {}

std::vector<TesslineEvent> RecordedRemoteCaptureDecoder::decode(std::string_view text) {
  PacketLogBatch batch;
  batch.read(text, lineParser_);
  std::vector<TesslineEvent> events;
  for (std::size_t index = 0; index < batch.size(); ++index) {
    reportParser_.ingestPayload(batch[index].payload, events);
  }
  return events;
}

void RecordedRemoteCaptureDecoder::decodeLine(std::string_view line,
                                              std::vector<TesslineEvent>& events) {
  payload_.clear();
  if (lineParser_.readLine(line, payload_) == PacketLogLine::packet) {
    reportParser_.ingestPayload(payload_, events);
  }
}

}  // namespace tessline
