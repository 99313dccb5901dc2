/// @file
/// How the command ends, and what it throws to end early.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tessline::cli {

/// The exit codes of every subcommand.
enum class ExitCode : int {
  success = 0,
  failure = 1,  ///< Input or output failed, a check found something, or it is not permitted.
  usage = 2,    ///< The command line could not be understood.
};

/// Input or output that failed. The message is for people: it names the file and the reason.
class InputOutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Something that the host's user has not allowed. The message says what, and where to allow it.
class NotPermitted : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The reader of our output went away: not an error, the command just ends.
class OutputClosed : public std::exception {};

/// A check found something, and has said what: exit code 1 without a further message.
class CheckFailed : public std::exception {};

/// Throws an InputOutputError that reads "could not DOING FILE: REASON", where REASON is the
/// system's text for `errorNumber`. `file` "-" reads as the standard stream that `doing` implies.
[[noreturn]] void throwSystemError(std::string_view doing, std::string_view file, int errorNumber);

}  // namespace tessline::cli
