#include "tests/architecture/IncludeRules.h"

#include "tests/architecture/Directives.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <optional>
#include <utility>

namespace tessline::test {

namespace {

/// Which headers from outside the project a folder may include.
enum class OutsideHeaders {
  standardLibrary,
  standardLibraryAndUtf8proc,
  standardLibraryAndFmt,
  any
};

struct FolderRule {
  std::string_view folder;
  std::vector<std::string_view> mayInclude;  // Besides itself.
  OutsideHeaders outside = OutsideHeaders::standardLibrary;
};

const std::vector<FolderRule>& folderRules() {
  static const std::vector<FolderRule> rules = {
      {"model", {}},
      {"text", {}, OutsideHeaders::standardLibraryAndUtf8proc},
      {"events", {"model"}},
      {"packetlog", {"events", "model", "text"}},
      {"hid", {"events", "model", "platform", "text"}},
      {"bluetooth", {"events", "model", "platform", "text"}},
      {"touch", {"events", "model", "platform"}, OutsideHeaders::standardLibraryAndFmt},
      {"capture", {"events", "model", "packetlog", "platform", "text"}},
      {"platform", {"model"}},
      {"platform/posix", {"model", "platform"}, OutsideHeaders::any},
      {"platform/linux", {"model", "platform", "platform/posix"}, OutsideHeaders::any},
      {"platform/macos", {"model", "platform", "platform/posix"}, OutsideHeaders::any},
      {"platform/simulated", {"model", "platform"}},
  };
  return rules;
}

constexpr std::array<std::string_view, 16> operatingSystemMacros = {
    "__APPLE__",   "__MACH__",   "__linux__", "__linux",    "linux",  "__gnu_linux__",
    "__unix__",    "__unix",     "unix",      "_WIN32",     "_WIN64", "WIN32",
    "__ANDROID__", "__CYGWIN__", "__BSD__",   "__FreeBSD__"};

// Headers of the compiler that name a kind of processor, not an operating system.
constexpr std::array<std::string_view, 3> processorHeaders = {"immintrin.h", "arm_neon.h",
                                                              "arm_acle.h"};

template <class Range>
bool holds(const Range& range, std::string_view value) {
  return std::find(range.begin(), range.end(), value) != range.end();
}

/// The rule for a path below tessline/: that of the deepest folder that has one.
const FolderRule* ruleFor(std::string_view path) {
  const FolderRule* found = nullptr;
  for (const auto& rule : folderRules()) {
    const std::string folder = "tessline/" + std::string(rule.folder) + "/";
    const bool isDeeper = found == nullptr || rule.folder.size() > found->folder.size();
    if (path.starts_with(folder) && isDeeper) found = &rule;
  }
  return found;
}

bool isStandardHeader(std::string_view header) {
  const auto isPartOfName = [](unsigned char letter) {
    return std::islower(letter) != 0 || std::isdigit(letter) != 0 || letter == '_';
  };
  return std::all_of(header.begin(), header.end(), isPartOfName);
}

bool mayInclude(const FolderRule& rule, std::string_view header) {
  const bool isStandard = isStandardHeader(header) || holds(processorHeaders, header);
  switch (rule.outside) {
    case OutsideHeaders::any:
      return header != "utf8proc.h";
    case OutsideHeaders::standardLibraryAndUtf8proc:
      return isStandard || header == "utf8proc.h";
    case OutsideHeaders::standardLibraryAndFmt:
      return isStandard || header.starts_with("fmt/");
    case OutsideHeaders::standardLibrary:
      return isStandard;
  }
  return false;
}

bool isWithinProject(std::string_view header) {
  constexpr std::array<std::string_view, 6> folders = {"tessline/",   "cli/",  "tests/",
                                                       "benchmarks/", "fuzz/", "examples/"};
  return std::any_of(folders.begin(), folders.end(),
                     [&](std::string_view folder) { return header.starts_with(folder); });
}

/// What is wrong with an include; none if nothing is.
std::optional<std::string> wrongInclude(const FolderRule& rule, const Include& include) {
  const std::string& header = include.header;
  const std::string here = "tessline/" + std::string(rule.folder);
  if (header.empty()) return "an #include that does not name its header";
  if (header.find("..") != std::string::npos) return "a path that climbs: " + header;
  if (isWithinProject(header)) {
    const FolderRule* target = ruleFor(header);
    if (target == nullptr) return here + " must not include " + header;
    if (target == &rule || holds(rule.mayInclude, target->folder)) return std::nullopt;
    return here + " must not include tessline/" + std::string(target->folder) + " (" + header + ")";
  }
  if (include.form == IncludeForm::quoted) {
    return "not written from the repository's root: " + header;
  }
  if (!mayInclude(rule, header)) return here + " must not include <" + header + ">";
  return std::nullopt;
}

bool namesOperatingSystem(std::string_view identifier) {
  return holds(operatingSystemMacros, identifier) || identifier.starts_with("TARGET_OS_") ||
         identifier.starts_with("TARGET_IPHONE_");
}

}  // namespace

std::vector<std::string> brokenIncludeRules(std::string_view path, std::string_view text) {
  std::vector<std::string> messages;
  const auto report = [&](std::size_t line, const std::string& what) {
    messages.push_back(std::string(path) + ":" + std::to_string(line) + ": " + what);
  };
  const bool isLibrary = path.starts_with("tessline/");
  const FolderRule* rule = ruleFor(path);
  if (isLibrary && rule == nullptr) report(1, "stands in no folder that the rules know");

  for (const auto& directive : directivesOf(text)) {
    if (const auto include = includeOf(directive); include && rule != nullptr) {
      if (const auto wrong = wrongInclude(*rule, *include)) report(directive.line, *wrong);
    }
    if (path.starts_with("tessline/platform/")) continue;
    for (const auto& identifier : conditionIdentifiersOf(directive)) {
      if (namesOperatingSystem(identifier)) {
        report(directive.line, "asks for an operating system: " + identifier);
      }
    }
  }
  return messages;
}

}  // namespace tessline::test
