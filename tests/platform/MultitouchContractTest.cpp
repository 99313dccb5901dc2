#include "tessline/touch/ContactRecord.h"
#include "tests/platform/DesktopContract.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using platform::MultitouchDevice;
using platform::MultitouchFunction;

class MultitouchContract : public ScriptedTest {
 protected:
  MultitouchContract() {
    backend->connectSurface({});
    backend->connectSurface({.rows = 20, .columns = 30, .width = 10400, .height = 6400});
    open();
  }

  void open() {
    library = backend->platform()->openMultitouchLibrary(backend->pathOfLibrary());
    ASSERT_NE(library, nullptr);
  }
  template <class Function>
  Function function(std::string_view name) {
    return std::get<Function>(library->symbol(name));
  }
  std::optional<platform::MultitouchDeviceList> list() {
    return function<platform::DeviceListFunction>("MTDeviceCreateList")();
  }
  std::shared_ptr<MultitouchDevice> surface(std::size_t index) { return list().value().at(index); }
  std::uint64_t identifierOf(MultitouchDevice& device) {
    std::uint64_t identifier = 0;
    EXPECT_EQ(function<platform::DeviceIDFunction>("MTDeviceGetDeviceID")(device, identifier), 0);
    return identifier;
  }
  std::pair<std::int32_t, std::int32_t> dimensions(std::string_view name,
                                                   MultitouchDevice& device) {
    std::pair<std::int32_t, std::int32_t> both = {-1, -1};
    EXPECT_EQ(function<platform::DeviceDimensionsFunction>(name)(device, both.first, both.second),
              0);
    return both;
  }
  std::int32_t start(MultitouchDevice& device) {
    return function<platform::DeviceStartFunction>("MTDeviceStart")(device, 0);
  }
  void stop(MultitouchDevice& device) {
    EXPECT_EQ(function<platform::DeviceStopFunction>("MTDeviceStop")(device), 0);
  }
  void registerCallback(MultitouchDevice& device, platform::ContactFrameCallback callback) {
    function<platform::RegisterCallbackFunction>("MTRegisterContactFrameCallbackWithRefcon")(
        device, std::move(callback));
  }
  // Notes each frame under that name, with the identifiers of its contacts.
  void registerNoting(MultitouchDevice& device, const std::string& name) {
    registerCallback(device, [this, name](const std::byte* touches, int numTouches) {
      std::string note = name;
      for (int index = 0; index < numTouches; ++index) {
        note += " " + std::to_string(contactRecordAt(touches, index).identifier);
      }
      notes.push_back(note);
    });
  }
  void unregister(MultitouchDevice& device) {
    function<platform::UnregisterCallbackFunction>("MTUnregisterContactFrameCallback")(device);
  }
  // For a callback that unregisters itself: what it holds must be there until it returns. Looks at
  // nothing that the callback has captured, which would be gone otherwise.
  void unregisterAndNote(MultitouchDevice& device) {
    unregister(device);
    notes.emplace_back(watched.expired() ? "lost" : "held");
  }

  std::shared_ptr<platform::MultitouchLibrary> library;
  std::vector<std::string> notes;
  std::weak_ptr<int> watched;
};

using Notes = std::vector<std::string>;

struct NamedFunction {
  std::string name;
  bool (*isOfItsType)(const MultitouchFunction&);
};

template <class Function>
bool is(const MultitouchFunction& function) {
  const auto* const found = std::get_if<Function>(&function);
  return found != nullptr && *found;
}

const std::vector<NamedFunction>& namedFunctions() {
  static const std::vector<NamedFunction> functions = {
      {"MTDeviceCreateList", &is<platform::DeviceListFunction>},
      {"MTDeviceGetDeviceID", &is<platform::DeviceIDFunction>},
      {"MTDeviceStart", &is<platform::DeviceStartFunction>},
      {"MTDeviceStop", &is<platform::DeviceStopFunction>},
      {"MTDeviceIsBuiltIn", &is<platform::DeviceTruthFunction>},
      {"MTDeviceGetSensorDimensions", &is<platform::DeviceDimensionsFunction>},
      {"MTDeviceGetSensorSurfaceDimensions", &is<platform::DeviceDimensionsFunction>},
      {"MTRegisterContactFrameCallbackWithRefcon", &is<platform::RegisterCallbackFunction>},
      {"MTUnregisterContactFrameCallback", &is<platform::UnregisterCallbackFunction>},
  };
  return functions;
}

