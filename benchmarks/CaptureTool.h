/// @file
/// What the capture benchmarks and the program that stands in for the packet logger agree on.
#pragma once

#include <chrono>
#include <cstddef>
#include <string_view>

namespace tessline::benchmarks {

/// The variable of the environment that says what the tool does, as its arguments are the
/// service's to choose:
/// - "lines N": N lines with the time at which each is written, a millisecond apart, then the end;
/// - "quiet": one such line, then nothing until a signal ends it;
/// - "cat PATH": what `cat` writes, as the tool becomes it.
inline constexpr const char* toolVariable = "TESSLINE_BENCHMARK_TOOL";

/// The clock of both programs; on Linux and macOS it is one for all processes.
using ToolClock = std::chrono::steady_clock;

/// How many characters stand before a line's bytes.
inline constexpr std::size_t toolLinePrefixLength = 54;
/// How many bytes stand before a line's time. A press of a button follows it, so that every line
/// means an event.
inline constexpr std::size_t toolStampOffset = 8;
/// The time in nanoseconds: one byte for each hexadecimal digit, the highest first. No such byte
/// looks like anything of a remote's.
inline constexpr std::size_t toolStampSize = 16;

}  // namespace tessline::benchmarks
