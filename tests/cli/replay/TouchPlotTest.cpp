#include "cli/replay/plot/Svg.h"
#include "cli/replay/plot/TouchPlot.h"
#include "tests/cli/support/Command.h"
#include "tests/support/Files.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using namespace std::chrono_literals;
using cli::Observation;
using platform::simulated::PlatformCall;

const std::filesystem::path sourceFolder = TESSLINE_SOURCE_DIR;

std::size_t count(const std::string& text, const std::string& part) {
  std::size_t found = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
  return found;
}

Observation mouseAt(const std::string& type, double x, double y) {
  return PlatformCall{{},
                      "CGEventCreateMouseEvent",
                      {{"type", "kCGEvent" + type}, {"x", x}, {"y", y}, {"posted", true}}};
}

Observation scroll(std::int64_t vertical, std::int64_t horizontal) {
  return PlatformCall{{},
                      "CGEventCreateScrollWheelEvent2",
                      {{"wheel1", vertical}, {"wheel2", horizontal}, {"posted", true}}};
}

Observation fingers(const std::vector<SiriRemoteTouchPoint>& points) {
  return cli::TouchPoints{points};
}

// Draws observations that are 10 ms apart.
std::string drawn(const std::vector<Observation>& observations) {
  cli::TouchPlot plot;
  platform::QueueTime time = 1s;
  for (const Observation& observation : observations) plot.observe(time += 10ms, observation);
  return drawTouchPlot(plot, "a title");
}

TEST(Svg, EscapesText) {
  cli::Svg svg(10, 20);
  svg.text({1, 2}, "a<b>&\"c\"\x01", R"(fill="red")");
  EXPECT_NE(svg.finish().find(R"(<text x="1.0" y="2.0" fill="red">a&lt;b&gt;&amp;"c" </text>)"),
            std::string::npos)
      << svg.finish();
}

TEST(TouchPlot, ArrowShowsWhichWayAFingerLeft) {
  const std::string picture = drawn({cli::ModeChanged{"cursor"}, fingers({{1, 0.5F, 0.5F, 3}}),
                                     fingers({{1, 0.6F, 0.5F, 4}}), fingers({})});
  // Its tip is where the finger was last, to the right.
  EXPECT_EQ(count(picture, R"(<polygon points="256.0,290.0 245.0,295.0 245.0,285.0")"), 1U)
      << picture;
}

TEST(TouchPlot, SaysThatThereAreNoScreens) {
  EXPECT_EQ(count(drawn({cli::ScreensChanged{}, fingers({})}), "no screens"), 1U);
}

TEST(Svg, DrawsNoLineOfOnePoint) {
  cli::Svg svg(10, 20);
  const std::string empty = svg.finish();
  svg.polyline(std::array{Point{1, 2}}, "");
  EXPECT_EQ(svg.finish(), empty);
}

TEST(TouchPlot, IsEmptyWithoutTouchesAndClicks) {
  cli::TouchPlot plot;
  plot.observe(1s, PlatformCall{});
  plot.observe(1s, cli::ScreensChanged{{{{0, 0}, {800, 600}}}});
  EXPECT_TRUE(plot.isEmpty());
  plot.observe(1s, fingers({}));
  EXPECT_FALSE(plot.isEmpty());
}

