#include "tests/support/TextComparison.h"

#include "tessline/packetlog/PacketLogBatch.h"
#include "tessline/packetlog/PacketLoggerLineParser.h"
#include "tessline/packetlog/RecordedRemoteCaptureDecoder.h"
#include "tessline/packetlog/TextKernel.h"
#include "tessline/text/Utf8.h"
#include "tests/support/Bytes.h"
#include "tests/support/EventNotation.h"
#include "tests/support/ReferenceReportParser.h"
#include "tests/support/ReferenceTextReader.h"

#include <cstdint>
#include <vector>

namespace tessline::test {

namespace {

std::string difference(std::string_view where, const std::string& actual,
                       const std::string& expected) {
  if (actual == expected) return "";
  return std::string(where) + ": library \"" + actual + "\", reference \"" + expected + "\"";
}

/// The first text that is not empty.
std::string firstOf(std::initializer_list<std::string> texts) {
  for (const auto& text : texts) {
    if (!text.empty()) return text;
  }
  return "";
}

std::string kindText(PacketLogLine kind) {
  switch (kind) {
    case PacketLogLine::packet:
      return "packet";
    case PacketLogLine::notReceived:
      return "notReceived";
    case PacketLogLine::otherRemote:
      return "otherRemote";
    case PacketLogLine::withoutPayload:
      return "withoutPayload";
  }
  return "unknown";
}

std::string kindText(ReferenceLineKind kind) {
  switch (kind) {
    case ReferenceLineKind::packet:
      return "packet";
    case ReferenceLineKind::notReceived:
      return "notReceived";
    case ReferenceLineKind::otherRemote:
      return "otherRemote";
    case ReferenceLineKind::withoutPayload:
      return "withoutPayload";
  }
  return "unknown";
}

std::string packetText(std::string_view line, const std::vector<std::uint8_t>& payload) {
  return "[" + hexText(payload) + "] of " + std::string(line);
}

std::string countsText(const PacketLogLineCounts& counts) {
  std::string text;
  for (const auto count : {counts.lines, counts.empty, counts.packets, counts.notReceived,
                           counts.otherRemote, counts.withoutPayload}) {
    text += std::to_string(count) + " ";
  }
  return text;
}

PacketLogLineCounts countsOf(const ReferenceReading& reading) {
  return {reading.lines,       reading.empty,       reading.packets.size(),
          reading.notReceived, reading.otherRemote, reading.withoutPayload};
}

/// Packets and their events, each with the 1-based number of its line.
class Protocol {
 public:
  void add(std::uint64_t lineNumber, std::span<const std::uint8_t> payload,
           std::span<const TesslineEvent> events) {
    text_ += std::to_string(lineNumber) + " [" + hexText(payload) + "] " + notation(events) + "\n";
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

Protocol referenceProtocol(const ReferenceReading& reading) {
  Protocol protocol;
  ReferenceReportParser parser;
  for (const auto& packet : reading.packets) {
    const auto events = parser.ingest(packet.payload);
    if (!events.empty()) protocol.add(packet.lineNumber, packet.payload, events);
  }
  return protocol;
}

/// Decodes pieces of a capture, one after the other.
class PieceDecoder {
 public:
  explicit PieceDecoder(const std::optional<std::string>& address) : decoder_(address) {}

  void decode(std::string_view piece) {
    batch_.read(piece, decoder_.lineParser());
    decoder_.decodeBatch(batch_, [this](const PacketLogBatch::Packet& packet, auto events) {
      protocol_.add(counts_.lines + packet.line + 1, packet.payload, events);
    });
    counts_ += batch_.counts();
  }
  std::string protocol() const { return protocol_.text() + countsText(counts_); }

 private:
  RecordedRemoteCaptureDecoder decoder_;
  PacketLogBatch batch_;
  PacketLogLineCounts counts_;
  Protocol protocol_;
};

std::string referenceEvents(const ReferenceReading& reading) {
  ReferenceReportParser parser;
  std::vector<TesslineEvent> events;
  for (const auto& packet : reading.packets) {
    for (auto& event : parser.ingest(packet.payload)) events.push_back(event);
  }
  return notation(events);
}

std::string packetsOf(const PacketLogBatch& batch) {
  std::string text;
  for (std::size_t index = 0; index < batch.size(); ++index) {
    const auto packet = batch[index];
    text += std::to_string(packet.line + 1) + " [" + hexText(packet.payload) + "]\n";
  }
  return text;
}

std::string packetsOf(const ReferenceReading& reading) {
  std::string text;
  for (const auto& packet : reading.packets) {
    text += std::to_string(packet.lineNumber) + " [" + hexText(packet.payload) + "]\n";
  }
  return text;
}

}  // namespace

std::string compareKernels(std::string_view text) {
  const auto kernels = textKernels();
  const LineScan expectedScan = kernels.front().scanLine(text);
  const auto expectedBytes = ReferenceTextReader::hexBytes(ReferenceTextReader::characters(text));
  for (const TextKernel& kernel : kernels) {
    const LineScan scan = kernel.scanLine(text);
    if (scan.length != expectedScan.length || scan.received != expectedScan.received) {
      return std::string(kernel.name) + " scans otherwise than " +
             std::string(kernels.front().name);
    }
    if (!isAscii(text)) continue;
    std::vector<std::uint8_t> bytes(hexByteCapacity(text.size()));
    bytes.resize(kernel.parseHexBytes(text, bytes.data()));
    if (bytes != expectedBytes)
      return difference(kernel.name, hexText(bytes), hexText(expectedBytes));
  }
  return "";
}

std::string compareLine(std::string_view line, const std::optional<std::string>& address) {
  const PacketLoggerLineParser parser{address};
  const ReferenceTextReader reader(address);
  const auto characters = ReferenceTextReader::characters(line);

  std::vector<std::uint8_t> payload;
  std::vector<std::uint8_t> expectedPayload;
  const auto kind = kindText(parser.readLine(line, payload));
  const auto expectedKind = kindText(reader.readLine(characters, expectedPayload));
  const auto packet = parser.parseLine(line);
  const auto region = ReferenceTextReader::payloadRegion(characters);
  return firstOf({
      difference("kind", kind, expectedKind),
      difference("payload", hexText(payload), hexText(expectedPayload)),
      difference("packet", packet ? packetText(packet->sourceLine, packet->payload) : "none",
                 expectedKind == "packet" ? packetText(line, expectedPayload) : "none"),
      difference("address match", parser.addressMatches(line) ? "yes" : "no",
                 reader.addressMatches(characters) ? "yes" : "no"),
      difference("region", std::string(PacketLoggerLineParser::payloadRegion(line)),
                 ReferenceTextReader::sourceText(region)),
  });
}

std::string compareCapture(std::string_view text, const std::optional<std::string>& address) {
  const auto reading = ReferenceTextReader(address).read(text);
  PacketLogBatch batch;
  batch.read(text, PacketLoggerLineParser{address});
  PieceDecoder pieces(address);
  pieces.decode(text);
  return firstOf({
      difference("counts", countsText(batch.counts()), countsText(countsOf(reading))),
      difference("packets", packetsOf(batch), packetsOf(reading)),
      difference("events", notation(RecordedRemoteCaptureDecoder(address).decode(text)),
                 referenceEvents(reading)),
      difference("protocol", pieces.protocol(),
                 referenceProtocol(reading).text() + countsText(countsOf(reading))),
  });
}

namespace {

/// Whether line after line the text has as many whole lines as all at once.
std::string compareLineEnds(std::string_view text) {
  std::size_t length = 0;
  while (const std::size_t lineLength = firstWholeLineLength(text.substr(length))) {
    length += lineLength;
  }
  return difference("whole lines", std::to_string(wholeLinesLength(text)), std::to_string(length));
}

}  // namespace

std::string comparePieces(std::string_view text, const std::optional<std::string>& address,
                          std::size_t pieceSize) {
  if (const auto lineEnds = compareLineEnds(text); !lineEnds.empty()) return lineEnds;
  PieceDecoder whole(address);
  whole.decode(text);

  PieceDecoder pieces(address);
  std::string arrived;
  for (std::size_t start = 0; start < text.size(); start += pieceSize) {
    arrived += text.substr(start, pieceSize);
    const std::size_t length = wholeLinesLength(arrived);
    pieces.decode(std::string_view(arrived).substr(0, length));
    arrived.erase(0, length);
  }
  pieces.decode(arrived);
  return difference("pieces of " + std::to_string(pieceSize), pieces.protocol(), whole.protocol());
}

}  // namespace tessline::test
