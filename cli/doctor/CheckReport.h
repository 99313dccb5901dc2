/// @file
/// What `tessline doctor` writes.
#pragma once

#include "cli/TextStyle.h"
#include "cli/doctor/Check.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tessline::cli {

/// How many of them are missing.
std::size_t missingCount(const std::vector<Check>& checks);

/// For people: a line for each, what to do below it, and a last line that sums up.
std::string textReport(const std::vector<Check>& checks, const TextStyle& style);

/// For programs: one object a line for each, and nothing else.
std::string jsonReport(const std::vector<Check>& checks);

}  // namespace tessline::cli
