/// @file
/// Observations as JSON Lines.
#pragma once

#include "cli/Output.h"
#include "cli/replay/Observation.h"
#include "tessline/platform/SerialQueue.h"

namespace tessline::cli {

/// Writes what a program wants to see of one observation: a line for a snapshot, a payload or a
/// call, one for each event, none for the coming and going of services.
void writeObservation(platform::QueueTime time, const Observation& observation, Output& output);

}  // namespace tessline::cli
