/// @file
/// Recordings, and what replays of them are expected to give.
#pragma once

#include "cli/Output.h"
#include "cli/replay/Recording.h"

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::test {

using Lines = std::vector<std::string>;

/// The names of those that begin so, but for `others`, sorted; never none.
std::vector<std::string> recordingsOf(std::string_view prefix,
                                      const std::set<std::string>& others = {});
/// As tests may be called.
std::string testName(std::string recording);

/// What a replay of it gives on the simulated host.
Lines expectedLines(const std::string& recording);
/// What `play` writes.
Lines replayed(const std::string& recording,
               const std::function<void(cli::RecordingReader&, cli::Output&)>& play);

/// What a program sees of a replay, but not the calls.
Lines seenIn(Lines lines);
/// What a program, the log or whoever looks at the desktop sees of it: of the calls, log lines and
/// posted events.
Lines visibleIn(Lines lines);

}  // namespace tessline::test
