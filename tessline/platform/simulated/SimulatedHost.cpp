#include "tessline/platform/simulated/SimulatedHost.h"

#include <utility>

namespace tessline::platform::simulated {

namespace {

class SimulatedMainRunLoop : public MainRunLoop {
 public:
  explicit SimulatedMainRunLoop(std::shared_ptr<VirtualScheduler> scheduler)
      : scheduler_(std::move(scheduler)) {}

  void async(Work work) override { scheduler_->schedule(QueueTime::zero(), this, std::move(work)); }
  void run() override {
    while (!isStopped_ && scheduler_->runNext()) {
    }
    isStopped_ = false;
  }
  void stop() override { isStopped_ = true; }
  bool isCurrent() const override { return scheduler_->isRunning(this); }

 private:
  std::shared_ptr<VirtualScheduler> scheduler_;
  bool isStopped_ = false;
};

class RecordedLogSink : public LogSink {
 public:
  explicit RecordedLogSink(std::shared_ptr<CallLog> calls) : calls_(std::move(calls)) {}
  void log(std::string_view line) override { calls_->add("log", {{"line", std::string(line)}}); }

 private:
  std::shared_ptr<CallLog> calls_;
};

}  // namespace

std::shared_ptr<SimulatedHost> SimulatedHost::create() {
  return std::shared_ptr<SimulatedHost>(new SimulatedHost());
}

SimulatedHost::SimulatedHost()
    : scheduler_(std::make_shared<VirtualScheduler>()),
      calls_(std::make_shared<CallLog>(scheduler_)),
      mainRunLoop_(std::make_shared<SimulatedMainRunLoop>(scheduler_)),
      logSink_(std::make_shared<RecordedLogSink>(calls_)),
      hid_(std::make_shared<SimulatedHIDBus>(mainRunLoop_, calls_)),
      bluetooth_(std::make_shared<SimulatedBluetooth>(calls_)),
      multitouch_(std::make_shared<SimulatedMultitouch>(calls_)),
      desktop_(std::make_shared<SimulatedDesktop>(calls_)),
      processes_(std::make_shared<SimulatedProcesses>(calls_)),
      files_(std::make_shared<SimulatedFileManager>(calls_)),
      environment_(std::make_shared<SimulatedEnvironment>(scheduler_)),
      permissions_(std::make_shared<SimulatedPermissions>(desktop_)) {}

// Waiting work may hold facilities that hold the scheduler that holds the work, and running
// programs hold what keeps them running.
SimulatedHost::~SimulatedHost() {
  scheduler_->discardAll();
  processes_->forgetAll();
}

// The facilities of the desktop keep all of it alive.
std::shared_ptr<Accessibility> SimulatedHost::accessibility() {
  return {desktop_, &desktop_->accessibility()};
}
std::shared_ptr<Screens> SimulatedHost::screens() {
  return {desktop_, &desktop_->screens()};
}
std::shared_ptr<PointerEvents> SimulatedHost::pointerEvents() {
  return {desktop_, &desktop_->pointerEvents()};
}

std::shared_ptr<SerialQueue> SimulatedHost::makeSerialQueue(std::string_view label,
                                                            QualityOfService) {
  calls_->add("dispatch_queue_create", {{"label", std::string(label)}});
  return scheduler_->makeQueue(label);
}

}  // namespace tessline::platform::simulated
