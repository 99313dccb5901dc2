#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace tessline::test {

/// A user with no rights anywhere.
constexpr uid_t nobody = 65534;

/// A program to run as a user of one's choice.
struct Command {
  std::string program = {};
  std::vector<std::string> arguments = {};  ///< Behind argv[0].
  uid_t user = nobody;                      ///< Real, effective and saved, and so is the group.
  std::vector<gid_t> groups = {};           ///< Further groups.
  std::vector<std::string> environment = {"PATH=/usr/bin:/bin"};  ///< "NAME=value".
  std::vector<int> closed = {};  ///< Standard descriptors that the program does not get.
  /// Runs in the new process as `user`, last before the program.
  std::function<void()> prepare = [] {};
  bool hasArgumentZero = true;
};

/// How a program ended and what it wrote.
struct Outcome {
  int exitCode = -1;  ///< -1 if a signal ended it.
  int signal = 0;     ///< 0 if it exited.
  std::string output;
  std::string errors;
};

/// A program that runs, with pipes at its standard output and standard error and /dev/null at its
/// standard input. One that is not waited for is killed. A program that could not be executed exits
/// with 126 and says why on standard error.
class RunningCommand {
 public:
  explicit RunningCommand(const Command& command);
  RunningCommand(const RunningCommand&) = delete;
  RunningCommand& operator=(const RunningCommand&) = delete;
  ~RunningCommand();

  pid_t pid() const { return pid_; }

  /// Reads standard output until `text` has come; false if it ends first.
  bool readUntil(std::string_view text);

  /// What readUntil has read.
  const std::string& output() const { return outcome_.output; }

  /// Closes the reading end of standard output.
  void stopReading();

  /// Reads both pipes to their ends and waits for the program.
  Outcome wait();

 private:
  pid_t pid_ = -1;
  int output_ = -1;
  int errors_ = -1;
  Outcome outcome_;
};

Outcome run(const Command& command);

/// Calls `body` in a new process of `user` and returns the number it returns, at most 255.
int callAs(uid_t user, const std::function<int()>& body);

/// Sends a signal as a process of `user`. Returns 0, or errno.
int signalAs(uid_t user, pid_t process, int signal);

}  // namespace tessline::test
