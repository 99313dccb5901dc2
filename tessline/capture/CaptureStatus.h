/// @file
/// What a capture says to people and to its tool.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::captureStatus {

/// A start while the tool runs.
inline constexpr std::string_view alreadyRunning = "PacketLogger capture is already running";
/// There is no tool anywhere.
inline constexpr std::string_view notFound =
    "PacketLogger not found. Use Setup Assistant to install the PacketLogger helper, or install "
    "Apple's PacketLogger from Additional Tools for Xcode.";
/// Before an administrator is asked.
inline constexpr std::string_view installingHelper =
    "Installing privileged helper tool (requires administrator password)...";
/// In front of why.
inline constexpr std::string_view couldNotStart = "Could not start PacketLogger: ";
/// The application stopped it.
inline constexpr std::string_view stopped = "PacketLogger capture stopped";
/// In front of the status with which the tool ended, unless that is 0.
inline constexpr std::string_view exited = "PacketLogger stopped with exit code ";
/// Behind the text of a tool that runs through the helper.
inline constexpr std::string_view usingHelper = " using privileged helper";

/// The text for what the tool complains of.
inline std::string said(std::string_view complaint) {
  return "PacketLogger: " + std::string(complaint);
}

/// The text while the tool runs.
inline std::string running(const std::optional<std::string>& remoteAddress) {
  if (!remoteAddress) return "PacketLogger capture running for all remotes";
  return "PacketLogger capture running; detected remote " + *remoteAddress;
}

/// The text when the tool has ended with that status.
inline std::string ended(std::int32_t exitCode) {
  if (exitCode == 0) return "PacketLogger capture ended";
  return std::string(exited) + std::to_string(exitCode) +
         ". Administrator approval may have been cancelled or PacketLogger could not start.";
}

/// What the tool is asked for: the packets as text, in the form that the line parser reads.
inline std::vector<std::string> toolArguments() {
  return {"convert", "-s", "-f", "nhdr"};
}

}  // namespace tessline::captureStatus
