/// @file
/// One call that a service made to its host.
#pragma once

#include "tessline/platform/SerialQueue.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tessline::platform::simulated {

/// What a call carried: numbers, text, truth values and lists.
using CallArgument = std::variant<std::int64_t, double, bool, std::string,
                                  std::vector<std::int64_t>, std::vector<std::string>>;

/// A call as the simulated host saw it, under the name that the operation has on macOS where it has
/// one.
struct PlatformCall {
  QueueTime time{};       ///< When it came, by the virtual clock.
  std::string operation;  ///< For example "IOHIDManagerOpen".
  std::vector<std::pair<std::string, CallArgument>> arguments;  ///< In a fixed order, by name.

  /// The argument of that name; an empty one if the call has none of that name and type.
  template <class Argument>
  Argument argument(std::string_view name) const {
    for (const auto& [key, value] : arguments) {
      const auto* const found = std::get_if<Argument>(&value);
      if (key == name && found != nullptr) return *found;
    }
    return {};
  }

  bool operator==(const PlatformCall&) const = default;
};

}  // namespace tessline::platform::simulated
