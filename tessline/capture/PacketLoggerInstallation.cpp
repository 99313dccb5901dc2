#include "tessline/capture/PacketLoggerInstallation.h"

#include "tessline/model/TesslineError.h"
#include "tessline/text/Whitespace.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <future>
#include <memory>
#include <utility>

namespace tessline {

namespace {

using platform::Bundle;
using platform::Platform;

constexpr std::string_view errorDomain = "Morvane";
constexpr std::string_view toolName = "packetlogger";
constexpr std::string_view helperResourceName = "siri-remote-helper";
constexpr std::string_view unzipTool = "/usr/bin/unzip";
constexpr std::uint32_t setUserIDBit = 04000;
constexpr std::uint32_t executablePermissions = 0755;

constexpr std::array<std::uint8_t, 4> payloadMagic = {'M', 'R', 'P', 'L'};
constexpr std::uint8_t payloadVersion = 1;
constexpr std::size_t versionOffset = 4;
constexpr std::size_t keyLengthOffset = 6;
constexpr std::size_t keyOffset = 8;
constexpr std::size_t smallestPayload = 9;
constexpr std::array<std::uint8_t, 2> zipMagic = {'P', 'K'};

constexpr std::int64_t badPayload = 400;
constexpr std::int64_t notFound = 404;
constexpr std::int64_t notExecutable = 500;

[[noreturn]] void fail(std::int64_t code, const std::string& description) {
  throw TesslineError(std::string(errorDomain), code, description);
}

// How a program ended and what it complained of until then, trimmed; none if that is not UTF-8.
struct ProgramEnd {
  std::int32_t status;
  std::optional<std::string> errors;
};

ProgramEnd run(Platform& platform, std::string_view executable,
               std::vector<std::string> arguments) {
  const auto processes = platform.childProcesses();
  const auto errors = processes->makePipe();
  const auto process = processes->makeProcess({.executable = std::string(executable),
                                               .arguments = std::move(arguments),
                                               .standardOutput = nullptr,
                                               .standardError = errors});
  // Not read to its end: somebody whom the program left behind may hold it for long. The handlers
  // are called one after the other.
  const auto said = std::make_shared<std::string>();
  const auto whole = std::make_shared<std::promise<std::string>>();
  errors->setReadabilityHandler([said](std::span<const std::uint8_t> data) {
    said->insert(said->end(), data.begin(), data.end());
  });
  process->setTerminationHandler(
      [said, whole](std::int32_t) { whole->set_value(std::exchange(*said, {})); });
  process->launch();
  const std::int32_t status = process->waitUntilExit();
  const std::string text = whole->get_future().get();
  if (!isValidUtf8(text)) return {status, std::nullopt};
  return {status, std::string(trimmedOfWhitespaceAndNewlines(text))};
}

std::optional<std::string> resource(Platform& platform, std::string_view name,
                                    std::string_view extension = {}) {
  const auto environment = platform.environment();
  auto path = environment->resource(Bundle::main, name, extension);
  return path ? path : environment->resource(Bundle::library, name, extension);
}

// For a POSIX shell: nothing within single quotes means anything but a single quote.
std::string shellQuoted(std::string_view text) {
  std::string quoted = "'";
  for (const char character : text) {
    if (character == '\'') {
      quoted += R"('\'')";
    } else {
      quoted += character;
    }
  }
  return quoted + "'";
}

// The key over and over, so that long runs of bytes are combined at once.
std::vector<std::uint8_t> repeated(std::span<const std::uint8_t> key) {
  constexpr std::size_t enough = 4096;
  std::vector<std::uint8_t> block;
  block.reserve(enough + key.size());
  do {
    block.insert(block.end(), key.begin(), key.end());
  } while (block.size() < enough);
  return block;
}

}  // namespace

std::string PacketLoggerInstallation::installedRuntimeRootURL(Platform& platform) {
  const auto environment = platform.environment();
  const auto support = environment->applicationSupportDirectory();
  const auto identifier = environment->mainBundleIdentifier();
  return (support ? *support : environment->homeDirectory() + "/Library/Application Support") +
         "/" + identifier.value_or("com.morvane") + "/PacketLoggerHost";
}

std::string PacketLoggerInstallation::installedPacketLoggerPath(Platform& platform) {
  return installedRuntimeRootURL(platform) + "/Resources/packetlogger";
}

std::string PacketLoggerInstallation::installedVersionMarkerPath(Platform& platform) {
  return installedRuntimeRootURL(platform) + "/.install-version";
}

bool PacketLoggerInstallation::isRuntimeInstalled(Platform& platform) {
  const auto files = platform.fileManager();
  if (!files->isExecutableFile(installedPacketLoggerPath(platform))) return false;
  try {
    const auto data = files->contents(installedVersionMarkerPath(platform));
    const std::string text(data.begin(), data.end());
    return isValidUtf8(text) && trimmedOfWhitespaceAndNewlines(text) == runtimeInstallVersion;
  } catch (const TesslineError&) {
    return false;
  }
}

bool PacketLoggerInstallation::isPrivilegedHelperInstalled(Platform& platform) {
  const auto attributes = platform.fileManager()->attributes(std::string(privilegedHelperPath));
  return attributes && attributes->ownerAccountID == 0 &&
         (attributes->posixPermissions & setUserIDBit) != 0;
}

bool PacketLoggerInstallation::isFullyInstalled(Platform& platform) {
  return isPrivilegedHelperInstalled(platform) && isRuntimeInstalled(platform);
}

void PacketLoggerInstallation::installRuntimeIfNeeded(Platform& platform) {
  if (!isRuntimeInstalled(platform)) installRuntime(platform);
}

void PacketLoggerInstallation::installRuntime(Platform& platform) {
  const auto payload = bundledPayloadURL(platform);
  if (!payload) {
    fail(notFound, "PacketLoggerRuntime.payload not found in the application bundle.");
  }
  const auto files = platform.fileManager();
  const auto archive = decodePayload(files->contents(*payload));
  const std::string root = installedRuntimeRootURL(platform);
  const std::string archivePath = root + "/runtime.zip";
  files->createDirectory(root);
  files->writeAtomically(archivePath, archive);
  for (const char* const folder : {"/Resources", "/Frameworks"}) {
    if (files->fileExists(root + folder)) files->removeItem(root + folder);
  }
  const ProgramEnd end = run(platform, unzipTool, {"-o", "-q", archivePath, "-d", root});
  try {
    files->removeItem(archivePath);
  } catch (const TesslineError&) {
    // Left lying; it is written anew the next time.
  }
  if (end.status != 0) {
    fail(end.status,
         "Failed to extract PacketLogger runtime: " + end.errors.value_or("unknown error"));
  }
  const std::string tool = installedPacketLoggerPath(platform);
  if (!files->isExecutableFile(tool)) files->setPosixPermissions(tool, executablePermissions);
  if (!files->isExecutableFile(tool)) {
    fail(notExecutable, "PacketLogger extract succeeded but " + tool + " is not executable.");
  }
  // Last, so that a marker means a tool that works.
  const std::vector<std::uint8_t> version(runtimeInstallVersion.begin(),
                                          runtimeInstallVersion.end());
  files->writeAtomically(installedVersionMarkerPath(platform), version);
}

void PacketLoggerInstallation::installPrivilegedHelper(Platform& platform) {
  if (!isRuntimeInstalled(platform)) installRuntime(platform);
  const auto source = bundledHelperURL(platform);
  if (!source) fail(notFound, "siri-remote-helper binary not found in application bundle.");
  const ProgramEnd end =
      run(platform, administratorTool, {"-e", helperInstallationScript(*source)});
  if (end.status != 0) {
    fail(end.status,
         "Failed to install privileged helper: " + end.errors.value_or("Unknown error"));
  }
}

std::optional<std::string> PacketLoggerInstallation::bundledPayloadURL(Platform& platform) {
  return resource(platform, runtimePayloadResourceName, runtimePayloadResourceExtension);
}

std::optional<std::string> PacketLoggerInstallation::bundledHelperURL(Platform& platform) {
  return resource(platform, helperResourceName);
}

std::vector<std::uint8_t> PacketLoggerInstallation::decodePayload(
    std::span<const std::uint8_t> data) {
  if (data.size() < smallestPayload ||
      !std::ranges::equal(data.first(payloadMagic.size()), payloadMagic)) {
    fail(badPayload, "PacketLoggerRuntime.payload has an invalid header.");
  }
  if (data[versionOffset] != payloadVersion) {
    fail(badPayload,
         "Unsupported PacketLogger payload version " + std::to_string(data[versionOffset]) + ".");
  }
  const std::size_t keyLength =
      data[keyLengthOffset] + std::size_t{256} * data[keyLengthOffset + 1];
  if (keyLength == 0 || data.size() < keyOffset + keyLength) {
    fail(badPayload, "PacketLoggerRuntime.payload key length is invalid.");
  }
  const auto key = repeated(data.subspan(keyOffset, keyLength));
  const auto body = data.subspan(keyOffset + keyLength);
  std::vector<std::uint8_t> archive;
  archive.reserve(body.size());
  for (std::size_t start = 0; start < body.size(); start += key.size()) {
    const auto piece = body.subspan(start, std::min(key.size(), body.size() - start));
    archive.insert(archive.end(), piece.begin(), piece.end());
    // While it is in the cache.
    std::uint8_t* const bytes = archive.data() + start;
    for (std::size_t index = 0; index < piece.size(); ++index) bytes[index] ^= key[index];
  }
  if (archive.size() < zipMagic.size() ||
      !std::equal(zipMagic.begin(), zipMagic.end(), archive.begin())) {
    fail(badPayload, "PacketLoggerRuntime.payload did not decode to a zip archive.");
  }
  return archive;
}

std::vector<PacketLoggerInstallation::ToolCandidate>
PacketLoggerInstallation::packetLoggerCandidates(
    const std::map<std::string, std::string>& environment, Platform& platform) {
  std::vector<ToolCandidate> candidates;
  const auto add = [&](ToolOrigin origin, std::optional<std::string> path) {
    if (path) candidates.push_back({origin, std::move(*path)});
  };
  const auto host = platform.environment();
  add(ToolOrigin::installedRuntime, installedPacketLoggerPath(platform));
  const auto variable = environment.find(std::string(packetLoggerPathVariable));
  if (variable != environment.end()) add(ToolOrigin::environmentVariable, variable->second);
  add(ToolOrigin::application, host->resource(Bundle::main, toolName, {}));
  add(ToolOrigin::library, host->resource(Bundle::library, toolName, {}));
  for (const std::string& place :
       {std::string("/Applications/PacketLogger.app"),
        host->homeDirectory() + "/Desktop/SiriRemote/PacketLogger.app",
        std::string("/Applications/Additional Tools/Hardware/PacketLogger.app"),
        std::string("/Applications/Utilities/PacketLogger.app")}) {
    add(ToolOrigin::usualPlace, place + "/Contents/Resources/packetlogger");
  }
  return candidates;
}

std::optional<std::string> PacketLoggerInstallation::findPacketLoggerPath(
    const std::map<std::string, std::string>& environment, Platform& platform) {
  for (const ToolCandidate& candidate : packetLoggerCandidates(environment, platform)) {
    if (platform.fileManager()->isExecutableFile(candidate.path)) return candidate.path;
  }
  return std::nullopt;
}

std::string PacketLoggerInstallation::helperInstallationScript(std::string_view source) {
  const std::string destination = shellQuoted(privilegedHelperPath);
  return R"(do shell script "mkdir -p /Library/PrivilegedHelperTools && cp )" +
         shellQuoted(source) + " " + destination + " && chown root:wheel " + destination +
         " && chmod 4755 " + destination + R"(" with administrator privileges)";
}

}  // namespace tessline
