/// @file
/// Porting contract: programs that are started and what they write.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tessline::platform {

/// Called with what a pipe holds, as it comes; once with nothing at its end. The bytes are valid
/// during the call.
using ReadabilityHandler = std::function<void(std::span<const std::uint8_t> data)>;

/// Called once when a program has ended, with its exit status, or with the number of the signal
/// that ended it.
using TerminationHandler = std::function<void(std::int32_t status)>;

/// What one program writes and this process reads. Any thread. Handlers are called on a thread of
/// the host's, one after the other for all pipes of a process and its end.
class Pipe {
 public:
  virtual ~Pipe() = default;

  /// Calls `handler` whenever there is something to read, instead of an earlier one; an empty one
  /// ends that. A call that is under way may still be running when this returns.
  virtual void setReadabilityHandler(ReadabilityHandler handler) = 0;

  /// Everything up to the end, which comes when all who could write are gone. Waits for it. Only
  /// without a handler.
  virtual std::vector<std::uint8_t> readDataToEndOfFile() = 0;
};

/// What to start.
struct ProcessDescription {
  std::string executable;                ///< The path of the program.
  std::vector<std::string> arguments;    ///< Without the program's own name.
  std::shared_ptr<Pipe> standardOutput;  ///< Where it writes to; its own to inherit if null.
  std::shared_ptr<Pipe> standardError;   ///< Where its errors go; its own to inherit if null.
};

/// One program. It inherits the environment, has no input, and nothing of this process stays open
/// in it but its standard streams. Any thread; none may change the environment variables during a
/// launch. A process that is let go of runs on, is not called back for, and leaves nothing behind
/// when it ends.
class ChildProcess {
 public:
  virtual ~ChildProcess() = default;

  /// Calls `handler` when the program ends, after everything that it wrote itself before its end
  /// has gone to the handlers of its pipes. An empty one ends that; a call that is under way may
  /// still be running then. Not called if `launch` throws.
  virtual void setTerminationHandler(TerminationHandler handler) = 0;

  /// Starts it. Once. Throws TesslineError, with the host's description, if that is not possible.
  virtual void launch() = 0;

  /// Whether it was started and has not ended.
  virtual bool isRunning() const = 0;

  /// Asks it to end; it may take its time. Nothing if it does not run.
  virtual void terminate() = 0;

  /// Waits until it has ended, and gives its status; -1 if others in this process collect children.
  /// Only after `launch`.
  virtual std::int32_t waitUntilExit() = 0;
};

/// Makes both.
class ChildProcesses {
 public:
  virtual ~ChildProcesses() = default;

  /// A pipe, for one process. Throws TesslineError if the host has none left.
  virtual std::shared_ptr<Pipe> makePipe() = 0;

  /// A process that is yet to be launched.
  virtual std::shared_ptr<ChildProcess> makeProcess(ProcessDescription description) = 0;
};

}  // namespace tessline::platform
