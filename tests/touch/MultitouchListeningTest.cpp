#include "tests/touch/MultitouchFixture.h"

#include <algorithm>

namespace tessline::test {
namespace {

const std::string opening =
    "dlopen /System/Library/PrivateFrameworks/MultitouchSupport.framework/MultitouchSupport 2";
const std::string cannotOpen = "Morvane: Failed to dlopen MultitouchSupport";
const std::string notTrusted =
    "Morvane: Cannot start MultitouchService because Accessibility permission is not authorized.";
const std::string notLoaded = "Morvane: MultitouchSupport API is not loaded";
const std::string noList = "Morvane: MTDeviceCreateList returned nil";
const std::string noSurfaces =
    "Morvane: No connected Siri Remote touch surfaces found in MultitouchSupport";
const std::string startedOne = "Morvane: Started listening to 1 Siri Remote touch surface(s)";
const std::string startedTwo = "Morvane: Started listening to 2 Siri Remote touch surface(s)";
const std::string startedThree = "Morvane: Started listening to 3 Siri Remote touch surface(s)";
const std::string startFailed = "Morvane: Failed to start multitouch device (status: -536870212)";

TEST_F(MultitouchServiceTest, CreationOpensTheLibraryAndLooksNineFunctionsUp) {
  EXPECT_EQ(story(),
            (Lines{opening, "dlsym MTDeviceCreateList", "dlsym MTDeviceGetDeviceID",
                   "dlsym MTDeviceStart", "dlsym MTDeviceStop",
                   "dlsym MTDeviceGetSensorSurfaceDimensions", "dlsym MTDeviceGetSensorDimensions",
                   "dlsym MTDeviceIsBuiltIn", "dlsym MTRegisterContactFrameCallbackWithRefcon",
                   "dlsym MTUnregisterContactFrameCallback"}));
  EXPECT_FALSE(service->isListening());
  EXPECT_TRUE(reports.empty());
}

TEST_F(MultitouchServiceTest, LibraryThatCannotBeOpenedIsLoggedAndAskedForNothing) {
  host->multitouch().setCanBeOpened(false);
  makeService();
  EXPECT_EQ(story(), (Lines{opening, cannotOpen}));
}

TEST_F(MultitouchServiceTest, WithoutTheLibraryEveryStartFails) {
  host->multitouch().setCanBeOpened(false);
  makeService();
  connect();
  host->multitouch().setCanBeOpened(true);
  for (int count = 0; count < 3; ++count) {
    EXPECT_EQ(starting(), (Lines{"AXIsProcessTrusted 1", notLoaded}));
    EXPECT_FALSE(service->isListening());
  }
  EXPECT_EQ(stopping(), Lines());
  EXPECT_EQ(releasing(), Lines());
}

TEST_F(MultitouchServiceTest, MissingFunctionsAreNotMentioned) {
  makeServiceWithout({"MTDeviceCreateList", "MTDeviceGetDeviceID", "MTDeviceStart", "MTDeviceStop",
                      "MTDeviceGetSensorSurfaceDimensions", "MTDeviceGetSensorDimensions",
                      "MTDeviceIsBuiltIn", "MTRegisterContactFrameCallbackWithRefcon",
                      "MTUnregisterContactFrameCallback"});
  EXPECT_EQ(story().size(), 10U);
  EXPECT_EQ(logOf([&] { makeService(); }), Lines());
  EXPECT_EQ(starting(), (Lines{"AXIsProcessTrusted 1", notLoaded}));
}

class MissingFunction : public MultitouchServiceTest,
                        public testing::WithParamInterface<const char*> {
 protected:
  MissingFunction() { makeServiceWithout({GetParam()}); }
};

std::string parameterName(const testing::TestParamInfo<const char*>& info) {
  return info.param;
}

using MissingNecessaryFunction = MissingFunction;
INSTANTIATE_TEST_SUITE_P(, MissingNecessaryFunction,
                         testing::Values("MTDeviceCreateList", "MTDeviceGetSensorSurfaceDimensions",
                                         "MTRegisterContactFrameCallbackWithRefcon",
                                         "MTDeviceStart"),
                         parameterName);

TEST_P(MissingNecessaryFunction, PreventsTheStart) {
  connect();
  EXPECT_EQ(starting(), (Lines{"AXIsProcessTrusted 1", notLoaded}));
  EXPECT_FALSE(service->isListening());
  EXPECT_EQ(stopping(), Lines());
}

using MissingOptionalFunction = MissingFunction;
INSTANTIATE_TEST_SUITE_P(, MissingOptionalFunction,
                         testing::Values("MTDeviceGetDeviceID", "MTDeviceStop", "MTDeviceIsBuiltIn",
                                         "MTDeviceGetSensorDimensions",
                                         "MTUnregisterContactFrameCallback"),
                         parameterName);

TEST_P(MissingOptionalFunction, DoesNotPreventTheStart) {
  connect({.sensorRows = 12, .sensorColumns = 6, .surfaceWidth = 2775, .surfaceHeight = 2775});
  EXPECT_EQ(starting().back(), startedOne);
  EXPECT_TRUE(service->isListening());
}

using MissingStoppingFunction = MissingFunction;
INSTANTIATE_TEST_SUITE_P(, MissingStoppingFunction,
                         testing::Values("MTDeviceStop", "MTUnregisterContactFrameCallback"),
                         parameterName);

TEST_P(MissingStoppingFunction, MakesStopDoNothing) {
  const Surface surface = connect();
  service->start();
  EXPECT_EQ(stopping(), Lines());
  EXPECT_TRUE(service->isListening());
  EXPECT_TRUE(reports.empty());
  send(surface, {began(1, 0.5F, 0.5F)});
  EXPECT_EQ(reports, (std::vector<TouchPoints>{{{1, 0.5F, 0.5F, 3}}}));
  EXPECT_EQ(starting(), Lines());
  EXPECT_EQ(releasing(), Lines{"dlclose"});
}

TEST_P(MissingStoppingFunction, FramesAfterTheReleaseCallNothing) {
  const Surface surface = connect();
  service->start();
  int frames = 0;
  host->calls().onCall = [&](const PlatformCall& call) {
    if (call.operation != "dlclose") return;
    send(surface, {began(1, 0.5F, 0.5F)});
    ++frames;
  };
  EXPECT_EQ(releasing(), Lines{"dlclose"});
  EXPECT_EQ(frames, 1);
  EXPECT_TRUE(reports.empty());
}

TEST_F(MultitouchServiceTest, MissingBuiltInCheckKeepsBuiltInSurfaces) {
  makeServiceWithout({"MTDeviceIsBuiltIn"});
  connect({.isBuiltIn = true, .sensorRows = 12, .sensorColumns = 6});
  connect(trackpad);
  EXPECT_EQ(
      starting(),
      (Lines{"AXIsProcessTrusted 1", "MTDeviceCreateList", "MTDeviceGetSensorDimensions 1",
             "MTDeviceGetSensorSurfaceDimensions 1", "MTRegisterContactFrameCallbackWithRefcon 1",
             "MTDeviceStart 1 0 0", "MTDeviceGetSensorDimensions 2",
             "MTDeviceGetSensorSurfaceDimensions 2", startedOne}));
}

TEST_F(MultitouchServiceTest, MissingSensorDimensionsLeaveTheSurfaceToTell) {
  makeServiceWithout({"MTDeviceGetSensorDimensions"});
  connect({.sensorRows = 12, .sensorColumns = 6});
  connect({.surfaceWidth = 2775, .surfaceHeight = 2775});
  EXPECT_EQ(
      starting(),
      (Lines{"AXIsProcessTrusted 1", "MTDeviceCreateList", "MTDeviceGetSensorSurfaceDimensions 1",
             "MTDeviceIsBuiltIn 1", "MTDeviceGetSensorSurfaceDimensions 2", "MTDeviceIsBuiltIn 2",
             "MTRegisterContactFrameCallbackWithRefcon 2", "MTDeviceStart 2 0 0", startedOne}));
}

TEST_F(MultitouchServiceTest, SurfaceThatTellsNoDimensionsIsNotTakenForTheOneBeforeIt) {
  host->multitouch().connect(remoteSurface);
  SimulatedSurface silent = remoteSurface;
  silent.tellsDimensions = false;
  host->multitouch().connect(silent);
  host->calls().clear();
  service->start();
  std::size_t started = 0;
  for (const auto& call : host->calls().calls()) {
    if (call.operation == "MTDeviceStart") ++started;
  }
  EXPECT_EQ(started, 1U);
}

TEST_F(MultitouchServiceTest, ProcessThatIsNotTrustedDoesNotStart) {
  host->desktop().setTrusted(false);
  connect();
  EXPECT_EQ(starting(), (Lines{"AXIsProcessTrusted 0", notTrusted}));
  EXPECT_FALSE(service->isListening());
  host->desktop().setTrusted(true);
  EXPECT_EQ(starting().back(), startedOne);
}

TEST_F(MultitouchServiceTest, TrustIsAskedForBeforeTheLibrary) {
  host->desktop().setTrusted(false);
  host->multitouch().setCanBeOpened(false);
  makeService();
  EXPECT_EQ(starting(), (Lines{"AXIsProcessTrusted 0", notTrusted}));
}

TEST_F(MultitouchServiceTest, MissingListIsLogged) {
  connect();
  host->multitouch().setCreatesList(false);
  EXPECT_EQ(starting(), (Lines{"AXIsProcessTrusted 1", "MTDeviceCreateList", noList}));
  EXPECT_FALSE(service->isListening());
}

TEST_F(MultitouchServiceTest, EmptyListIsLogged) {
  EXPECT_EQ(starting(), (Lines{"AXIsProcessTrusted 1", "MTDeviceCreateList", noSurfaces}));
  EXPECT_FALSE(service->isListening());
}

TEST_F(MultitouchServiceTest, TrackpadAloneIsNoRemote) {
  connect(trackpad);
  EXPECT_EQ(starting(),
            (Lines{"AXIsProcessTrusted 1", "MTDeviceCreateList", "MTDeviceGetSensorDimensions 1",
                   "MTDeviceGetSensorSurfaceDimensions 1", "MTDeviceIsBuiltIn 1", noSurfaces}));
  EXPECT_FALSE(service->isListening());
  EXPECT_EQ(stopping(), Lines());
}

struct SurfaceRow {
  const char* name;
  SimulatedSurface surface;
  bool isRemote;
};

const SurfaceRow surfaceRows[] = {
    {"TwelveBySix", {false, 12, 6}, true},
    {"SixByTwelve", {false, 6, 12}, true},
    {"TwelveByTwelve", {false, 12, 12}, false},
    {"SixBySix", {false, 6, 6}, false},
    {"TwelveByFive", {false, 12, 5}, false},
    {"SevenByTwelve", {false, 7, 12}, false},
    {"NoRowsBySix", {false, 0, 6}, false},
    {"NothingSaid", {}, false},
    {"TwelveByTwelveOnTheRemotesSurface", {false, 12, 12, 2775, 2775}, true},
    {"OtherSensorsOnTheRemotesSurface", {false, 18, 26, 2775, 2775}, true},
    {"RemotesSensorsOnAnotherSurface", {false, 12, 6, 13000, 8000}, true},
    {"WidthAlone", {false, 12, 12, 2775, 0}, false},
    {"HeightAlone", {false, 12, 12, 0, 2775}, false},
    {"WidthOneOff", {false, 0, 0, 2774, 2775}, false},
    {"HeightOneOff", {false, 0, 0, 2775, 2776}, false},
    {"BuiltInWithTheRemotesSensors", {true, 12, 6}, false},
    {"BuiltInWithTheRemotesSurface", {true, 12, 12, 2775, 2775}, false},
};

class SurfaceSelection : public MultitouchServiceTest,
                         public testing::WithParamInterface<SurfaceRow> {};
INSTANTIATE_TEST_SUITE_P(, SurfaceSelection, testing::ValuesIn(surfaceRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(SurfaceSelection, GoesByWhatTheSurfaceMeasures) {
  connect(GetParam().surface);
  EXPECT_EQ(starting().back(), GetParam().isRemote ? startedOne : noSurfaces);
  EXPECT_EQ(service->isListening(), GetParam().isRemote);
}

TEST_F(MultitouchServiceTest, StartTakesTheSurfacesInTheOrderOfTheList) {
  connect(remoteSurface);
  connect(trackpad);
  connect({.surfaceWidth = 2775, .surfaceHeight = 2775});
  EXPECT_EQ(
      starting(),
      (Lines{"AXIsProcessTrusted 1", "MTDeviceCreateList", "MTDeviceGetSensorDimensions 1",
             "MTDeviceGetSensorSurfaceDimensions 1", "MTDeviceIsBuiltIn 1",
             "MTRegisterContactFrameCallbackWithRefcon 1", "MTDeviceStart 1 0 0",
             "MTDeviceGetSensorDimensions 2", "MTDeviceGetSensorSurfaceDimensions 2",
             "MTDeviceIsBuiltIn 2", "MTDeviceGetSensorDimensions 3",
             "MTDeviceGetSensorSurfaceDimensions 3", "MTDeviceIsBuiltIn 3",
             "MTRegisterContactFrameCallbackWithRefcon 3", "MTDeviceStart 3 0 0", startedTwo}));
  EXPECT_TRUE(service->isListening());
}

TEST_F(MultitouchServiceTest, SurfaceThatDoesNotStartIsLoggedAndKept) {
  connect(brokenSurface);
  connect();
  const Lines story = starting();
  EXPECT_EQ(Lines(story.begin() + 5, story.begin() + 8),
            (Lines{"MTRegisterContactFrameCallbackWithRefcon 1", "MTDeviceStart 1 0 -536870212",
                   startFailed}));
  EXPECT_EQ(story.back(), startedOne);
  EXPECT_EQ(stopping(),
            (Lines{"MTDeviceStop 1", "MTUnregisterContactFrameCallback 1", "MTDeviceStop 2",
                   "MTUnregisterContactFrameCallback 2", "onTouchesChanged 0", stopped}));
}

TEST_F(MultitouchServiceTest, SurfacesThatAllFailAreStoppedByTheNextStopThatDoesAnything) {
  const Surface first = connect(brokenSurface);
  connect(brokenSurface);
  const Lines failure = starting();
  EXPECT_EQ(std::count(failure.begin(), failure.end(), startFailed), 2);
  EXPECT_EQ(failure.back(), noSurfaces);
  EXPECT_FALSE(service->isListening());
  EXPECT_EQ(stopping(), Lines());

  first->surface.startStatus = 0;
  EXPECT_EQ(starting().back(), startedOne);
  EXPECT_EQ(stopping(),
            (Lines{"MTDeviceStop 1", "MTUnregisterContactFrameCallback 1", "MTDeviceStop 2",
                   "MTUnregisterContactFrameCallback 2", "MTDeviceStop 1",
                   "MTUnregisterContactFrameCallback 1", "MTDeviceStop 2",
                   "MTUnregisterContactFrameCallback 2", "onTouchesChanged 0", stopped}));
}

TEST_F(MultitouchServiceTest, PositiveStatusIsAFailureToo) {
  connect({.sensorRows = 12, .sensorColumns = 6, .startStatus = 1});
  EXPECT_EQ(logOf([&] { service->start(); }),
            (Lines{"Morvane: Failed to start multitouch device (status: 1)", noSurfaces}));
}

TEST_F(MultitouchServiceTest, SecondStartDoesNothing) {
  connect();
  service->start();
  connect();
  host->desktop().setTrusted(false);
  EXPECT_EQ(starting(), Lines());
  EXPECT_TRUE(service->isListening());
  EXPECT_EQ(stopping(), (Lines{"MTDeviceStop 1", "MTUnregisterContactFrameCallback 1",
                               "onTouchesChanged 0", stopped}));
}

TEST_F(MultitouchServiceTest, StopWithoutStartDoesNothing) {
  connect();
  EXPECT_EQ(stopping(), Lines());
  EXPECT_TRUE(reports.empty());
}

TEST_F(MultitouchServiceTest, SecondStopDoesNothing) {
  connect();
  service->start();
  service->stop();
  EXPECT_EQ(stopping(), Lines());
  EXPECT_EQ(reports.size(), 1U);
}

TEST_F(MultitouchServiceTest, StopReportsNoFingersOnceItListensNoMore) {
  const Surface surface = connect();
  service->start();
  std::vector<bool> listening;
  service->onTouchesChanged = [&](auto touches) {
    listening.push_back(service->isListening());
    EXPECT_TRUE(touches.empty());
  };
  service->stop();
  EXPECT_EQ(listening, std::vector<bool>{false});
  send(surface, {});
  EXPECT_EQ(listening.size(), 1U);
}

TEST_F(MultitouchServiceTest, StopWithoutACallbackStillLogs) {
  connect();
  service->start();
  service->onTouchesChanged = nullptr;
  EXPECT_EQ(stopping(), (Lines{"MTDeviceStop 1", "MTUnregisterContactFrameCallback 1", stopped}));
}

TEST_F(MultitouchServiceTest, SurfaceThatIsGoneIsStoppedAllTheSame) {
  const Surface surface = connect();
  service->start();
  host->multitouch().disconnect(surface);
  EXPECT_EQ(stopping().front(), "MTDeviceStop 1");
}

TEST_F(MultitouchServiceTest, StoppedServiceStartsAgainWithANewList) {
  const Surface first = connect();
  service->start();
  service->stop();
  host->multitouch().disconnect(first);
  connect();
  connect();
  connect();
  EXPECT_EQ(starting().back(), startedThree);
  EXPECT_TRUE(service->isListening());
  EXPECT_EQ(stopping().front(), "MTDeviceStop 2");
}

TEST_F(MultitouchServiceTest, ReleaseStopsThenClosesTheLibrary) {
  connect();
  service->start();
  EXPECT_EQ(releasing(), (Lines{"MTDeviceStop 1", "MTUnregisterContactFrameCallback 1",
                                "onTouchesChanged 0", stopped, "dlclose"}));
}

TEST_F(MultitouchServiceTest, ReleaseWithoutListeningClosesTheLibraryAlone) {
  connect(brokenSurface);
  service->start();
  EXPECT_EQ(releasing(), Lines{"dlclose"});
  EXPECT_TRUE(reports.empty());
}

}  // namespace
}  // namespace tessline::test
