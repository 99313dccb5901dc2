#include "tests/cli/voice/VoiceTestSupport.h"

#include "cli/Errors.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include <ogg/ogg.h>
#include <opus.h>
#include <opusfile.h>
#include <unistd.h>

namespace tessline::test {

namespace {

constexpr int sampleRate = 16000;
constexpr int samplesPerPacket = 320;

/// libogg's reading side over a whole file.
class OggReader {
 public:
  explicit OggReader(const ByteVector& bytes) {
    ogg_sync_init(&sync_);
    char* const buffer = ogg_sync_buffer(&sync_, static_cast<long>(bytes.size()));
    if (!bytes.empty()) std::memcpy(buffer, bytes.data(), bytes.size());
    ogg_sync_wrote(&sync_, static_cast<long>(bytes.size()));
  }
  OggReader(const OggReader&) = delete;
  OggReader& operator=(const OggReader&) = delete;
  ~OggReader() {
    ogg_sync_clear(&sync_);
    if (isStreamOpen_) ogg_stream_clear(&stream_);
  }

  std::vector<OggPage> pages() {
    std::vector<OggPage> pages;
    ogg_page page{};
    while (ogg_sync_pageout(&sync_, &page) == 1) {
      if (!isStreamOpen_) ogg_stream_init(&stream_, ogg_page_serialno(&page));
      isStreamOpen_ = true;
      ogg_stream_pagein(&stream_, &page);
      pages.push_back({ogg_page_granulepos(&page),
                       static_cast<std::uint32_t>(ogg_page_serialno(&page)),
                       ogg_page_bos(&page) != 0, ogg_page_eos(&page) != 0, packets()});
    }
    return pages;
  }

 private:
  std::vector<ByteVector> packets() {
    std::vector<ByteVector> packets;
    ogg_packet packet{};
    while (ogg_stream_packetout(&stream_, &packet) == 1) {
      packets.emplace_back(packet.packet, packet.packet + packet.bytes);
    }
    return packets;
  }

  ogg_sync_state sync_{};
  ogg_stream_state stream_{};
  bool isStreamOpen_ = false;
};

std::array<opus_int16, samplesPerPacket> melody(std::size_t packetIndex) {
  std::array<opus_int16, samplesPerPacket> samples{};
  const double frequency = 220.0 + 17.0 * static_cast<double>(packetIndex % 40);
  for (std::size_t index = 0; index < samples.size(); ++index) {
    const double seconds = static_cast<double>(packetIndex * samplesPerPacket + index) / sampleRate;
    samples[index] = static_cast<opus_int16>(9000 * std::sin(6.283185307 * frequency * seconds));
  }
  return samples;
}

}  // namespace

ByteVector readFile(const std::filesystem::path& path) {
  const std::string text = readText(path);
  return {text.begin(), text.end()};
}

void writeFile(const std::filesystem::path& path, const ByteVector& bytes) {
  std::ofstream stream(path, std::ios::binary);
  for (const std::uint8_t byte : bytes) stream.put(static_cast<char>(byte));
}

std::string inputOutputError(const std::function<void()>& action) {
  try {
    action();
  } catch (const cli::InputOutputError& error) {
    return error.what();
  }
  return "threw no InputOutputError";
}

std::vector<ByteVector> encodedPackets(std::size_t count) {
  int error = OPUS_OK;
  const std::unique_ptr<OpusEncoder, void (*)(OpusEncoder*)> encoder(
      opus_encoder_create(sampleRate, 1, OPUS_APPLICATION_RESTRICTED_LOWDELAY, &error),
      opus_encoder_destroy);
  opus_encoder_ctl(encoder.get(), OPUS_SET_BITRATE(24000));
  std::vector<ByteVector> packets;
  for (std::size_t index = 0; index < count; ++index) {
    ByteVector packet(255);
    const auto samples = melody(index);
    const int size = opus_encode(encoder.get(), samples.data(), samplesPerPacket, packet.data(),
                                 static_cast<opus_int32>(packet.size()));
    if (size < 2 || packet.front() != 0xB8) throw std::runtime_error("not the remote's encoding");
    packet.resize(static_cast<std::size_t>(size));
    packets.push_back(std::move(packet));
  }
  return packets;
}

std::vector<std::int16_t> libopusSamples(const std::vector<ByteVector>& packets) {
  int error = OPUS_OK;
  const std::unique_ptr<OpusDecoder, void (*)(OpusDecoder*)> decoder(
      opus_decoder_create(sampleRate, 1, &error), opus_decoder_destroy);
  std::vector<std::int16_t> samples;
  for (const ByteVector& packet : packets) {
    std::array<opus_int16, samplesPerPacket> decoded{};
    const int count =
        opus_decode(decoder.get(), packet.empty() ? nullptr : packet.data(),
                    static_cast<opus_int32>(packet.size()), decoded.data(), samplesPerPacket, 0);
    if (count != samplesPerPacket) throw std::runtime_error("libopus refused a packet");
    samples.insert(samples.end(), decoded.begin(), decoded.end());
  }
  return samples;
}

std::vector<OggPage> readOggPages(const std::filesystem::path& path) {
  return OggReader(readFile(path)).pages();
}

std::vector<ByteVector> readOpusPackets(const std::filesystem::path& path) {
  std::vector<ByteVector> packets;
  for (const OggPage& page : readOggPages(path)) {
    packets.insert(packets.end(), page.packets.begin(), page.packets.end());
  }
  if (packets.size() < 2) throw std::runtime_error("the headers are missing");
  packets.erase(packets.begin(), packets.begin() + 2);
  return packets;
}

std::int64_t playedSampleCount(const std::filesystem::path& path) {
  int error = 0;
  const std::unique_ptr<OggOpusFile, void (*)(OggOpusFile*)> file(
      op_open_file(path.c_str(), &error), op_free);
  if (file == nullptr) return error;
  std::array<opus_int16, 11520> samples{};
  std::int64_t total = 0;
  while (true) {
    const int count =
        op_read(file.get(), samples.data(), static_cast<int>(samples.size()), nullptr);
    if (count <= 0) return count < 0 ? count : total;
    total += count;
  }
}

}  // namespace tessline::test
