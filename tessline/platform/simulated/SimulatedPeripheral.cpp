#include "tessline/platform/simulated/SimulatedPeripheral.h"

#include "tessline/platform/simulated/SimulatedCentral.h"

#include <algorithm>
#include <utility>

namespace tessline::platform::simulated {

namespace {

bool holds(std::span<const BluetoothUUID> uuids, const BluetoothUUID& wanted) {
  return std::ranges::find(uuids, wanted) != uuids.end();
}

}  // namespace

// A characteristic within one connection.
class SimulatedCharacteristic : public BluetoothCharacteristic {
 public:
  SimulatedCharacteristic(SimulatedCharacteristicPlan about,
                          const SimulatedCharacteristicPlace& where)
      : plan(std::move(about)), place(where), readable(plan.value) {}

  const BluetoothUUID& uuid() const override { return plan.uuid; }
  BluetoothProperties properties() const override { return plan.properties; }
  std::optional<std::span<const std::uint8_t>> value() const override {
    if (!current) return std::nullopt;
    return std::span<const std::uint8_t>(*current);
  }

  const SimulatedCharacteristicPlan plan;
  const SimulatedCharacteristicPlace place;
  // What a read gives: the newest value, told of or not.
  std::optional<std::vector<std::uint8_t>> readable;
  std::optional<std::vector<std::uint8_t>> current;
  std::vector<std::vector<std::uint8_t>> written;
  bool isDiscovered = false;
  bool isNotifying = false;
};

// A service within one connection.
class SimulatedService : public BluetoothService {
 public:
  SimulatedService(const SimulatedServicePlan& plan, std::size_t place)
      : uuid_(plan.uuid), error(plan.error) {
    all.reserve(plan.characteristics.size());
    for (const SimulatedCharacteristicPlan& characteristic : plan.characteristics) {
      all.push_back(std::make_shared<SimulatedCharacteristic>(
          characteristic, SimulatedCharacteristicPlace{place, all.size()}));
    }
  }

  const BluetoothUUID& uuid() const override { return uuid_; }
  std::vector<std::shared_ptr<BluetoothCharacteristic>> characteristics() const override {
    std::vector<std::shared_ptr<BluetoothCharacteristic>> discovered;
    for (const auto& characteristic : all) {
      if (characteristic->isDiscovered) discovered.push_back(characteristic);
    }
    return discovered;
  }

 private:
  BluetoothUUID uuid_;

 public:
  std::optional<TesslineError> error;
  std::vector<std::shared_ptr<SimulatedCharacteristic>> all;
  bool isDiscovered = false;
};

SimulatedPeripheral::SimulatedPeripheral(std::int64_t number, const UUID& identifier,
                                         SimulatedPeripheralPlan about,
                                         std::shared_ptr<CallLog> calls)
    : plan(std::move(about)), number_(number), identifier_(identifier), calls_(std::move(calls)) {}

// An attempt lasts as long as somebody holds on to the peripheral.
struct SimulatedPeripheral::Handle {
  explicit Handle(std::shared_ptr<SimulatedPeripheral> of) : peripheral(std::move(of)) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() {
    const bool isAttempt = peripheral->state_ == BluetoothPeripheralState::connecting;
    if (isAttempt && peripheral->wanted_.expired()) peripheral->endConnection();
  }

