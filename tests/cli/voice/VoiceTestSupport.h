/// @file
/// What the tests of voice files share: real Opus packets, places on disk, and readers that have
/// nothing in common with the writers under test.
#pragma once

#include "tests/support/Files.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace tessline::test {

using ByteVector = std::vector<std::uint8_t>;

ByteVector readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const ByteVector& bytes);

/// What the InputOutputError says that `action` throws; a text that says so when it throws none.
std::string inputOutputError(const std::function<void()>& action);

/// `count` packets of one melody, encoded as the remote encodes: 16 kHz mono, 20 ms, the first byte
/// 0xB8.
std::vector<ByteVector> encodedPackets(std::size_t count);

/// What libopus itself makes of packets at 16 kHz; an empty packet stands for a lost one.
std::vector<std::int16_t> libopusSamples(const std::vector<ByteVector>& packets);

/// One page of an Ogg file.
struct OggPage {
  std::int64_t granulePosition = 0;
  std::uint32_t serialNumber = 0;
  bool isFirst = false;
  bool isLast = false;
  std::vector<ByteVector> packets;
};

/// The pages of an Ogg file whose checksums hold.
std::vector<OggPage> readOggPages(const std::filesystem::path& path);
/// The packets of an Ogg Opus file without its two headers.
std::vector<ByteVector> readOpusPackets(const std::filesystem::path& path);
/// How many samples (at 48 kHz) a player gets out of an Ogg Opus file; negative when it refuses it.
std::int64_t playedSampleCount(const std::filesystem::path& path);

}  // namespace tessline::test
