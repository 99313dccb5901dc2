#include "cli/voice/WavFile.h"

#include "cli/Errors.h"
#include "cli/voice/LittleEndian.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

namespace tessline::cli {

namespace {

constexpr std::uint16_t bitsPerSample = 16;
constexpr std::uint16_t bytesPerSample = bitsPerSample / 8;

constexpr std::uint16_t formatPcm = 0x0001;
constexpr std::uint16_t formatFloat = 0x0003;
constexpr std::uint16_t formatALaw = 0x0006;
constexpr std::uint16_t formatMuLaw = 0x0007;
constexpr std::uint16_t formatExtensible = 0xFFFE;

constexpr std::size_t formatSize = 16;
/// The extensible form adds its own size (2 bytes), two fields (6 bytes) and a 16-byte identifier.
constexpr std::size_t extensibleFormatSize = 40;
constexpr std::size_t subformatOffset = 24;
/// What follows the two bytes of the format number in the identifier of every format that has one.
constexpr std::array<std::uint8_t, 14> subformatTail = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80,
                                                        0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

constexpr std::uint32_t maximumLength = std::numeric_limits<std::uint32_t>::max();
/// What a writer claims that cannot go back to the header.
constexpr std::uint32_t unknownLength = maximumLength;

/// The writer's header: "RIFF", length, "WAVE", "fmt ", length, format, "data", length.
constexpr std::uint32_t headerSize = 44;
/// The outer length counts everything but itself and the "RIFF" before it.
constexpr std::uint32_t uncountedHeaderSize = 8;
/// As many as the outer length can count, in whole samples.
constexpr std::uint64_t maximumSampleBytes =
    std::uint64_t{maximumLength - (headerSize - uncountedHeaderSize)} / bytesPerSample *
    bytesPerSample;
constexpr std::size_t flushSize = std::size_t{voiceSampleRate} * bytesPerSample;

/// The fields of a "fmt " chunk that decide whether the samples can be used as they are.
struct WavFormat {
  std::uint16_t format = 0;
  std::uint16_t channels = 0;
  std::uint32_t sampleRate = 0;
  std::uint16_t bytesPerFrame = 0;
  std::uint16_t bits = 0;

  bool isVoice() const {
    return format == formatPcm && channels == 1 && sampleRate == voiceSampleRate &&
           bits == bitsPerSample && bytesPerFrame == bytesPerSample;
  }
};

std::string describe(const WavFormat& format) {
  std::string channels = fmt::format("{} channels", format.channels);
  if (format.channels == 1) channels = "mono";
  if (format.channels == 2) channels = "stereo";
  std::string encoding = fmt::format("format 0x{:04X}", format.format);
  if (format.format == formatPcm) encoding = "PCM";
  if (format.format == formatFloat) encoding = "floating point";
  if (format.format == formatALaw) encoding = "A-law";
  if (format.format == formatMuLaw) encoding = "mu-law";
  std::string padding;
  if (format.bytesPerFrame != std::uint32_t{format.channels} * format.bits / 8) {
    padding = fmt::format(" in frames of {} bytes", format.bytesPerFrame);
  }
  return fmt::format("{} Hz, {}, {}-bit {}{}", format.sampleRate, channels, format.bits, encoding,
                     padding);
}

/// Walks through one WAV file from front to back.
class WavReader {
 public:
  explicit WavReader(const std::filesystem::path& path)
      : name_(path.native()), file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (file_.get() < 0) throwSystemError("open", name_, errno);
  }

  std::vector<std::int16_t> samples() {
    readRiffHeader();
    while (const std::optional<Chunk> chunk = nextChunk()) {
      if (chunk->id == "fmt ") {
        readFormat(*chunk);
      } else if (chunk->id == "data") {
        return readData(*chunk);
      } else {
        skip(*chunk, chunk->size);
      }
    }
    throw InputOutputError(fmt::format("{} holds no samples: it has no \"data\" chunk", name_));
  }

 private:
  struct Chunk {
    std::string id;
    std::uint32_t size = 0;
  };

