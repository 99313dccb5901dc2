/// @file
/// What a capture needs on the machine, and putting it there.
#pragma once

#include "tessline/platform/Platform.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessline {

/// The runtime, a copy of the `packetlogger` tool in the user's own folder, and the privileged
/// helper, which runs it as root. Functions without state; those that install throw TesslineError
/// and block until it is done or refused. Nothing is undone after a failure. Any thread, but not
/// two installations at once.
struct PacketLoggerInstallation {
  /// The file name of the helper.
  static constexpr std::string_view privilegedHelperIdentifier = "com.morvane.helper";
  /// The name of the packed runtime among the application's resources.
  static constexpr std::string_view runtimePayloadResourceName = "PacketLoggerRuntime";
  /// Its extension.
  static constexpr std::string_view runtimePayloadResourceExtension = "payload";
  /// What the marker of an installed runtime says.
  static constexpr std::string_view runtimeInstallVersion = "1";
  /// Where the helper is installed.
  static constexpr std::string_view privilegedHelperPath =
      "/Library/PrivilegedHelperTools/com.morvane.helper";
  /// The variable that names a tool.
  static constexpr std::string_view packetLoggerPathVariable = "PACKETLOGGER_PATH";
  /// The program that asks for an administrator.
  static constexpr std::string_view administratorTool = "/usr/bin/osascript";

  /// Why a tool is looked for in a place.
  enum class ToolOrigin : std::uint8_t {
    installedRuntime,     ///< It is the installed one.
    environmentVariable,  ///< The variable names it.
    application,          ///< It came with the application.
    library,              ///< It came with this library.
    usualPlace,           ///< People put it there.
  };

  /// One place where a tool is looked for.
  struct ToolCandidate {
    ToolOrigin origin;  ///< How it came to be one.
    std::string path;   ///< Where it would stand.
    bool operator==(const ToolCandidate&) const = default;
  };

  /// The runtime's folder.
  static std::string installedRuntimeRootURL(platform::Platform& platform);
  /// The tool in it.
  static std::string installedPacketLoggerPath(platform::Platform& platform);
  /// The marker that says which version it is.
  static std::string installedVersionMarkerPath(platform::Platform& platform);

  /// Whether the tool is executable and its marker says the version of today.
  static bool isRuntimeInstalled(platform::Platform& platform);
  /// Whether the helper is there, root's, and runs with root's rights.
  static bool isPrivilegedHelperInstalled(platform::Platform& platform);
  /// Both.
  static bool isFullyInstalled(platform::Platform& platform);

  /// Installs the runtime unless it is.
  static void installRuntimeIfNeeded(platform::Platform& platform);
  /// Unpacks the runtime anew.
  static void installRuntime(platform::Platform& platform);
  /// Installs the helper, and the runtime unless it is. The system asks for an administrator.
  static void installPrivilegedHelper(platform::Platform& platform);

  /// Where the packed runtime is; none if it did not come with the application.
  static std::optional<std::string> bundledPayloadURL(platform::Platform& platform);
  /// Where the helper is that would be installed; none if it did not come with the application.
  static std::optional<std::string> bundledHelperURL(platform::Platform& platform);
  /// The zip archive in a packed runtime: behind "MRPL", the version 1, a byte that is not read and
  /// the key's length (16 bits, low byte first) come the key and the archive, each byte of it
  /// combined with one of the key by exclusive or.
  static std::vector<std::uint8_t> decodePayload(std::span<const std::uint8_t> data);

  /// The places where a tool is looked for, the first one first: that of the installed one, of the
  /// variable PACKETLOGGER_PATH, of one that came with the application or this library, and those
  /// where people put it.
  static std::vector<ToolCandidate> packetLoggerCandidates(
      const std::map<std::string, std::string>& environment, platform::Platform& platform);
  /// The first of them that is executable.
  static std::optional<std::string> findPacketLoggerPath(
      const std::map<std::string, std::string>& environment, platform::Platform& platform);

  /// The script that asks for an administrator and installs the helper from `source`.
  static std::string helperInstallationScript(std::string_view source);
};

}  // namespace tessline
