#include "cli/listen/Listener.h"

#include "cli/Errors.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <thread>

#include <poll.h>

namespace tessline::cli {

namespace {

using std::chrono::milliseconds;

// Waits until one of the two can be read, or for that time if one is given, whatever signals come;
// whether the first can be.
bool waitFor(int descriptor, int other, std::optional<milliseconds> time = {}) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + time.value_or(milliseconds(0));
  std::array<pollfd, 2> waited = {{{descriptor, POLLIN, 0}, {other, POLLIN, 0}}};
  int ready = 0;
  do {
    const auto left = std::chrono::ceil<milliseconds>(end - Clock::now()).count();
    ready = ::poll(waited.data(), waited.size(),
                   time ? static_cast<int>(std::max(left, decltype(left){0})) : -1);
  } while (ready < 0 && errno == EINTR);
  return waited[0].revents != 0;
}

void waitForEnd(Listener& listener, const LiveOutput& output, platform::MainRunLoop& mainRunLoop,
                Interrupt& interrupt) {
  // Some send their signal twice at once, like timeout(1); as a rule it is over by then.
  constexpr milliseconds patience{200};
  constexpr int nothingElse = -1;
  if (waitFor(output.descriptor(), interrupt.descriptor())) return;
  interrupt.acknowledge();
  mainRunLoop.async([&listener] { listener.stop(); });
  if (waitFor(output.descriptor(), nothingElse, patience)) return;
  if (!waitFor(output.descriptor(), interrupt.descriptor())) interrupt.raisePending();
}

}  // namespace

ListenEnd listen(Listener& listener, LiveOutput& output, platform::MainRunLoop& mainRunLoop,
                 Interrupt& interrupt) {
  mainRunLoop.async([&listener] { listener.start(); });
  // Beside the main thread, which belongs to the loop and may hang in a write.
  std::thread watch([&] {
    waitForEnd(listener, output, mainRunLoop, interrupt);
    mainRunLoop.stop();
  });
  mainRunLoop.run();
  watch.join();
  return output.finish();
}

void throwIfFailed(const ListenEnd& end) {
  if (!end.hasFailed) return;
  if (!end.hint.empty()) throw NotPermitted(end.hint);
  throw CheckFailed();
}

}  // namespace tessline::cli
