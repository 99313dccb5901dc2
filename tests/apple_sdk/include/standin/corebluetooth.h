/// @file
/// How tests control the stand-in's Bluetooth LE: its state, and the peripherals around.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace standin::bluetooth {

struct Error {
  std::string domain;
  long code = 0;
  std::string description;
};

struct CharacteristicPlan {
  std::string uuid;
  unsigned long properties = 0;
  /// What is read; reading is not permitted without one.
  std::optional<std::vector<std::uint8_t>> value;
};

struct ServicePlan {
  std::string uuid;
  std::vector<CharacteristicPlan> characteristics;
  std::optional<Error> error;  ///< What looking for its characteristics ends in.
};

struct PeripheralPlan {
  std::string identifier;
  std::optional<std::string> name;
  std::vector<ServicePlan> services;
  bool isReachable = true;
  bool isConnectedToSystem = false;
  std::optional<Error> connectError;
  std::optional<Error> servicesError;
};

/// A list of UUIDs in an advertisement.
struct UUIDs {
  std::vector<std::string> texts;
};
/// A list of texts, where UUIDs would be expected.
struct Texts {
  std::vector<std::string> texts;
};
using AdvertisedValue = std::variant<std::string, long, std::vector<std::uint8_t>, UUIDs, Texts>;
/// By the keys' texts, such as "kCBAdvDataLocalName".
using Advertisement = std::map<std::string, AdvertisedValue>;

/// A characteristic by its service's place and its own, from 0.
using Place = std::pair<std::size_t, std::size_t>;

/// What a manager does about an attempt to connect that is cancelled. It is not documented, and
/// differs from one version of the system to the next.
enum class CancelledAttempt {
  isTold,      ///< As the end of a connection.
  isToldLate,  ///< The same, after other work.
  isSilent,    ///< Not at all.
  isAFailure,  ///< As an attempt that failed.
};

// All of these from any thread. What they do comes to managers on their queues.

/// On, without peripherals and calls. No manager may be left.
void reset();
void setCancelledAttempt(CancelledAttempt kind);
/// Whether what a peripheral offers is the same objects in each of its connections, and stays
/// listed from one to the next; otherwise only until the next begins.
void setKeepsObjects(bool keeps);
/// A number of CBManagerState, or a later one.
void setState(long state);
/// A number of CBManagerAuthorization, or a later one.
void setAuthorization(long authorization);
/// Peripherals are counted from 0.
std::size_t addPeripheral(PeripheralPlan plan);
/// Changes what there is to know of it. Attempts that wait are made again.
void change(std::size_t peripheral, const std::function<void(PeripheralPlan&)>& edit);
void advertise(std::size_t peripheral, const Advertisement& advertisement, long rssi);
/// Breaks its connections.
void drop(std::size_t peripheral, std::optional<Error> error);
/// Ends attempts to connect to it, which nobody has cancelled, as the end of a connection.
void endAttempt(std::size_t peripheral, std::optional<Error> error);
/// A new value, told to whom has asked; with an error, one that does not count.
void notify(std::size_t peripheral, Place place, std::vector<std::uint8_t> value,
            std::optional<Error> error = std::nullopt);
/// What was written in the connections that stand, in order.
std::vector<std::vector<std::uint8_t>> written(std::size_t peripheral, Place place);

/// Managers that nobody has let go of.
std::size_t liveManagers();
/// The calls so far with their arguments, peripherals by their number. Ends of managers and of
/// their peripherals too, if they end something.
std::vector<std::string> calls();
/// Forgets them.
void clearCalls();

}  // namespace standin::bluetooth
