#include "cli/replay/Replay.h"
#include "tests/cli/support/Command.h"
#include "tests/support/Files.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tessline::test {
namespace {

const std::filesystem::path source = TESSLINE_SOURCE_DIR;

// The names of all recordings: those files of the folder that have an expected output beside them.
std::vector<std::string> recordingNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(source / "tests/recordings")) {
    const std::string name = entry.path().filename().stem().native();
    if (entry.path().extension() == ".jsonl" && !name.ends_with(".expected")) names.push_back(name);
  }
  std::ranges::sort(names);
  return names;
}

class EachRecording : public testing::TestWithParam<std::string> {
 protected:
  std::filesystem::path file(const std::string& ending) const {
    return source / "tests/recordings" / (GetParam() + ending);
  }
};

TEST_P(EachRecording, ReplaysToTheOutputBesideIt) {
  const CommandResult result = runCommand({"replay", file(".jsonl").native()});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output, readText(file(".expected.jsonl")));
}

TEST_P(EachRecording, KeepsEveryRule) {
  const CommandResult result = runCommand({"replay", "--check", file(".jsonl").native()});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_TRUE(result.output.ends_with(" records, 0 violations\n")) << result.output;
}

INSTANTIATE_TEST_SUITE_P(Of, EachRecording, testing::ValuesIn(recordingNames()),
                         [](const auto& each) {
                           std::string name = each.param;
                           std::ranges::replace(name, '-', '_');
                           return name;
                         });

TEST(Recordings, EveryTypeStandsInTheSchemaAndInTheDocument) {
  const auto schema = nlohmann::json::parse(readText(source / "docs/recording.schema.json"));
  const std::string document = readText(source / "docs/recording.md");
  std::vector<std::string> inSchema;
  for (const auto& variant : schema.at("oneOf")) {
    const auto& properties = variant.at("properties");
    if (properties.contains("type")) inSchema.push_back(properties["type"]["const"]);
  }
  std::vector<std::string> known;
  for (const cli::RecordType& type : cli::recordTypes()) {
    known.emplace_back(type.name);
    EXPECT_NE(document.find("`" + known.back() + "`"), std::string::npos) << type.name;
  }
  EXPECT_EQ(inSchema, known);
}

TEST(Recordings, MembersOfTheSchemaAreThoseThatAreRead) {
  const auto schema = nlohmann::json::parse(readText(source / "docs/recording.schema.json"));
  for (const cli::RecordType& type : cli::recordTypes()) {
    for (const auto& variant : schema.at("oneOf")) {
      if (variant["properties"].value("type", nlohmann::json()) !=
          nlohmann::json{{"const", type.name}}) {
        continue;
      }
      EXPECT_EQ(variant["properties"].size(), type.members.size() + 2) << type.name;
      for (const cli::RecordMember& member : type.members) {
        EXPECT_TRUE(variant["properties"].contains(member.name)) << member.name;
        const auto& required = variant["required"];
        EXPECT_EQ(std::ranges::find(required, member.name) != required.end(), member.isRequired)
            << member.name;
      }
    }
  }
}

}  // namespace
}  // namespace tessline::test
