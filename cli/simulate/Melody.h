/// @file
/// What the simulated remote hears when it is given nothing else.
#pragma once

#include <cstdint>
#include <vector>

namespace tessline::cli {

/// A short plucked melody of a few seconds: 16-bit samples at 16 kHz, mono.
std::vector<std::int16_t> melody();

}  // namespace tessline::cli
