#include "cli/Errors.h"

#include <system_error>

#include <fmt/format.h>

namespace tessline::cli {

void throwSystemError(std::string_view doing, std::string_view file, int errorNumber) {
  throw InputOutputError(fmt::format("could not {} {}: {}", doing, file,
                                     std::generic_category().message(errorNumber)));
}

}  // namespace tessline::cli
