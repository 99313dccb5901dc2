#include "tessline/platform/simulated/SimulatedHost.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using platform::simulated::SimulatedHost;

std::vector<std::uint8_t> bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

// What contracts leave open, because on other hosts somebody else decides it.

class SimulatedProcessesTest : public testing::Test {
 protected:
  std::shared_ptr<platform::ChildProcess> launched(platform::simulated::SimulatedProgram program) {
    host->processes().setProgram("/program", std::move(program));
    auto process = host->childProcesses()->makeProcess(
        {.executable = "/program", .arguments = {}, .standardOutput = pipe, .standardError = {}});
    process->launch();
    return process;
  }

  std::shared_ptr<SimulatedHost> host = SimulatedHost::create();
  std::shared_ptr<platform::Pipe> pipe = host->childProcesses()->makePipe();
};

TEST_F(SimulatedProcessesTest, ProgramThatRunsOnEndsWhenItIsWaitedFor) {
  const auto process = launched({});
  EXPECT_TRUE(process->isRunning());
  EXPECT_EQ(process->waitUntilExit(), 0);
  EXPECT_FALSE(process->isRunning());
  EXPECT_FALSE(host->processes().isRunning(1));
}

TEST_F(SimulatedProcessesTest, ReadingFromAProgramThatRunsOnGivesWhatIsThere) {
  const auto process = launched({});
  host->processes().write(1, bytesOf("x"));
  EXPECT_EQ(pipe->readDataToEndOfFile(), bytesOf("x"));
  EXPECT_TRUE(process->isRunning());
}

TEST_F(SimulatedProcessesTest, ProgramRunsOnWhenItsProcessIsLetGoOf) {
  launched({}).reset();
  EXPECT_TRUE(host->processes().isRunning(1));
  host->processes().exit(1, 0);
  EXPECT_FALSE(host->processes().isRunning(1));
}

TEST_F(SimulatedProcessesTest, ProgramThatDoesNotRunIsPassedOver) {
  host->processes().write(1, bytesOf("x"));
  host->processes().writeError(1, bytesOf("x"));
  host->processes().exit(1, 0);
  EXPECT_TRUE(pipe->readDataToEndOfFile().empty());
  EXPECT_EQ(host->processes().startedCount(), 0);
}

class SimulatedFilesTest : public testing::Test {
 protected:
  void setFile(const std::string& path) { host->files().setFile(path, {}); }
  bool exists(const std::string& path) { return host->files().fileExists(path); }

  std::shared_ptr<SimulatedHost> host = SimulatedHost::create();
};

TEST_F(SimulatedFilesTest, FileBringsItsDirectoriesAlong) {
  setFile("/a/b/c");
  host->files().writeAtomically("/a/b/d", bytesOf("x"));
  EXPECT_EQ(host->files().contents("/a/b/d"), bytesOf("x"));
}

TEST_F(SimulatedFilesTest, WhatIsInTheWayOfAFileGoes) {
  setFile("/a");
  setFile("/a/b");
  EXPECT_TRUE(exists("/a/b"));
  setFile("/a");
  EXPECT_TRUE(host->files().contents("/a").empty());
  setFile("/a/c");
  EXPECT_FALSE(exists("/a/b"));
}

TEST_F(SimulatedFilesTest, PathsThatMeanOneFileAreOne) {
  setFile("/a//b/./../c");
  EXPECT_TRUE(exists("/a/c"));
  EXPECT_TRUE(exists("//a/./c"));
  EXPECT_FALSE(exists("/a/b"));
  setFile("/d/");
  setFile(".");
  EXPECT_NO_THROW(host->files().contents("/d"));
}

TEST_F(SimulatedFilesTest, RemovedFileLeavesItsDirectory) {
  setFile("/a/b");
  host->files().removeFile("/a/b");
  EXPECT_FALSE(exists("/a/b"));
  EXPECT_TRUE(exists("/a"));
}

TEST_F(SimulatedFilesTest, RemovingWhatIsNotThereChangesNothing) {
  setFile("/a");
  host->files().removeFile("/a/b");
  host->files().removeFile("/b");
  EXPECT_TRUE(exists("/a"));
}

TEST_F(SimulatedFilesTest, RootStays) {
  setFile("/a");
  setFile("/");
  setFile("");
  host->files().removeFile("/");
  EXPECT_TRUE(exists("/"));
  EXPECT_TRUE(exists("/a"));
}

}  // namespace
}  // namespace tessline::test
