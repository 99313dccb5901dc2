#include "cli/Commands.h"
#include "cli/Errors.h"
#include "cli/Output.h"
#include "cli/OutputFormat.h"
#include "cli/TextStyle.h"
#include "cli/doctor/CaptureChecks.h"
#include "cli/doctor/CheckReport.h"
#include "cli/doctor/DeviceChecks.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

namespace tessline::cli {

namespace {

struct DoctorOptions {
  std::optional<std::string> tool;
  OutputFormat format = OutputFormat::text;
};

void examine(const DoctorOptions& options) {
  Output output = Output::standard();
  const auto host = platform::hostPlatform();
  auto checks = captureChecks(*host, options.tool);
  std::ranges::move(deviceChecks(host), std::back_inserter(checks));
  switch (options.format) {
    case OutputFormat::text:
      output.write(textReport(checks, TextStyle::forOutput(output.isTerminal())));
      break;
    case OutputFormat::jsonl:
      output.write(jsonReport(checks));
      break;
  }
  output.finish();
  if (missingCount(checks) != 0) throw CheckFailed();
}

}  // namespace

void addDoctorCommand(CLI::App& application) {
  auto options = std::make_shared<DoctorOptions>();
  CLI::App* const command =
      application.add_subcommand("doctor", "Tell what listening to a remote needs, has and lacks");
  command->add_option("--tool", options->tool, "The tool that the capture is to be given")
      ->type_name("PATH");
  addFormatOption(*command, options->format);
  command->callback([options] { examine(*options); });
}

}  // namespace tessline::cli
