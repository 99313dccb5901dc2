#include "tests/system/HelperMachine.h"

#include <algorithm>

namespace tessline::test {

HelperMachine::HelperMachine(const PrivateMounts& mounts) : PrivateMounts(mounts) {
  install(TESSLINE_HELPER, helperPath, 0, 04755);
  installTool(goodTool);
  directory(usersFolder, nobody);
}

void HelperMachine::run(const std::function<void(HelperMachine& machine)>& body) {
  PrivateMounts::run([&body](PrivateMounts& mounts) {
    HelperMachine machine(mounts);
    body(machine);
  });
}

void HelperMachine::installTool(const std::filesystem::path& path, uid_t owner, mode_t mode) {
  install(TESSLINE_PROBE_TOOL, path, owner, mode);
}

Command helperCommand(const std::string& tool) {
  return {.program = helperPath, .arguments = {tool, "convert", "-s", "-f", "nhdr"}};
}

Outcome runHelper(const std::string& tool) {
  return test::run(helperCommand(tool));
}

void expectRefusal(const Outcome& outcome, HelperExit code, std::string_view word) {
  EXPECT_EQ(outcome.exitCode, static_cast<int>(code)) << outcome.errors << outcome.output;
  EXPECT_EQ(outcome.output, "");
  EXPECT_TRUE(outcome.errors.starts_with("siri-remote-helper: ")) << outcome.errors;
  EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
  EXPECT_TRUE(outcome.errors.ends_with('\n')) << outcome.errors;
  EXPECT_NE(outcome.errors.find(word), std::string::npos) << outcome.errors;
}

void expectRun(const Outcome& outcome) {
  EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
  EXPECT_TRUE(hasLine(outcome.output, "users: 0 0 0")) << outcome.output;
}

bool hasLine(std::string_view report, std::string_view line) {
  return ('\n' + std::string(report)).find('\n' + std::string(line) + '\n') != std::string::npos;
}

std::string valueOf(std::string_view report, std::string_view name) {
  const std::string text = '\n' + std::string(report);
  const std::size_t found = text.find('\n' + std::string(name) + ": ");
  if (found == std::string::npos) return {};
  const std::size_t begin = found + name.size() + 3;
  return text.substr(begin, text.find('\n', begin) - begin);
}

}  // namespace tessline::test
