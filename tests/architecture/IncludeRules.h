/// @file
/// Who may include whom within the library, and where an operating system may be asked for.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tessline::test {

/// Checks one source file. `path` is written from the repository's root, with "/", for example
/// "tessline/events/ByteSearch.h"; `text` is what the file holds.
///
/// Returns one message for each line that breaks a rule, "PATH:LINE: what is wrong"; empty when all
/// is well. Files outside tessline/ may include anything, but are held to the rule on operating
/// systems as well.
std::vector<std::string> brokenIncludeRules(std::string_view path, std::string_view text);

}  // namespace tessline::test
