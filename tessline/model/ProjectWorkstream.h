/// @file
/// A row of the project status: work under way.
#pragma once

#include <cstdint>
#include <string>

namespace tessline {

/// One workstream of the project status snapshot.
struct ProjectWorkstream {
  std::string identifier;  ///< Stable key, for example "ble".
  std::string title;       ///< A few words.
  std::string detail;      ///< What is to be done.
  std::uint8_t stage = 0;  ///< 0 or 1; the application gives it its meaning.

  bool operator==(const ProjectWorkstream&) const = default;
};

}  // namespace tessline
