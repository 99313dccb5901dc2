#include "tests/architecture/Directives.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace tessline::test {

namespace {

/// `text` with continued lines joined and comments blanked; line ends stay where they were, so that
/// lines keep their numbers: a joined line is followed by as many empty ones as it took.
class Cleaner {
 public:
  explicit Cleaner(std::string_view text) : text_(text) {}

  std::string cleaned() {
    while (position_ < text_.size()) step();
    return std::move(result_);
  }

 private:
  enum class Mode { code, string, character, lineComment, blockComment };

  bool startsWith(std::string_view word) const { return text_.substr(position_).starts_with(word); }

  void step() {
    if (startsWith("\\\n")) {
      position_ += 2;
      ++joinedLines_;
    } else if (text_[position_] == '\n') {
      endLine();
    } else if (mode_ == Mode::code) {
      stepInCode();
    } else if (mode_ == Mode::blockComment && startsWith("*/")) {
      mode_ = Mode::code;
      position_ += 2;
    } else if (mode_ == Mode::string || mode_ == Mode::character) {
      stepInLiteral();
    } else {
      ++position_;
    }
  }

  void endLine() {
    result_.append(joinedLines_ + 1, '\n');
    joinedLines_ = 0;
    if (mode_ != Mode::blockComment) mode_ = Mode::code;
    ++position_;
  }

  void stepInCode() {
    if (startsWith("//")) {
      mode_ = Mode::lineComment;
    } else if (startsWith("/*")) {
      mode_ = Mode::blockComment;
      result_ += ' ';
      ++position_;
    } else {
      if (text_[position_] == '"') mode_ = Mode::string;
      if (text_[position_] == '\'') mode_ = Mode::character;
      result_ += text_[position_];
    }
    ++position_;
  }

  void stepInLiteral() {
    const char end = mode_ == Mode::string ? '"' : '\'';
    if (text_[position_] == '\\' && position_ + 1 < text_.size())
      result_ += text_[position_++];
    else if (text_[position_] == end)
      mode_ = Mode::code;
    result_ += text_[position_++];
  }

  std::string_view text_;
  std::size_t position_ = 0;
  std::size_t joinedLines_ = 0;
  Mode mode_ = Mode::code;
  std::string result_;
};

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

bool isPartOfIdentifier(char letter) {
  return std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '_';
}

/// The identifier at the front of `text`.
std::string_view frontIdentifier(std::string_view text) {
  std::size_t length = 0;
  while (length < text.size() && isPartOfIdentifier(text[length])) ++length;
  return text.substr(0, length);
}

}  // namespace

std::vector<Directive> directivesOf(std::string_view text) {
  const std::string cleaned = Cleaner(text).cleaned();
  std::vector<Directive> directives;
  std::string_view rest = cleaned;
  for (std::size_t line = 1; !rest.empty(); ++line) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view content = trimmed(rest.substr(0, end));
    if (content.starts_with('#')) {
      const std::string_view directive = trimmed(content.substr(1));
      const std::string_view name = frontIdentifier(directive);
      directives.push_back(
          {line, std::string(name), std::string(trimmed(directive.substr(name.size())))});
    }
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return directives;
}

std::optional<Include> includeOf(const Directive& directive) {
  if (directive.name != "include" && directive.name != "import" &&
      directive.name != "include_next") {
    return std::nullopt;
  }
  const std::string_view arguments = directive.arguments;
  const bool isAngled = arguments.starts_with('<');
  const bool isQuoted = arguments.starts_with('"');
  const auto end = arguments.find(isAngled ? '>' : '"', 1);
  const auto form = isAngled ? IncludeForm::angled : IncludeForm::quoted;
  if ((!isAngled && !isQuoted) || end == std::string_view::npos) return Include{form, ""};
  return Include{form, std::string(arguments.substr(1, end - 1))};
}

std::vector<std::string> conditionIdentifiersOf(const Directive& directive) {
  std::vector<std::string> identifiers;
  if (!directive.name.starts_with("if") && !directive.name.starts_with("elif")) return identifiers;
  std::string_view rest = directive.arguments;
  while (!rest.empty()) {
    const std::string_view identifier = frontIdentifier(rest);
    if (!identifier.empty()) identifiers.emplace_back(identifier);
    rest.remove_prefix(identifier.empty() ? 1 : identifier.size());
  }
  return identifiers;
}

}  // namespace tessline::test
