#include "tessline/platform/linux/LinuxEnvironment.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <system_error>
#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace tessline::platform {

namespace {

std::string homeOfAccount(uid_t account) {
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(account, &entry, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr) {
    return "/";
  }
  return found->pw_dir;
}

class LinuxEnvironment : public HostEnvironment {
 public:
  std::map<std::string, std::string> variables() override {
    std::map<std::string, std::string> result;
    for (char** each = environ; each != nullptr && *each != nullptr; ++each) {
      const std::string_view text = *each;
      const std::size_t end = text.find('=');
      if (end != std::string_view::npos) result.emplace(text.substr(0, end), text.substr(end + 1));
    }
    return result;
  }

  std::uint32_t effectiveUserID() override { return ::geteuid(); }

  std::string homeDirectory() override {
    const auto named = absolutePath("HOME");
    return named ? *named : homeOfAccount(::getuid());
  }

  std::optional<std::string> applicationSupportDirectory() override {
    const auto named = absolutePath("XDG_DATA_HOME");
    return named ? *named : homeDirectory() + "/.local/share";
  }

  std::chrono::system_clock::time_point currentDate() override {
    return std::chrono::system_clock::now();
  }

  std::optional<std::string> mainBundleIdentifier() override { return std::nullopt; }

  std::optional<std::string> resource(Bundle bundle, std::string_view name,
                                      std::string_view extension) override {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return std::nullopt;
    const auto owner = bundle == Bundle::main ? program.filename() : "tessline";
    std::string file(name);
    if (!extension.empty()) file.append(".").append(extension);
    const auto path = program.parent_path().parent_path() / "share" / owner / file;
    if (!std::filesystem::exists(path, error)) return std::nullopt;
    return path.native();
  }

 private:
  std::optional<std::string> absolutePath(const std::string& variable) {
    const auto all = variables();
    const auto found = all.find(variable);
    if (found == all.end() || !found->second.starts_with('/')) return std::nullopt;
    return found->second;
  }
};

}  // namespace

std::shared_ptr<HostEnvironment> makeLinuxEnvironment() {
  return std::make_shared<LinuxEnvironment>();
}

}  // namespace tessline::platform
