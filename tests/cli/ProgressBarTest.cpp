#include "cli/ProgressBar.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tessline::test {
namespace {

// Stands a pseudo-terminal, or a pipe, in for standard error while it lives.
class StandardError {
 public:
  explicit StandardError(bool isTerminal) : saved_(::dup(STDERR_FILENO)) {
    int writer = -1;
    if (isTerminal) {
      reader_ = ::posix_openpt(O_RDWR | O_NOCTTY);
      ::grantpt(reader_);
      ::unlockpt(reader_);
      writer = ::open(::ptsname(reader_), O_RDWR | O_NOCTTY);
    } else {
      std::array<int, 2> ends = {};
      EXPECT_EQ(::pipe(ends.data()), 0);
      reader_ = ends[0];
      writer = ends[1];
    }
    ::fcntl(reader_, F_SETFL, O_NONBLOCK);
    ::dup2(writer, STDERR_FILENO);
    ::close(writer);
  }
  StandardError(const StandardError&) = delete;
  StandardError& operator=(const StandardError&) = delete;
  ~StandardError() {
    ::dup2(saved_, STDERR_FILENO);
    ::close(saved_);
    ::close(reader_);
  }

  std::string written() const {
    std::fflush(stderr);
    std::array<char, 4096> buffer;
    const ssize_t got = ::read(reader_, buffer.data(), buffer.size());
    return got > 0 ? std::string(buffer.data(), static_cast<std::size_t>(got)) : std::string();
  }

 private:
  int saved_;
  int reader_ = -1;
};

TEST(ProgressBar, ShowsAtATerminalHowFarTheWorkHasCome) {
  const StandardError errors(true);
  cli::ProgressBar bar(400'000'000);
  bar.update(100'000'000);
  const std::string drawn = errors.written();
  EXPECT_NE(drawn.find("━━━━━━━─"), std::string::npos) << drawn;
  EXPECT_NE(drawn.find(" 25%  100 of 400 MB"), std::string::npos) << drawn;
}

TEST(ProgressBar, WipesItselfInTheEnd) {
  const StandardError errors(true);
  {
    cli::ProgressBar bar(100);
    bar.update(50);
    EXPECT_FALSE(errors.written().ends_with("\r\x1b[K"));
  }
  EXPECT_TRUE(errors.written().ends_with("\r\x1b[K"));
}

TEST(ProgressBar, DrawsNothingElsewhere) {
  const StandardError errors(false);
  {
    cli::ProgressBar bar(100);
    bar.update(50);
  }
  EXPECT_EQ(errors.written(), "");
}

}  // namespace
}  // namespace tessline::test
