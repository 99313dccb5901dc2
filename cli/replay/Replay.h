/// @file
/// Drives the services from a recording, on the simulated host.
#pragma once

#include "cli/replay/Observation.h"
#include "cli/replay/Recording.h"
#include "tessline/bluetooth/BluetoothRemoteDiscoveryService.h"
#include "tessline/capture/PacketLoggerCaptureService.h"
#include "tessline/hid/ConnectedRemoteHIDService.h"
#include "tessline/platform/simulated/SimulatedHost.h"
#include "tessline/touch/SiriRemoteGestureController.h"
#include "tessline/touch/SiriRemoteMultitouchService.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::cli {

/// The kinds of values that records hold.
enum class MemberKind : std::uint8_t {
  text,
  texts,
  integer,
  number,
  truth,
  bytes,
  properties,
  point,
  rectangle,
  rectangles,
  contacts,
  services,
};

/// A member of a record's object.
struct RecordMember {
  std::string_view name;
  MemberKind kind;
  bool isRequired;
};

class Replay;

/// One type of record: what it holds and what it does.
struct RecordType {
  std::string_view name;
  std::vector<RecordMember> members;
  void (*apply)(Replay& replay, const nlohmann::json& members);
};

/// All types of records. Each transport has its own list.
std::span<const RecordType> recordTypes();
/// The types whose names begin with "hid.".
std::span<const RecordType> hidRecordTypes();
/// The types whose names begin with "bluetooth.".
std::span<const RecordType> bluetoothRecordTypes();
/// The types whose names begin with "touch.".
std::span<const RecordType> touchRecordTypes();
/// The types whose names begin with "desktop.".
std::span<const RecordType> desktopRecordTypes();
/// The types whose names begin with "capture.".
std::span<const RecordType> captureRecordTypes();

/// Services on a simulated host, moved by records. Deterministic: the same records are followed by
/// the same observations.
class Replay {
 public:
  /// Told of everything that happens, in order, with the virtual time.
  using Observer = std::function<void(platform::QueueTime time, const Observation& observation)>;

  explicit Replay(Observer observer);
  Replay(const Replay&) = delete;
  Replay& operator=(const Replay&) = delete;
  ~Replay();

  /// Moves the clock to the record's time, running what falls due, then lets the record happen and
  /// runs what it caused. Throws RecordingError.
  void play(const Record& record);

  /// The state that records of HID work on.
  struct HID {
    std::shared_ptr<ConnectedRemoteHIDService> service;
    std::map<std::string, std::shared_ptr<platform::simulated::SimulatedHIDDevice>> devices;

    /// The device of that name. Throws RecordingError.
    std::shared_ptr<platform::simulated::SimulatedHIDDevice> device(const std::string& name) const;
    /// The service. Throws RecordingError if there is none.
    ConnectedRemoteHIDService& requireService() const;
  };

  /// The state that records of Bluetooth work on.
  struct Bluetooth {
    std::shared_ptr<BluetoothRemoteDiscoveryService> service;
    std::map<std::string, std::shared_ptr<platform::simulated::SimulatedPeripheral>> peripherals;

    /// The peripheral of that name. Throws RecordingError.
    std::shared_ptr<platform::simulated::SimulatedPeripheral> peripheral(
        const std::string& name) const;
    /// The service. Throws RecordingError if there is none.
    BluetoothRemoteDiscoveryService& requireService() const;
  };

  /// The state that records of touches work on.
  struct Touch {
    std::shared_ptr<SiriRemoteMultitouchService> service;
    std::shared_ptr<SiriRemoteGestureController> controller;
    std::map<std::string, std::shared_ptr<platform::simulated::SimulatedTouchDevice>> surfaces;
    std::optional<double> cursorSpeed;

    /// The surface of that name. Throws RecordingError.
    std::shared_ptr<platform::simulated::SimulatedTouchDevice> surface(
        const std::string& name) const;
    /// The service. Throws RecordingError if there is none.
    SiriRemoteMultitouchService& requireService() const;
    /// The controller. Throws RecordingError if there is none.
    SiriRemoteGestureController& requireController() const;
  };

  /// The state that records of captures work on.
  struct Capture {
    std::shared_ptr<PacketLoggerCaptureService> service;

    /// The service. Throws RecordingError if there is none.
    PacketLoggerCaptureService& requireService() const;
  };

  HID& hid() { return hid_; }
  Bluetooth& bluetooth() { return bluetooth_; }
  Capture& capture() { return capture_; }
  Touch& touch() { return touch_; }
  const std::shared_ptr<platform::simulated::SimulatedHost>& host() { return host_; }
  void observe(const Observation& observation) { observer_(host_->scheduler().now(), observation); }

  /// Observes where a window of that name stands now that a record has placed it.
  void windowPlaced(const std::string& window, const Rect& frame);
  /// Forgets a window that a record has taken away.
  void windowGone(const std::string& window) { windows_.erase(window); }

  /// Observes what is not as it was when it was observed last.
  void observeChanges();

 private:
  void runUntil(platform::QueueTime time);

  Observer observer_;
  std::shared_ptr<platform::simulated::SimulatedHost> host_ =
      platform::simulated::SimulatedHost::create();
  HID hid_;
  Bluetooth bluetooth_;
  Touch touch_;
  Capture capture_;
  // What was observed last.
  std::size_t mode_ = GestureMode(NoGesture()).index();
  bool isDragging_ = false;
  bool isDragLocked_ = false;
  std::map<std::string, Rect> windows_;
};

/// The bit of a characteristic's property of that name, for example "notify"; none of any other.
std::optional<std::uint32_t> bluetoothProperty(std::string_view name);
/// The state of Bluetooth of that name; "other" is none that is known. None of any other name.
std::optional<platform::BluetoothState> bluetoothState(std::string_view name);
/// Changes the plan of a peripheral as the members say that there are: one of the simulated host's,
/// or another with the same fields. `services` and `error` make what these hold.
template <class Plan, class Services, class Error>
void changePeripheral(Plan& plan, const nlohmann::json& members, Services services, Error error) {
  if (members.contains("name")) plan.name = members["name"];
  if (members.contains("services")) plan.services = services(members["services"]);
  plan.isReachable = members.value("isReachable", plan.isReachable);
  plan.isConnectedToSystem = members.value("isConnectedToSystem", plan.isConnectedToSystem);
  if (members.contains("connectError")) plan.connectError = error(members, "connectError");
  if (members.contains("servicesError")) plan.servicesError = error(members, "servicesError");
}
/// The bytes of a member that holds them; it has been checked before.
std::vector<std::uint8_t> memberBytes(const nlohmann::json& value);
/// Gives the button events of a transport to the gesture controller, if there is one, as an
/// application does.
void passButtons(Replay& replay, const std::vector<TesslineEvent>& events);
/// The number of a member that must be one of 32 bits. Throws RecordingError.
std::int32_t memberInt32(const nlohmann::json& value, std::string_view what);
/// The number of a member that measures something: at most a thousand million either way, so that
/// no sum of them is without end. Throws RecordingError.
double memberNumber(const nlohmann::json& value);

}  // namespace tessline::cli