  void readRiffHeader() {
    std::array<std::uint8_t, 12> header{};
    const bool isWhole = read(header) == header.size();
    if (!isWhole || !holds(header, "RIFF") || !holds(std::span(header).subspan(8), "WAVE")) {
      throwUnusable("is no WAV file");
    }
  }

  /// The next chunk's header; none at the end of the file.
  std::optional<Chunk> nextChunk() {
    std::array<std::uint8_t, 8> header{};
    const std::size_t count = read(header);
    if (count == 0) return std::nullopt;
    if (count < header.size()) {
      throw InputOutputError(fmt::format("{} is cut short: it ends inside a header", name_));
    }
    return Chunk{std::string(header.begin(), header.begin() + 4),
                 littleEndian<std::uint32_t>(std::span(header).subspan(4))};
  }

  void readFormat(const Chunk& chunk) {
    std::array<std::uint8_t, extensibleFormatSize> bytes{};
    const std::size_t size = std::min<std::size_t>(chunk.size, bytes.size());
    if (size < formatSize) throwUnusable("is damaged: its format description is too short");
    const std::size_t count = read(std::span(bytes).first(size));
    if (count < size) throwCutShort(chunk, count);
    const std::span<const std::uint8_t> fields = bytes;
    format_ = WavFormat{littleEndian<std::uint16_t>(fields),
                        littleEndian<std::uint16_t>(fields.subspan(2)),
                        littleEndian<std::uint32_t>(fields.subspan(4)),
                        littleEndian<std::uint16_t>(fields.subspan(12)),
                        littleEndian<std::uint16_t>(fields.subspan(14))};
    if (format_->format == formatExtensible &&
        std::ranges::equal(fields.subspan(subformatOffset + 2), subformatTail)) {
      format_->format = littleEndian<std::uint16_t>(fields.subspan(subformatOffset));
    }
    skip(chunk, chunk.size - size);
  }

  std::vector<std::int16_t> readData(const Chunk& chunk) {
    if (!format_) throwUnusable("is damaged: its samples come before their description");
    if (!format_->isVoice()) {
      throwUnusable(fmt::format("holds {}, but {} Hz, mono, {}-bit PCM is needed",
                                describe(*format_), voiceSampleRate, bitsPerSample));
    }
    if (chunk.size == unknownLength || (chunk.size == 0 && soundFollows())) {
      throwUnusable("does not say how long it is, as if it had been written to a pipe");
    }
    if (chunk.size % bytesPerSample != 0) {
      throwUnusable(fmt::format("is damaged: {} bytes are no whole number of {}-bit samples",
                                chunk.size, bitsPerSample));
    }
    return readSamples(chunk);
  }

  std::vector<std::int16_t> readSamples(const Chunk& chunk) {
    std::vector<std::int16_t> samples;
    std::array<std::uint8_t, std::size_t{64} << 10> bytes{};
    for (std::size_t left = chunk.size; left > 0;) {
      const std::size_t size = std::min(left, bytes.size());
      const std::size_t count = read(std::span(bytes).first(size));
      if (count < size) throwCutShort(chunk, chunk.size - left + count);
      left -= size;
      for (std::size_t index = 0; index < size; index += bytesPerSample) {
        const auto bits = littleEndian<std::uint16_t>(std::span(bytes).subspan(index));
        samples.push_back(static_cast<std::int16_t>(bits));
      }
    }
    return samples;
  }

  /// Whether something other than a chunk comes next. Chunk names are printable; sound hardly is.
  bool soundFollows() {
    std::array<std::uint8_t, 4> next{};
    const std::size_t count = read(next);
    if (count == 0) return false;
    return !std::ranges::all_of(next, [](std::uint8_t byte) { return byte >= ' ' && byte <= '~'; });
  }

  /// Passes over the last `size` bytes of `chunk`, and the byte that pads a chunk of odd size.
  void skip(const Chunk& chunk, std::size_t size) {
    std::array<std::uint8_t, std::size_t{4} << 10> ignored{};
    for (std::size_t left = size; left > 0;) {
      const std::size_t piece = std::min(left, ignored.size());
      const std::size_t count = read(std::span(ignored).first(piece));
      if (count < piece) throwCutShort(chunk, chunk.size - left + count);
      left -= piece;
    }
    if (chunk.size % 2 != 0) read(std::span(ignored).first(1));
  }

