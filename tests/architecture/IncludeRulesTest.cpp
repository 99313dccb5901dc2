#include "tests/architecture/IncludeRules.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

using Messages = std::vector<std::string>;

/// What the rules say of a file in `folder` of tessline/ that includes a header of `target`.
Messages including(std::string_view folder, std::string_view target) {
  return brokenIncludeRules("tessline/" + std::string(folder) + "/X.cpp",
                            "#include \"tessline/" + std::string(target) + "/Y.h\"\n");
}

Messages includingOutside(std::string_view folder, std::string_view header) {
  return brokenIncludeRules("tessline/" + std::string(folder) + "/X.cpp",
                            "#include <" + std::string(header) + ">\n");
}

constexpr std::string_view folders[] = {"model",
                                        "text",
                                        "events",
                                        "packetlog",
                                        "hid",
                                        "bluetooth",
                                        "touch",
                                        "capture",
                                        "platform",
                                        "platform/posix",
                                        "platform/linux",
                                        "platform/macos",
                                        "platform/simulated"};

/// Every arrow between two folders that is allowed; all others are not.
constexpr std::pair<std::string_view, std::string_view> allowedArrows[] = {
    {"events", "model"},
    {"packetlog", "model"},
    {"packetlog", "events"},
    {"packetlog", "text"},
    {"hid", "model"},
    {"hid", "events"},
    {"hid", "platform"},
    {"hid", "text"},
    {"bluetooth", "model"},
    {"bluetooth", "events"},
    {"bluetooth", "platform"},
    {"bluetooth", "text"},
    {"touch", "model"},
    {"touch", "events"},
    {"touch", "platform"},
    {"capture", "text"},
    {"capture", "model"},
    {"capture", "events"},
    {"capture", "platform"},
    {"capture", "packetlog"},
    {"platform", "model"},
    {"platform/posix", "model"},
    {"platform/posix", "platform"},
    {"platform/linux", "model"},
    {"platform/linux", "platform"},
    {"platform/linux", "platform/posix"},
    {"platform/macos", "model"},
    {"platform/macos", "platform"},
    {"platform/macos", "platform/posix"},
    {"platform/simulated", "model"},
    {"platform/simulated", "platform"},
};

bool isAllowed(std::string_view from, std::string_view to) {
  for (const auto& arrow : allowedArrows) {
    if (arrow == std::pair(from, to)) return true;
  }
  return from == to;
}

TEST(IncludeRules, AllowTheArrowsOfTheDesignAndNoOther) {
  for (const auto from : folders) {
    for (const auto to : folders) {
      EXPECT_EQ(including(from, to).empty(), isAllowed(from, to)) << from << " to " << to;
    }
  }
}

TEST(IncludeRules, NameFileAndLine) {
  const auto messages = brokenIncludeRules(
      "tessline/model/X.h", "#pragma once\n\n#include <string>\n#include \"tessline/hid/Y.h\"\n");
  EXPECT_EQ(messages,
            (Messages{"tessline/model/X.h:4: tessline/model must not include tessline/hid "
                      "(tessline/hid/Y.h)"}));
}

TEST(IncludeRules, ReportEveryBrokenLine) {
  EXPECT_EQ(brokenIncludeRules("tessline/model/X.h",
                               "#include \"tessline/hid/Y.h\"\n#include \"cli/Z.h\"\n")
                .size(),
            2u);
}

TEST(IncludeRules, LetNothingInTheLibraryIncludeWhatIsAroundIt) {
  for (const auto folder : folders) {
    for (const auto* header : {"cli/X.h", "tests/support/X.h", "benchmarks/X.h", "fuzz/X.h",
                               "examples/X.h", "tessline/X.h", "tessline/unknown/X.h"}) {
      const std::string path = "tessline/" + std::string(folder) + "/X.cpp";
      const std::string name(header);
      EXPECT_EQ(brokenIncludeRules(path, "#include \"" + name + "\"\n").size(), 1u) << path;
      EXPECT_EQ(brokenIncludeRules(path, "#include <" + name + ">\n").size(), 1u) << path;
    }
  }
}

TEST(IncludeRules, WantPathsFromTheRoot) {
  for (const auto* header : {"Y.h", "../model/Y.h", "tessline/events/../hid/Y.h", "string"}) {
    EXPECT_EQ(
        brokenIncludeRules("tessline/events/X.h", "#include \"" + std::string(header) + "\"\n")
            .size(),
        1u)
        << header;
  }
}

TEST(IncludeRules, WantAHeaderInEveryInclude) {
  EXPECT_EQ(brokenIncludeRules("tessline/events/X.h", "#include HEADER\n").size(), 1u);
  EXPECT_EQ(brokenIncludeRules("tessline/events/X.h", "#include \"tessline\n").size(), 1u);
}

TEST(IncludeRules, LetTextAloneIncludeTheUnicodeLibrary) {
  for (const auto folder : folders) {
    EXPECT_EQ(includingOutside(folder, "utf8proc.h").empty(), folder == "text") << folder;
  }
}

TEST(IncludeRules, LetBackendsAloneIncludeTheOperatingSystem) {
  for (const auto* header : {"unistd.h", "sys/types.h", "CoreGraphics/CoreGraphics.h"}) {
    for (const auto folder : folders) {
      const bool isBackend =
          folder == "platform/posix" || folder == "platform/linux" || folder == "platform/macos";
      EXPECT_EQ(includingOutside(folder, header).empty(), isBackend) << folder << ' ' << header;
    }
  }
}

