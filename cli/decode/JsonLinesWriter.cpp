#include "cli/EventJson.h"
#include "cli/decode/EventWriter.h"

#include <cstddef>
#include <string>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

class JsonLinesWriter : public EventWriter {
 public:
  explicit JsonLinesWriter(Output& output) : output_(output) {}

  void event(std::uint64_t line, const TesslineEvent& event) override {
    members_.clear();
    appendEventMembers(event, members_);
    output_.print("{{\"line\":{},{}}}\n", line, members_);
  }

  void sessionClosed(const VoiceSessionRecord&) override {}
  void totals(const DecodeTotals&) override {}

 private:
  Output& output_;
  std::string members_;
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