TEST_P(MultitouchContract, EachFunctionHasItsType) {
  for (const auto& [name, isOfItsType] : namedFunctions()) {
    EXPECT_TRUE(isOfItsType(library->symbol(name))) << name;
  }
}

TEST_P(MultitouchContract, FunctionThatIsMissingIsNothing) {
  for (const auto& missing : namedFunctions()) {
    backend->setMissingFunction(missing.name);
    for (const auto& [name, isOfItsType] : namedFunctions()) {
      const auto symbol = library->symbol(name);
      EXPECT_EQ(isOfItsType(symbol), name != missing.name) << name << " without " << missing.name;
      EXPECT_EQ(std::holds_alternative<std::monostate>(symbol), name == missing.name) << name;
    }
  }
}

TEST_P(MultitouchContract, FunctionOfAnotherNameIsNothing) {
  for (const auto* name : {"", "MTDevice", "mtdevicestart", "MTDeviceStart ", "MTDeviceStarts",
                           "MTRegisterContactFrameCallback"}) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(library->symbol(name))) << name;
  }
}

TEST_P(MultitouchContract, ListHoldsTheSurfacesInTheHostsOrder) {
  ASSERT_EQ(list().value().size(), 2U);
  EXPECT_EQ(dimensions("MTDeviceGetSensorDimensions", *surface(0)).first, 12);
  EXPECT_EQ(dimensions("MTDeviceGetSensorDimensions", *surface(1)).first, 20);
}

TEST_P(MultitouchContract, ListIsThatOfNow) {
  backend->disconnectSurface(0);
  ASSERT_EQ(list().value().size(), 1U);
  EXPECT_EQ(dimensions("MTDeviceGetSensorDimensions", *surface(0)).first, 20);
  backend->connectSurface({.rows = 7});
  ASSERT_EQ(list().value().size(), 2U);
  EXPECT_EQ(dimensions("MTDeviceGetSensorDimensions", *surface(1)).first, 7);
}

TEST_P(MultitouchContract, ListWithoutSurfacesIsEmpty) {
  backend->disconnectSurface(0);
  backend->disconnectSurface(1);
  ASSERT_TRUE(list().has_value());
  EXPECT_TRUE(list()->empty());
}

TEST_P(MultitouchContract, ListThatIsNotGivenIsNone) {
  backend->setGivesList(false);
  EXPECT_EQ(list(), std::nullopt);
}

TEST_P(MultitouchContract, SurfacesAreToldApart) {
  const auto surfaces = list().value();
  EXPECT_NE(surfaces.at(0), surfaces.at(1));
  EXPECT_NE(identifierOf(*surfaces.at(0)), identifierOf(*surfaces.at(1)));
  EXPECT_EQ(identifierOf(*surfaces.at(0)), identifierOf(*surface(0)));
}

TEST_P(MultitouchContract, DimensionsAreFilledInTheirOrder) {
  using Both = std::pair<std::int32_t, std::int32_t>;
  EXPECT_EQ(dimensions("MTDeviceGetSensorDimensions", *surface(1)), (Both{20, 30}));
  EXPECT_EQ(dimensions("MTDeviceGetSensorSurfaceDimensions", *surface(1)), (Both{10400, 6400}));
}

TEST_P(MultitouchContract, BuiltInSurfaceSaysSo) {
  backend->connectSurface({.isBuiltIn = true});
  const auto isBuiltIn = function<platform::DeviceTruthFunction>("MTDeviceIsBuiltIn");
  EXPECT_FALSE(isBuiltIn(*surface(0)));
  EXPECT_TRUE(isBuiltIn(*surface(2)));
}

