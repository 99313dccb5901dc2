/// @file
/// Whether a tool may be run as root.
#pragma once

#include "tessline/platform/FileManager.h"

#include <optional>
#include <string>

namespace tessline::cli {

/// Why the privileged helper does not run a tool.
struct HelperRefusal {
  /// With which exit code it says so.
  enum class Code : int { path = 65, notFound = 66, untrusted = 67, notAProgram = 68, script = 69 };

  Code code;
  std::string reason;  ///< In a sentence that names the place.

  bool operator==(const HelperRefusal&) const = default;
};

/// The first reason that owners and modes show; none if they show none. The helper looks closer: at
/// what symbolic links lead through, access lists and how file systems are mounted. A signature
/// does not take the place of a trusted path.
std::optional<HelperRefusal> helperRefusalOf(const std::string& tool, platform::FileManager& files);

}  // namespace tessline::cli
