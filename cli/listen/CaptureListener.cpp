#include "cli/SnapshotJson.h"
#include "cli/listen/Listener.h"
#include "tessline/capture/CaptureStatus.h"
#include "tessline/capture/PacketLoggerCaptureService.h"

#include <utility>
#include <vector>

namespace tessline::cli {

namespace {

// A tool that ends at once does not run any more when its own words are published; the text of its
// end follows.
std::optional<ListenEnd> endToldBy(const std::string& status) {
  if (status == captureStatus::stopped || status == captureStatus::ended(0)) return ListenEnd();
  if (status == captureStatus::notFound || status.starts_with(captureStatus::couldNotStart) ||
      status.starts_with(captureStatus::exited)) {
    return ListenEnd{.hasFailed = true};
  }
  return std::nullopt;
}

class CaptureListener : public Listener {
 public:
  CaptureListener(const std::shared_ptr<platform::Platform>& platform,
                  const std::shared_ptr<LiveOutput>& output, std::optional<std::string> tool,
                  std::optional<std::string> address)
      : tool_(std::move(tool)),
        address_(std::move(address)),
        service_(PacketLoggerCaptureService::create(platform)) {
    service_->onSnapshotChanged = [output](const PacketLoggerCaptureSnapshot& snapshot) {
      output->write([&](LiveWriter& writer) {
        writer.object(snapshotMembers(snapshot));
        writer.note("·", snapshot.status);
      });
      if (auto end = endToldBy(snapshot.status)) output->end(*std::move(end));
    };
    service_->onTransportEvents = [output](const std::vector<TesslineEvent>& events) {
      output->events(events);
    };
  }

  void start() override { service_->startCapture(address_, tool_); }
  void stop() override { service_->stopCapture(); }

 private:
  const std::optional<std::string> tool_;
  const std::optional<std::string> address_;
  const std::shared_ptr<PacketLoggerCaptureService> service_;
};

}  // namespace

std::unique_ptr<Listener> makeCaptureListener(const std::shared_ptr<platform::Platform>& platform,
                                              const std::shared_ptr<LiveOutput>& output,
                                              std::optional<std::string> tool,
                                              std::optional<std::string> address) {
  return std::make_unique<CaptureListener>(platform, output, std::move(tool), std::move(address));
}

}  // namespace tessline::cli
