// Stands in for the packet logger in the capture benchmarks; see CaptureTool.h.
#include "benchmarks/CaptureTool.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

using namespace tessline::benchmarks;

constexpr std::string_view prefix = "Nov 21 10:15:30.123  ACL    RECV  D6:1E:52:A0:37:4B   ";
static_assert(prefix.size() == toolLinePrefixLength);
constexpr std::string_view packetStart = "40 20 19 00 15 00 04 00";
static_assert((packetStart.size() + 1) / 3 == toolStampOffset);
constexpr std::string_view press = " 1B 23 00 00 02\n";

int fail(const char* what) {
  std::fprintf(stderr, "capture tool: %s: %s\n", what, std::strerror(errno));
  return EXIT_FAILURE;
}

bool writeLine() {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string line;
  line.reserve(256);
  line.append(prefix).append(packetStart);
  const auto time = static_cast<std::uint64_t>(
      std::chrono::nanoseconds(ToolClock::now().time_since_epoch()).count());
  for (std::size_t place = toolStampSize; place-- > 0;) {
    line.append(" 0").push_back(digits[(time >> (4 * place)) & 0xF]);
  }
  line += press;
  return ::write(STDOUT_FILENO, line.data(), line.size()) == static_cast<ssize_t>(line.size());
}

int writeLines(std::size_t count) {
  ToolClock::time_point due = ToolClock::now();
  for (std::size_t number = 0; number < count; ++number) {
    if (number > 0) std::this_thread::sleep_until(due += std::chrono::milliseconds(1));
    if (!writeLine()) return fail("write");
  }
  return EXIT_SUCCESS;
}

int writeLineAndWait() {
  if (!writeLine()) return fail("write");
  while (true) ::pause();
}

int becomeCat(const char* path) {
  ::execlp("cat", "cat", path, nullptr);
  return fail("cat");
}

}  // namespace

int main(int argumentCount, char** arguments) {
  const std::vector<std::string_view> given(arguments + 1, arguments + argumentCount);
  const char* const variable = std::getenv(toolVariable);
  const std::string_view task = variable != nullptr ? variable : "";
  if (given == std::vector<std::string_view>{"convert", "-s", "-f", "nhdr"}) {
    if (task.starts_with("lines ")) return writeLines(std::strtoul(&task[6], nullptr, 10));
    if (task == "quiet") return writeLineAndWait();
    if (task.starts_with("cat ")) return becomeCat(&task[4]);
  }
  std::fprintf(stderr, "capture tool: started in a way that it does not know\n");
  return EXIT_FAILURE;
}
