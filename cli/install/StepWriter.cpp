#include "cli/install/StepWriter.h"

#include <string_view>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tessline::cli {

namespace {

std::string_view nameOf(StepState state) {
  switch (state) {
    case StepState::present:
      return "present";
    case StepState::installing:
      return "installing";
    case StepState::installed:
      return "installed";
    case StepState::failed:
      return "failed";
  }
  return {};
}

std::string textLine(const InstallStep& step, const TextStyle& style) {
  const auto line = [&](std::string_view color, std::string_view symbol, std::string_view what) {
    return fmt::format("{}{}{} {}{:<7}{}  {}{}\n", color, symbol, style.reset, style.bold,
                       step.name, style.reset, what, step.detail);
  };
  switch (step.state) {
    case StepState::present:
      return line(style.green, "✓", "already there: ");
    case StepState::installing:
      return line(style.dim, "·", "");
    case StepState::installed:
      return line(style.green, "✓", "installed: ");
    case StepState::failed:
      return line(style.magenta, "✗", "failed: ");
  }
  return {};
}

}  // namespace

std::string stepLine(const InstallStep& step, OutputFormat format, const TextStyle& style) {
  if (format == OutputFormat::text) return textLine(step, style);
  // Paths need not be UTF-8.
  return nlohmann::ordered_json(
             {{"step", step.name}, {"state", nameOf(step.state)}, {"detail", step.detail}})
             .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) +
         "\n";
}

}  // namespace tessline::cli
