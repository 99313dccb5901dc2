/// @file
/// What every backend's programs and pipes are tested through.
#pragma once

#include "tessline/platform/Platform.h"
#include "tests/platform/BackendName.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {

/// Something to start.
struct Program {
  std::string executable;
  std::vector<std::string> arguments;
};

/// A backend under test.
class ProcessBackend {
 public:
  virtual ~ProcessBackend() = default;

  virtual std::shared_ptr<platform::ChildProcesses> processes() = 0;
  /// Lets time pass until `isDone`; false if that does not happen.
  virtual bool waitUntil(const std::function<bool()>& isDone) = 0;

  /// Writes a text to each stream and ends.
  virtual Program writing(const std::string& output, const std::string& errors, int status) = 0;
  /// Writes, waits for `proceed`, writes again and ends with 0.
  virtual Program writingTwice(const std::string& first, const std::string& second) = 0;
  /// As above, and goes on when it is asked to end.
  virtual Program deafAndWritingTwice(const std::string& first, const std::string& second) = 0;
  /// Lets the one program that waits go on.
  virtual void proceed() = 0;
  /// Runs until it is asked to end.
  virtual Program endless() = 0;
  /// Ends itself by a signal.
  virtual Program dyingOf(int signal) = 0;
  /// A path where there is no program.
  virtual std::string pathOfNothing() = 0;
};

/// One backend by name.
struct ProcessBackendChoice {
  std::string name;
  std::function<std::unique_ptr<ProcessBackend>()> make;
};

/// Everything that handlers were told. Any thread.
class Witness : public std::enable_shared_from_this<Witness> {
 public:
  struct Account {
    std::string output;
    std::string errors;
    int outputEnds = 0;
    int errorEnds = 0;
    std::vector<std::int32_t> statuses;
    std::size_t outputAtTermination = 0;
    std::size_t errorsAtTermination = 0;

    bool operator==(const Account&) const = default;
  };

  Account account() const;
  std::string output() const { return account().output; }
  std::vector<std::int32_t> statuses() const { return account().statuses; }
  bool hasEnded() const { return !account().statuses.empty(); }

  /// Handlers that tell it, and keep it.
  platform::ReadabilityHandler outputHandler();
  platform::ReadabilityHandler errorHandler();
  platform::TerminationHandler terminationHandler();

 private:
  mutable std::mutex mutex_;
  Account account_;
};

/// A program under observation, with a pipe for each of its streams.
struct ObservedProcess {
  std::shared_ptr<platform::Pipe> output;
  std::shared_ptr<platform::Pipe> errors;
  std::shared_ptr<platform::ChildProcess> process;
  std::shared_ptr<Witness> witness = std::make_shared<Witness>();

  /// Not launched, and nobody is told of anything.
  static ObservedProcess silent(platform::ChildProcesses& processes, const Program& program);
  /// Not launched; the witness is told of everything.
  static ObservedProcess observed(platform::ChildProcesses& processes, const Program& program);
  /// Lets go of everything but the witness.
  void letGo();
};

/// Real programs of the host, through its shell.
class HostProcessBackend : public ProcessBackend {
 public:
  HostProcessBackend();
  ~HostProcessBackend() override;

  std::shared_ptr<platform::ChildProcesses> processes() override;
  bool waitUntil(const std::function<bool()>& isDone) override;
  Program writing(const std::string& output, const std::string& errors, int status) override;
  Program writingTwice(const std::string& first, const std::string& second) override;
  Program deafAndWritingTwice(const std::string& first, const std::string& second) override;
  void proceed() override;
  Program endless() override;
  Program dyingOf(int signal) override;
  std::string pathOfNothing() override;

 private:
  class Gate;
  Gate& gate();

  std::unique_ptr<Gate> gate_;
};

/// A line of the shell's language.
Program shell(const std::string& script);

/// Whether this process has no children, neither running ones nor ones to be collected.
bool hasNoChildren();

}  // namespace tessline::test
