/// @file
/// What `tessline install` writes.
#pragma once

#include "cli/OutputFormat.h"
#include "cli/TextStyle.h"
#include "cli/install/InstallSteps.h"

#include <string>

namespace tessline::cli {

/// The line for one piece of news: for people, or one object for programs.
std::string stepLine(const InstallStep& step, OutputFormat format, const TextStyle& style);

}  // namespace tessline::cli
