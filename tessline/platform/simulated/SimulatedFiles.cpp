#include "tessline/platform/simulated/SimulatedFiles.h"

#include "tessline/model/TesslineError.h"

#include <deque>
#include <filesystem>
#include <system_error>

namespace tessline::platform::simulated {

namespace {

constexpr std::uint32_t anyExecuteBit = 0111;
constexpr int mostLinks = 40;

SimulatedFile directory() {
  SimulatedFile result;
  result.permissions = 0755;
  result.isDirectory = true;
  return result;
}

std::deque<std::string> namesIn(const std::string& path) {
  std::deque<std::string> names;
  for (const auto& name : std::filesystem::path(path).relative_path()) names.push_back(name);
  return names;
}

std::string parentOf(const std::string& place) {
  return place.substr(0, place.empty() ? 0 : place.rfind('/'));
}

[[noreturn]] void fail(std::errc error, const std::string& path) {
  const std::error_code code = std::make_error_code(error);
  throw TesslineError("POSIX", code.value(), path + ": " + code.message());
}

}  // namespace

// Where a path leads: whether anything stands there is another question.
struct SimulatedFileManager::Place {
  std::string place;
  std::optional<std::errc> error = std::nullopt;
};

SimulatedFileManager::SimulatedFileManager(std::shared_ptr<CallLog> calls)
    : calls_(std::move(calls)), files_({{"", directory()}}) {}

SimulatedFile* SimulatedFileManager::at(const std::string& place) {
  const auto found = files_.find(place);
  return found == files_.end() ? nullptr : &found->second;
}

SimulatedFileManager::Place SimulatedFileManager::locate(const std::string& path,
                                                         bool followsLast) {
  if (path.empty()) return {"", std::errc::no_such_file_or_directory};
  std::string place;
  int links = 0;
  for (auto names = namesIn(path); !names.empty();) {
    const std::string name = names.front();
    names.pop_front();
    const SimulatedFile* parent = at(place);
    if (parent == nullptr) return {place, std::errc::no_such_file_or_directory};
    if (!parent->isDirectory) return {place, std::errc::not_a_directory};
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      place = parentOf(place);
      continue;
    }
    const std::string inside = std::string(place).append("/").append(name);
    const SimulatedFile* next = at(inside);
    if (next == nullptr || next->linkTarget.empty() || (names.empty() && !followsLast)) {
      place = inside;
      continue;
    }
    if (++links > mostLinks) return {place, std::errc::too_many_symbolic_link_levels};
    if (next->linkTarget.starts_with('/')) place.clear();
    const auto target = namesIn(next->linkTarget);
    names.insert(names.begin(), target.begin(), target.end());
  }
  return {place};
}

SimulatedFile* SimulatedFileManager::found(const std::string& path) {
  const Place place = locate(path, true);
  return place.error ? nullptr : at(place.place);
}

SimulatedFile& SimulatedFileManager::existing(const std::string& path) {
  const Place place = locate(path, true);
  if (place.error) fail(*place.error, path);
  SimulatedFile* file = at(place.place);
  if (file == nullptr) fail(std::errc::no_such_file_or_directory, path);
  return *file;
}

void SimulatedFileManager::erase(const std::string& place) {
  std::erase_if(files_, [&](const auto& entry) {
    return entry.first == place || entry.first.starts_with(place + "/");
  });
}

bool SimulatedFileManager::isExecutableFile(const std::string& path) {
  const SimulatedFile* file = found(path);
  return file != nullptr && !file->isDirectory && (file->permissions & anyExecuteBit) != 0;
}

std::optional<FileAttributes> SimulatedFileManager::attributes(const std::string& path) {
  const SimulatedFile* file = found(path);
  if (file == nullptr) return std::nullopt;
  return FileAttributes{file->ownerAccountID, file->permissions};
}

std::vector<std::uint8_t> SimulatedFileManager::contents(const std::string& path) {
  const SimulatedFile& file = existing(path);
  if (file.isDirectory) fail(std::errc::is_a_directory, path);
  return file.contents;
}

void SimulatedFileManager::writeAtomically(const std::string& path,
                                           std::span<const std::uint8_t> data) {
  calls_->add("FileManager.write",
              {{"path", path}, {"size", static_cast<std::int64_t>(data.size())}});
  const Place place = locate(path, false);
  if (place.error) fail(*place.error, path);
  const SimulatedFile* old = at(place.place);
  if (old != nullptr && old->isDirectory) fail(std::errc::is_a_directory, path);
  SimulatedFile written;
  written.contents.assign(data.begin(), data.end());
  files_.insert_or_assign(place.place, std::move(written));
}

void SimulatedFileManager::createDirectory(const std::string& path) {
  calls_->add("FileManager.createDirectory", {{"path", path}});
  std::string reached;
  for (const std::string& name : namesIn(path)) {
    reached += "/" + name;
    const Place place = locate(reached, true);
    if (place.error) fail(*place.error, path);
    if (!files_.try_emplace(place.place, directory()).first->second.isDirectory) {
      fail(std::errc::not_a_directory, path);
    }
  }
}

void SimulatedFileManager::removeItem(const std::string& path) {
  calls_->add("FileManager.removeItem", {{"path", path}});
  const Place place = locate(path, false);
  if (place.error) fail(*place.error, path);
  if (at(place.place) == nullptr) fail(std::errc::no_such_file_or_directory, path);
  erase(place.place);
}

void SimulatedFileManager::setPosixPermissions(const std::string& path, std::uint32_t permissions) {
  calls_->add("FileManager.setAttributes",
              {{"path", path}, {"permissions", std::int64_t{permissions}}});
  existing(path).permissions = permissions;
}

void SimulatedFileManager::setFile(const std::string& path, SimulatedFile file) {
  std::string place;
  for (const std::string& name : namesIn(std::filesystem::path(path).lexically_normal())) {
    SimulatedFile& parent = files_[place];
    if (!parent.isDirectory) parent = directory();
    if (!name.empty() && name != ".") place += "/" + name;
  }
  // The root stays what it is.
  if (place.empty()) return;
  erase(place);
  files_.insert_or_assign(place, std::move(file));
}

void SimulatedFileManager::removeFile(const std::string& path) {
  const Place place = locate(path, false);
  if (!place.error && !place.place.empty()) erase(place.place);
}

std::optional<std::string> SimulatedEnvironment::resource(Bundle bundle, std::string_view name,
                                                          std::string_view extension) {
  std::string fileName(name);
  if (!extension.empty()) fileName.append(".").append(extension);
  const auto found = resources.find({bundle, fileName});
  return found == resources.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace tessline::platform::simulated
