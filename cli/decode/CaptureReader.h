/// @file
/// Reads a capture of any size in pieces that hold whole lines.
#pragma once

#include "cli/FileDescriptor.h"
#include "cli/Interrupt.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::cli {

/// A stretch of a capture.
struct CaptureBlock {
  std::vector<char> storage;
  std::string_view text;  ///< Whole lines of the capture, inside `storage`.
  /// Set for a line too long to be one of a capture: it stands here instead of any text.
  bool isOverlongLine = false;
};

/// Reads a file or standard input in order. Memory is bound by the block size and, for a single
/// line longer than that, by `longestLine`. Not synchronised.
class CaptureReader {
 public:
  /// Lines with more bytes are given as `isOverlongLine`. The longest packet that Bluetooth can
  /// carry takes 0.2 MB of text.
  static constexpr std::size_t longestLine = std::size_t{1} << 20;
  static constexpr std::size_t blockSize = std::size_t{128} << 10;

  /// Opens `path`, or takes standard input for "-". `interrupt`, if given, ends the input early and
  /// must outlive the reader. Throws InputOutputError.
  explicit CaptureReader(const std::string& path, const Interrupt* interrupt = nullptr);

  /// Fills `block`, reusing its storage, with what can be had without waiting for a whole block.
  /// False at the end of the input. Throws InputOutputError.
  bool read(CaptureBlock& block);

  /// The input's size in bytes if it is a regular file.
  std::optional<std::uint64_t> size() const { return size_; }

 private:
  std::size_t readSome(char* buffer, std::size_t capacity);
  bool skipOverlongLine(CaptureBlock& block);
  void waitForInput() const;
  void keepAsCarry(const CaptureBlock& block, std::size_t from, std::size_t to);

  std::string name_;
  FileDescriptor input_;
  const Interrupt* interrupt_;
  std::optional<std::uint64_t> size_;
  std::vector<char> carry_;  // Read already, but belongs to the next block.
  bool atEnd_ = false;
};

}  // namespace tessline::cli
