#include "tessline/packetlog/PacketLogBatch.h"

#include "tessline/packetlog/HexByteParser.h"
#include "tessline/packetlog/TextKernel.h"

namespace tessline {

namespace {

// How many bytes the line end at the front of `text` has; 0 when there is none. No byte of these
// sequences occurs inside another character, so this holds in broken UTF-8 too.
std::size_t lineEndSize(std::string_view text) {
  if (text.empty()) return 0;
  switch (text.front()) {
    case '\n':
    case '\v':
    case '\f':
      return 1;
    case '\r':
      return text.starts_with("\r\n") ? 2 : 1;
    case '\xC2':
      return text.starts_with("\xC2\x85") ? 2 : 0;
    case '\xE2':
      return text.starts_with("\xE2\x80\xA8") || text.starts_with("\xE2\x80\xA9") ? 3 : 0;
    default:
      return 0;
  }
}

// A CR at the very end may be the first half of a CR LF.
bool mayGrow(std::string_view text, std::size_t lineEnd) {
  return text[lineEnd] == '\r' && lineEnd + 1 == text.size();
}

}  // namespace

PacketLogLineCounts& PacketLogLineCounts::operator+=(const PacketLogLineCounts& other) {
  lines += other.lines;
  empty += other.empty;
  packets += other.packets;
  notReceived += other.notReceived;
  otherRemote += other.otherRemote;
  withoutPayload += other.withoutPayload;
  return *this;
}

template <class ReadPlainLine, class ReadLine>
void PacketLogBatch::readLines(std::string_view text, ReadPlainLine readPlainLine,
                               ReadLine readLine) {
  packets_.clear();
  payloads_.clear();
  counts_ = {};
  const TextKernel& kernel = textKernel();
  while (!text.empty()) {
    const LineScan scan = kernel.scanLine(text);
    std::size_t length = scan.length;
    std::size_t endSize = lineEndSize(text.substr(length));
    const bool plain = length == text.size() || endSize > 0;
    while (length < text.size() && endSize == 0) endSize = lineEndSize(text.substr(++length));

    const std::string_view line = text.substr(0, length);
    if (line.empty()) {
      ++counts_.empty;
    } else {
      add(plain ? readPlainLine(line, scan) : readLine(line));
    }
    ++counts_.lines;
    text.remove_prefix(length + endSize);
  }
}

void PacketLogBatch::read(std::string_view text, const PacketLoggerLineParser& lineParser) {
  readLines(
      text,
      [&](std::string_view line, const LineScan& scan) {
        return lineParser.readAsciiLine(line, scan.received, payloads_);
      },
      [&](std::string_view line) { return lineParser.readLine(line, payloads_); });
}

void PacketLogBatch::readPayloads(std::string_view text) {
  const auto read = [this](std::string_view line, auto parse) {
    const std::size_t before = payloads_.size();
    parse(line, payloads_);
    return payloads_.size() > before ? PacketLogLine::packet : PacketLogLine::withoutPayload;
  };
  readLines(
      text, [&](std::string_view line, const LineScan&) { return read(line, appendHexBytes); },
      [&](std::string_view line) {
        return read(line, [](std::string_view hexText, std::vector<std::uint8_t>& bytes) {
          HexByteParser::parseBytes(hexText, bytes);
        });
      });
}

void PacketLogBatch::add(PacketLogLine kind) {
  switch (kind) {
    case PacketLogLine::packet:
      ++counts_.packets;
      packets_.push_back({counts_.lines, payloads_.size()});
      return;
    case PacketLogLine::notReceived:
      ++counts_.notReceived;
      return;
    case PacketLogLine::otherRemote:
      ++counts_.otherRemote;
      return;
    case PacketLogLine::withoutPayload:
      ++counts_.withoutPayload;
      return;
  }
}

PacketLogBatch::Packet PacketLogBatch::operator[](std::size_t index) const {
  const std::size_t begin = index == 0 ? 0 : packets_[index - 1].payloadEnd;
  const Entry& entry = packets_[index];
  return {entry.line, std::span(payloads_).subspan(begin, entry.payloadEnd - begin)};
}

std::size_t firstWholeLineLength(std::string_view text) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::size_t size = lineEndSize(text.substr(at));
    if (size > 0) return mayGrow(text, at) ? 0 : at + size;
  }
  return 0;
}

std::size_t wholeLinesLength(std::string_view text) {
  for (std::size_t at = text.size(); at-- > 0;) {
    const std::size_t size = lineEndSize(text.substr(at));
    if (size > 0 && !mayGrow(text, at)) return at + size;
  }
  return 0;
}

}  // namespace tessline
