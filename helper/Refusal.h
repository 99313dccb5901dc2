#pragma once

#include <string>
#include <string_view>

namespace helper {

/// Why the tool does not run. The values are the helper's exit codes.
enum class Refusal {
  usage = 64,        ///< Not the one command line there is.
  path = 65,         ///< A path that is not absolute and plain, or not the capture tool's.
  notFound = 66,     ///< Nothing there, or not to be reached by the caller.
  untrusted = 67,    ///< Someone besides root can change the tool or the way to it.
  notAProgram = 68,  ///< Not a regular, executable file without a set-id bit.
  cannotStart = 69,  ///< The system does not execute it.
  notPrepared = 70,  ///< The helper could not bring itself or the tool into a known state.
  notRoot = 71,      ///< The helper has no root rights to give.
};

/// Ends the process with the code of `reason`, after one line on standard error:
/// "siri-remote-helper: " and `message`, whose control characters become question marks.
[[noreturn]] void refuse(Refusal reason, std::string_view message);

/// The system's words for an error number.
std::string describe(int error);

}  // namespace helper