  /// Fills `bytes`; returns how many were there, fewer only at the end of the file.
  std::size_t read(std::span<std::uint8_t> bytes) {
    std::size_t count = 0;
    while (count < bytes.size()) {
      const ssize_t got = ::read(file_.get(), bytes.data() + count, bytes.size() - count);
      if (got == 0) break;
      if (got > 0) {
        count += static_cast<std::size_t>(got);
      } else if (errno != EINTR) {
        throwSystemError("read", name_, errno);
      }
    }
    return count;
  }

  static bool holds(std::span<const std::uint8_t> bytes, std::string_view text) {
    return std::ranges::equal(
        bytes.first(text.size()), text,
        [](std::uint8_t byte, char character) { return char(byte) == character; });
  }

  [[noreturn]] void throwCutShort(const Chunk& chunk, std::size_t count) const {
    throw InputOutputError(
        fmt::format("{} is cut short: of {} bytes in its \"{}\" chunk only {} are there", name_,
                    chunk.size, printable(chunk.id), count));
  }

  [[noreturn]] void throwUnusable(std::string_view reason) const {
    throw InputOutputError(fmt::format(
        "{} {}; convert it, for example: ffmpeg -i INPUT -ar {} -ac 1 -c:a pcm_s16le OUTPUT.wav",
        name_, reason, voiceSampleRate));
  }

  static std::string printable(std::string text) {
    std::ranges::replace_if(
        text, [](char character) { return character < ' ' || character > '~'; }, '?');
    return text;
  }

  std::string name_;
  FileDescriptor file_;
  std::optional<WavFormat> format_;
};

}  // namespace

std::vector<std::int16_t> readWav(const std::filesystem::path& path) {
  return WavReader(path).samples();
}

WavWriter::WavWriter(std::filesystem::path path)
    : path_(std::move(path)),
      file_(::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
  if (file_.get() < 0) throwSystemError("create", path_.native(), errno);
  storeHeader();
}

void WavWriter::write(std::span<const std::int16_t> samples) {
  const std::uint64_t roomLeft = maximumSampleBytes - storedSampleBytes_ - unstored_.size();
  if (samples.size_bytes() > roomLeft) throwSystemError("write", path_.native(), EFBIG);
  for (const std::int16_t sample : samples) {
    appendLittleEndian(unstored_, static_cast<std::uint16_t>(sample));
    if (unstored_.size() >= flushSize) flush();
  }
}

void WavWriter::finish() {
  flush();
  if (const int errorNumber = file_.close(); errorNumber != 0) {
    throwSystemError("write", path_.native(), errorNumber);
  }
}

void WavWriter::flush() {
  if (unstored_.empty()) return;
  storeAt(headerSize + storedSampleBytes_, unstored_);
  storedSampleBytes_ += unstored_.size();
  unstored_.clear();
  storeHeader();
}

void WavWriter::storeHeader() {
  const auto sampleBytes = static_cast<std::uint32_t>(storedSampleBytes_);
  std::vector<std::uint8_t> header;
  header.reserve(headerSize);
  appendText(header, "RIFF");
  appendLittleEndian(header, headerSize - uncountedHeaderSize + sampleBytes);
  appendText(header, "WAVEfmt ");
  appendLittleEndian(header, std::uint32_t{formatSize});
  appendLittleEndian(header, formatPcm);
  appendLittleEndian(header, std::uint16_t{1});
  appendLittleEndian(header, std::uint32_t{voiceSampleRate});
  appendLittleEndian(header, std::uint32_t{voiceSampleRate * bytesPerSample});
  appendLittleEndian(header, bytesPerSample);
  appendLittleEndian(header, bitsPerSample);
  appendText(header, "data");
  appendLittleEndian(header, sampleBytes);
  storeAt(0, header);
}

void WavWriter::storeAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count =
        ::pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count >= 0) {
      offset += static_cast<std::uint64_t>(count);
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      throwSystemError("write", path_.native(), errno);
    }
  }
}

}  // namespace tessline::cli
