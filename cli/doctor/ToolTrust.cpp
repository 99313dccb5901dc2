#include "cli/doctor/ToolTrust.h"

#include "tessline/model/TesslineError.h"

#include <cstdint>
#include <string_view>
#include <vector>

#include <fmt/format.h>

namespace tessline::cli {

namespace {

using Code = HelperRefusal::Code;

constexpr std::string_view toolName = "packetlogger";
constexpr std::uint32_t groupWriteBit = 0020;
constexpr std::uint32_t othersWriteBit = 0002;
constexpr std::uint32_t setIDBits = 06000;

// An absolute path without empty, "." and ".." names that ends with the tool's.
bool isPlain(std::string_view path) {
  if (!path.starts_with('/')) return false;
  std::string_view name;
  for (std::string_view rest = path; !rest.empty();) {
    rest.remove_prefix(1);
    name = rest.substr(0, rest.find('/'));
    if (name.empty() || name == "." || name == "..") return false;
    rest.remove_prefix(name.size());
  }
  return name == toolName;
}

// Every directory on the way, from "/" on, and what stands at its end.
std::vector<std::string> placesAlong(const std::string& path) {
  std::vector<std::string> places = {"/"};
  for (std::size_t end = path.find('/', 1); end != std::string::npos;
       end = path.find('/', end + 1)) {
    places.push_back(path.substr(0, end));
  }
  places.push_back(path);
  return places;
}

// How others than root can change what stands at a place; empty if they cannot.
std::string weaknessOf(const std::string& place, const platform::FileAttributes& attributes) {
  if (attributes.ownerAccountID != 0) {
    return fmt::format("{} belongs to account {} and not to root", place,
                       attributes.ownerAccountID);
  }
  const std::uint32_t mode = attributes.posixPermissions;
  const std::string_view who = (mode & othersWriteBit) != 0  ? "everyone"
                               : (mode & groupWriteBit) != 0 ? "a group"
                                                             : "";
  if (who.empty()) return {};
  return fmt::format("{} can be changed by {} (mode {:04o})", place, who, mode);
}

bool isScript(const std::string& path, platform::FileManager& files) {
  try {
    const auto contents = files.contents(path);
    return contents.size() >= 2 && contents[0] == '#' && contents[1] == '!';
  } catch (const TesslineError&) {
    // Executable and not readable: the system must tell.
    return false;
  }
}

}  // namespace

std::optional<HelperRefusal> helperRefusalOf(const std::string& tool,
                                             platform::FileManager& files) {
  if (!isPlain(tool)) {
    return HelperRefusal{Code::path,
                         tool + " is not an absolute, plain path to a file named packetlogger"};
  }
  std::optional<platform::FileAttributes> attributes;
  for (const std::string& place : placesAlong(tool)) {
    attributes = files.attributes(place);
    if (!attributes) return HelperRefusal{Code::notFound, place + " cannot be looked at"};
    const std::string weakness = weaknessOf(place, *attributes);
    if (!weakness.empty()) return HelperRefusal{Code::untrusted, weakness};
  }
  if ((attributes->posixPermissions & setIDBits) != 0) {
    return HelperRefusal{Code::notAProgram,
                         fmt::format("{} changes its user or group itself (mode {:04o})", tool,
                                     attributes->posixPermissions)};
  }
  if (isScript(tool, files)) return HelperRefusal{Code::script, tool + " is a script"};
  return std::nullopt;
}

}  // namespace tessline::cli
