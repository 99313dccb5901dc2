/// @file
/// Porting contract: where this process runs, and what came with its application.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tessline::platform {

/// Whose resources.
enum class Bundle : std::uint8_t {
  main,     ///< The application's.
  library,  ///< Those that came with this library.
};

/// What the host says of this process, its user and its application; read anew by each call. Any
/// thread, as long as none changes the environment variables meanwhile.
class HostEnvironment {
 public:
  virtual ~HostEnvironment() = default;

  /// The environment variables.
  virtual std::map<std::string, std::string> variables() = 0;
  /// The number of the account with whose rights this process acts; 0 is root.
  virtual std::uint32_t effectiveUserID() = 0;
  /// The user's home directory.
  virtual std::string homeDirectory() = 0;
  /// Where applications keep the user's data; none if the host does not say.
  virtual std::optional<std::string> applicationSupportDirectory() = 0;
  /// The date and time now, as the user's clock shows it; it may be set.
  virtual std::chrono::system_clock::time_point currentDate() = 0;
  /// The identifier of the application; none if it has none.
  virtual std::optional<std::string> mainBundleIdentifier() = 0;
  /// The path of a resource of that name, with `extension` behind a dot unless it is empty; none if
  /// there is none.
  virtual std::optional<std::string> resource(Bundle bundle, std::string_view name,
                                              std::string_view extension) = 0;
};

}  // namespace tessline::platform
