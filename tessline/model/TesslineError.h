/// @file
/// What goes wrong outside of a decoder.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

namespace tessline {

/// An error with a number that programs look at and a description that people read.
class TesslineError : public std::runtime_error {
 public:
  /// `domain` says whose number `code` is, for example "Morvane" or "POSIX".
  TesslineError(std::string domain, std::int64_t code, const std::string& description)
      : std::runtime_error(description), domain_(std::move(domain)), code_(code) {}

  /// Whose number the code is.
  const std::string& domain() const { return domain_; }
  /// The number, as its domain defines it.
  std::int64_t code() const { return code_; }
  /// The sentence for people; the same as `what`.
  std::string localizedDescription() const { return what(); }

 private:
  std::string domain_;
  std::int64_t code_;
};

}  // namespace tessline
