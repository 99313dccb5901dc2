#include "helper/Refusal.h"

#include <algorithm>
#include <cstring>

#include <unistd.h>

namespace helper {

void refuse(Refusal reason, std::string_view message) {
  std::string line = "siri-remote-helper: ";
  line += message;
  // The message may quote a path; no path makes a second line or talks to a terminal.
  std::replace_if(
      line.begin(), line.end(),
      [](char letter) { return (letter >= 0 && letter < 0x20) || letter == 0x7f; }, '?');
  line += '\n';
  const char* rest = line.data();
  std::size_t left = line.size();
  while (left > 0) {
    const ssize_t written = write(STDERR_FILENO, rest, left);
    if (written <= 0) break;
    rest += written;
    left -= static_cast<std::size_t>(written);
  }
  _exit(static_cast<int>(reason));
}

std::string describe(int error) {
  return std::strerror(error);
}

}  // namespace helper
