#include "cli/voice/OggOpusFile.h"

#include "cli/Output.h"
#include "cli/voice/LittleEndian.h"
#include "cli/voice/WavFile.h"

#include <cstddef>
#include <new>
#include <string_view>
#include <vector>

#include <ogg/ogg.h>

namespace tessline::cli {

namespace {

/// Granule positions count at 48 kHz, whatever the sample rate of the sound: 20 ms are 960.
constexpr std::int64_t granulesPerPacket = 960;
constexpr int packetsPerPage = 50;

std::vector<std::uint8_t> identificationHeader() {
  std::vector<std::uint8_t> header;
  appendText(header, "OpusHead");
  header.push_back(1);                           // version
  header.push_back(1);                           // channels
  appendLittleEndian(header, std::uint16_t{0});  // samples to skip at the start
  appendLittleEndian(header, std::uint32_t{voiceSampleRate});
  appendLittleEndian(header, std::uint16_t{0});  // gain
  header.push_back(0);                           // channel mapping: mono or stereo
  return header;
}

std::vector<std::uint8_t> commentHeader() {
  constexpr std::string_view vendor = "Tessline " TESSLINE_VERSION;
  std::vector<std::uint8_t> header;
  appendText(header, "OpusTags");
  appendLittleEndian(header, static_cast<std::uint32_t>(vendor.size()));
  appendText(header, vendor);
  appendLittleEndian(header, std::uint32_t{0});  // comments
  return header;
}

/// Owns libogg's state of one stream.
class StreamState {
 public:
  explicit StreamState(std::uint32_t serialNumber) {
    if (ogg_stream_init(&state_, static_cast<int>(serialNumber)) != 0) throw std::bad_alloc();
  }
  StreamState(const StreamState&) = delete;
  StreamState& operator=(const StreamState&) = delete;
  ~StreamState() { ogg_stream_clear(&state_); }

  ogg_stream_state* get() { return &state_; }

 private:
  ogg_stream_state state_{};
};

}  // namespace

/// The packets on their way into pages and the pages on their way into the file. The newest packet
/// is held back until the next one comes, because the last one carries the end mark.
class OggOpusWriter::Stream {
 public:
  Stream(const std::filesystem::path& path, std::uint32_t serialNumber)
      : output_(Output::file(path)), state_(serialNumber) {
    heldPacket_ = identificationHeader();
    submitHeldPacket(Place::beforeOthers);
    storePages();
    heldPacket_ = commentHeader();
  }

  void write(std::span<const std::uint8_t> packet) {
    submitHeldPacket(Place::beforeOthers);
    // The comments are followed by a page boundary, too.
    if (audioPacketCount_ % packetsPerPage == 0) storePages();
    heldPacket_.assign(packet.begin(), packet.end());
    ++audioPacketCount_;
  }

  void finish() {
    submitHeldPacket(Place::last);
    storePages();
    output_.finish();
  }

 private:
  enum class Place { beforeOthers, last };

  void submitHeldPacket(Place place) {
    ogg_packet packet{};
    packet.packet = heldPacket_.data();
    packet.bytes = static_cast<long>(heldPacket_.size());
    packet.b_o_s = packetCount_ == 0 ? 1 : 0;
    packet.e_o_s = place == Place::last ? 1 : 0;
    packet.granulepos = audioPacketCount_ * granulesPerPacket;
    packet.packetno = packetCount_++;
    if (ogg_stream_packetin(state_.get(), &packet) != 0) throw std::bad_alloc();
  }

  void storePages() {
    ogg_page page{};
    while (ogg_stream_flush(state_.get(), &page) != 0) {
      writeBytes(page.header, page.header_len);
      writeBytes(page.body, page.body_len);
    }
    output_.flush();
  }

  void writeBytes(const unsigned char* bytes, long count) {
    const std::span<const unsigned char> all(bytes, static_cast<std::size_t>(count));
    output_.write(std::string_view(reinterpret_cast<const char*>(all.data()), all.size()));
  }

  Output output_;
  StreamState state_;
  std::vector<std::uint8_t> heldPacket_;
  std::int64_t packetCount_ = 0;
  std::int64_t audioPacketCount_ = 0;
};

OggOpusWriter::OggOpusWriter(const std::filesystem::path& path, std::uint32_t serialNumber)
    : stream_(std::make_unique<Stream>(path, serialNumber)) {}

OggOpusWriter::OggOpusWriter(OggOpusWriter&&) noexcept = default;
OggOpusWriter::~OggOpusWriter() = default;

void OggOpusWriter::write(std::span<const std::uint8_t> packet) {
  stream_->write(packet);
}

void OggOpusWriter::finish() {
  stream_->finish();
}

}  // namespace tessline::cli
