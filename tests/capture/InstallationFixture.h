/// @file
/// Installing on a machine of the test's own: folders, resources, and programs in place of some.
#pragma once

#include "tessline/capture/PacketLoggerInstallation.h"
#include "tessline/model/TesslineError.h"
#include "tests/capture/FakeInstallationHost.h"
#include "tests/capture/PackedRuntime.h"
#include "tests/support/Bytes.h"
#include "tests/support/ZipArchive.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

using Install = PacketLoggerInstallation;
namespace fs = std::filesystem;

inline const std::string unzip = "/usr/bin/unzip";
inline const std::string osascript = "/usr/bin/osascript";
inline const std::string helper = "/Library/PrivilegedHelperTools/com.morvane.helper";
inline constexpr std::uint32_t executableFile = ZipEntry::regularFile | 0755;

// What was thrown; equality is that of all three parts.
struct Thrown {
  std::string domain;
  std::int64_t code = 0;
  std::string description;
  bool operator==(const Thrown&) const = default;
};
inline std::ostream& operator<<(std::ostream& stream, const Thrown& error) {
  return stream << error.domain << " " << error.code << " \"" << error.description << "\"";
}
inline const Thrown nothing;

inline Thrown thrownBy(const std::function<void()>& action) {
  try {
    action();
    return nothing;
  } catch (const TesslineError& error) {
    return {error.domain(), error.code(), error.localizedDescription()};
  }
}

inline Thrown scriptedFailure(const std::string& step) {
  return {"Test", 77, "cannot " + step};
}

class PacketLoggerInstallationTest : public testing::Test {
 protected:
  PacketLoggerInstallationTest() {
    environment.applicationSupport = directory / "Application Support";
    environment.identifier = "org.example.app";
  }

  std::string root() const {
    return (directory / "Application Support/org.example.app/PacketLoggerHost").native();
  }
  std::string tool() const { return root() + "/Resources/packetlogger"; }
  std::string marker() const { return root() + "/.install-version"; }
  std::string archivePath() const { return root() + "/runtime.zip"; }

  // A file of that content, with the directories it stands in.
  void put(const std::string& path, std::string_view content, unsigned permissions = 0644) const {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
    fs::permissions(path, static_cast<fs::perms>(permissions));
  }
  void putInstalledRuntime() const {
    put(tool(), "old tool", 0755);
    put(marker(), "1");
  }
  // A runtime that somebody installed before, in another version.
  void putOldRuntime() const {
    putInstalledRuntime();
    put(marker(), "0");
  }
  // The packed runtime comes with the application.
  void bundleData(const std::vector<std::uint8_t>& data) {
    environment.mainResources["PacketLoggerRuntime.payload"] = directory.file(
        "the payload", std::string_view(reinterpret_cast<const char*>(data.data()), data.size()));
  }
  void bundle(const std::vector<std::uint8_t>& archive) {
    bundleData(PackedRuntime{.key = bytes("13 37 c0"), .archive = archive}.packed());
  }
  void bundleEntries(const std::vector<ZipEntry>& entries) { bundle(zipArchive(entries)); }
  void bundleGoodRuntime() { bundleEntries({goodTool}); }

  Thrown installingRuntime() {
    return thrownBy([this] { Install::installRuntime(host); });
  }
  Thrown installingHelper() {
    return thrownBy([this] { Install::installPrivilegedHelper(host); });
  }
  unsigned permissionsOf(const std::string& path) const {
    return static_cast<unsigned>(fs::status(path).permissions());
  }
  // Everything in the test's directory, relative to it, without the payload.
  std::vector<std::string> everything() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(directory.path())) {
      const auto name = entry.path().lexically_relative(directory.path()).native();
      if (!entry.is_directory() && name != "the payload") names.push_back(name);
    }
    std::ranges::sort(names);
    return names;
  }
  static std::string inRoot(const std::string& name) {
    return "Application Support/org.example.app/PacketLoggerHost/" + name;
  }

  const TemporaryDirectory directory;
  FakeInstallationHost host;
  ScriptedEnvironment& environment = *host.scriptedEnvironment;
  ScriptedFiles& files = *host.files;
  const ZipEntry goodTool{"Resources/packetlogger", "#!/bin/sh\necho new tool\n", executableFile};
};

}  // namespace tessline::test
