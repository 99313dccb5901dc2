/// @file
/// Listeners on the simulated host, and what they write.
#pragma once

#include "cli/Output.h"
#include "cli/listen/Listener.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tests/support/Files.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>

namespace tessline::test {

/// Nothing happens but by the test's verbs, and what is written has virtual times.
class ListenerTest : public testing::Test {
 protected:
  using Host = platform::simulated::SimulatedHost;

  std::shared_ptr<cli::LiveOutput> makeOutput(const cli::LiveOptions& options = {}) {
    return std::make_shared<cli::LiveOutput>(
        cli::Output::file(file()), options,
        [weak = std::weak_ptr(host)] { return weak.lock()->scheduler().now(); });
  }

  /// All that was written since the last time.
  std::string shown() {
    const std::string all = readText(file());
    return all.substr(std::exchange(seen_, all.size()));
  }
  /// The same as objects.
  std::vector<nlohmann::json> objects() {
    std::vector<nlohmann::json> result;
    std::istringstream lines(shown());
    for (std::string line; std::getline(lines, line);) {
      result.push_back(nlohmann::json::parse(line));
    }
    return result;
  }
  static bool isOver(const cli::LiveOutput& output) {
    pollfd waited{output.descriptor(), POLLIN, 0};
    return ::poll(&waited, 1, 0) == 1;
  }

  std::filesystem::path file() const { return directory / "output"; }

  const TemporaryDirectory directory;
  const std::shared_ptr<Host> host = Host::create();

 private:
  std::string::size_type seen_ = 0;
};

}  // namespace tessline::test