TEST(IncludeRules, LetTouchFormatTheNumbersOfItsLog) {
  EXPECT_EQ(includingOutside("touch", "fmt/format.h"), Messages());
  EXPECT_EQ(includingOutside("hid", "fmt/format.h").size(), 1u);
  EXPECT_EQ(includingOutside("model", "fmt/format.h").size(), 1u);
}

TEST(IncludeRules, LetAllIncludeTheStandardLibrary) {
  for (const auto folder : folders) {
    for (const auto* header : {"vector", "cstdint", "string_view", "immintrin.h"}) {
      EXPECT_EQ(includingOutside(folder, header), Messages()) << folder;
    }
  }
}

TEST(IncludeRules, KnowTheFolderOfADeeperFile) {
  EXPECT_EQ(including("events/detail", "hid").size(), 1u);
  EXPECT_EQ(including("events/detail", "model").size(), 0u);
  EXPECT_EQ(including("hid", "platform/simulated/detail").size(), 1u);
  EXPECT_EQ(including("platform/macos/detail", "platform/posix").size(), 0u);
}

TEST(IncludeRules, RefuseFilesInNoKnownFolder) {
  EXPECT_EQ(brokenIncludeRules("tessline/X.h", "").size(), 1u);
  EXPECT_EQ(brokenIncludeRules("tessline/unknown/X.h", "").size(), 1u);
  EXPECT_EQ(brokenIncludeRules("tessline/modelled/X.h", "").size(), 1u);
}

TEST(IncludeRules, ReadIncludesHoweverTheyAreWritten) {
  for (const auto* text : {
           "  #  include  \"tessline/hid/Y.h\"  // for Y\n",
           "#include\"tessline/hid/Y.h\"",
           "#include /* for Y */ \"tessline/hid/Y.h\"\r\n",
           "#import \"tessline/hid/Y.h\"\n",
           "#include \\\n  \"tessline/hid/Y.h\"\n",
           "#include <tessline/hid/Y.h>\n",
           "/* one\n two */ #include \"tessline/hid/Y.h\"\n",
           "auto n = 1'000;\n#include \"tessline/hid/Y.h\"\n",
           "auto s = \"/*\";\n#include \"tessline/hid/Y.h\"\n",
           "auto s = \"\\\"/*\";\n#include \"tessline/hid/Y.h\"\n",
       }) {
    EXPECT_EQ(brokenIncludeRules("tessline/model/X.h", text).size(), 1u) << text;
  }
}

TEST(IncludeRules, PassOverIncludesInComments) {
  for (const auto* text : {
           "// #include \"tessline/hid/Y.h\"\n",
           "/*\n#include \"tessline/hid/Y.h\"\n*/\n",
           "// continued \\\n#include \"tessline/hid/Y.h\"\n",
       }) {
    EXPECT_EQ(brokenIncludeRules("tessline/model/X.h", text), Messages()) << text;
  }
}

TEST(IncludeRules, KeepLineNumbersBehindCommentsAndJoinedLines) {
  const auto messages = brokenIncludeRules(
      "tessline/model/X.h", "/*\n*/\n#define A \\\n  1\n\n#include \"tessline/hid/Y.h\"\n");
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_TRUE(messages[0].starts_with("tessline/model/X.h:6: ")) << messages[0];
}

TEST(OperatingSystemRule, RefusesConditionsOnOne) {
  for (const auto* text : {
           "#ifdef __APPLE__\n#endif\n",
           "#ifndef _WIN32\n#endif\n",
           "#if defined(__linux__)\n#endif\n",
           "#if 0\n#elif defined __unix__\n#endif\n",
           "#if TARGET_OS_OSX\n#endif\n",
           "# if 1 && TARGET_OS_IPHONE\n#endif\n",
           "#if defined(A) || \\\n    defined(__FreeBSD__)\n#endif\n",
       }) {
    EXPECT_EQ(brokenIncludeRules("tessline/events/X.h", text).size(), 1u) << text;
    EXPECT_EQ(brokenIncludeRules("cli/X.h", text).size(), 1u) << text;
    EXPECT_EQ(brokenIncludeRules("tessline/platform/Host.h", text), Messages()) << text;
    EXPECT_EQ(brokenIncludeRules("tessline/platform/posix/Pipe.cpp", text), Messages()) << text;
  }
}

TEST(OperatingSystemRule, AllowsOtherConditions) {
  for (const auto* text : {
           "#if defined(__x86_64__) || defined(__aarch64__)\n#endif\n",
           "#ifdef __clang__\n#endif  // not __APPLE__\n",
           "#if defined(__SSE2__)\n#endif\n",
           "#define A __APPLE__\n",
           "// #ifdef __APPLE__\n",
           "#ifdef MY__APPLE__\n#endif\n",
       }) {
    EXPECT_EQ(brokenIncludeRules("tessline/events/X.h", text), Messages()) << text;
  }
}

TEST(OperatingSystemRule, NamesFileAndLine) {
  EXPECT_EQ(brokenIncludeRules("cli/X.cpp", "\n#ifdef __APPLE__\n#endif\n"),
            (Messages{"cli/X.cpp:2: asks for an operating system: __APPLE__"}));
}

TEST(IncludeRules, LeaveFilesOutsideTheLibraryFree) {
  EXPECT_EQ(brokenIncludeRules("cli/X.cpp",
                               "#include <unistd.h>\n#include \"tessline/hid/Y.h\"\n"
                               "#include \"cli/Z.h\"\n"),
            Messages());
}

}  // namespace
}  // namespace tessline::test
