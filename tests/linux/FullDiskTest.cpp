// A device to which nothing can be written for want of room.
#include "cli/Errors.h"
#include "cli/voice/OggOpusFile.h"
#include "cli/voice/VoiceSessionRecorder.h"
#include "cli/voice/WavFile.h"
#include "tests/cli/listen/ListenerTest.h"
#include "tests/cli/support/Command.h"
#include "tests/cli/voice/VoiceTestSupport.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

class FullDisk : public ListenerTest {
 protected:
  // A file of that name on it.
  std::filesystem::path fullFile(const std::string& name) const {
    std::filesystem::create_symlink("/dev/full", directory / name);
    return directory / name;
  }
  static std::string complaintOf(const std::filesystem::path& path) {
    return "could not write " + path.native() + ": No space left on device";
  }
  std::shared_ptr<cli::LiveOutput> makeFullOutput(const cli::LiveOptions& options = {}) const {
    return std::make_shared<cli::LiveOutput>(cli::Output::file(fullFile("full")), options);
  }
};

TEST_F(FullDisk, IsWhatOpusFilesSay) {
  const auto path = fullFile("voice.opus");
  EXPECT_EQ(inputOutputError([&] { cli::OggOpusWriter(path, 1); }), complaintOf(path));
}

TEST_F(FullDisk, IsWhatWavFilesSay) {
  const auto path = fullFile("voice.wav");
  EXPECT_EQ(inputOutputError([&] { cli::WavWriter{path}; }), complaintOf(path));
}

TEST_F(FullDisk, IsWhatEitherFileOfAVoiceSessionSays) {
  for (const char* const name : {"voice-001.opus", "voice-001.wav"}) {
    const auto path = fullFile(name);
    cli::VoiceSessionRecorder recorder({.directory = directory.path(), .wav = true});
    EXPECT_EQ(inputOutputError([&] { recorder.handle(VoiceSessionStarted{}); }), complaintOf(path));
    std::filesystem::remove(path);
  }
}

TEST_F(FullDisk, IsWhyADecodeFails) {
  const auto path = fullFile("voice-001.opus");
  const CommandResult result = runCommand({"decode", "--voice", directory.path().native()},
                                          "RECV 40 20 09 00 05 00 04 00 1b 23 00 00 10\n");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.errors, "tessline: " + complaintOf(path) + "\n");
}

TEST_F(FullDisk, EndsALiveOutput) {
  const auto output = makeFullOutput();
  output->write([](cli::LiveWriter& writer) { writer.note("·", "lost"); });
  EXPECT_TRUE(isOver(*output));
  // What comes behind is not the reason.
  output->end({});
  EXPECT_THROW(output->finish(), cli::InputOutputError);
}

TEST_F(FullDisk, LeavesTheVoiceFilesOfALiveOutputWhole) {
  const auto output =
      makeFullOutput({.format = cli::OutputFormat::jsonl,
                      .voiceFiles = cli::VoiceFileOptions{directory / "voice", false}});
  output->events(
      {VoiceSessionStarted{}, RemoteVoiceFrame{.packetBytes = {0xB8, 1}, .rawBytes = {}}});
  EXPECT_THROW(output->finish(), cli::InputOutputError);
  EXPECT_TRUE(readOggPages(directory / "voice" / "voice-001.opus").back().isLast);
}

}  // namespace
}  // namespace tessline::test
