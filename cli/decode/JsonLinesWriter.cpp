#include "cli/decode/EventWriter.h"

#include <cstddef>
#include <span>
#include <string>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

constexpr std::string_view hexDigits = "0123456789abcdef";

// Lower-case hex text of `bytes`.
void appendHex(std::span<const std::uint8_t> bytes, std::string& text) {
  for (const std::uint8_t byte : bytes) {
    text += hexDigits[byte >> 4];
    text += hexDigits[byte & 0xF];
  }
}

class JsonLinesWriter : public EventWriter {
 public:
  explicit JsonLinesWriter(Output& output) : output_(output) {}

  void event(std::uint64_t line, const TesslineEvent& event) override {
    visitEvent(
        event,
        [&](const RemoteButtonEvent& button) {
          output_.print(R"({{"line":{},"event":"button","command":"{}","ordinal":{},"phase":"{}"}})"
                        "\n",
                        line, name(button.command), ordinal(button.command),
                        rawValue(button.phase));
        },
        [&](const RemoteVoiceFrame& frame) {
          packetText_.clear();
          appendHex(frame.packetBytes, packetText_);
          rawText_.clear();
          appendHex(frame.rawBytes, rawText_);
          output_.print(R"({{"line":{},"event":"voiceFrame","declaredByteCount":{},)"
                        R"("packetBytes":"{}","rawBytes":"{}"}})"
                        "\n",
                        line, frame.declaredByteCount, packetText_, rawText_);
        },
        [&](const VoiceSessionStarted&) { plainEvent(line, "voiceSessionStarted"); },
        [&](const VoiceSessionEnded&) { plainEvent(line, "voiceSessionEnded"); });
  }

  void sessionClosed(const VoiceSessionRecord&) override {}
  void totals(const DecodeTotals&) override {}

 private:
  void plainEvent(std::uint64_t line, std::string_view event) {
    output_.print("{{\"line\":{},\"event\":\"{}\"}}\n", line, event);
  }

  Output& output_;
  std::string packetText_;
  std::string rawText_;
};

class JsonSummaryWriter : public EventWriter {
 public:
  explicit JsonSummaryWriter(Output& output) : output_(output) {}

  void event(std::uint64_t, const TesslineEvent&) override {}
  void sessionClosed(const VoiceSessionRecord&) override {}

  void totals(const DecodeTotals& totals) override {
    const PacketLogLineCounts& counts = totals.input.counts;
    output_.print(R"({{"event":"summary","bytes":{},"lines":{},"packets":{},"skippedLines":)"
                  R"({{"empty":{},"notReceived":{},"otherRemote":{},"withoutPayload":{},)"
                  R"("overlong":{}}},"presses":{{)",
                  totals.input.bytes, counts.lines, counts.packets, counts.empty,
                  counts.notReceived, counts.otherRemote, counts.withoutPayload,
                  totals.input.overlongLines);
    for (std::size_t index = 0; index < remoteCommandCount; ++index) {
      output_.print("{}\"{}\":{}", index == 0 ? "" : ",", remoteCommandNames[index],
                    totals.presses[index]);
    }
    output_.print(R"(}},"voiceSessions":{},"voiceSessionsWithoutEnd":{},"voiceFrames":{},)"
                  R"("audioSeconds":{:.2f},"emptyFrames":{},"droppedFrames":{},)"
                  R"("refusedPackets":{},"framePendingAtEnd":{}}})"
                  "\n",
                  totals.voice.sessionCount, totals.voice.sessionWithoutEndCount,
                  totals.voice.frameCount + totals.voice.emptyFrameCount, totals.voice.seconds(),
                  totals.voice.emptyFrameCount, totals.droppedFrames,
                  totals.voice.refusedPacketCount, totals.framePendingAtEnd);
  }

 private:
  Output& output_;
};

}  // namespace

std::unique_ptr<EventWriter> makeJsonLinesWriter(Output& output) {
  return std::make_unique<JsonLinesWriter>(output);
}

std::unique_ptr<EventWriter> makeJsonSummaryWriter(Output& output) {
  return std::make_unique<JsonSummaryWriter>(output);
}

}  // namespace tessline::cli
