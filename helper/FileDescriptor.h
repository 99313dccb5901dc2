#pragma once

#include <utility>

#include <unistd.h>

namespace helper {

/// Owns an open descriptor, or none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int value) : value_(value) {}
  FileDescriptor(FileDescriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (value_ >= 0) close(value_);
  }

  int get() const { return value_; }
  bool isOpen() const { return value_ >= 0; }

 private:
  int value_ = -1;
};

}  // namespace helper
