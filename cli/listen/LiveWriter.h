/// @file
/// What is heard live, written as it comes.
#pragma once

#include "cli/Output.h"
#include "cli/OutputFormat.h"
#include "cli/TextStyle.h"
#include "cli/voice/VoiceSessionRecord.h"
#include "tessline/events/TesslineEvent.h"

#include <chrono>
#include <functional>
#include <string_view>

namespace tessline::cli {

/// A row or an object for each thing that happens, with the time since listening began. Not
/// synchronised.
class LiveWriter {
 public:
  using Seconds = std::chrono::duration<double>;

  /// `elapsed` gives the time of a row.
  LiveWriter(Output output, OutputFormat format, std::function<Seconds()> elapsed);

  /// A row for people, and nothing for programs. Names in `text` may come from strangers: what
  /// would control a terminal is replaced.
  void note(std::string_view symbol, std::string_view text);
  /// An object for programs, of its members without the braces, and nothing for people.
  void object(std::string_view members);
  /// One of a remote's events. For people voice frames are only what `sessionClosed` sums up.
  void event(const TesslineEvent& event);
  /// A voice session that is over: a row.
  void sessionClosed(const VoiceSessionRecord& record);

  /// Hands on what was written.
  void flush() { output_.flush(); }
  /// Nothing more is written.
  void finish() { output_.finish(); }

 private:
  void row(std::string_view color, std::string_view symbol, std::string_view text);

  Output output_;
  const OutputFormat format_;
  const TextStyle style_;
  const std::function<Seconds()> elapsed_;
};

}  // namespace tessline::cli
