#include "helper/PathWalk.h"

#include "helper/Host.h"
#include "helper/Refusal.h"

#include <cerrno>
#include <climits>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace helper {

namespace {

constexpr int maximumLinks = 40;

[[noreturn]] void refuseToLookAt(const std::string& place, int error) {
  refuse(Refusal::notFound, place + " cannot be reached: " + describe(error));
}

struct stat attributesOf(int file, const std::string& place) {
  struct stat attributes = {};
  if (fstat(file, &attributes) != 0) refuseToLookAt(place, errno);
  return attributes;
}

/// Whoever may mount a file system of their own making, on a stick or from a program, also decides
/// which files in it claim to be root's. Systems that allow it ignore set-uid bits there.
bool isOnUntrustedMount(int file, const std::string& place) {
  struct statvfs system = {};
  if (fstatvfs(file, &system) != 0) refuseToLookAt(place, errno);
  return (system.f_flag & ST_NOSUID) != 0;
}

}  // namespace

PathWalk::PathWalk(const std::string& path) : linksLeft_(maximumLinks) {
  startAtRoot();
  prepend(path);
}

FileDescriptor PathWalk::finish() {
  while (!names_.empty()) {
    const std::string name = std::move(names_.back());
    names_.pop_back();
    enter(name);
  }
  return std::move(here_);
}

void PathWalk::startAtRoot() {
  whereabouts_.clear();
  here_ = FileDescriptor(openToLook(AT_FDCWD, "/"));
  if (!here_.isOpen()) refuseToLookAt("/", errno);
  check(here_.get());
}

void PathWalk::enter(const std::string& name) {
  const std::string place = whereabouts_ + '/' + name;
  FileDescriptor next(openToLook(here_.get(), name.c_str()));
  if (!next.isOpen()) refuseToLookAt(place, errno);
  const bool isLink = S_ISLNK(attributesOf(next.get(), place).st_mode);
  const std::string directory = std::exchange(whereabouts_, place);
  check(next.get());
  if (isLink) {
    whereabouts_ = directory;
    follow(name);
  } else {
    here_ = std::move(next);
  }
}

void PathWalk::follow(const std::string& name) {
  const std::string place = whereabouts_ + '/' + name;
  if (linksLeft_-- == 0) refuse(Refusal::notFound, place + " is one symbolic link too many");
  char text[PATH_MAX];
  const ssize_t length = readlinkat(here_.get(), name.c_str(), text, sizeof text);
  if (length < 0) refuseToLookAt(place, errno);
  if (length == 0 || static_cast<std::size_t>(length) == sizeof text) {
    refuse(Refusal::notFound, place + " is a symbolic link to nowhere");
  }
  const std::string target(text, static_cast<std::size_t>(length));
  if (target.front() == '/') startAtRoot();
  prepend(target);
}

void PathWalk::prepend(const std::string& path) {
  std::string_view rest = path;
  while (!rest.empty()) {
    const std::size_t slash = rest.rfind('/');
    const std::size_t begin = slash == std::string_view::npos ? 0 : slash + 1;
    const std::string_view name = rest.substr(begin);
    if (!name.empty() && name != ".") names_.emplace_back(name);
    rest = rest.substr(0, slash == std::string_view::npos ? 0 : slash);
  }
}

void PathWalk::check(int file) {
  if (!weakness_.empty()) return;
  const std::string place = whereabouts_.empty() ? "/" : whereabouts_;
  const struct stat attributes = attributesOf(file, place);
  // The mode of a symbolic link means nothing: whoever can write its directory can replace it.
  const mode_t mode = S_ISLNK(attributes.st_mode) ? 0 : attributes.st_mode;
  if (attributes.st_uid != 0) {
    weakness_ = place + " does not belong to root";
  } else if ((mode & S_IWOTH) != 0) {
    weakness_ = place + " can be changed by everyone";
  } else if ((mode & S_IWGRP) != 0) {
    weakness_ = place + " can be changed by a group";
  } else if (othersMayWriteByList(file)) {
    weakness_ = place + " can be changed by others, as its access control list says";
  } else if (isOnUntrustedMount(file, place)) {
    weakness_ = place + " is on a file system mounted without set-uid programs";
  }
}

}  // namespace helper
