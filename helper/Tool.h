#pragma once

#include "helper/FileDescriptor.h"

#include <string>

namespace helper {

/// Refuses a command line other than "PATH convert -s -f nhdr". Returns PATH.
std::string toolPathOf(int count, char* const* arguments);

/// Opens the tool at `path` if root may run it for the caller, or refuses. The way to it is gone
/// with the caller's rights, so that nobody learns from a refusal what they could not see
/// themselves.
FileDescriptor openTrustedTool(const std::string& path);

/// Becomes the tool, as root and nobody else, or refuses. For a child of the process `supervisor`.
[[noreturn]] void becomeTool(const FileDescriptor& tool, const std::string& path, int supervisor);

}  // namespace helper
