#include "cli/simulate/BackgroundTraffic.h"

#include <array>
#include <cstddef>
#include <utility>

namespace tessline::cli {

namespace {

/// Whom a line names.
enum class Peer : std::uint8_t { remote, keyboard, mouse, watch, headset, phone, nobody };

struct BackgroundPacket {
  std::uint32_t weight;  ///< How often it is chosen, in relation to the others.
  RecordKind kind;
  RecordDirection direction;
  Peer peer;
  std::string_view bytes;  ///< Hexadecimal; ".." stands for any byte.
};

// The received ones are chosen so that nothing in them is read as a report or as part of a voice
// frame, wherever a decoder takes the connection handle to stand: all are first fragments, and the
// byte behind the boundary bits, the low byte of the ACL length, has not the bits of a
// continuation.
constexpr std::array backgroundPackets = {
    // Requests, writes and confirmations to the remote.
    BackgroundPacket{60, RecordKind::acl, RecordDirection::sent, Peer::remote,
                     "40 00 07 00 03 00 04 00 0A .. 00"},
    BackgroundPacket{40, RecordKind::acl, RecordDirection::sent, Peer::remote,
                     "40 00 09 00 05 00 04 00 12 1D 00 .. .."},
    BackgroundPacket{20, RecordKind::acl, RecordDirection::sent, Peer::remote,
                     "40 00 05 00 01 00 04 00 1E"},
    // Lights of the keyboard, sound for the headset.
    BackgroundPacket{10, RecordKind::acl, RecordDirection::sent, Peer::keyboard,
                     "41 00 07 00 03 00 41 00 A2 01 .."},
    BackgroundPacket{
        40, RecordKind::acl, RecordDirection::sent, Peer::headset,
        "44 00 22 00 1E 00 45 00 80 60 .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. "
        ".. .. .. .. .. .. .. .. .. .. .. .."},
    // Commands to the controller: signal strength, connection interval.
    BackgroundPacket{20, RecordKind::command, RecordDirection::sent, Peer::nobody,
                     "05 14 02 40 00"},
    BackgroundPacket{5, RecordKind::command, RecordDirection::sent, Peer::remote,
                     "13 20 0E 40 00 0C 00 0C 00 1E 00 C8 00 00 00 00 00"},
    // Its events: packets completed, command complete, advertisement, connection updated.
    BackgroundPacket{90, RecordKind::event, RecordDirection::received, Peer::nobody,
                     "13 05 01 40 00 01 00"},
    BackgroundPacket{20, RecordKind::event, RecordDirection::received, Peer::nobody,
                     "0E 07 01 05 14 00 40 00 .."},
    BackgroundPacket{
        30, RecordKind::event, RecordDirection::received, Peer::nobody,
        "3E 2B 02 01 00 01 .. .. .. .. .. .. 1F 02 01 06 1A FF 4C 00 .. .. .. .. .. .. "
        ".. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .."},
    BackgroundPacket{5, RecordKind::event, RecordDirection::received, Peer::remote,
                     "3E 0A 03 00 40 00 0C 00 1E 00 C8 00"},
    // Keys, pointer movements, notifications and sound of other devices.
    BackgroundPacket{60, RecordKind::acl, RecordDirection::received, Peer::keyboard,
                     "41 20 0E 00 0A 00 41 00 A1 01 00 00 .. 00 00 00 00 00"},
    BackgroundPacket{90, RecordKind::acl, RecordDirection::received, Peer::mouse,
                     "42 20 0B 00 07 00 41 00 A1 02 .. .. .. .. .."},
    BackgroundPacket{30, RecordKind::acl, RecordDirection::received, Peer::watch,
                     "43 20 0C 00 08 00 04 00 1B 2A 00 .. .. .. .. .."},
    BackgroundPacket{
        30, RecordKind::acl, RecordDirection::received, Peer::headset,
        "44 20 41 00 3D 00 45 00 80 60 .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. "
        ".. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. "
        ".. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .."},
    BackgroundPacket{
        30, RecordKind::acl, RecordDirection::received, Peer::phone,
        "45 20 28 00 24 00 47 00 .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. "
        ".. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .. .."},
    // What the remote says beside its buttons and its voice: battery level, answers, touches.
    BackgroundPacket{10, RecordKind::acl, RecordDirection::received, Peer::remote,
                     "40 20 08 00 04 00 04 00 1B 2C 00 .."},
    BackgroundPacket{40, RecordKind::acl, RecordDirection::received, Peer::remote,
                     "40 20 0A 00 06 00 04 00 0B .. .. .. .. .."},
    BackgroundPacket{40, RecordKind::acl, RecordDirection::received, Peer::remote,
                     "40 20 05 00 01 00 04 00 13"},
    BackgroundPacket{60, RecordKind::acl, RecordDirection::received, Peer::remote,
                     "40 20 0F 00 0B 00 04 00 1B 1F 00 .. .. .. .. .. .. .. .."},
};

constexpr std::uint32_t totalWeight = [] {
  std::uint32_t total = 0;
  for (const BackgroundPacket& packet : backgroundPackets) total += packet.weight;
  return total;
}();

const BackgroundPacket& choosePacket(Random& random) {
  std::uint32_t place = random.below(totalWeight);
  for (const BackgroundPacket& packet : backgroundPackets) {
    if (place < packet.weight) return packet;
    place -= packet.weight;
  }
  return backgroundPackets.front();
}

/// Any byte but those that reports and voice frames are known by.
std::uint8_t anyHarmlessByte(Random& random) {
  const auto byte = static_cast<std::uint8_t>(random.below(256));
  const bool telling = byte == 0x1B || byte == 0xB8 || byte == 0xFB;
  return telling ? static_cast<std::uint8_t>(byte ^ 0x55U) : byte;
}

std::string_view addressOf(Peer peer, std::string_view remoteAddress) {
  switch (peer) {
    case Peer::remote:
      return remoteAddress;
    case Peer::keyboard:
      return "34:88:5D:A1:02:F6";
    case Peer::mouse:
      return "EC:2B:70:19:D4:08";
    case Peer::watch:
      return "71:0A:C9:3E:65:B2";
    case Peer::headset:
      return "00:1B:66:82:4F:9D";
    case Peer::phone:
      return "5A:F3:17:60:2C:E4";
    case Peer::nobody:
      return placeholderAddress;
  }
  return placeholderAddress;
}

/// Lines that are no packets at all.
constexpr std::array<std::string_view, 4> remarks = {"", "# channel map updated",
                                                     "; 3 packets left out", "-- mark --"};

/// Received, with a payload that is damaged or missing. None leaves two bytes or more to read.
constexpr std::array<std::string_view, 5> damagedPayloads = {"--", "1B230000 10? 4", "(no bytes)",
                                                             "4 0 2 0 0 9 0 0", "0x40200900 0500"};

}  // namespace

BackgroundTraffic::BackgroundTraffic(std::uint64_t seed, std::string remoteAddress)
    : random_(seed), remoteAddress_(std::move(remoteAddress)) {}

std::string_view BackgroundTraffic::next(CaptureTextWriter& writer) {
  constexpr std::uint32_t packetsPerNoiseLine = 40;
  const std::string_view line =
      random_.oneIn(packetsPerNoiseLine) ? noiseLine(writer) : packetLine(writer);
  nextTime_ += SimulatedTime(random_.between(4'000, 62'000));
  return line;
}

std::string_view BackgroundTraffic::packetLine(CaptureTextWriter& writer) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const BackgroundPacket& packet = choosePacket(random_);
  bytes_.assign(packet.bytes);
  for (std::size_t place = bytes_.find('.'); place != std::string::npos;
       place = bytes_.find('.', place + 2)) {
    const std::uint8_t byte = anyHarmlessByte(random_);
    bytes_[place] = digits[byte >> 4U];
    bytes_[place + 1] = digits[byte & 0x0FU];
  }
  return writer.textLine(nextTime_, packet.kind, packet.direction,
                         addressOf(packet.peer, remoteAddress_), bytes_);
}

std::string_view BackgroundTraffic::noiseLine(CaptureTextWriter& writer) {
  constexpr std::size_t withoutDirection = 30;
  constexpr std::size_t withoutAddress = 32;
  switch (random_.below(4)) {
    case 0:
      return writer.cutOffLine(nextTime_, RecordKind::acl, RecordDirection::received,
                               remoteAddress_, withoutDirection);
    case 1:
      return writer.cutOffLine(nextTime_, RecordKind::acl, RecordDirection::received,
                               remoteAddress_, withoutAddress);
    case 2:
      return writer.textLine(nextTime_, RecordKind::acl, RecordDirection::received, remoteAddress_,
                             random_.pick(damagedPayloads));
    default:
      return writer.bareLine(random_.pick(remarks));
  }
}

}  // namespace tessline::cli
