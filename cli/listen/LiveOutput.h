/// @file
/// Where everything goes that a listener hears, and how listening ends.
#pragma once

#include "cli/FileDescriptor.h"
#include "cli/OutputFormat.h"
#include "cli/listen/LiveWriter.h"
#include "cli/voice/VoiceSessionRecorder.h"
#include "tessline/events/TesslineEvent.h"

#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tessline::cli {

/// What is written, and how.
struct LiveOptions {
  OutputFormat format = OutputFormat::text;
  std::optional<VoiceFileOptions> voiceFiles;  ///< None: no files are written.
};

/// How listening ended by itself or when it was asked to.
struct ListenEnd {
  bool hasFailed = false;  ///< It could not do what it was to do, and has said so.
  std::string hint = {};   ///< What to do about that, for people; empty if there is nothing.

  bool operator==(const ListenEnd&) const = default;
};

/// Writes what is heard, voice files included, until that is over: because the listener says so,
/// because writing fails, or because the owner has had enough. A service's callbacks hold it: work
/// of the service that is under way when the command lets go of it still calls them, and finds that
/// nobody listens. Any thread.
class LiveOutput {
 public:
  /// `elapsed` is the time since listening began; none measures from now on. Throws
  /// InputOutputError.
  LiveOutput(Output output, const LiveOptions& options,
             std::function<LiveWriter::Seconds()> elapsed = nullptr);
  LiveOutput(const LiveOutput&) = delete;
  LiveOutput& operator=(const LiveOutput&) = delete;

  /// Calls `body`, which writes, and hands that on; nothing once it is over.
  void write(const std::function<void(LiveWriter&)>& body);
  /// Writes events, and their voice into files.
  void events(const std::vector<TesslineEvent>& events);
  /// It is over; only the first end counts.
  void end(ListenEnd end);

  /// A descriptor that can be read once it is over.
  int descriptor() const { return overReader_.get(); }
  /// Completes the voice files and the output, how ever it stands. Throws what went wrong with
  /// them at any time: InputOutputError or OutputClosed.
  ListenEnd finish();

 private:
  void becomeOver();

  std::mutex mutex_;
  FileDescriptor overReader_;
  FileDescriptor overWriter_;
  VoiceSessionRecorder recorder_;
  LiveWriter writer_;
  std::exception_ptr failure_;
  ListenEnd end_;
  bool isOver_ = false;
};

}  // namespace tessline::cli
