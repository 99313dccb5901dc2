/// @file
/// Ogg Opus files, the form in which voice sessions are kept.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>

namespace tessline::cli {

/// Puts Opus packets of the remote's microphone (16 kHz mono, 20 ms each) into an Ogg Opus file,
/// byte for byte as they come; nothing is encoded anew.
///
/// A page is stored for every second of sound, so that what is on disk plays up to the last whole
/// second even if the process dies. Memory does not grow with the length of the file. Every member
/// throws InputOutputError when something could not be stored; the writer is of no use afterwards.
/// Not synchronised.
class OggOpusWriter {
 public:
  /// Creates or empties the file at `path`. `serialNumber` identifies the stream in the file; any
  /// value will do, and the same value makes the same file from the same packets.
  OggOpusWriter(const std::filesystem::path& path, std::uint32_t serialNumber);

  OggOpusWriter(OggOpusWriter&&) noexcept;
  OggOpusWriter& operator=(OggOpusWriter&&) = delete;
  /// Drops what is not stored yet; call `finish` first.
  ~OggOpusWriter();

  /// Appends one Opus packet of 20 ms. It must not be empty: an empty one is no Opus packet.
  void write(std::span<const std::uint8_t> packet);

  /// Stores what is left, marks the end of the stream and closes. A file without packets is well
  /// formed too: it holds no sound.
  void finish();

 private:
  class Stream;
  std::unique_ptr<Stream> stream_;
};

}  // namespace tessline::cli
