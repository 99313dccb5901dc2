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
  /// None.
  Descriptor() = default;
  /// Takes over one that is open.
  explicit Descriptor(int number) : number_(number) {}
  /// Takes the other's.
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  /// Exchanges the two.
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { reset(); }

  /// Its number.
  int get() const { return number_; }
  /// Its number, which is the caller's to close now.
  int release() { return std::exchange(number_, -1); }
  /// Whether there is one.
  explicit operator bool() const { return number_ >= 0; }
  /// Closes it.
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
