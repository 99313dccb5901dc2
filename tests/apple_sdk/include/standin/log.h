/// @file
/// How tests look at the stand-in's log.
#pragma once

#include <string>
#include <vector>

namespace standin::log {

/// An entry as a reader of the log sees it.
struct Entry {
  std::string log;   ///< Which log; "default" for the default one.
  int type = 0;      ///< How important.
  std::string text;  ///< Texts that are not public show as "<private>".

  bool operator==(const Entry&) const = default;
};

/// The entries so far.
std::vector<Entry> entries();
/// Forgets them.
void clear();

}  // namespace standin::log
