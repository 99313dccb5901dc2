/// @file
/// The simulated host's programs, to be scripted.
#pragma once

#include "tessline/platform/ChildProcess.h"
#include "tessline/platform/simulated/CallLog.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace tessline::platform::simulated {

/// What becomes of a program when it is started.
struct SimulatedProgram {
  std::optional<std::string> launchError;    ///< The host's description if it cannot be started.
  std::vector<std::uint8_t> standardOutput;  ///< What it writes at once.
  std::vector<std::uint8_t> standardError;   ///< What it complains of at once.
  std::optional<std::int32_t> status;        ///< Its status if it ends at once; else it runs on.
  bool endsWhenAsked = true;                 ///< Whether `terminate` ends it, by signal 15.
};

class SimulatedChildProcess;
class SimulatedPipe;

/// Programs stand for themselves by their paths; one that is not scripted cannot be started. What
/// they do while they run is scripted by their number, which counts starts from 1. Handlers are
/// called from within the call that gives them something to be told, or after the handler that
/// makes that call. Nothing happens while somebody waits: a program that is waited for ends with
/// status 0, and reading to the end of a pipe gives what is there. Not synchronised.
class SimulatedProcesses : public ChildProcesses,
                           public std::enable_shared_from_this<SimulatedProcesses> {
 public:
  /// Without programs. Notes what is asked in `calls`.
  explicit SimulatedProcesses(std::shared_ptr<CallLog> calls) : calls_(std::move(calls)) {}

  std::shared_ptr<Pipe> makePipe() override;
  std::shared_ptr<ChildProcess> makeProcess(ProcessDescription description) override;

  /// What stands at `path` from now on.
  void setProgram(const std::string& path, SimulatedProgram program) {
    programs_.insert_or_assign(path, std::move(program));
  }
  /// Nothing stands there any more.
  void removeProgram(const std::string& path) { programs_.erase(path); }

  /// Programs that run are no more, without a word.
  void forgetAll() { running_.clear(); }

  /// How many programs were started so far; the last one has this number.
  std::int64_t startedCount() const { return startedCount_; }
  /// Whether the program of that number runs.
  bool isRunning(std::int64_t number) const { return running_.contains(number); }
  /// It writes. Nothing if it does not run.
  void write(std::int64_t number, std::span<const std::uint8_t> data);
  /// It complains. Nothing if it does not run.
  void writeError(std::int64_t number, std::span<const std::uint8_t> data);
  /// It ends. Nothing if it does not run.
  void exit(std::int64_t number, std::int32_t status);

 private:
  friend class SimulatedChildProcess;
  friend class SimulatedPipe;

  // A program runs on, and writes, when nobody holds its process or its pipes any more.
  struct RunningProgram {
    std::weak_ptr<SimulatedChildProcess> process;
    std::weak_ptr<SimulatedPipe> standardOutput;
    std::weak_ptr<SimulatedPipe> standardError;
    bool endsWhenAsked = true;
  };

  void terminate(std::int64_t number);
  // Calls handlers: at once, or behind the one that is being called.
  void deliver(std::function<void()> delivery);

  std::shared_ptr<CallLog> calls_;
  std::map<std::string, SimulatedProgram> programs_;
  std::map<std::int64_t, RunningProgram> running_;
  std::int64_t startedCount_ = 0;
  std::deque<std::function<void()>> deliveries_;
  bool isDelivering_ = false;
};

}  // namespace tessline::platform::simulated
