/// @file
/// Running the `tessline` command as a user would.
#pragma once

#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace tessline::test {

/// How a command ended and what it wrote.
struct CommandResult {
  int exitCode = -1;   ///< -1 when a signal ended it.
  int signal = 0;      ///< The signal that ended it, or 0.
  std::string output;  ///< Standard output.
  std::string errors;  ///< Standard error.
};

/// A `tessline` process that is running. Its standard streams are pipes.
class Command {
 public:
  using Arguments = std::vector<std::string>;

  /// Starts `tessline` with `arguments`, through `executable` if given (a link to it, for example).
  explicit Command(const Arguments& arguments, const std::filesystem::path& executable = {});
  ~Command();
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  /// Hands over all of `input`, collecting output meanwhile. Gives up when the command ended.
  void write(std::string_view input);
  void closeInput();
  void closeOutput();
  /// Waits until the output holds `text`, and gives all of the output so far. Empty if the output
  /// ends before.
  std::string readUntil(std::string_view text);
  /// Waits until so many bytes of output lie there that nobody has read; whether they do in time.
  bool waitForUnreadOutput(std::size_t size);
  void send(int signalNumber);
  /// Whether it ends by then, though nobody reads its output.
  bool endsWithin(std::chrono::milliseconds time);
  /// Closes the input, reads the output to its end and waits for the process.
  CommandResult finish();

 private:
  pid_t process_ = -1;
  int input_ = -1;
  int output_ = -1;
  int errors_ = -1;
  int life_ = -1;  // Nothing comes from it but its end, which is the process's.
  CommandResult result_;
};

/// Runs `tessline` from start to end.
CommandResult runCommand(const Command::Arguments& arguments, std::string_view input = {});

}  // namespace tessline::test
