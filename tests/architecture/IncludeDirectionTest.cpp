#include "tests/architecture/Directives.h"
#include "tests/architecture/IncludeRules.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

namespace fs = std::filesystem;

const fs::path root = TESSLINE_SOURCE_DIR;

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// All sources below a folder of the repository, in alphabetical order.
std::vector<fs::path> sourcesBelow(std::string_view folder) {
  constexpr std::string_view extensions[] = {".h", ".hpp", ".inc", ".c", ".cpp", ".m", ".mm"};
  std::vector<fs::path> sources;
  for (const auto& entry : fs::recursive_directory_iterator(root / folder)) {
    const std::string extension = entry.path().extension().string();
    if (std::find(std::begin(extensions), std::end(extensions), extension) !=
        std::end(extensions)) {
      sources.push_back(entry.path());
    }
  }
  std::sort(sources.begin(), sources.end());
  return sources;
}

void expectAllRulesKept(std::string_view folder) {
  for (const auto& source : sourcesBelow(folder)) {
    const std::string path = source.lexically_relative(root).generic_string();
    for (const auto& message : brokenIncludeRules(path, contentOf(source))) {
      ADD_FAILURE() << message;
    }
  }
}

std::size_t projectIncludesBelow(std::string_view folder) {
  std::size_t count = 0;
  for (const auto& source : sourcesBelow(folder)) {
    for (const auto& directive : directivesOf(contentOf(source))) {
      const auto include = includeOf(directive);
      if (include && include->header.starts_with("tessline/")) ++count;
    }
  }
  return count;
}

TEST(IncludeDirection, IsKeptThroughoutTheLibrary) {
  expectAllRulesKept("tessline");
}

TEST(IncludeDirection, IsKeptThroughoutTheCommand) {
  expectAllRulesKept("cli");
}

TEST(IncludeDirection, IsSeenInEverySourceOfTheLibrary) {
  const auto sources = sourcesBelow("tessline");
  EXPECT_TRUE(std::find(sources.begin(), sources.end(),
                        root / "tessline/events/SiriRemoteReportParser.cpp") != sources.end());
  EXPECT_TRUE(std::find(sources.begin(), sources.end(), root / "tessline/model/RemoteCommand.h") !=
              sources.end());
  EXPECT_GT(projectIncludesBelow("tessline"), sources.size());
}

}  // namespace
}  // namespace tessline::test
