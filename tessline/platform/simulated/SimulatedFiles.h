/// @file
/// The simulated host's files and what surrounds its process, to be scripted.
#pragma once

#include "tessline/platform/FileManager.h"
#include "tessline/platform/HostEnvironment.h"
#include "tessline/platform/simulated/CallLog.h"
#include "tessline/platform/simulated/VirtualScheduler.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessline::platform::simulated {

/// One file, directory or link.
struct SimulatedFile {
  std::vector<std::uint8_t> contents;  ///< None for a directory.
  std::int64_t ownerAccountID = 501;   ///< Whose it is.
  std::uint32_t permissions = 0644;    ///< Its mode bits.
  bool isDirectory = false;            ///< Whether it is a directory.
  std::string linkTarget;              ///< Where it leads if it is a link.
};

/// Files by their absolute paths; nothing is denied to anybody. What changes something is noted.
/// Not synchronised.
class SimulatedFileManager : public FileManager {
 public:
  /// Without files. Notes what is changed in `calls`.
  explicit SimulatedFileManager(std::shared_ptr<CallLog> calls);

  bool isExecutableFile(const std::string& path) override;
  bool fileExists(const std::string& path) override { return found(path) != nullptr; }
  std::optional<FileAttributes> attributes(const std::string& path) override;
  std::vector<std::uint8_t> contents(const std::string& path) override;
  void writeAtomically(const std::string& path, std::span<const std::uint8_t> data) override;
  void createDirectory(const std::string& path) override;
  void removeItem(const std::string& path) override;
  void setPosixPermissions(const std::string& path, std::uint32_t permissions) override;

  /// A file stands there from now on, in directories that it brings along; what was in its way
  /// goes.
  void setFile(const std::string& path, SimulatedFile file);
  /// Nothing stands there any more, nor below.
  void removeFile(const std::string& path);

 private:
  struct Place;

  SimulatedFile* at(const std::string& place);
  Place locate(const std::string& path, bool followsLast);
  SimulatedFile* found(const std::string& path);
  SimulatedFile& existing(const std::string& path);
  void erase(const std::string& place);

  std::shared_ptr<CallLog> calls_;
  // By places: paths without links, "." and "..", which do not end in "/". The root's is empty.
  std::map<std::string, SimulatedFile> files_;
};

/// Everything may be set at any time. Not synchronised.
class SimulatedEnvironment : public HostEnvironment {
 public:
  /// The date moves with the clock of `scheduler`.
  explicit SimulatedEnvironment(std::shared_ptr<VirtualScheduler> scheduler)
      : scheduler_(std::move(scheduler)) {}

  std::map<std::string, std::string> variables() override { return environmentVariables; }
  std::uint32_t effectiveUserID() override { return userID; }
  std::string homeDirectory() override { return home; }
  std::optional<std::string> applicationSupportDirectory() override { return applicationSupport; }
  std::chrono::system_clock::time_point currentDate() override {
    return startDate +
           std::chrono::duration_cast<std::chrono::system_clock::duration>(scheduler_->now());
  }
  std::optional<std::string> mainBundleIdentifier() override { return identifier; }
  std::optional<std::string> resource(Bundle bundle, std::string_view name,
                                      std::string_view extension) override;

  std::map<std::string, std::string> environmentVariables;  ///< By name.
  std::uint32_t userID = 501;                               ///< 0 is root.
  std::string home = "/Users/user";                         ///< The user's home directory.
  /// Where applications keep the user's data.
  std::optional<std::string> applicationSupport = "/Users/user/Library/Application Support";
  std::optional<std::string> identifier;  ///< The application's.
  /// The date when the clock started: the first second of 2026.
  std::chrono::system_clock::time_point startDate{std::chrono::seconds(1767225600)};
  /// The paths of resources, by bundle and file name.
  std::map<std::pair<Bundle, std::string>, std::string> resources;

 private:
  std::shared_ptr<VirtualScheduler> scheduler_;
};

}  // namespace tessline::platform::simulated
