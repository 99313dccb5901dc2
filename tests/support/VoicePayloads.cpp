#include "tests/support/VoicePayloads.h"

#include "tests/support/Bytes.h"

namespace tessline::test {

namespace {

std::vector<std::uint8_t> packet(std::string_view header, std::string_view data, FlagByte flag) {
  auto payload = bytes(flag == FlagByte::first ? "" : "00");
  return joined({payload, bytes(header), bytes(data)});
}

}  // namespace

std::vector<std::uint8_t> frameStart(std::string_view frame, FlagByte flag) {
  return packet("40 20 5e 00 5a 00 04 00 1b 36 00 01 02 03 04", frame, flag);
}

std::vector<std::uint8_t> longFrameStart(std::string_view frame, FlagByte flag) {
  return packet("40 20 5e 00 5a 00 04 00 1d 35 00 01 02 03 04 05 06", frame, flag);
}

std::vector<std::uint8_t> continuation(std::string_view data, FlagByte flag) {
  return packet("40 10 1b 00", data, flag);
}

}  // namespace tessline::test
