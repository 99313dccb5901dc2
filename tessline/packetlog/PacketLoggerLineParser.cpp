#include "tessline/packetlog/PacketLoggerLineParser.h"

#include "tessline/packetlog/HexByteParser.h"
#include "tessline/packetlog/TextKernel.h"
#include "tessline/text/Graphemes.h"

#include <cstddef>

namespace tessline {

namespace {

constexpr std::string_view receivedWord = "RECV";
constexpr std::string_view placeholderAddress = "00:00:00:00:00:00";
constexpr std::size_t prefixLength = 54;

// Whether bytes and characters are the same thing in `line`: it is ASCII without line ends, as
// lines usually are.
bool isPlain(std::string_view line, const LineScan& scan) {
  return scan.length == line.size();
}

std::string_view plainPayloadRegion(std::string_view line, std::size_t received) {
  if (line.size() > prefixLength) return line.substr(prefixLength);
  if (received == LineScan::none) return line;
  return line.substr(received + receivedWord.size());
}

}  // namespace

PacketLogLine PacketLoggerLineParser::readLine(std::string_view line,
                                               std::vector<std::uint8_t>& payload) const {
  const LineScan scan = textKernel().scanLine(line);
  if (isPlain(line, scan)) return readAsciiLine(line, scan.received, payload);
  if (findCharacters(line, receivedWord, LetterCase::ignoredInAscii) == std::string_view::npos) {
    return PacketLogLine::notReceived;
  }
  if (!addressMatches(line)) return PacketLogLine::otherRemote;
  const std::size_t before = payload.size();
  HexByteParser::parseBytes(payloadRegion(line), payload);
  return payload.size() > before ? PacketLogLine::packet : PacketLogLine::withoutPayload;
}

PacketLogLine PacketLoggerLineParser::readAsciiLine(std::string_view line, std::size_t received,
                                                    std::vector<std::uint8_t>& payload) const {
  if (received == LineScan::none) return PacketLogLine::notReceived;
  if (acceptedRemoteAddress && !addressMatches(line)) return PacketLogLine::otherRemote;
  const std::size_t before = payload.size();
  appendHexBytes(plainPayloadRegion(line, received), payload);
  return payload.size() > before ? PacketLogLine::packet : PacketLogLine::withoutPayload;
}

std::optional<TesslinePacket> PacketLoggerLineParser::parseLine(std::string_view line) const {
  std::vector<std::uint8_t> payload;
  if (readLine(line, payload) != PacketLogLine::packet) return std::nullopt;
  return TesslinePacket{.payload = std::move(payload), .sourceLine = std::string(line)};
}

bool PacketLoggerLineParser::addressMatches(std::string_view line) const {
  if (!acceptedRemoteAddress || acceptedRemoteAddress->empty()) return true;
  const bool plain = isPlain(line, textKernel().scanLine(line));
  const auto holds = [line, plain](std::string_view address) {
    const std::size_t found =
        plain ? line.find(address) : findCharacters(line, address, LetterCase::matters);
    return found != std::string_view::npos;
  };
  return holds(*acceptedRemoteAddress) || holds(placeholderAddress);
}

std::string_view PacketLoggerLineParser::payloadRegion(std::string_view line) {
  const LineScan scan = textKernel().scanLine(line);
  if (isPlain(line, scan)) return plainPayloadRegion(line, scan.received);
  if (const auto region = dropCharacters(line, prefixLength)) return *region;
  const std::size_t received = findCharacters(line, receivedWord, LetterCase::ignoredInAscii);
  return received == std::string_view::npos ? line : line.substr(received + receivedWord.size());
}

}  // namespace tessline
