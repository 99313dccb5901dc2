#include "cli/TextStyle.h"

#include <cstdlib>

namespace tessline::cli {

TextStyle TextStyle::forOutput(bool isTerminal) {
  const char* const noColor = std::getenv("NO_COLOR");
  if (!isTerminal || (noColor != nullptr && *noColor != '\0')) return {};
  return {.bold = "\x1b[1m",
          .dim = "\x1b[2m",
          .green = "\x1b[32m",
          .magenta = "\x1b[35m",
          .yellow = "\x1b[33m",
          .reset = "\x1b[0m"};
}

}  // namespace tessline::cli
