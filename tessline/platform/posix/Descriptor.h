/// @file
/// File descriptors and errors of POSIX.
#pragma once

#include "tessline/model/TesslineError.h"

#include <cstdint>
#include <string>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace tessline::platform {

/// Owns a file descriptor; -1 is none.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { reset(); }

  int get() const { return number_; }
  int release() { return std::exchange(number_, -1); }
  explicit operator bool() const { return number_ >= 0; }
  void reset() {
    if (number_ >= 0) ::close(std::exchange(number_, -1));
  }

 private:
  int number_ = -1;
};

/// The error of that number, as the system describes it; `about` says of what.
[[noreturn]] inline void throwPosixError(int number, const std::string& about) {
  throw TesslineError("POSIX", number, about + ": " + std::generic_category().message(number));
}

}  // namespace tessline::platform
