#pragma once

#include "helper/FileDescriptor.h"

#include <sys/types.h>

namespace helper {

/// Stands between the caller and the tool. Its real user stays the caller's, so that the caller may
/// signal it; the tool is root's through and through and could not be. Requests to end go on to the
/// tool; when the caller has ended or nobody reads the output any more, the tool is ended, and
/// killed two seconds later. Should the supervisor itself be killed, the system kills the tool.
class Supervisor {
 public:
  /// Begins to hold back the signals that it passes on. `caller` is the parent process.
  explicit Supervisor(pid_t caller);

  /// Waits for the end of the child `tool`. Returns its exit status, or 128 and the signal it died
  /// by.
  int waitFor(pid_t tool);

 private:
  void forwardSignals();
  bool isCallerGone(short outputEvents, short callerEvents) const;

  pid_t caller_;
  FileDescriptor callerEnd_;
  FileDescriptor wake_;
  pid_t tool_ = -1;
};

}  // namespace helper