TEST_P(MultitouchContract, SurfaceThatIsHeldOutlivesItsConnection) {
  const auto held = surface(1);
  registerNoting(*held, "a");
  start(*held);
  backend->disconnectSurface(1);
  EXPECT_EQ(dimensions("MTDeviceGetSensorDimensions", *held).second, 30);
  backend->sendFrame(1, 1);
  stop(*held);
  unregister(*held);
  EXPECT_EQ(notes, Notes());
}

TEST_P(MultitouchContract, FramesComeWhileRegisteredAndStarted) {
  const auto device = surface(0);
  registerNoting(*device, "a");
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes());
  EXPECT_EQ(start(*device), 0);
  backend->sendFrame(0, 2);
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, (Notes{"a 1 2", "a 1"}));
  stop(*device);
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes.size(), 2U);
  EXPECT_EQ(start(*device), 0);
  backend->sendFrame(0, 3);
  EXPECT_EQ(notes.back(), "a 1 2 3");
}

TEST_P(MultitouchContract, FramesComeToWhoRegistersAfterTheStart) {
  const auto device = surface(0);
  start(*device);
  backend->sendFrame(0, 1);
  registerNoting(*device, "a");
  EXPECT_EQ(notes, Notes());
  backend->sendFrame(0, 2);
  EXPECT_EQ(notes, Notes{"a 1 2"});
}

TEST_P(MultitouchContract, FrameMayHoldNoContacts) {
  const auto device = surface(0);
  registerNoting(*device, "a");
  start(*device);
  backend->sendFrame(0, 0);
  EXPECT_EQ(notes, Notes{"a"});
}

TEST_P(MultitouchContract, SurfaceThatDoesNotStartSendsNoFrames) {
  backend->connectSurface({.startStatus = -536870212});
  const auto device = surface(2);
  registerNoting(*device, "a");
  EXPECT_EQ(start(*device), -536870212);
  backend->sendFrame(2, 1);
  EXPECT_EQ(notes, Notes());
}

TEST_P(MultitouchContract, FramesGoToTheCallbackOfTheirSurface) {
  const auto first = surface(0);
  const auto second = surface(1);
  registerNoting(*first, "a");
  registerNoting(*second, "b");
  start(*first);
  start(*second);
  backend->sendFrame(1, 1);
  backend->sendFrame(0, 2);
  unregister(*second);
  stop(*second);
  backend->sendFrame(1, 3);
  backend->sendFrame(0, 4);
  EXPECT_EQ(notes, (Notes{"b 1", "a 1 2", "a 1 2 3 4"}));
}

TEST_P(MultitouchContract, RegisteringAgainReplacesTheCallback) {
  const auto device = surface(0);
  registerNoting(*device, "a");
  start(*device);
  registerNoting(*device, "b");
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes{"b 1"});
}

TEST_P(MultitouchContract, NoFrameComesOnceUnregistered) {
  const auto device = surface(0);
  registerNoting(*device, "a");
  start(*device);
  unregister(*device);
  unregister(*device);
  backend->sendFrame(0, 1);
  stop(*device);
  start(*device);
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes());
}

TEST_P(MultitouchContract, CallbackMayUnregisterItself) {
  const auto device = surface(0);
  auto held = std::make_shared<int>(0);
  watched = held;
  registerCallback(
      *device, [this, device, held = std::move(held)](auto, int) { unregisterAndNote(*device); });
  start(*device);
  backend->sendFrame(0, 1);
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes{"held"});
}

TEST_P(MultitouchContract, NoFrameComesOnceTheLibraryIsClosed) {
  const auto device = surface(0);
  registerNoting(*device, "a");
  start(*device);
  library.reset();
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes());
}

TEST_P(MultitouchContract, LibraryThatIsOpenedAgainKnowsNoEarlierCallback) {
  registerNoting(*surface(0), "a");
  library.reset();
  open();
  start(*surface(0));
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes());
  registerNoting(*surface(0), "b");
  backend->sendFrame(0, 1);
  EXPECT_EQ(notes, Notes{"b 1"});
}

INSTANTIATE_TEST_SUITE_P(On, MultitouchContract, testing::ValuesIn(scriptedBackends()),
                         backendName);

}  // namespace
}  // namespace tessline::test
