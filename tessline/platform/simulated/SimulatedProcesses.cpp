#include "tessline/platform/simulated/SimulatedProcesses.h"

#include "tessline/model/TesslineError.h"

#include <tuple>

namespace tessline::platform::simulated {

namespace {

constexpr std::int64_t noSuchFile = 2;
constexpr std::int32_t terminationSignal = 15;

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::shared_ptr<SimulatedPipe> simulated(const std::shared_ptr<Pipe>& pipe) {
  return std::static_pointer_cast<SimulatedPipe>(pipe);
}

}  // namespace

// Keeps what is written until its handler or a reader takes it.
class SimulatedPipe : public Pipe, public std::enable_shared_from_this<SimulatedPipe> {
 public:
  explicit SimulatedPipe(std::shared_ptr<SimulatedProcesses> processes)
      : processes_(std::move(processes)) {}

  void setReadabilityHandler(ReadabilityHandler handler) override {
    handler_ = handler ? std::make_shared<const ReadabilityHandler>(std::move(handler)) : nullptr;
    deliver();
  }

  std::vector<std::uint8_t> readDataToEndOfFile() override { return std::exchange(unread_, {}); }

  void write(std::span<const std::uint8_t> data) {
    unread_.insert(unread_.end(), data.begin(), data.end());
    deliver();
  }

  void close() {
    isClosed_ = true;
    deliver();
  }

 private:
  void deliver() {
    processes_->deliver([weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->callHandler();
    });
  }

  void callHandler() {
    // Held: the callee may end the handling, which must not pull the function away from under it.
    const auto handler = handler_;
    if (!handler) return;
    if (!unread_.empty()) {
      const auto data = std::exchange(unread_, {});
      (*handler)(data);
      // The end by itself, if anybody holds this by then.
      deliver();
    } else if (isClosed_ && !std::exchange(isEndTold_, true)) {
      (*handler)({});
    }
  }

  std::shared_ptr<SimulatedProcesses> processes_;
  std::shared_ptr<const ReadabilityHandler> handler_;
  std::vector<std::uint8_t> unread_;
  bool isClosed_ = false;
  bool isEndTold_ = false;
};

class SimulatedChildProcess : public ChildProcess,
                              public std::enable_shared_from_this<SimulatedChildProcess> {
 public:
  SimulatedChildProcess(std::shared_ptr<SimulatedProcesses> processes,
                        ProcessDescription description)
      : processes_(std::move(processes)), description_(std::move(description)) {}

  void setTerminationHandler(TerminationHandler handler) override { handler_ = std::move(handler); }

  void launch() override {
    const auto found = processes_->programs_.find(description_.executable);
    const bool isThere = found != processes_->programs_.end();
    std::string error;
    if (!isThere) error = description_.executable + ": No such file or directory";
    if (isThere && found->second.launchError) error = *found->second.launchError;
    processes_->calls_->add("Process.run", {{"executable", description_.executable},
                                            {"arguments", joined(description_.arguments)},
                                            {"error", error}});
    if (!error.empty()) {
      closePipes();
      throw TesslineError("POSIX", noSuchFile, error);
    }
    start(found->second);
  }

  bool isRunning() const override { return processes_->isRunning(number_); }

  void terminate() override { processes_->terminate(number_); }

  std::int32_t waitUntilExit() override {
    processes_->exit(number_, 0);
    return status_;
  }

  void noteEnd(std::int32_t status) { status_ = status; }
  TerminationHandler takeTerminationHandler() { return std::exchange(handler_, nullptr); }

 private:
  // Handlers may let go of this: nothing of it is used once they are called.
  void start(const SimulatedProgram& program) {
    const auto processes = processes_;
    const auto [output, errors, status] =
        std::tuple(program.standardOutput, program.standardError, program.status);
    const std::int64_t number = ++processes->startedCount_;
    number_ = number;
    processes->running_[number] = {weak_from_this(), simulated(description_.standardOutput),
                                   simulated(description_.standardError), program.endsWhenAsked};
    processes->write(number, output);
    processes->writeError(number, errors);
    if (status) processes->exit(number, *status);
  }

  // What the failed launch would have written to.
  void closePipes() {
    const auto [output, errors] =
        std::pair(simulated(description_.standardOutput), simulated(description_.standardError));
    if (output) output->close();
    if (errors) errors->close();
  }

  std::shared_ptr<SimulatedProcesses> processes_;
  ProcessDescription description_;
  TerminationHandler handler_;
  std::int64_t number_ = 0;  // None has it before its start.
  std::int32_t status_ = 0;
};

std::shared_ptr<Pipe> SimulatedProcesses::makePipe() {
  return std::make_shared<SimulatedPipe>(shared_from_this());
}

std::shared_ptr<ChildProcess> SimulatedProcesses::makeProcess(ProcessDescription description) {
  return std::make_shared<SimulatedChildProcess>(shared_from_this(), std::move(description));
}

void SimulatedProcesses::write(std::int64_t number, std::span<const std::uint8_t> data) {
  const auto found = running_.find(number);
  if (found == running_.end()) return;
  if (const auto pipe = found->second.standardOutput.lock()) pipe->write(data);
}

void SimulatedProcesses::writeError(std::int64_t number, std::span<const std::uint8_t> data) {
  const auto found = running_.find(number);
  if (found == running_.end()) return;
  if (const auto pipe = found->second.standardError.lock()) pipe->write(data);
}

// Nothing is held while handlers are called: what they let go of is told no more.
void SimulatedProcesses::exit(std::int64_t number, std::int32_t status) {
  const auto found = running_.find(number);
  if (found == running_.end()) return;
  const RunningProgram program = std::move(found->second);
  running_.erase(found);
  if (const auto process = program.process.lock()) process->noteEnd(status);
  if (const auto pipe = program.standardOutput.lock()) pipe->close();
  if (const auto pipe = program.standardError.lock()) pipe->close();
  deliver([weak = program.process, status] {
    TerminationHandler handler;
    if (const auto process = weak.lock()) handler = process->takeTerminationHandler();
    if (handler) handler(status);
  });
}

void SimulatedProcesses::terminate(std::int64_t number) {
  const auto found = running_.find(number);
  if (found == running_.end()) return;
  const bool endsWhenAsked = found->second.endsWhenAsked;
  calls_->add("Process.terminate", {{"process", number}});
  if (endsWhenAsked) exit(number, terminationSignal);
}

// One after the other, whatever a handler asks for.
void SimulatedProcesses::deliver(std::function<void()> delivery) {
  const auto self = shared_from_this();
  deliveries_.push_back(std::move(delivery));
  if (std::exchange(isDelivering_, true)) return;
  while (!deliveries_.empty()) {
    const auto next = std::move(deliveries_.front());
    deliveries_.pop_front();
    next();
  }
  isDelivering_ = false;
}

}  // namespace tessline::platform::simulated