TEST(TouchPlot, PathsHaveTheColourOfTheGesture) {
  const std::string picture = drawn({fingers({{1, 0.9F, 0.5F, 3}}), fingers({{1, 0.8F, 0.5F, 4}}),
                                     cli::ModeChanged{"undecided"}, fingers({{1, 0.7F, 0.5F, 4}})});
  EXPECT_EQ(count(picture, R"(linecap="round" stroke="#E69F00" stroke-width="2"/>)"), 1U);
  EXPECT_EQ(count(picture, R"(linecap="round" stroke="#0072B2" stroke-width="2"/>)"), 0U);
}

TEST(TouchPlot, FrameThatChangesTheGestureIsDrawnInTheNewOne) {
  cli::TouchPlot plot;
  plot.observe(1s, fingers({{1, 0.5F, 0.5F, 3}}));
  plot.observe(1s, cli::ModeChanged{"cursor"});
  plot.observe(2s, fingers({{1, 0.6F, 0.5F, 4}}));
  const std::string picture = drawTouchPlot(plot, "a title");
  EXPECT_EQ(count(picture, R"(linecap="round" stroke="#0072B2" stroke-width="2"/>)"), 1U);
  // The ring where it landed.
  EXPECT_EQ(count(picture, R"(r="6.0" fill="none" stroke="#0072B2")"), 1U);
}

TEST(TouchPlot, FingersAreDrawnOneByOne) {
  const std::string picture =
      drawn({cli::ModeChanged{"twoFingerScroll"}, fingers({{1, 0.3F, 0.5F, 3}, {2, 0.6F, 0.5F, 3}}),
             fingers({{1, 0.3F, 0.6F, 4}, {2, 0.6F, 0.6F, 4}}), fingers({{2, 0.6F, 0.7F, 4}})});
  EXPECT_EQ(count(picture, R"(linecap="round" stroke="#CC79A7" stroke-width="2"/>)"), 2U);
}

TEST(TouchPlot, MovesAndDragsAreTwoLines) {
  const std::string picture =
      drawn({mouseAt("MouseMoved", 10, 10), mouseAt("MouseMoved", 20, 10),
             mouseAt("LeftMouseDown", 20, 10), mouseAt("LeftMouseDragged", 50, 50),
             mouseAt("LeftMouseUp", 50, 50), mouseAt("MouseMoved", 60, 50)});
  EXPECT_EQ(count(picture, R"(stroke="#0072B2" stroke-width="1.6"/>)"), 3U);  // One is the legend.
  EXPECT_EQ(count(picture, R"(stroke="#D55E00" stroke-width="3"/>)"), 2U);
  EXPECT_EQ(count(picture, R"(r="5.0" fill="#D55E00")"), 2U);
  EXPECT_EQ(count(picture, R"(r="8.0" fill="none" stroke="#D55E00")"), 1U);
  EXPECT_NE(picture.find("moves 3"), std::string::npos);
  EXPECT_NE(picture.find("drags 1"), std::string::npos);
  EXPECT_NE(picture.find("button down 1, up 1"), std::string::npos);
}

TEST(TouchPlot, PointerThatGotElsewhereByOtherMeansIsNotJoined) {
  const std::string joined =
      drawn({mouseAt("LeftMouseUp", 0, 0), mouseAt("LeftMouseDown", 90, 90)});
  EXPECT_EQ(count(joined, "<polyline"), 0U);
}

TEST(TouchPlot, EventsThatWereNotPostedAreNotDrawn) {
  PlatformCall call = std::get<PlatformCall>(mouseAt("MouseMoved", 1, 1));
  call.arguments.back().second = false;
  EXPECT_NE(drawn({fingers({}), call}).find("moves 0"), std::string::npos);
}

TEST(TouchPlot, ScrollsAreSummedUpByDirection) {
  const std::string picture = drawn({scroll(10, 0), scroll(-3, 7), scroll(5, -2), fingers({})});
  for (const char* const sum : {"up 15 px", "down 3 px", "left 7 px", "right 2 px", "tallest 10 px",
                                "tallest 7 px", "scroll events 3"}) {
    EXPECT_NE(picture.find(sum), std::string::npos) << sum;
  }
}

TEST(TouchPlot, ScreensStandAsTheyAreArranged) {
  const std::string picture = drawn(
      {cli::ScreensChanged{{{{0, 0}, {1000, 500}}, {{1000, -500}, {500, 1000}}}}, fingers({})});
  // As large as fits: the union is 1500 by 1000.
  EXPECT_NE(picture.find("1000 × 500"), std::string::npos);
  EXPECT_NE(picture.find("500 × 1000"), std::string::npos);
  EXPECT_NE(picture.find(R"(width="352.0" height="176.0")"), std::string::npos) << picture;
}

TEST(TouchPlot, WindowThatMovedIsDrawnWhereItWas) {
  const Rect frame = {{10, 10}, {50, 50}};
  const Rect moved = {{20, 10}, {50, 50}};
  const std::string dashed = R"(fill="none" stroke="#BDC1C6" stroke-dasharray)";
  EXPECT_EQ(count(drawn({fingers({}), cli::WindowPlaced{"<a>", frame, true}}), dashed), 0U);
  const std::string picture = drawn(
      {fingers({}), cli::WindowPlaced{"<a>", frame, true}, cli::WindowPlaced{"<a>", moved, false}});
  EXPECT_EQ(count(picture, dashed), 1U);
  EXPECT_EQ(count(picture, "&lt;a&gt;"), 1U);
}

TEST(TouchPlot, ButtonLaneShowsWhatHoldsIt) {
  const std::string picture =
      drawn({fingers({}), cli::DragChanged{true, false}, cli::ChargePhase{},
             cli::DragChanged{true, true}, cli::DragChanged{false, false}, fingers({})});
  EXPECT_EQ(count(picture, R"(fill="#D55E00" fill-opacity="1")"), 1U);
  EXPECT_EQ(count(picture, R"(fill="#D55E00" fill-opacity="0.45")"), 1U);
  EXPECT_EQ(count(picture, ">began<"), 1U);
  EXPECT_EQ(count(picture, ">held<"), 1U);
  EXPECT_EQ(count(picture, ">locked<"), 1U);
}

TEST(PlotOption, DrawsThePictureOfTheDocuments) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "touch.svg";
  const CommandResult result = runCommand(
      {"replay", (sourceFolder / "tests/recordings/touch-drag-lock-on-title-bar.jsonl").native(),
       "--plot", file.native()});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(readText(file), readText(sourceFolder / "docs/touch.svg"))
      << "draw docs/touch.svg anew with `tessline replay --plot`";
}

TEST(PlotOption, WritesToStandardOutputForADash) {
  const CommandResult result = runCommand(
      {"replay", (sourceFolder / "tests/recordings/touch-drag-lock-on-title-bar.jsonl").native(),
       "--plot", "-"});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output, readText(sourceFolder / "docs/touch.svg"));
}

TEST(PlotOption, GoesTogetherWithCheck) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "touch.svg";
  const CommandResult result =
      runCommand({"replay", (sourceFolder / "tests/recordings/touch-click.jsonl").native(),
                  "--check", "--plot", file.native()});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
  EXPECT_EQ(result.output, "10 records, 0 violations\n");
  EXPECT_TRUE(readText(file).ends_with("</svg>\n"));
}

TEST(PlotOption, RefusesARecordingWithoutTouches) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "touch.svg";
  const std::string recording = (sourceFolder / "tests/recordings/hid-buttons.jsonl").native();
  const CommandResult result = runCommand({"replay", recording, "--plot", file.native()});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.errors, "tessline: there is nothing to plot in " + recording +
                               ": it has no touch frames and no clicks\n");
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(PlotOption, SaysWhenTheFileCannotBeWritten) {
  const CommandResult result =
      runCommand({"replay", (sourceFolder / "tests/recordings/touch-click.jsonl").native(),
                  "--plot", "/nowhere/touch.svg"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.errors.find("/nowhere/touch.svg"), std::string::npos) << result.errors;
}

}  // namespace
}  // namespace tessline::test
