#include "tests/support/PacketLines.h"

#include "tests/support/Bytes.h"

namespace tessline::test {

namespace {

std::string packetLine(std::string_view direction, std::string_view address,
                       std::string_view payload) {
  std::string line = "Nov 21 10:11:12.130  " + std::string(direction) + " " + std::string(address);
  line.resize(packetLinePrefixLength, ' ');
  return line + std::string(payload);
}

}  // namespace

std::string receivedLine(std::string_view payload, std::string_view address) {
  return packetLine("RECV", address, payload);
}

std::string receivedLine(std::span<const std::uint8_t> payload, std::string_view address) {
  return receivedLine(hexText(payload), address);
}

std::string sentLine(std::string_view payload, std::string_view address) {
  return packetLine("SEND", address, payload);
}

}  // namespace tessline::test
