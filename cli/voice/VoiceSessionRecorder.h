/// @file
/// Turns decoded events into voice sessions and their sound files.
#pragma once

#include "cli/voice/OggOpusFile.h"
#include "cli/voice/VoiceDecoder.h"
#include "cli/voice/VoiceSessionRecord.h"
#include "cli/voice/WavFile.h"
#include "tessline/events/TesslineEvent.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>

namespace tessline::cli {

/// Where the sound of voice sessions goes.
struct VoiceFileOptions {
  std::filesystem::path directory;  ///< Created, with its parents, if it is not there.
  bool wav = false;                 ///< Decode each session into a WAV file, too.
};

/// Follows the events of one remote and finds the voice sessions in them. Without file options it
/// only counts, and allocates nothing for a frame.
///
/// What brackets a session:
/// - `VoiceSessionStarted` opens one; so do a pressed voice button and a voice frame when none is
///   open. Where button masks carry the voice button, nothing else brackets the session.
/// - A `VoiceSessionStarted` during a session breaks that one off and opens the next, except right
///   after the voice button opened it: before its first frame, the two mean one session.
/// - `VoiceSessionEnded` and a released voice button end the open session, and mean nothing when
///   none is open.
///
/// Sessions are numbered from 1, and the files of session 1 are `voice-001.opus`, which holds the
/// packets as they came, and `voice-001.wav`. A file of that name is replaced. They are written as
/// the packets come: memory does not grow, and a process that dies leaves all but about the last
/// second. A frame of zero length holds no packet and goes into no file.
///
/// `handle`, `finish` and the constructor throw InputOutputError, which names the file and the
/// system's reason; the recorder is of no use afterwards. Not synchronised.
class VoiceSessionRecorder {
 public:
  /// Counts only.
  VoiceSessionRecorder() = default;
  /// Writes files. The directory is created at once.
  explicit VoiceSessionRecorder(VoiceFileOptions options);

  /// Called from within `handle` and `finish` when a session is over and its files are whole.
  std::function<void(const VoiceSessionRecord&)> onSessionClosed;

  /// Takes the next event.
  void handle(const TesslineEvent& event);

  /// Breaks off the session that is still open, if any: its files become whole, too. May be called
  /// again, and more events may follow.
  void finish();

  /// Sums over the sessions that are over.
  const VoiceTotals& totals() const { return totals_; }

 private:
  enum class Opener { voiceButton, other };

  /// The session that is going on.
  struct Session {
    Opener opener;
    VoiceSessionRecord record;
    std::optional<OggOpusWriter> opus;
    std::optional<WavWriter> wav;
    std::optional<VoiceDecoder> decoder;

    bool hasFrames() const { return record.frameCount + record.emptyFrameCount > 0; }
  };

  void handleSessionStarted();
  void handleButton(const RemoteButtonEvent& event);
  void handleFrame(const RemoteVoiceFrame& frame);
  void open(Opener opener);
  void openFiles(Session& session) const;
  static bool store(Session& session, std::span<const std::uint8_t> packet);
  void close(bool hasEnd);

  std::optional<VoiceFileOptions> files_;
  std::optional<Session> session_;
  VoiceTotals totals_;
};

}  // namespace tessline::cli
