/// @file
/// An open file of the operating system.
#pragma once

#include <utility>

namespace tessline::cli {

/// Owns a file descriptor and closes it; standard streams are borrowed.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  /// Takes over `descriptor`.
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor), owned_(true) {}
  /// Uses `descriptor` without ever closing it.
  static FileDescriptor borrowed(int descriptor);

  FileDescriptor(FileDescriptor&& other) noexcept
      : descriptor_(std::exchange(other.descriptor_, -1)),
        owned_(std::exchange(other.owned_, false)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  ~FileDescriptor() { close(); }

  int get() const { return descriptor_; }
  /// Closes now. Returns 0, or the error number of a close that failed.
  int close();

 private:
  int descriptor_ = -1;
  bool owned_ = false;
};

}  // namespace tessline::cli
