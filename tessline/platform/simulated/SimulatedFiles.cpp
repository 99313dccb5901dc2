#include "tessline/platform/simulated/SimulatedFiles.h"

#include "tessline/model/TesslineError.h"

namespace tessline::platform::simulated {

namespace {

constexpr std::int64_t noSuchFile = 2;
constexpr std::uint32_t anyExecuteBit = 0111;

}  // namespace

SimulatedFile& SimulatedFileManager::file(const std::string& path) {
  const auto found = files_.find(path);
  if (found == files_.end()) {
    throw TesslineError("POSIX", noSuchFile, path + ": No such file or directory");
  }
  return found->second;
}

bool SimulatedFileManager::isExecutableFile(const std::string& path) {
  const auto found = files_.find(path);
  return found != files_.end() && !found->second.isDirectory &&
         (found->second.permissions & anyExecuteBit) != 0;
}

std::optional<FileAttributes> SimulatedFileManager::attributes(const std::string& path) {
  const auto found = files_.find(path);
  if (found == files_.end()) return std::nullopt;
  return FileAttributes{found->second.ownerAccountID, found->second.permissions};
}

std::vector<std::uint8_t> SimulatedFileManager::contents(const std::string& path) {
  return file(path).contents;
}

void SimulatedFileManager::writeAtomically(const std::string& path,
                                           std::span<const std::uint8_t> data) {
  calls_->add("FileManager.write",
              {{"path", path}, {"size", static_cast<std::int64_t>(data.size())}});
  SimulatedFile written;
  written.contents.assign(data.begin(), data.end());
  setFile(path, std::move(written));
}

void SimulatedFileManager::createDirectory(const std::string& path) {
  calls_->add("FileManager.createDirectory", {{"path", path}});
  SimulatedFile directory;
  directory.isDirectory = true;
  files_.try_emplace(path, std::move(directory));
}

void SimulatedFileManager::removeItem(const std::string& path) {
  calls_->add("FileManager.removeItem", {{"path", path}});
  file(path);
  std::erase_if(files_, [&](const auto& entry) {
    return entry.first == path || entry.first.starts_with(path + "/");
  });
}

void SimulatedFileManager::setPosixPermissions(const std::string& path, std::uint32_t permissions) {
  calls_->add("FileManager.setAttributes",
              {{"path", path}, {"permissions", std::int64_t{permissions}}});
  file(path).permissions = permissions;
}

std::optional<std::string> SimulatedEnvironment::resource(Bundle bundle, std::string_view name,
                                                          std::string_view extension) {
  std::string fileName(name);
  if (!extension.empty()) fileName.append(".").append(extension);
  const auto found = resources.find({bundle, fileName});
  return found == resources.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace tessline::platform::simulated
