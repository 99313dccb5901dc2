/// @file
/// The state of the project, as the application shows it.
#pragma once

#include "tessline/model/ProjectWorkstream.h"
#include "tessline/model/ReverseEngineeringFinding.h"

#include <string>
#include <vector>

namespace tessline {

/// A fixed report: what is known and what is worked on.
struct TesslineSnapshot {
  std::string summary;                              ///< The path that works today.
  std::vector<ReverseEngineeringFinding> findings;  ///< What is known.
  std::vector<ProjectWorkstream> workstreams;       ///< What is worked on.

  bool operator==(const TesslineSnapshot&) const = default;
};

}  // namespace tessline
