/// @file
/// What `tessline install` does.
#pragma once

#include "tessline/platform/Platform.h"

#include <cstdint>
#include <functional>
#include <string>

namespace tessline::cli {

/// What has become of one step.
enum class StepState : std::uint8_t {
  present,     ///< There was nothing to do.
  installing,  ///< It begins; another state follows.
  installed,
  failed,
};

/// News of one step. The texts are for people.
struct InstallStep {
  std::string name;
  StepState state;
  std::string detail;  ///< Where it is, what is being done, or why it failed.

  bool operator==(const InstallStep&) const = default;
};

/// Installs the runtime and then the privileged helper, each unless it is there; with `force` the
/// runtime in any case. Calls `report` as things happen. One that fails does not keep the other
/// from being tried. True if no step failed and both are there at the end. Blocks, and asks for an
/// administrator.
bool installForCapture(platform::Platform& platform, bool force,
                       const std::function<void(const InstallStep&)>& report);

}  // namespace tessline::cli
