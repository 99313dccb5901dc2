#pragma once

#include "helper/FileDescriptor.h"

#include <string>
#include <vector>

namespace helper {

/// Goes along a path one name at a time, by descriptors, never handing the system more than one
/// name; so what has been checked is what is reached. Symbolic links are followed by their text,
/// and the way that the text describes is checked like any other.
class PathWalk {
 public:
  /// Begins at the root directory. `path` is absolute.
  explicit PathWalk(const std::string& path);

  /// Goes to the end, or refuses. What is there has been opened to look.
  FileDescriptor finish();

  /// Who besides root can change what has been passed, the end included: a sentence that names the
  /// first such place, empty if root alone can.
  const std::string& weakness() const { return weakness_; }

 private:
  void startAtRoot();
  void enter(const std::string& name);
  void follow(const std::string& name);
  void prepend(const std::string& path);
  void check(int file);

  FileDescriptor here_;
  std::string whereabouts_;         ///< The path of `here_`, for people.
  std::vector<std::string> names_;  ///< Still to go, the next one last.
  int linksLeft_;
  std::string weakness_;
};

}  // namespace helper
