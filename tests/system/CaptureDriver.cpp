// An application with a capture service on the real host. Obeys the lines of its standard input:
//
//   start ADDRESS PATH   either may be "-", for none
//   stop
//   counts               prints "counts N: P parsed, A accepted, V voice, E events; PATH"
//   release              lets go of the service
//   children             prints "children N: none" when this process has none any more
//
// and prints what the service publishes: "status N: capturing: TEXT", "status N: not capturing:
// TEXT", "payload N: BYTES", "event N: one". N counts the lines of a kind from 1. Its first line is
// "ready". Ends at the end of its input, the service and all children before it.

#include "tessline/capture/PacketLoggerCaptureService.h"
#include "tessline/capture/PacketLoggerPayload.h"

#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using tessline::PacketLoggerCaptureService;
using Snapshot = tessline::PacketLoggerCaptureSnapshot;

// How long a test may take; what it then waits for comes to an end.
constexpr unsigned secondsToRun = 30;

/// Prints the lines of one kind, each whole, whatever other threads print.
class Printer {
 public:
  explicit Printer(std::string kind) : kind_(std::move(kind)) {}

  void print(const std::string& text) {
    const std::string line = kind_ + ' ' + std::to_string(++count_) + ": " + text + '\n';
    if (write(STDOUT_FILENO, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
      std::abort();
    }
  }

 private:
  std::string kind_;
  int count_ = 0;
};

class Driver {
 public:
  Driver() {
    service_->onSnapshotChanged = [out = Printer("status")](const Snapshot& snapshot) mutable {
      out.print((snapshot.isCapturing ? "capturing: " : "not capturing: ") + snapshot.status);
    };
    service_->onRawPayload = [out = Printer("payload")](const auto& payload) mutable {
      out.print(tessline::PacketLoggerPayload::payloadPreview(payload));
    };
    service_->onTransportEvents = [out = Printer("event")](const auto& events) mutable {
      for (std::size_t index = 0; index < events.size(); ++index) out.print("one");
    };
  }

  void obey(const std::string& line) {
    std::istringstream words(line);
    std::string verb;
    std::string address;
    std::string path;
    words >> verb >> address >> path;
    if (verb == "start") service_->startCapture(given(address), given(path));
    if (verb == "stop") service_->stopCapture();
    if (verb == "counts") printCounts();
    if (verb == "release") service_.reset();
    if (verb == "children") waitForChildren();
  }

  void end() {
    service_.reset();
    waitForChildren();
  }

 private:
  static std::optional<std::string> given(const std::string& word) {
    return word == "-" ? std::nullopt : std::optional(word);
  }

  /// Leaves the children to the library to collect.
  void waitForChildren() {
    siginfo_t info = {};
    while (waitid(P_ALL, 0, &info, WEXITED | WNOWAIT) == 0 || errno == EINTR) {
    }
    children_.print("none");
  }

  void printCounts() {
    const Snapshot snapshot = service_->snapshot();
    counts_.print(std::to_string(snapshot.parsedPacketCount) + " parsed, " +
                  std::to_string(snapshot.acceptedPacketCount) + " accepted, " +
                  std::to_string(snapshot.acceptedVoiceLikePacketCount) + " voice, " +
                  std::to_string(snapshot.emittedEventCount) + " events; " +
                  snapshot.packetLoggerPath.value_or("none"));
  }

  Printer counts_{"counts"};
  Printer children_{"children"};
  std::shared_ptr<PacketLoggerCaptureService> service_ = PacketLoggerCaptureService::create();
};

}  // namespace

int main() {
  alarm(secondsToRun);
  Driver driver;
  std::cout << "ready" << std::endl;
  for (std::string line; std::getline(std::cin, line);) driver.obey(line);
  driver.end();
}
