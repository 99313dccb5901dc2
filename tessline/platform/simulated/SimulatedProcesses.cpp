#include "tessline/platform/simulated/SimulatedProcesses.h"

#include "tessline/model/TesslineError.h"

#include <utility>

namespace tessline::platform::simulated {

namespace {

constexpr std::int64_t noSuchFile = 2;
constexpr std::int32_t terminationSignal = 15;

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

}  // namespace

// Gives data to its handler as they are written, and keeps them where it has none.
class SimulatedPipe : public Pipe {
 public:
  void setReadabilityHandler(ReadabilityHandler handler) override {
    handler_ = handler ? std::make_shared<const ReadabilityHandler>(std::move(handler)) : nullptr;
    if (!handler_) return;
    const auto kept = std::exchange(unread_, {});
    if (!kept.empty()) write(kept);
  }

  std::vector<std::uint8_t> readDataToEndOfFile() override { return std::exchange(unread_, {}); }

  void write(std::span<const std::uint8_t> data) {
    // Held: the callee may end the handling, which must not pull the function away from under it.
    if (const auto handler = handler_) {
      (*handler)(data);
    } else {
      unread_.insert(unread_.end(), data.begin(), data.end());
    }
  }

  void close() {
    if (const auto handler = handler_) (*handler)({});
  }

 private:
  std::shared_ptr<const ReadabilityHandler> handler_;
  std::vector<std::uint8_t> unread_;
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
    if (!error.empty()) throw TesslineError("POSIX", noSuchFile, error);
    program_ = found->second;
    number_ = ++processes_->startedCount_;
    processes_->running_.emplace(number_, shared_from_this());
    isRunning_ = true;
    write(description_.standardOutput, program_.standardOutput);
    write(description_.standardError, program_.standardError);
    if (program_.status) exit(*program_.status);
  }

  bool isRunning() const override { return isRunning_; }

  void terminate() override {
    if (!isRunning_) return;
    processes_->calls_->add("Process.terminate", {{"process", number_}});
    if (program_.endsWhenAsked) exit(terminationSignal);
  }

  std::int32_t waitUntilExit() override { return status_; }

  void writeOutput(std::span<const std::uint8_t> data) { write(description_.standardOutput, data); }
  void writeError(std::span<const std::uint8_t> data) { write(description_.standardError, data); }

  void exit(std::int32_t status) {
    const auto self = shared_from_this();
    processes_->ended(number_);
    isRunning_ = false;
    status_ = status;
    close(description_.standardOutput);
    close(description_.standardError);
    const TerminationHandler handler = std::exchange(handler_, nullptr);
    if (handler) handler(status);
  }

 private:
  static void write(const std::shared_ptr<Pipe>& pipe, std::span<const std::uint8_t> data) {
    if (pipe && !data.empty()) static_cast<SimulatedPipe&>(*pipe).write(data);
  }
  static void close(const std::shared_ptr<Pipe>& pipe) {
    if (pipe) static_cast<SimulatedPipe&>(*pipe).close();
  }

  std::shared_ptr<SimulatedProcesses> processes_;
  ProcessDescription description_;
  SimulatedProgram program_;
  TerminationHandler handler_;
  std::int64_t number_ = 0;
  bool isRunning_ = false;
  std::int32_t status_ = 0;
};

std::shared_ptr<Pipe> SimulatedProcesses::makePipe() {
  return std::make_shared<SimulatedPipe>();
}

std::shared_ptr<ChildProcess> SimulatedProcesses::makeProcess(ProcessDescription description) {
  return std::make_shared<SimulatedChildProcess>(shared_from_this(), std::move(description));
}

std::shared_ptr<SimulatedChildProcess> SimulatedProcesses::running(std::int64_t number) const {
  const auto found = running_.find(number);
  return found == running_.end() ? nullptr : found->second;
}

bool SimulatedProcesses::isRunning(std::int64_t number) const {
  return running(number) != nullptr;
}

void SimulatedProcesses::write(std::int64_t number, std::span<const std::uint8_t> data) {
  if (const auto process = running(number)) process->writeOutput(data);
}

void SimulatedProcesses::writeError(std::int64_t number, std::span<const std::uint8_t> data) {
  if (const auto process = running(number)) process->writeError(data);
}

void SimulatedProcesses::exit(std::int64_t number, std::int32_t status) {
  if (const auto process = running(number)) process->exit(status);
}

}  // namespace tessline::platform::simulated
