/// @file
/// Buffered output to a file, a pipe or a terminal.
#pragma once

#include "cli/FileDescriptor.h"

#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace tessline::cli {

/// Collects what is written and hands it to the operating system in large pieces. Throws
/// InputOutputError when a write fails and OutputClosed when the reader of a pipe is gone
/// (the process must ignore SIGPIPE). Not synchronised.
class Output {
 public:
  /// Writes to the process's standard output.
  static Output standard();
  /// Creates or empties the file at `path`.
  static Output file(const std::filesystem::path& path);

  Output(Output&&) = default;
  Output& operator=(Output&&) = delete;
  /// Drops what is unwritten; call `finish` first.
  ~Output() = default;

  void write(std::string_view text);

  template <class... Arguments>
  void print(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(buffer_), format, std::forward<Arguments>(arguments)...);
    flushIfLarge();
  }

  /// Hands everything written so far to the operating system.
  void flush();
  /// Flushes and closes; a file that could not be stored whole is an error here at the latest.
  void finish();

  /// Whether a person reads along: the output is a terminal.
  bool isTerminal() const;
  /// What it writes to, for messages: a path, or "standard output".
  const std::string& name() const { return name_; }

 private:
  Output(FileDescriptor descriptor, std::string name);
  void flushIfLarge();

  FileDescriptor descriptor_;
  std::string name_;
  fmt::memory_buffer buffer_;
};

}  // namespace tessline::cli
