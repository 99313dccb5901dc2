/// @file
/// Colour for people, plain text for everything else.
#pragma once

#include <string_view>

namespace tessline::cli {

/// The escape sequences of one output; all empty when it is not a terminal or the user asked for no
/// colour through the NO_COLOR environment variable.
struct TextStyle {
  std::string_view bold;
  std::string_view dim;
  std::string_view green;
  std::string_view magenta;
  std::string_view yellow;
  std::string_view reset;

  static TextStyle forOutput(bool isTerminal);
};

}  // namespace tessline::cli
