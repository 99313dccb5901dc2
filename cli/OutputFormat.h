/// @file
/// The option `--format`, which all subcommands share.
#pragma once

#include <cstdint>

#include <CLI/App.hpp>

namespace tessline::cli {

/// For whom a subcommand writes.
enum class OutputFormat : std::uint8_t {
  text,   ///< For people.
  jsonl,  ///< For programs: JSON Lines.
};

/// Adds `--format text|jsonl` to a subcommand; `format` keeps its value if the option is not given.
void addFormatOption(CLI::App& command, OutputFormat& format);

}  // namespace tessline::cli
