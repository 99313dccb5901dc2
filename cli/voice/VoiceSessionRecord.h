/// @file
/// What is known of voice sessions once they are over.
#pragma once

#include <cstdint>
#include <filesystem>

namespace tessline::cli {

/// Seconds of sound in one voice frame.
inline constexpr double secondsPerVoiceFrame = 0.02;

/// One voice session, from its start to its end.
struct VoiceSessionRecord {
  int number = 0;                        ///< Counts from 1.
  std::uint64_t frameCount = 0;          ///< Frames that hold a packet; the sound is made of them.
  std::uint64_t emptyFrameCount = 0;     ///< Frames of zero length, which are not in the files.
  std::uint64_t refusedPacketCount = 0;  ///< Frames among `frameCount` that cannot be decoded.
  bool hasEnd = false;                   ///< The remote ended it; false when it just broke off.
  std::filesystem::path opusFile = {};   ///< Empty when no file was written.
  std::filesystem::path wavFile = {};    ///< Empty when no file was written.

  double seconds() const { return static_cast<double>(frameCount) * secondsPerVoiceFrame; }
  bool operator==(const VoiceSessionRecord&) const = default;
};

/// Sums over voice sessions; the counts are those of `VoiceSessionRecord`.
struct VoiceTotals {
  std::uint64_t sessionCount = 0;
  std::uint64_t sessionWithoutEndCount = 0;
  std::uint64_t frameCount = 0;
  std::uint64_t emptyFrameCount = 0;
  std::uint64_t refusedPacketCount = 0;

  void add(const VoiceSessionRecord& record) {
    ++sessionCount;
    if (!record.hasEnd) ++sessionWithoutEndCount;
    frameCount += record.frameCount;
    emptyFrameCount += record.emptyFrameCount;
    refusedPacketCount += record.refusedPacketCount;
  }
  double seconds() const { return static_cast<double>(frameCount) * secondsPerVoiceFrame; }
  bool operator==(const VoiceTotals&) const = default;
};

}  // namespace tessline::cli
