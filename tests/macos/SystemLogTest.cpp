#include "tessline/platform/macos/SystemLog.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <standin/log.h>

namespace tessline::test {
namespace {

using ::standin::log::Entry;

// As the log's default type counts.
constexpr int defaultType = 0;

class SystemLog : public testing::Test {
 protected:
  SystemLog() { ::standin::log::clear(); }
  ~SystemLog() override { ::standin::log::clear(); }

  static std::vector<std::string> texts() {
    std::vector<std::string> texts;
    for (const auto& entry : ::standin::log::entries()) texts.push_back(entry.text);
    return texts;
  }

  std::shared_ptr<platform::LogSink> sink = platform::makeSystemLog();
};

using Texts = std::vector<std::string>;

TEST_F(SystemLog, LineIsAnEntryForEveryoneToRead) {
  sink->log("Opened the library");
  sink->log("");
  EXPECT_EQ(::standin::log::entries(),
            (std::vector<Entry>{{"default", defaultType, "Opened the library"},
                                {"default", defaultType, ""}}));
}

TEST_F(SystemLog, LineIsNotAFormat) {
  sink->log("100 % of %s %d %@ %{private}s");
  EXPECT_EQ(texts(), Texts{"100 % of %s %d %@ %{private}s"});
}

TEST_F(SystemLog, LineEndsWhereItEnds) {
  constexpr std::string_view text = "first second";
  sink->log(text.substr(0, 5));
  // Without anything behind it that could be read.
  const std::vector<char> bare = {'b', 'a', 'r', 'e'};
  sink->log({bare.data(), bare.size()});
  sink->log({});
  EXPECT_EQ(texts(), (Texts{"first", "bare", ""}));
}

TEST_F(SystemLog, LongLinesAndOtherScriptsPassWhole) {
  const std::string text = std::string(5000, 'x') + "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x93\xBA";
  sink->log(text);
  EXPECT_EQ(texts(), Texts{text});
}

TEST_F(SystemLog, TakesLinesFromManyThreads) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this, thread] {
      for (int line = 0; line < 50; ++line) sink->log("thread " + std::to_string(thread));
    });
  }
  for (auto& thread : threads) thread.join();
  const auto all = texts();
  EXPECT_EQ(all.size(), 200U);
  EXPECT_EQ(std::ranges::count(all, "thread 3"), 50);
}

}  // namespace
}  // namespace tessline::test
