#include "cli/Counting.h"

#include <fmt/format.h>

namespace tessline::cli {

std::string grouped(std::uint64_t count) {
  std::string digits = std::to_string(count);
  for (std::size_t at = digits.size(); at > 3; at -= 3) digits.insert(at - 3, 1, ',');
  return digits;
}

std::string counted(std::uint64_t count, std::string_view noun, std::string_view plural) {
  return fmt::format("{} {}{}", grouped(count), noun, count == 1 ? "" : plural);
}

}  // namespace tessline::cli
