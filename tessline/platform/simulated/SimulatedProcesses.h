/// @file
/// The simulated host's programs, to be scripted.
#pragma once

#include "tessline/platform/ChildProcess.h"
#include "tessline/platform/simulated/CallLog.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
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

/// Programs stand for themselves by their paths; one that is not scripted cannot be started. What
/// they do while they run is scripted by their number, which counts starts from 1. Handlers are
/// called from within the scripting call. Not synchronised.
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
  bool isRunning(std::int64_t number) const;
  /// It writes. Nothing if it does not run.
  void write(std::int64_t number, std::span<const std::uint8_t> data);
  /// It complains. Nothing if it does not run.
  void writeError(std::int64_t number, std::span<const std::uint8_t> data);
  /// It ends. Nothing if it does not run.
  void exit(std::int64_t number, std::int32_t status);

 private:
  friend class SimulatedChildProcess;

  std::shared_ptr<SimulatedChildProcess> running(std::int64_t number) const;
  void ended(std::int64_t number) { running_.erase(number); }

  std::shared_ptr<CallLog> calls_;
  std::map<std::string, SimulatedProgram> programs_;
  // A program runs on when nobody holds its process any more.
  std::map<std::int64_t, std::shared_ptr<SimulatedChildProcess>> running_;
  std::int64_t startedCount_ = 0;
};

}  // namespace tessline::platform::simulated
