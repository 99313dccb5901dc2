#include "cli/doctor/CheckReport.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tessline::cli {

namespace {

std::string_view nameOf(CheckState state) {
  switch (state) {
    case CheckState::ok:
      return "ok";
    case CheckState::missing:
      return "missing";
    case CheckState::warning:
      return "warning";
    case CheckState::note:
      return "note";
  }
  return {};
}

struct Mark {
  std::string_view color;
  std::string_view symbol;
};

Mark markOf(CheckState state, const TextStyle& style) {
  switch (state) {
    case CheckState::ok:
      return {style.green, "✓"};
    case CheckState::missing:
      return {style.magenta, "✗"};
    case CheckState::warning:
      return {style.yellow, "!"};
    case CheckState::note:
      return {style.dim, "·"};
  }
  return {};
}

}  // namespace

std::size_t missingCount(const std::vector<Check>& checks) {
  return static_cast<std::size_t>(std::ranges::count(checks, CheckState::missing, &Check::state));
}

std::string textReport(const std::vector<Check>& checks, const TextStyle& style) {
  std::string text;
  std::size_t width = 0;
  for (const Check& check : checks) width = std::max(width, check.name.size());
  for (const Check& check : checks) {
    const Mark mark = markOf(check.state, style);
    fmt::format_to(std::back_inserter(text), "{}{}{} {}{:<{}}{}  {}\n", mark.color, mark.symbol,
                   style.reset, style.bold, check.name, width, style.reset, check.detail);
    if (!check.remedy.empty()) {
      fmt::format_to(std::back_inserter(text), "{:{}}{}do:{} {}\n", "", width + 4, style.dim,
                     style.reset, check.remedy);
    }
  }
  const std::size_t missing = missingCount(checks);
  const auto warnings = std::ranges::count(checks, CheckState::warning, &Check::state);
  fmt::format_to(std::back_inserter(text), "\n{} missing, {} {}\n", missing, warnings,
                 warnings == 1 ? "warning" : "warnings");
  return text;
}

std::string jsonReport(const std::vector<Check>& checks) {
  std::string lines;
  for (const Check& check : checks) {
    // Paths need not be UTF-8.
    lines += nlohmann::ordered_json({{"check", check.name},
                                     {"state", nameOf(check.state)},
                                     {"detail", check.detail},
                                     {"remedy", check.remedy}})
                 .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    lines += '\n';
  }
  return lines;
}

}  // namespace tessline::cli
