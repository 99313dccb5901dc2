/// @file
/// A machine on which a capture may lack things.
#pragma once

#include "tessline/capture/PacketLoggerInstallation.h"
#include "tessline/capture/RemoteAddress.h"
#include "tessline/model/TesslineError.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/support/PlatformDecorator.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

/// Files with owners and modes, to be looked at and not changed.
class FilesToLookAt : public platform::FileManager {
 public:
  struct Entry {
    std::int64_t owner = 0;
    std::uint32_t mode = 0755;
    std::string contents = {};
    bool isDirectory = false;
    bool isReadable = true;
    bool isExecutable = true;  ///< Whether its mode's execute bits are for this user, too.
  };

  std::map<std::string, Entry> entries;

  bool isExecutableFile(const std::string& path) override {
    const auto found = entries.find(path);
    return found != entries.end() && !found->second.isDirectory && found->second.isExecutable &&
           (found->second.mode & 0111) != 0;
  }
  bool fileExists(const std::string& path) override { return entries.contains(path); }
  std::optional<platform::FileAttributes> attributes(const std::string& path) override {
    const auto found = entries.find(path);
    if (found == entries.end()) return std::nullopt;
    return platform::FileAttributes{found->second.owner, found->second.mode};
  }
  std::vector<std::uint8_t> contents(const std::string& path) override {
    const auto found = entries.find(path);
    if (found == entries.end() || !found->second.isReadable) {
      throw TesslineError("Test", 13, path + ": Permission denied");
    }
    return {found->second.contents.begin(), found->second.contents.end()};
  }

  void writeAtomically(const std::string& path, std::span<const std::uint8_t>) override {
    change(path);
  }
  void createDirectory(const std::string& path) override { change(path); }
  void removeItem(const std::string& path) override { change(path); }
  void setPosixPermissions(const std::string& path, std::uint32_t) override { change(path); }

 private:
  static void change(const std::string& path) {
    ADD_FAILURE() << path << " was changed";
    throw TesslineError("Test", 30, "Read-only file system");
  }
};

/// A user with a home directory, and programs that are simulated.
class FakeMachine : public PlatformDecorator {
 public:
  using Entry = FilesToLookAt::Entry;
  static constexpr std::int64_t user = 501;

  FakeMachine() : FakeMachine(platform::simulated::SimulatedHost::create()) {}

  std::shared_ptr<platform::FileManager> fileManager() override { return files_; }

  platform::simulated::SimulatedEnvironment& surroundings() { return host_->surroundings(); }
  platform::simulated::SimulatedProcesses& processes() { return host_->processes(); }
  FilesToLookAt& files() { return *files_; }

  /// A file, in directories of root's.
  void put(const std::string& path, Entry entry) {
    for (std::size_t end = path.find('/', 1); end != std::string::npos;
         end = path.find('/', end + 1)) {
      files_->entries.try_emplace(path.substr(0, end), directoryOf(0));
    }
    files_->entries.insert_or_assign(path, std::move(entry));
  }
  void remove(const std::string& path) { files_->entries.erase(path); }
  Entry& entry(const std::string& path) { return files_->entries.at(path); }

  std::string runtime() { return PacketLoggerInstallation::installedPacketLoggerPath(*this); }
  std::string marker() { return PacketLoggerInstallation::installedVersionMarkerPath(*this); }

  void putRuntime() {
    put("/Users/user", directoryOf(user));
    put(runtime(), {.owner = user});
    putMarker("1\n");
  }
  void putMarker(std::string_view text) {
    put(marker(), {.owner = user, .mode = 0644, .contents = std::string(text)});
  }
  void putHelper(std::int64_t owner = 0, std::uint32_t mode = 04755) {
    put(helper, {.owner = owner, .mode = mode});
  }
  /// The application holds what can be installed.
  void bundle() {
    using platform::Bundle;
    surroundings().resources[{Bundle::main, "PacketLoggerRuntime.payload"}] = "/app/payload";
    surroundings().resources[{Bundle::main, "siri-remote-helper"}] = "/app/siri-remote-helper";
    put(std::string(PacketLoggerInstallation::administratorTool), {});
  }
  /// The system's Bluetooth devices.
  void report(std::string_view text) {
    put(std::string(bluetoothReportTool), {});
    platform::simulated::SimulatedProgram program;
    program.standardOutput.assign(text.begin(), text.end());
    program.status = 0;
    processes().setProgram(std::string(bluetoothReportTool), std::move(program));
  }

  const std::string helper{PacketLoggerInstallation::privilegedHelperPath};

 private:
  explicit FakeMachine(const std::shared_ptr<platform::simulated::SimulatedHost>& host)
      : PlatformDecorator(host), host_(host) {
    files_->entries.emplace("/", directoryOf(0));
  }
  static Entry directoryOf(std::int64_t owner) { return {.owner = owner, .isDirectory = true}; }

  const std::shared_ptr<platform::simulated::SimulatedHost> host_;
  const std::shared_ptr<FilesToLookAt> files_ = std::make_shared<FilesToLookAt>();
};

}  // namespace tessline::test