  const std::shared_ptr<SimulatedPeripheral> peripheral;
};

std::shared_ptr<BluetoothPeripheral> SimulatedPeripheral::handle() {
  if (auto held = handle_.lock()) return held;
  std::shared_ptr<BluetoothPeripheral> fresh(std::make_shared<Handle>(shared_from_this()), this);
  handle_ = fresh;
  return fresh;
}

// Runs `call` on the central's queue, if the connection still stands then.
template <class Call>
void SimulatedPeripheral::answer(Call call) {
  const auto central = central_.lock();
  if (!central || state_ != BluetoothPeripheralState::connected) return;
  central->later([self = shared_from_this(), connection = connection_,
                  call = std::move(call)](SimulatedCentral&) {
    if (self->connection_ == connection) call();
  });
}

// Calls the delegate, if it lives. On the queue.
template <class Call>
void SimulatedPeripheral::tell(Call call) {
  if (const auto delegate = delegate_.lock()) call(*delegate, handle());
}

std::vector<std::shared_ptr<BluetoothService>> SimulatedPeripheral::services() const {
  std::vector<std::shared_ptr<BluetoothService>> discovered;
  for (const auto& service : services_) {
    if (service->isDiscovered) discovered.push_back(service);
  }
  return discovered;
}

void SimulatedPeripheral::setDelegate(std::weak_ptr<BluetoothPeripheralDelegate> delegate) {
  calls_->add("setDelegate", {{"peripheral", number_}});
  delegate_ = std::move(delegate);
}

void SimulatedPeripheral::discoverServices(std::span<const BluetoothUUID> uuids) {
  calls_->add("discoverServices", {{"peripheral", number_}, {"services", textsOf(uuids)}});
  answer([self = shared_from_this(), wanted = std::vector(uuids.begin(), uuids.end())] {
    const auto error = self->plan.servicesError;
    if (!error) {
      for (const auto& service : self->services_) {
        service->isDiscovered = service->isDiscovered || holds(wanted, service->uuid());
      }
    }
    self->tell([&](auto& delegate, const auto& peripheral) {
      delegate.didDiscoverServices(peripheral, error ? &*error : nullptr);
    });
  });
}

void SimulatedPeripheral::discoverCharacteristics(
    std::span<const BluetoothUUID> uuids, const std::shared_ptr<BluetoothService>& service) {
  calls_->add("discoverCharacteristics", {{"peripheral", number_},
                                          {"characteristics", textsOf(uuids)},
                                          {"service", service->uuid().text()}});
  if (!has(*service)) return;
  answer([self = shared_from_this(), wanted = std::vector(uuids.begin(), uuids.end()),
          asked = std::static_pointer_cast<SimulatedService>(service)] {
    const auto& error = asked->error;
    if (!error) {
      for (const auto& each : asked->all) {
        each->isDiscovered = each->isDiscovered || holds(wanted, each->uuid());
      }
    }
    self->tell([&](auto& delegate, const auto& peripheral) {
      delegate.didDiscoverCharacteristicsFor(peripheral, asked, error ? &*error : nullptr);
    });
  });
}

std::vector<std::pair<std::string, CallArgument>> SimulatedPeripheral::told(
    const BluetoothCharacteristic& characteristic) const {
  const auto& place = static_cast<const SimulatedCharacteristic&>(characteristic).place;
  return {{"peripheral", number_},
          {"characteristic", characteristic.uuid().text()},
          {"place", std::vector<std::int64_t>{static_cast<std::int64_t>(place.service),
                                              static_cast<std::int64_t>(place.characteristic)}}};
}

void SimulatedPeripheral::readValue(
    const std::shared_ptr<BluetoothCharacteristic>& characteristic) {
  calls_->add("readValue", told(*characteristic));
  if (!has(*characteristic)) return;
  answer([self = shared_from_this(),
          asked = std::static_pointer_cast<SimulatedCharacteristic>(characteristic)] {
    std::optional<TesslineError> error;
    if (asked->readable) {
      asked->current = asked->readable;
    } else {
      constexpr std::int64_t readNotPermitted = 2;
      error.emplace("CBATTErrorDomain", readNotPermitted, "Reading is not permitted.");
    }
    self->tell([&](auto& delegate, const auto& peripheral) {
      delegate.didUpdateValueFor(peripheral, asked, error ? &*error : nullptr);
    });
  });
}

void SimulatedPeripheral::writeValue(std::span<const std::uint8_t> value,
                                     const std::shared_ptr<BluetoothCharacteristic>& characteristic,
                                     BluetoothWriteType type) {
  auto arguments = told(*characteristic);
  arguments.emplace_back("value", std::vector<std::int64_t>(value.begin(), value.end()));
  arguments.emplace_back(
      "type",
      std::string(type == BluetoothWriteType::withResponse ? "withResponse" : "withoutResponse"));
  calls_->add("writeValue", std::move(arguments));
  if (state_ != BluetoothPeripheralState::connected) return;
  static_cast<SimulatedCharacteristic&>(*characteristic)
      .written.emplace_back(value.begin(), value.end());
}

void SimulatedPeripheral::setNotifyValue(
    bool enabled, const std::shared_ptr<BluetoothCharacteristic>& characteristic) {
  auto arguments = told(*characteristic);
  arguments.emplace_back("enabled", enabled);
  calls_->add("setNotifyValue", std::move(arguments));
  if (state_ != BluetoothPeripheralState::connected) return;
  static_cast<SimulatedCharacteristic&>(*characteristic).isNotifying = enabled;
}

bool SimulatedPeripheral::notify(const SimulatedCharacteristicPlace& place,
                                 std::vector<std::uint8_t> value,
                                 std::optional<TesslineError> error) {
  if (place.service >= services_.size()) return false;
  const auto& all = services_[place.service]->all;
  if (place.characteristic >= all.size()) return false;
  const auto& characteristic = all[place.characteristic];
  if (!error && characteristic->readable) characteristic->readable = value;
  if (!characteristic->isNotifying) return false;
  answer([self = shared_from_this(), characteristic, value = std::move(value),
          error = std::move(error)] {
    if (!error) characteristic->current = value;
    self->tell([&](auto& delegate, const auto& peripheral) {
      delegate.didUpdateValueFor(peripheral, characteristic, error ? &*error : nullptr);
    });
  });
  return true;
}

std::vector<std::vector<std::uint8_t>> SimulatedPeripheral::written(
    const SimulatedCharacteristicPlace& place) const {
  if (place.service >= services_.size()) return {};
  const auto& all = services_[place.service]->all;
  if (place.characteristic >= all.size()) return {};
  return all[place.characteristic]->written;
}

bool SimulatedPeripheral::has(const BluetoothService& service) const {
  return std::ranges::any_of(services_, [&](const auto& each) { return each.get() == &service; });
}

bool SimulatedPeripheral::has(const BluetoothCharacteristic& characteristic) const {
  return std::ranges::any_of(services_, [&](const auto& service) {
    return std::ranges::any_of(service->all,
                               [&](const auto& each) { return each.get() == &characteristic; });
  });
}

void SimulatedPeripheral::become(BluetoothPeripheralState state) {
  state_ = state;
  reportedState_.reset();
}

void SimulatedPeripheral::beginAttempt(std::weak_ptr<SimulatedCentral> central,
                                       std::weak_ptr<BluetoothPeripheral> wanted) {
  central_ = std::move(central);
  wanted_ = std::move(wanted);
  isWantedAgain_ = false;
  become(BluetoothPeripheralState::connecting);
}

void SimulatedPeripheral::beginConnection() {
  become(BluetoothPeripheralState::connected);
  services_.clear();
  services_.reserve(plan.services.size());
  for (const SimulatedServicePlan& service : plan.services) {
    services_.push_back(std::make_shared<SimulatedService>(service, services_.size()));
  }
}

void SimulatedPeripheral::endConnection() {
  ++connection_;
  central_.reset();
  wanted_.reset();
  isWantedAgain_ = false;
  become(BluetoothPeripheralState::disconnected);
  services_.clear();
}

}  // namespace tessline::platform::simulated
