/// @file
/// Ending in good order when the user presses Ctrl-C.
#pragma once

namespace tessline::cli {

/// While one of these lives, SIGINT and SIGTERM no longer end the process but set a flag that work
/// looks at between two steps. At most one may live at a time.
class Interrupt {
 public:
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  /// Whether a signal came.
  bool isPending() const;
  /// A descriptor that becomes readable when a signal comes, to wait on beside an input.
  int descriptor() const;
  /// From now on `descriptor` tells of the next signal.
  void acknowledge();
  /// Ends the process by the signal that came, as if it had never been caught; nothing if none did.
  void raisePending() const;
};

}  // namespace tessline::cli
