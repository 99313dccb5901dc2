#include "tessline/platform/simulated/SimulatedBluetooth.h"

#include "tessline/platform/simulated/SimulatedCentral.h"

#include <algorithm>
#include <utility>

namespace tessline::platform::simulated {

namespace {

// What a central is given was made here. The peripheral itself, not what its users hold of it.
std::shared_ptr<SimulatedPeripheral> simulated(
    const std::shared_ptr<BluetoothPeripheral>& peripheral) {
  return static_cast<SimulatedPeripheral&>(*peripheral).shared_from_this();
}

}  // namespace

CallArgument textsOf(std::span<const BluetoothUUID> uuids) {
  std::vector<std::string> texts;
  texts.reserve(uuids.size());
  for (const BluetoothUUID& uuid : uuids) texts.push_back(uuid.text());
  return texts;
}

void SimulatedBluetooth::setState(BluetoothState state) {
  state_ = state;
  for (const auto& central : centrals()) central->stateChanged();
}

bool SimulatedBluetooth::isScanning() const {
  return std::ranges::any_of(centrals(), [](const auto& central) { return central->isScanning(); });
}

std::shared_ptr<SimulatedPeripheral> SimulatedBluetooth::addPeripheral(
    const UUID& identifier, SimulatedPeripheralPlan plan) {
  peripherals_.push_back(
      std::make_shared<SimulatedPeripheral>(nextNumber_++, identifier, std::move(plan), calls_));
  return peripherals_.back();
}

void SimulatedBluetooth::advertise(const std::shared_ptr<SimulatedPeripheral>& peripheral,
                                   const BluetoothAdvertisement& advertisement, std::int64_t rssi) {
  for (const auto& central : centrals()) central->heard(peripheral, advertisement, rssi);
}

void SimulatedBluetooth::drop(const std::shared_ptr<SimulatedPeripheral>& peripheral,
                              const std::optional<TesslineError>& error) {
  for (const auto& central : centrals()) central->dropped(peripheral, error);
}

void SimulatedBluetooth::retryAttempts(const std::shared_ptr<SimulatedPeripheral>& peripheral) {
  for (const auto& central : centrals()) central->retry(peripheral);
}

std::shared_ptr<BluetoothCentral> SimulatedBluetooth::makeCentral(
    std::weak_ptr<BluetoothCentralDelegate> delegate, std::shared_ptr<SerialQueue> queue) {
  calls_->add("CBCentralManager");
  auto central =
      std::make_shared<SimulatedCentral>(shared_from_this(), std::move(delegate), std::move(queue));
  std::erase_if(centrals_, [](const auto& each) { return each.expired(); });
  centrals_.push_back(central);
  central->stateChanged();
  return central;
}

std::vector<std::shared_ptr<SimulatedCentral>> SimulatedBluetooth::centrals() const {
  std::vector<std::shared_ptr<SimulatedCentral>> living;
  for (const auto& weak : centrals_) {
    if (auto central = weak.lock()) living.push_back(std::move(central));
  }
  return living;
}

SimulatedCentral::SimulatedCentral(std::shared_ptr<SimulatedBluetooth> bluetooth,
                                   std::weak_ptr<BluetoothCentralDelegate> delegate,
                                   std::shared_ptr<SerialQueue> queue)
    : bluetooth_(std::move(bluetooth)), delegate_(std::move(delegate)), queue_(std::move(queue)) {}

SimulatedCentral::~SimulatedCentral() {
  const auto self = weak_from_this();
  for (const auto& peripheral : bluetooth_->peripherals_) {
    const auto& central = peripheral->central_;
    if (!central.owner_before(self) && !self.owner_before(central)) peripheral->endConnection();
  }
}

std::vector<std::shared_ptr<BluetoothPeripheral>> SimulatedCentral::retrieveConnectedPeripherals(
    std::span<const BluetoothUUID> services) {
  bluetooth_->calls_->add("retrieveConnectedPeripherals", {{"withServices", textsOf(services)}});
  std::vector<std::shared_ptr<BluetoothPeripheral>> found;
  if (!isReady()) return found;
  for (const auto& peripheral : bluetooth_->peripherals_) {
    const auto offers = [services](const SimulatedServicePlan& service) {
      return std::ranges::find(services, service.uuid) != services.end();
    };
    if (peripheral->isConnected() && std::ranges::any_of(peripheral->plan.services, offers)) {
      found.push_back(peripheral->handle());
    }
  }
  return found;
}

void SimulatedCentral::scanForPeripherals(const BluetoothScanOptions& options) {
  bluetooth_->calls_->add("scanForPeripherals", {{"allowDuplicates", options.allowDuplicates}});
  if (isReady()) scan_ = Scan{.allowsDuplicates = options.allowDuplicates, .reported = {}};
}

void SimulatedCentral::stopScan() {
  bluetooth_->calls_->add("stopScan");
  if (isReady()) scan_.reset();
}

void SimulatedCentral::connect(const std::shared_ptr<BluetoothPeripheral>& peripheral) {
  const auto wanted = simulated(peripheral);
  bluetooth_->calls_->add("connect", {{"peripheral", wanted->number()}});
  if (!isReady()) return;
  const auto state = isMine(*wanted) ? wanted->state_ : BluetoothPeripheralState::disconnected;
  if (state == BluetoothPeripheralState::connected) return confirm(wanted, peripheral);
  if (state != BluetoothPeripheralState::disconnecting) return start(wanted, peripheral);
  wanted->isWantedAgain_ = true;
  wanted->wanted_ = peripheral;
}

void SimulatedCentral::start(const std::shared_ptr<SimulatedPeripheral>& peripheral,
                             std::weak_ptr<BluetoothPeripheral> wanted) {
  peripheral->beginAttempt(weak_from_this(), std::move(wanted));
  attempt(peripheral);
}

void SimulatedCentral::attempt(const std::shared_ptr<SimulatedPeripheral>& peripheral) {
  later([peripheral](SimulatedCentral& self) {
    const auto& plan = peripheral->plan;
    if (!self.isReady() || !self.isMine(*peripheral) || !plan.isReachable ||
        peripheral->state_ != BluetoothPeripheralState::connecting) {
      return;
    }
    if (plan.connectError) {
      const TesslineError error = *plan.connectError;
      peripheral->endConnection();
      return self.tell(
          [&](auto& delegate) { delegate.didFailToConnect(peripheral->handle(), &error); });
    }
    peripheral->beginConnection();
    self.tell([&](auto& delegate) { delegate.didConnect(peripheral->handle()); });
  });
}

// A host says again that a connection stands, and makes another if it has just ended.
void SimulatedCentral::confirm(const std::shared_ptr<SimulatedPeripheral>& peripheral,
                               std::weak_ptr<BluetoothPeripheral> wanted) {
  later([peripheral, wanted = std::move(wanted)](SimulatedCentral& self) {
    if (self.isMine(*peripheral)) {
      if (peripheral->state_ != BluetoothPeripheralState::connected) return;
      return self.tell([&](auto& delegate) { delegate.didConnect(peripheral->handle()); });
    }
    if (self.isReady() && !wanted.expired()) self.start(peripheral, wanted);
  });
}

void SimulatedCentral::cancelPeripheralConnection(
    const std::shared_ptr<BluetoothPeripheral>& peripheral) {
  const auto wanted = simulated(peripheral);
  bluetooth_->calls_->add("cancelPeripheralConnection", {{"peripheral", wanted->number()}});
  if (!isReady() || !isMine(*wanted)) return;
  wanted->isWantedAgain_ = false;
  wanted->become(BluetoothPeripheralState::disconnecting);
  end(wanted, std::nullopt);
}

// Whatever ends a connection, it ends once.
void SimulatedCentral::end(const std::shared_ptr<SimulatedPeripheral>& peripheral,
                           std::optional<TesslineError> error) {
  later([peripheral, connection = peripheral->connection_,
         error = std::move(error)](SimulatedCentral& self) {
    if (!self.isMine(*peripheral) || peripheral->connection_ != connection) return;
    const bool isWantedAgain = peripheral->isWantedAgain_;
    const auto wanted = peripheral->wanted_;
    peripheral->endConnection();
    self.tell([&](auto& delegate) {
      delegate.didDisconnectPeripheral(peripheral->handle(), error ? &*error : nullptr);
    });
    if (isWantedAgain && !wanted.expired() && self.isReady() &&
        peripheral->state_ == BluetoothPeripheralState::disconnected) {
      self.start(peripheral, wanted);
    }
  });
}

void SimulatedCentral::stateChanged() {
  if (!isReady()) scan_.reset();
  later([](SimulatedCentral& self) {
    self.tell([](auto& delegate) { delegate.centralManagerDidUpdateState(); });
  });
  if (!isReady()) return;
  for (const auto& peripheral : bluetooth_->peripherals_) retry(peripheral);
}

void SimulatedCentral::heard(const std::shared_ptr<SimulatedPeripheral>& peripheral,
                             const BluetoothAdvertisement& advertisement, std::int64_t rssi) {
  later([peripheral, advertisement, rssi](SimulatedCentral& self) {
    if (!self.scan_ || peripheral->isConnected()) return;
    const bool isNew = self.scan_->reported.insert(peripheral.get()).second;
    if (!isNew && !self.scan_->allowsDuplicates) return;
    self.tell(
        [&](auto& delegate) { delegate.didDiscover(peripheral->handle(), advertisement, rssi); });
  });
}

void SimulatedCentral::dropped(const std::shared_ptr<SimulatedPeripheral>& peripheral,
                               std::optional<TesslineError> error) {
  if (isMine(*peripheral) && peripheral->state_ == BluetoothPeripheralState::connected) {
    end(peripheral, std::move(error));
  }
}

void SimulatedCentral::retry(const std::shared_ptr<SimulatedPeripheral>& peripheral) {
  if (isMine(*peripheral)) attempt(peripheral);
}

bool SimulatedCentral::isMine(const SimulatedPeripheral& peripheral) const {
  return peripheral.central_.lock().get() == this;
}

}  // namespace tessline::platform::simulated
