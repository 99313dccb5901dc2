/// @file
/// The simulation in place of the packet logger.
#pragma once

namespace tessline::cli {

/// Writes a simulated capture to standard output in real time, as the packet logger does while a
/// remote is used, until the output is closed; then gives the exit code, 0. Throws InputOutputError
/// when a write fails.
int runAsPacketLogger();

}  // namespace tessline::cli
