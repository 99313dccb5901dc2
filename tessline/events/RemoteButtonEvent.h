/// @file
/// A button that went down or up.
#pragma once

#include "tessline/events/RemoteButtonPhase.h"
#include "tessline/model/RemoteCommand.h"

namespace tessline {

/// One change of one button.
struct RemoteButtonEvent {
  RemoteCommand command = RemoteCommand::up;             ///< Which button.
  RemoteButtonPhase phase = RemoteButtonPhase::pressed;  ///< Down or up.

  bool operator==(const RemoteButtonEvent&) const = default;
};

}  // namespace tessline
