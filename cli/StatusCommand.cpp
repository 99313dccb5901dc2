#include "cli/Commands.h"
#include "cli/Output.h"
#include "cli/OutputFormat.h"
#include "cli/TextStyle.h"
#include "tessline/packetlog/TesslineService.h"

#include <memory>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace tessline::cli {

namespace {

using nlohmann::ordered_json;

void printText(const TesslineSnapshot& snapshot, Output& output) {
  const TextStyle style = TextStyle::forOutput(output.isTerminal());
  const auto row = [&](const std::string& identifier, const std::string& title,
                       const std::string& detail) {
    output.print("  {}{}{} {}({}){}\n    {}\n", style.bold, title, style.reset, style.dim,
                 identifier, style.reset, detail);
  };
  output.print("{}\n\nFindings\n", snapshot.summary);
  for (const auto& finding : snapshot.findings) {
    row(finding.identifier, finding.title, finding.detail);
  }
  output.write("\nWorkstreams\n");
  for (const auto& workstream : snapshot.workstreams) {
    row(workstream.identifier, workstream.title, workstream.detail);
  }
}

void printJsonLine(const TesslineSnapshot& snapshot, Output& output) {
  ordered_json findings = ordered_json::array();
  for (const auto& finding : snapshot.findings) {
    findings.push_back(
        {{"identifier", finding.identifier}, {"title", finding.title}, {"detail", finding.detail}});
  }
  ordered_json workstreams = ordered_json::array();
  for (const auto& workstream : snapshot.workstreams) {
    workstreams.push_back({{"identifier", workstream.identifier},
                           {"title", workstream.title},
                           {"detail", workstream.detail},
                           {"stage", workstream.stage}});
  }
  const ordered_json object = {{"summary", snapshot.summary},
                               {"findings", std::move(findings)},
                               {"workstreams", std::move(workstreams)}};
  output.print("{}\n", object.dump());
}

}  // namespace

void addStatusCommand(CLI::App& application) {
  auto format = std::make_shared<OutputFormat>(OutputFormat::text);
  CLI::App* const command =
      application.add_subcommand("status", "Tell what is known about the remote and worked on");
  addFormatOption(*command, *format);
  command->callback([format] {
    Output output = Output::standard();
    const TesslineSnapshot snapshot = TesslineService().makeSnapshot();
    switch (*format) {
      case OutputFormat::text:
        printText(snapshot, output);
        break;
      case OutputFormat::jsonl:
        printJsonLine(snapshot, output);
        break;
    }
    output.finish();
  });
}

}  // namespace tessline::cli
