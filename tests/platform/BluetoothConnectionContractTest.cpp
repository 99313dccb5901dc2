#include "tests/platform/BluetoothContract.h"

namespace tessline::test {
namespace {

using platform::BluetoothProperties;
using Notes = BluetoothNotes;

class BluetoothConnectionContract : public BluetoothContract {
 protected:
  void connectLamp() { central->connect(journal->found.at("lamp")); }
  void cancelLamp() { central->cancelPeripheralConnection(journal->found.at("lamp")); }
  ExistingPeripheral unreachable() {
    ExistingPeripheral peripheral = lamp;
    peripheral.isReachable = false;
    return peripheral;
  }
  // Its state within each call about it.
  void watchStates() {
    perform([&] {
      journal->duringCall = [this](const std::string&) {
        states.push_back(journal->lastPeripheral->state());
      };
    });
  }

  const ExistingPeripheral lamp = {
      .name = "lamp",
      .services = {
          {"180F", {{"2A19", BluetoothProperties::read | BluetoothProperties::notify, {{0x64}}}}}}};
  std::vector<State> states;
};

TEST_P(BluetoothConnectionContract, ConnectionIsToldOnceItStands) {
  makeFound(lamp);
  EXPECT_EQ(stateOf("lamp"), State::disconnected);
  watchStates();
  perform([&] {
    connectLamp();
    EXPECT_EQ(journal->found.at("lamp")->state(), State::connecting);
  });
  expectNotes({"connected lamp"});
  EXPECT_EQ(states, std::vector{State::connected});
  EXPECT_EQ(journal->lastPeripheral, found("lamp"));
}

TEST_P(BluetoothConnectionContract, AttemptWaitsUntilThePeripheralIsReachable) {
  const std::size_t made = makeFound(unreachable());
  connect("lamp");
  expectNotes({});
  EXPECT_EQ(stateOf("lamp"), State::connecting);
  backend->drop(made, "There is nothing to break.");
  expectNotes({});
  backend->setReachable(made, true);
  expectNotes({"connected lamp"});
  EXPECT_EQ(stateOf("lamp"), State::connected);
  backend->setReachable(made, true);
  expectNotes({});
}

TEST_P(BluetoothConnectionContract, ConnectDuringAnAttemptMakesNoOther) {
  const std::size_t made = makeFound(unreachable());
  connect("lamp");
  connect("lamp");
  backend->setReachable(made, true);
  expectNotes({"connected lamp"});
  cancel("lamp");
  expectNotes({"ended lamp"});
  perform([&] {
    connectLamp();
    connectLamp();
  });
  expectNotes({"connected lamp"});
}

TEST_P(BluetoothConnectionContract, AttemptThatFailsIsToldAndOver) {
  const std::size_t made = makeFound(lamp);
  backend->setConnectError(made, "The lamp is shy.");
  watchStates();
  connect("lamp");
  expectNotes({"failed lamp: The lamp is shy."});
  EXPECT_EQ(states, std::vector{State::disconnected});
  backend->setConnectError(made, std::nullopt);
  expectNotes({});
  connect("lamp");
  expectNotes({"connected lamp"});
}

TEST_P(BluetoothConnectionContract, AttemptIsNotMadeUnlessPoweredOn) {
  const std::size_t made = makeFound(unreachable());
  connect("lamp");
  backend->setState(backend->otherStates().back());
  backend->setReachable(made, true);
  expectNotes({"state"});
  EXPECT_NE(stateOf("lamp"), State::connected);
}

TEST_P(BluetoothConnectionContract, ConnectionThatStandsIsToldAgainWhenAskedFor) {
  makeConnected(lamp);
  discoverAll("lamp", lamp);
  const auto before = services("lamp");
  connect("lamp");
  expectNotes({"connected lamp"});
  EXPECT_EQ(stateOf("lamp"), State::connected);
  EXPECT_EQ(services("lamp"), before) << "it is the same connection";
}

TEST_P(BluetoothConnectionContract, CancelEndsAConnectionWithoutAnError) {
  makeConnected(lamp);
  watchStates();
  perform([&] {
    cancelLamp();
    EXPECT_EQ(journal->found.at("lamp")->state(), State::disconnecting);
  });
  expectNotes({"ended lamp"});
  EXPECT_EQ(states, std::vector{State::disconnected});
  expectNotes({});
}

TEST_P(BluetoothConnectionContract, CancelEndsAnAttempt) {
  const std::size_t made = makeFound(unreachable());
  connect("lamp");
  cancel("lamp");
  expectNotes({"ended lamp"});
  EXPECT_EQ(stateOf("lamp"), State::disconnected);
  backend->setReachable(made, true);
  expectNotes({});
}

TEST_P(BluetoothConnectionContract, CancelEndsAnAttemptThatHasJustBegun) {
  makeFound(lamp);
  perform([&] {
    connectLamp();
    cancelLamp();
  });
  expectNotes({"ended lamp"});
  EXPECT_EQ(stateOf("lamp"), State::disconnected);
}

TEST_P(BluetoothConnectionContract, CancelWithoutEitherDoesNothing) {
  const std::size_t made = makeFound(lamp);
  cancel("lamp");
  expectNotes({});
  EXPECT_EQ(stateOf("lamp"), State::disconnected);
  backend->setConnectedToSystem(made, true);
  cancel("lamp");
  expectNotes({});
  EXPECT_EQ(retrieve({"180F"}).size(), 1U) << "it was not this central's";
}

TEST_P(BluetoothConnectionContract, CancelTwiceEndsOnce) {
  makeConnected(lamp);
  perform([&] {
    cancelLamp();
    cancelLamp();
  });
  expectNotes({"ended lamp"});
}

TEST_P(BluetoothConnectionContract, AttemptWhileAConnectionIsBeingEndedFollowsTheEnd) {
  makeConnected(lamp);
  perform([&] {
    cancelLamp();
    connectLamp();
  });
  expectNotes({"ended lamp", "connected lamp"});
  EXPECT_EQ(stateOf("lamp"), State::connected);
}

TEST_P(BluetoothConnectionContract, AttemptThatWouldFollowTheEndMayBeCancelled) {
  makeConnected(lamp);
  perform([&] {
    cancelLamp();
    connectLamp();
    cancelLamp();
  });
  expectNotes({"ended lamp"});
  EXPECT_EQ(stateOf("lamp"), State::disconnected);
}

TEST_P(BluetoothConnectionContract, AttemptThatFollowsTheEndIsOneWithThatOfTheCall) {
  makeConnected(lamp);
  perform([&] {
    journal->duringCall = [this](const std::string& note) {
      if (note == "ended lamp") connectLamp();
    };
  });
  perform([&] {
    cancelLamp();
    connectLamp();
  });
  expectNotes({"ended lamp", "connected lamp"});
}

TEST_P(BluetoothConnectionContract, CancelAndConnectOfAnAttemptLeaveOne) {
  const std::size_t made = makeFound(unreachable());
  connect("lamp");
  perform([&] {
    cancelLamp();
    connectLamp();
  });
  expectNotes({"ended lamp"});
  EXPECT_EQ(stateOf("lamp"), State::connecting);
  backend->setReachable(made, true);
  expectNotes({"connected lamp"});
}

TEST_P(BluetoothConnectionContract, ConnectionThatBreaksIsToldWithItsError) {
  const std::size_t made = makeConnected(lamp);
  watchStates();
  backend->drop(made, "The lamp is out of reach.");
  expectNotes({"ended lamp: The lamp is out of reach."});
  EXPECT_EQ(states, std::vector{State::disconnected});
}

TEST_P(BluetoothConnectionContract, ConnectionMayBreakWithoutAnError) {
  const std::size_t made = makeConnected(lamp);
  backend->drop(made, std::nullopt);
  expectNotes({"ended lamp"});
}

TEST_P(BluetoothConnectionContract, ConnectionEndsOnce) {
  const std::size_t made = makeConnected(lamp);
  perform([&] {
    backend->drop(made, std::nullopt);
    cancelLamp();
  });
  expectNotes({"ended lamp"});
  backend->drop(made, std::nullopt);
  expectNotes({});
  connect("lamp");
  expectNotes({"connected lamp"});
  perform([&] {
    backend->drop(made, std::nullopt);
    backend->drop(made, std::nullopt);
  });
  expectNotes({"ended lamp"});
}

TEST_P(BluetoothConnectionContract, NextConnectionOutlivesAllThatEndedTheLast) {
  const std::size_t made = makeConnected(lamp);
  perform([&] {
    journal->duringCall = [this](const std::string& note) {
      if (note.starts_with("ended lamp")) connectLamp();
    };
  });
  perform([&] {
    backend->drop(made, "Gone.");
    backend->drop(made, "Gone.");
    cancelLamp();
  });
  backend->settle();
  const Notes notes = journal->take();
  ASSERT_EQ(notes.size(), 2U);
  EXPECT_TRUE(notes[0].starts_with("ended lamp")) << "by whichever came first";
  EXPECT_EQ(notes[1], "connected lamp");
  EXPECT_EQ(stateOf("lamp"), State::connected);
}

TEST_P(BluetoothConnectionContract, ConnectOnAConnectionThatHasJustBrokenMakesAnother) {
  const std::size_t made = makeConnected(lamp);
  perform([&] {
    backend->drop(made, "Gone.");
    connectLamp();
  });
  expectNotes({"ended lamp: Gone.", "connected lamp"});
  EXPECT_EQ(stateOf("lamp"), State::connected);
}

TEST_P(BluetoothConnectionContract, PeripheralIsTheSameObjectInEachConnection) {
  const std::size_t made = makeConnected(lamp);
  const FoundPeripheral held = journal->lastPeripheral;
  EXPECT_EQ(held, found("lamp"));
  reconnect(made, "lamp");
  EXPECT_EQ(journal->lastPeripheral, held);
}

TEST_P(BluetoothConnectionContract, LettingGoOfThePeripheralEndsTheAttempt) {
  const std::size_t made = makeFound(unreachable());
  connect("lamp");
  perform([&] { journal->found.clear(); });
  backend->setReachable(made, true);
  expectNotes({});
  scan();
  advertise(made);
  expectNotes({"heard lamp"});
  EXPECT_EQ(stateOf("lamp"), State::disconnected);
  backend->settle();
  connect("lamp");
  expectNotes({"connected lamp"});
}

TEST_P(BluetoothConnectionContract, AttemptLastsWhileAnyoneHoldsThePeripheral) {
  const std::size_t made = makeFound(unreachable());
  connect("lamp");
  const FoundPeripheral held = found("lamp");
  perform([&] { journal->found.clear(); });
  backend->setReachable(made, true);
  expectNotes({"connected lamp"});
  EXPECT_EQ(journal->lastPeripheral, held);
}

TEST_P(BluetoothConnectionContract, AttemptLastsThoughThePeripheralIsFoundAgain) {
  const std::size_t made = makeFound(unreachable());
  connect("lamp");
  scan();
  advertise(made);
  expectNotes({"heard lamp"});
  EXPECT_EQ(stateOf("lamp"), State::connecting);
  backend->setReachable(made, true);
  expectNotes({"connected lamp"});
}

TEST_P(BluetoothConnectionContract, ConnectionIsMadeThoughNobodyIsTold) {
  makeFound(lamp);
  const FoundPeripheral held = found("lamp");
  auto passing = std::make_shared<BluetoothJournal>(queue);
  central = makeCentral(passing);
  backend->settle();
  perform([&] {
    passing.reset();
    central->connect(held);
  });
  backend->settle();
  EXPECT_EQ(ask([&] { return held->state(); }), State::connected);
  perform([&] { central->cancelPeripheralConnection(held); });
  backend->settle();
  EXPECT_EQ(ask([&] { return held->state(); }), State::disconnected);
  expectNotes({});
}

INSTANTIATE_TEST_SUITE_P(On, BluetoothConnectionContract, testing::ValuesIn(bluetoothBackends()),
                         backendName);

}  // namespace
}  // namespace tessline::test
