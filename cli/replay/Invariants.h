/// @file
/// What must hold in every replay, whatever was recorded.
#pragma once

#include "cli/replay/Observation.h"
#include "tessline/platform/SerialQueue.h"

#include <memory>
#include <string>
#include <vector>

namespace tessline::cli {

/// A rule that was broken.
struct Violation {
  platform::QueueTime time{};
  std::string text;  ///< For people: what was seen and what should have been.

  bool operator==(const Violation&) const = default;
};

/// One rule, which follows everything that happens.
class Invariant {
 public:
  virtual ~Invariant() = default;

  /// Takes the next observation and adds what it breaks.
  virtual void observe(platform::QueueTime time, const Observation& observation,
                       std::vector<Violation>& violations) = 0;

  /// The replay ended at `time`; adds what that breaks.
  virtual void finish(platform::QueueTime time, std::vector<Violation>& violations);
};

/// A button goes up only after it went down on the same path (button mask, handle 0x0023), once.
/// Over handle 0x003A the voice button goes up only while voice is being collected, however that
/// began.
std::unique_ptr<Invariant> makeReleaseFollowsPress();
/// A service that is gone calls nothing back.
std::unique_ptr<Invariant> makeNoCallbackAfterRelease();
/// A snapshot says that the service listens exactly while its manager is open.
std::unique_ptr<Invariant> makeListeningMeansOpen();
/// Every interface of a snapshot has a report buffer, and none else has: the service's tables have
/// one set of keys.
std::unique_ptr<Invariant> makeOneKeySet();
/// The interfaces of a snapshot are sorted by name, then by id.
std::unique_ptr<Invariant> makeDevicesAreSorted();

/// The left button goes up once for each time that it goes down: not twice, not after a reset, and
/// not later than the timeout for lost releases unless it is locked. A button that is still down
/// when the recording ends, or when its controller goes, is none that was lost.
std::unique_ptr<Invariant> makeButtonGoesUpOnce();
/// Every mouse event lies within the union of the screens, one point inside its right and lower
/// edge.
std::unique_ptr<Invariant> makePointerStaysOnScreens();
/// A charge that began is completed or cancelled before the next begins, and none that did not.
std::unique_ptr<Invariant> makeChargesEndOnce();

/// The byte that turns a remote's input on is written once to a characteristic in each connection.
std::unique_ptr<Invariant> makeInputIsEnabledOnce();
/// A snapshot of the Bluetooth service says what is so at its time: the scan, the connection, and
/// the host's state where its status names one.
std::unique_ptr<Invariant> makeSnapshotsAreTrue();
/// A snapshot that differs from the one before in its devices alone comes a second after what
/// caused it, and stands for all causes within that second unless another was published between
/// them.
std::unique_ptr<Invariant> makeDevicesAreCoalesced();
/// The remotes of a snapshot are sorted, the strongest first, equals by name.
std::unique_ptr<Invariant> makeRemotesAreSorted();

/// All of them.
std::vector<std::unique_ptr<Invariant>> makeInvariants();

}  // namespace tessline::cli
