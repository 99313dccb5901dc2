/// @file
/// The environment of this process and of what it starts.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace tessline::test {

/// A variable that has a value, or none, for as long as this lives.
class EnvironmentVariable {
 public:
  EnvironmentVariable(const char* name, const std::optional<std::string>& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    set(value);
  }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
  ~EnvironmentVariable() { set(old_); }

 private:
  void set(const std::optional<std::string>& value) {
    if (value) {
      ::setenv(name_, value->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }

  const char* const name_;
  std::optional<std::string> old_;
};

}  // namespace tessline::test
