#include "tests/support/ParserComparison.h"

#include "tests/support/Bytes.h"
#include "tests/support/EventNotation.h"

#include <optional>
#include <string_view>

namespace tessline::test {

namespace {

std::string text(const std::optional<std::size_t>& number) {
  return number ? std::to_string(*number) : "none";
}

std::string text(const std::optional<std::uint16_t>& number) {
  return number ? std::to_string(*number) : "none";
}

std::string text(const std::optional<RemoteCommand>& command) {
  return command ? std::string(name(*command)) : "none";
}

struct Aspect {
  std::string_view where;
  std::string actual;
  std::string expected;
};

}  // namespace

std::string ParserComparison::ingest(const std::vector<std::uint8_t>& payload) {
  using Parser = SiriRemoteReportParser;
  using Reference = ReferenceReportParser;
  auto twin = parser_;
  std::vector<TesslineEvent> appended;
  twin.ingestPayload(payload, appended);
  const auto events = parser_.ingestPayload(payload);
  const auto expected = reference_.ingest(payload);

  const Aspect aspects[] = {
      {"events", notation(events), notation(expected)},
      {"appended events", notation(appended), notation(expected)},
      {"collecting", std::to_string(parser_.isCollectingVoice()),
       std::to_string(reference_.isCollectingVoice)},
      {"pending frame", hexText(parser_.pendingVoiceFrameBytes()),
       hexText(reference_.pendingVoiceFrame)},
      {"last mask", std::to_string(parser_.lastButtonMask()),
       std::to_string(reference_.lastButtonMask)},
      {"held command", text(parser_.last1B23Command()), text(reference_.heldCommand)},
      {"dropped frames", std::to_string(parser_.droppedVoiceFrameCount()),
       std::to_string(reference_.droppedFrames)},
      {"mask", text(Parser::buttonMask(payload)), text(Reference::buttonMask(payload))},
      {"frame start", text(Parser::voiceFrameByteStart(payload)),
       text(Reference::frameStart(payload))},
      {"continuation start", text(Parser::voiceContinuationDataStart(payload)),
       text(Reference::continuationStart(payload))},
  };
  for (const auto& aspect : aspects) {
    if (aspect.actual != aspect.expected) {
      return std::string(aspect.where) + " of [" + hexText(payload) + "]: parser \"" +
             aspect.actual + "\", reference \"" + aspect.expected + "\"";
    }
  }
  return "";
}

}  // namespace tessline::test
