/// @file
/// How tests control what the stand-in's Foundation says of the process.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace standin::foundation {

/// A bundle: its resources are the files in that directory.
struct Bundle {
  std::optional<std::string> identifier;
  std::string resourceDirectory;
};

/// Where the process is.
struct Surroundings {
  Bundle mainBundle;
  /// The bundles of other classes than the application's, by the names of the classes.
  std::map<std::string, Bundle> bundlesOfClasses;
  std::string homeDirectory;
  /// What each search for the user's Application Support finds.
  std::vector<std::string> applicationSupport;
};

/// From now on.
void setSurroundings(Surroundings surroundings);

/// Observers of notifications that have not been taken back, those that are gone included.
std::size_t observers();

/// The calls about surroundings so far with their arguments.
std::vector<std::string> calls();
/// Forgets them.
void clearCalls();

}  // namespace standin::foundation
