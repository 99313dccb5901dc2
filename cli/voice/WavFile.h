/// @file
/// RIFF/WAVE files of 16-bit PCM, the only kind this project reads and writes.
#pragma once

#include "cli/FileDescriptor.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace tessline::cli {

/// Samples per second of the remote's microphone.
inline constexpr int voiceSampleRate = 16000;

/// The samples of a WAV file: 16-bit PCM, 16 kHz, mono. The format may be declared in the plain or
/// in the extensible form; chunks other than "fmt " and "data" are passed over, and so is
/// everything after the samples. `path` may also name a pipe.
///
/// Throws InputOutputError, which says what the file holds instead and how to convert it, for any
/// other layout and for a file that was written to a pipe and never told its length; and one that
/// says what is missing for a file that cannot be read or is cut short. Reserves memory for what is
/// there, not for what a header claims.
std::vector<std::int16_t> readWav(const std::filesystem::path& path);

/// Writes 16-bit PCM at 16 kHz mono as it comes. What is on disk is a whole WAV file at every
/// moment: the samples are stored about once a second of sound, and only then the header admits to
/// them.
///
/// The path must name a file that can be written at any place, which a pipe cannot. Every member
/// throws InputOutputError when something could not be stored; the writer is of no use afterwards.
/// Not synchronised.
class WavWriter {
 public:
  /// Creates or empties the file at `path` and stores the header of a file without samples.
  explicit WavWriter(std::filesystem::path path);

  /// Appends `samples`. All or none of them: more than the 4 GiB that the format can hold are
  /// refused ("File too large"), and what was written before stays.
  void write(std::span<const std::int16_t> samples);

  /// Stores what is left and closes. A writer dropped without it loses up to a second of sound.
  void finish();

 private:
  void flush();
  void storeHeader();
  void storeAt(std::uint64_t offset, std::span<const std::uint8_t> bytes);

  std::filesystem::path path_;
  FileDescriptor file_;
  std::vector<std::uint8_t> unstored_;
  std::uint64_t storedSampleBytes_ = 0;
};

}  // namespace tessline::cli
