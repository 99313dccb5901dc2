#include "cli/ProgressBar.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include <fmt/format.h>
#include <unistd.h>

namespace tessline::cli {

ProgressBar::ProgressBar(std::uint64_t total)
    : total_(total),
      isShown_(::isatty(STDERR_FILENO) == 1),
      start_(Clock::now()),
      nextDraw_(start_) {}

ProgressBar::~ProgressBar() {
  constexpr auto wipeLine = "\r\x1b[K";
  if (isShown_) std::fputs(wipeLine, stderr);
}

void ProgressBar::update(std::uint64_t done) {
  if (!isShown_) return;
  const auto now = Clock::now();
  if (now < nextDraw_) return;
  nextDraw_ = now + std::chrono::milliseconds(100);

  constexpr std::size_t width = 30;
  constexpr double mega = 1e6;
  const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total_));
  const auto filled = static_cast<std::size_t>(part * width);
  std::string bar;
  for (std::size_t cell = 0; cell < width; ++cell) bar += cell < filled ? "━" : "─";
  const double seconds = std::chrono::duration<double>(now - start_).count();
  const double rate = seconds > 0 ? static_cast<double>(done) / mega / seconds : 0;
  fmt::print(stderr, "\r{} {:3.0f}%  {:.0f} of {:.0f} MB  {:.0f} MB/s ", bar, part * 100,
             static_cast<double>(done) / mega, static_cast<double>(total_) / mega, rate);
  std::fflush(stderr);
}

}  // namespace tessline::cli
