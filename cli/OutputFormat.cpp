#include "cli/OutputFormat.h"

#include <map>
#include <string>

#include <CLI/CLI.hpp>

namespace tessline::cli {

void addFormatOption(CLI::App& command, OutputFormat& format) {
  static const std::map<std::string, OutputFormat> names = {{"text", OutputFormat::text},
                                                            {"jsonl", OutputFormat::jsonl}};
  command.add_option("--format", format, "text for people (the default) or jsonl for programs")
      ->transform(CLI::Transformer(names).description(""))
      ->type_name("text|jsonl");
}

}  // namespace tessline::cli
