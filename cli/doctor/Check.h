/// @file
/// What `tessline doctor` finds.
#pragma once

#include <cstdint>
#include <string>

namespace tessline::cli {

/// How it stands with one prerequisite.
enum class CheckState : std::uint8_t {
  ok,
  missing,  ///< It does not work without.
  warning,  ///< It may not work, or not as one thinks.
  note,     ///< Good to know, and nothing to do.
};

/// One prerequisite. The texts are for people; paths in them are as the host gives them.
struct Check {
  std::string name;
  CheckState state = CheckState::ok;
  std::string detail;       ///< What there is, in a sentence without a full stop.
  std::string remedy = {};  ///< What to do about it, in the same form; empty if there is nothing.

  bool operator==(const Check&) const = default;
};

}  // namespace tessline::cli
