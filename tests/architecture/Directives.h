/// @file
/// The preprocessor directives of a source text.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::test {

/// One directive, without comments and with its continued lines joined.
struct Directive {
  std::size_t line;       ///< 1-based; where it begins.
  std::string name;       ///< "include", "ifdef" ...
  std::string arguments;  ///< What follows, without blanks around it.
};

/// The directives of a C++ text, in order. Those in comments are none.
std::vector<Directive> directivesOf(std::string_view text);

enum class IncludeForm { quoted, angled };

struct Include {
  IncludeForm form;
  std::string header;  ///< Empty when a macro names it.
};

/// What `directive` includes or imports; none if it does neither.
std::optional<Include> includeOf(const Directive& directive);

/// The identifiers in the condition of an #if of any kind; none for other directives.
std::vector<std::string> conditionIdentifiersOf(const Directive& directive);

}  // namespace tessline::test
