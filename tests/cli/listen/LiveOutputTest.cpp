#include "cli/Errors.h"
#include "tests/cli/listen/ListenerTest.h"

#include <cstdint>

namespace tessline::test {
namespace {

using cli::ListenEnd;
using cli::LiveWriter;

const std::vector<TesslineEvent> oneFrame = {
    VoiceSessionStarted{}, RemoteVoiceFrame{.packetBytes = {0xB8, 0x01}, .rawBytes = {}}};

class LiveOutput : public ListenerTest {
 protected:
  static void note(cli::LiveOutput& output, const std::string& text) {
    output.write([&](LiveWriter& writer) { writer.note("·", text); });
  }
};

TEST_F(LiveOutput, WritesUntilItIsOver) {
  const auto output = makeOutput();
  note(*output, "before");
  EXPECT_FALSE(isOver(*output));
  output->end({});
  EXPECT_TRUE(isOver(*output));
  note(*output, "after");
  output->events(oneFrame);
  EXPECT_EQ(shown(), "    0.000 s  · before\n");
}

TEST_F(LiveOutput, TellsTheFirstEnd) {
  const auto output = makeOutput();
  output->end({true, "a hint"});
  output->end({});
  EXPECT_EQ(output->finish(), (ListenEnd{true, "a hint"}));
}

TEST_F(LiveOutput, IsOverAfterItWasFinished) {
  const auto output = makeOutput();
  EXPECT_EQ(output->finish(), ListenEnd());
  note(*output, "after");
  EXPECT_EQ(shown(), "");
}

TEST_F(LiveOutput, BreaksOffTheVoiceSessionThatIsOpen) {
  const auto output = makeOutput({.format = cli::OutputFormat::text,
                                  .voiceFiles = cli::VoiceFileOptions{directory / "voice", true}});
  output->events(oneFrame);
  EXPECT_EQ(output->finish(), ListenEnd());
  EXPECT_EQ(shown(),
            "    0.000 s  ● voice session started\n"
            "    0.000 s  ■ voice session 1 broke off: 0.02 s of sound  voice-001.opus\n");
  EXPECT_TRUE(readText(directory / "voice" / "voice-001.wav").starts_with("RIFF"));
}

TEST_F(LiveOutput, RefusesADirectoryThatCannotBeMade) {
  const std::string inTheWay = directory.file("file", "");
  EXPECT_THROW(makeOutput({.format = cli::OutputFormat::text,
                           .voiceFiles = cli::VoiceFileOptions{inTheWay + "/voice", false}}),
               cli::InputOutputError);
}

}  // namespace
}  // namespace tessline::test
