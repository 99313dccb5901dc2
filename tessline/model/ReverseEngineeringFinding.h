/// @file
/// A row of the project status: something learnt about the remote.
#pragma once

#include <string>

namespace tessline {

/// One finding of the project status snapshot.
struct ReverseEngineeringFinding {
  std::string identifier;  ///< Stable key, for example "opus".
  std::string title;       ///< One sentence.
  std::string detail;      ///< What it means for the project.

  bool operator==(const ReverseEngineeringFinding&) const = default;
};

}  // namespace tessline
