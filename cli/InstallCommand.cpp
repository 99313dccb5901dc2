#include "cli/Commands.h"
#include "cli/Errors.h"
#include "cli/Output.h"
#include "cli/OutputFormat.h"
#include "cli/TextStyle.h"
#include "cli/install/InstallSteps.h"
#include "cli/install/StepWriter.h"

#include <memory>

#include <CLI/CLI.hpp>

namespace tessline::cli {

namespace {

struct InstallOptions {
  bool force = false;
  OutputFormat format = OutputFormat::text;
};

void install(const InstallOptions& options) {
  Output output = Output::standard();
  const TextStyle style = TextStyle::forOutput(output.isTerminal());
  bool isRead = true;
  const bool isDone =
      installForCapture(*platform::hostPlatform(), options.force, [&](const InstallStep& step) {
        if (!isRead) return;
        try {
          output.write(stepLine(step, options.format, style));
          output.flush();
        } catch (const OutputClosed&) {
          // What was begun is completed although nobody reads along.
          isRead = false;
        }
      });
  if (isRead) output.finish();
  if (!isDone) throw CheckFailed();
}

}  // namespace

void addInstallCommand(CLI::App& application) {
  auto options = std::make_shared<InstallOptions>();
  CLI::App* const command = application.add_subcommand(
      "install", "Install the packetlogger tool and the privileged helper for live captures");
  command->add_flag("--force", options->force, "Unpack the tool anew, even if it is there");
  addFormatOption(*command, options->format);
  command->callback([options] { install(*options); });
}

}  // namespace tessline::cli
