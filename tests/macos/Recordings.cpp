#include "tests/macos/Recordings.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace tessline::test {

namespace {

namespace fs = std::filesystem;

fs::path folder() {
  return fs::path(TESSLINE_SOURCE_DIR) / "tests" / "recordings";
}

Lines linesOf(const fs::path& path) {
  Lines lines;
  std::ifstream file(path);
  EXPECT_TRUE(file.is_open()) << path;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

}  // namespace

std::vector<std::string> recordingsOf(std::string_view prefix,
                                      const std::set<std::string>& others) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder())) {
    const std::string name = entry.path().stem().string();
    if (name.starts_with(prefix) && !name.ends_with(".expected")) names.push_back(name);
  }
  std::erase_if(names, [&](const std::string& name) { return others.contains(name); });
  std::ranges::sort(names);
  if (names.empty()) ADD_FAILURE() << "there is no recording called " << prefix;
  return names;
}

std::string testName(std::string recording) {
  std::ranges::replace(recording, '-', '_');
  return recording;
}

Lines expectedLines(const std::string& recording) {
  return linesOf(folder() / (recording + ".expected.jsonl"));
}

Lines replayed(const std::string& recording,
               const std::function<void(cli::RecordingReader&, cli::Output&)>& play) {
  const fs::path path = fs::path(testing::TempDir()) / (recording + ".jsonl");
  cli::Output output = cli::Output::file(path);
  std::ifstream input(folder() / (recording + ".jsonl"));
  cli::RecordingReader reader(input);
  play(reader, output);
  output.finish();
  Lines lines = linesOf(path);
  fs::remove(path);
  return lines;
}

Lines visibleIn(Lines lines) {
  std::erase_if(lines, [](const std::string& line) {
    const auto members = nlohmann::json::parse(line);
    if (members["output"] != "call") return false;
    return members["operation"] != "log" && !members.value("posted", false);
  });
  return lines;
}

Lines seenIn(Lines lines) {
  std::erase_if(lines, [](const std::string& line) {
    return line.find(R"("output":"call")") != std::string::npos;
  });
  return lines;
}

}  // namespace tessline::test
