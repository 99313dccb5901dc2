#include "cli/voice/VoiceSessionRecorder.h"
#include "tests/cli/voice/VoiceTestSupport.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace tessline::cli {
namespace {

using test::ByteVector;
using test::inputOutputError;

const TesslineEvent started = VoiceSessionStarted{};
const TesslineEvent ended = VoiceSessionEnded{};
const TesslineEvent pressed = RemoteButtonEvent{RemoteCommand::voice, RemoteButtonPhase::pressed};
const TesslineEvent released = RemoteButtonEvent{RemoteCommand::voice, RemoteButtonPhase::released};

TesslineEvent frame(const ByteVector& packet) {
  ByteVector bytes = {static_cast<std::uint8_t>(packet.size())};
  bytes.insert(bytes.end(), packet.begin(), packet.end());
  return RemoteVoiceFrame::fromRawBytes(bytes).value();
}

const TesslineEvent soundFrame = frame({0xB8, 0x01, 0x02});
const TesslineEvent emptyFrame = frame({});
const TesslineEvent refusedFrame = frame({0xB1, 0x01, 0x02, 0x03});

/// Feeds a recorder and writes down the sessions it closes, one word each: "2+1/1" is a session of
/// two frames, one of them refused by libopus, and one empty frame; "..." is added if it broke off.
class SessionFixture : public testing::Test {
 protected:
  void feed(const std::vector<TesslineEvent>& events) {
    for (const TesslineEvent& event : events) recorder().handle(event);
  }

  /// The sessions in `events`.
  std::string sessions(const std::vector<TesslineEvent>& events) {
    feed(events);
    recorder().finish();
    return closed();
  }

  /// The sessions closed since the last call.
  std::string closed() {
    std::string all;
    for (const VoiceSessionRecord& record : records_) {
      if (!all.empty()) all += ' ';
      all += fmt::format("{}+{}/{}{}", record.frameCount, record.emptyFrameCount,
                         record.refusedPacketCount, record.hasEnd ? "" : "...");
    }
    records_.clear();
    return all;
  }

  VoiceSessionRecorder& recorder() {
    if (!recorder_) makeRecorder();
    return *recorder_;
  }

  void writeFiles(bool wav) {
    recorder_.emplace(VoiceFileOptions{.directory = directory(), .wav = wav});
    listen();
  }

  std::filesystem::path directory() const { return temporary_ / "all" / "voices"; }
  std::filesystem::path file(const std::string& name) const { return directory() / name; }

  std::set<std::string> fileNames() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory())) {
      names.insert(entry.path().filename().native());
    }
    return names;
  }

  test::TemporaryDirectory temporary_;
  std::vector<VoiceSessionRecord> records_;

 private:
  void makeRecorder() {
    recorder_.emplace();
    listen();
  }
  void listen() {
    recorder_->onSessionClosed = [this](const VoiceSessionRecord& record) {
      records_.push_back(record);
    };
  }

  std::optional<VoiceSessionRecorder> recorder_;
};

using VoiceSessions = SessionFixture;
using VoiceSessionFiles = SessionFixture;

TEST_F(VoiceSessions, AreBracketedByTheirEvents) {
  EXPECT_EQ(sessions({started, soundFrame, soundFrame, ended}), "2+0/0");
}

TEST_F(VoiceSessions, AreBracketedByTheVoiceButtonAlone) {
  EXPECT_EQ(sessions({pressed, soundFrame, released, pressed, soundFrame, soundFrame, released}),
            "1+0/0 2+0/0");
}

TEST_F(VoiceSessions, AreOneWhenBothBracketsCome) {
  EXPECT_EQ(sessions({started, pressed, soundFrame, ended, released}), "1+0/0");
  EXPECT_EQ(sessions({pressed, started, soundFrame, released, ended}), "1+0/0");
}

TEST_F(VoiceSessions, OpenWithTheFirstFrameIfNothingElseOpenedThem) {
  EXPECT_EQ(sessions({soundFrame, ended}), "1+0/0");
  EXPECT_EQ(sessions({emptyFrame, released}), "0+1/0");
}

TEST_F(VoiceSessions, BreakOffWhenTheNextStarts) {
  EXPECT_EQ(sessions({started, soundFrame, started, soundFrame, soundFrame, ended}),
            "1+0/0... 2+0/0");
  EXPECT_EQ(sessions({started, started, ended}), "0+0/0... 0+0/0");
  EXPECT_EQ(sessions({soundFrame, started, ended}), "1+0/0... 0+0/0");
}

TEST_F(VoiceSessions, StartAnewAfterFramesOfAButtonSession) {
  EXPECT_EQ(sessions({pressed, soundFrame, started, released}), "1+0/0... 0+0/0");
  EXPECT_EQ(sessions({pressed, emptyFrame, started, released}), "0+1/0... 0+0/0");
}

TEST_F(VoiceSessions, GoOnWhenTheButtonIsPressedDuringThem) {
  EXPECT_EQ(sessions({started, soundFrame, pressed, soundFrame, ended}), "2+0/0");
  EXPECT_EQ(sessions({pressed, soundFrame, pressed, soundFrame, released}), "2+0/0");
}

TEST_F(VoiceSessions, IgnoreAnEndWithoutAStart) {
  EXPECT_EQ(sessions({ended, released, ended}), "");
}

TEST_F(VoiceSessions, IgnoreOtherButtons) {
  const TesslineEvent press = RemoteButtonEvent{RemoteCommand::mute, RemoteButtonPhase::pressed};
  const TesslineEvent release = RemoteButtonEvent{RemoteCommand::mute, RemoteButtonPhase::released};
  EXPECT_EQ(sessions({press, release}), "");
  EXPECT_EQ(sessions({started, soundFrame, press, release, soundFrame, ended}), "2+0/0");
}

TEST_F(VoiceSessions, BreakOffAtTheEndOfEvents) {
  EXPECT_EQ(sessions({started, soundFrame}), "1+0/0...");
}

TEST_F(VoiceSessions, AreReportedOnlyOnce) {
  feed({started});
  recorder().finish();
  EXPECT_EQ(closed(), "0+0/0...");
  recorder().finish();
  EXPECT_EQ(closed(), "");
  EXPECT_EQ(sessions({soundFrame}), "1+0/0...");
  EXPECT_EQ(recorder().totals().sessionCount, 2U);
}

TEST_F(VoiceSessions, AreReportedAsSoonAsTheyAreOver) {
  feed({started, soundFrame});
  EXPECT_EQ(closed(), "");
  feed({started});
  EXPECT_EQ(closed(), "1+0/0...");
  feed({released});
  EXPECT_EQ(closed(), "0+0/0");
}

TEST_F(VoiceSessions, CountWhatIsNoSoundWithoutDecodingIt) {
  EXPECT_EQ(sessions({started, refusedFrame, emptyFrame, soundFrame, emptyFrame, ended}), "2+2/1");
}

TEST_F(VoiceSessions, CountTheSameWithFiles) {
  for (const bool wav : {false, true}) {
    writeFiles(wav);
    EXPECT_EQ(sessions({started, refusedFrame, emptyFrame, soundFrame, emptyFrame, ended}),
              "2+2/1");
  }
}

TEST_F(VoiceSessions, AreNumberedFromOneAndHaveNoFiles) {
  feed({started, ended, started, ended});
  const VoiceSessionRecord first{.number = 1, .hasEnd = true};
  const VoiceSessionRecord second{.number = 2, .hasEnd = true};
  EXPECT_EQ(records_, (std::vector<VoiceSessionRecord>{first, second}));
}

TEST_F(VoiceSessions, AddUp) {
  sessions({started, soundFrame, emptyFrame, ended, pressed, refusedFrame, soundFrame, started});
  const VoiceTotals expected{.sessionCount = 3,
                             .sessionWithoutEndCount = 2,
                             .frameCount = 3,
                             .emptyFrameCount = 1,
                             .refusedPacketCount = 1};
  EXPECT_EQ(recorder().totals(), expected);
}

TEST_F(VoiceSessions, LastTwentyMillisecondsAFrame) {
  const std::vector<TesslineEvent> frames(75, soundFrame);
  feed(frames);
  feed({emptyFrame, ended});
  EXPECT_DOUBLE_EQ(records_.at(0).seconds(), 1.5);
  sessions(frames);
  EXPECT_DOUBLE_EQ(recorder().totals().seconds(), 3.0);
}

TEST_F(VoiceSessions, DoWithoutAListener) {
  recorder().onSessionClosed = nullptr;
  feed({started, soundFrame, ended});
  EXPECT_EQ(recorder().totals().sessionCount, 1U);
}

TEST_F(VoiceSessionFiles, KeepThePacketsByteForByte) {
  const auto packets = test::encodedPackets(120);
  writeFiles(false);
  feed({started});
  for (const ByteVector& packet : packets) feed({frame(packet)});
  feed({ended});
  EXPECT_EQ(test::readOpusPackets(file("voice-001.opus")), packets);
  EXPECT_EQ(test::playedSampleCount(file("voice-001.opus")), 120 * 960);
  EXPECT_EQ(fileNames(), std::set<std::string>{"voice-001.opus"});
}

TEST_F(VoiceSessionFiles, HoldWhatLibopusDecodes) {
  const auto packets = test::encodedPackets(120);
  writeFiles(true);
  for (const ByteVector& packet : packets) feed({frame(packet)});
  recorder().finish();
  EXPECT_EQ(readWav(file("voice-001.wav")), test::libopusSamples(packets));
  EXPECT_EQ(test::readOpusPackets(file("voice-001.opus")), packets);
}

TEST_F(VoiceSessionFiles, DecodeEachSessionOnItsOwn) {
  const auto packets = test::encodedPackets(30);
  writeFiles(true);
  for (int session = 0; session < 2; ++session) {
    for (const ByteVector& packet : packets) feed({frame(packet)});
    feed({ended});
  }
  EXPECT_EQ(readWav(file("voice-001.wav")), test::libopusSamples(packets));
  EXPECT_EQ(readWav(file("voice-002.wav")), test::libopusSamples(packets));
}

TEST_F(VoiceSessionFiles, ConcealRefusedPacketsInSoundAndKeepThemOtherwise) {
  const auto packets = test::encodedPackets(2);
  const ByteVector refused = {0xB1, 0x01, 0x02, 0x03};
  writeFiles(true);
  feed({frame(packets[0]), frame(refused), frame(packets[1]), ended});
  EXPECT_EQ(readWav(file("voice-001.wav")), test::libopusSamples({packets[0], {}, packets[1]}));
  EXPECT_EQ(test::readOpusPackets(file("voice-001.opus")),
            (std::vector<ByteVector>{packets[0], refused, packets[1]}));
}

TEST_F(VoiceSessionFiles, LeaveOutEmptyFrames) {
  const auto packets = test::encodedPackets(2);
  writeFiles(true);
  feed({started, emptyFrame, frame(packets[0]), emptyFrame, frame(packets[1]), ended});
  EXPECT_EQ(test::readOpusPackets(file("voice-001.opus")), packets);
  EXPECT_EQ(readWav(file("voice-001.wav")), test::libopusSamples(packets));
}

TEST_F(VoiceSessionFiles, AreWholeWhenTheSessionIsReported) {
  const auto packets = test::encodedPackets(7);
  std::size_t packetCount = 0;
  std::size_t sampleCount = 0;
  writeFiles(true);
  recorder().onSessionClosed = [&](const VoiceSessionRecord& record) {
    packetCount = test::readOpusPackets(record.opusFile).size();
    sampleCount = readWav(record.wavFile).size();
  };
  for (const ByteVector& packet : packets) feed({frame(packet)});
  feed({ended});
  EXPECT_EQ(packetCount, 7U);
  EXPECT_EQ(sampleCount, 7U * 320U);
}

TEST_F(VoiceSessionFiles, AreWholeAfterABrokenOffSession) {
  const auto packets = test::encodedPackets(7);
  writeFiles(true);
  for (const ByteVector& packet : packets) feed({frame(packet)});
  recorder().finish();
  EXPECT_TRUE(test::readOggPages(file("voice-001.opus")).back().isLast);
  EXPECT_EQ(readWav(file("voice-001.wav")).size(), 7U * 320U);
}

TEST_F(VoiceSessionFiles, ArePlayableWhileTheSessionGoesOn) {
  writeFiles(true);
  for (const ByteVector& packet : test::encodedPackets(130)) feed({frame(packet)});
  EXPECT_EQ(test::playedSampleCount(file("voice-001.opus")), 2 * 48'000);
  EXPECT_EQ(readWav(file("voice-001.wav")).size(), 2U * 16'000U);
}

TEST_F(VoiceSessionFiles, AreNamedInTheRecord) {
  writeFiles(true);
  feed({started, ended, started, ended});
  EXPECT_EQ(records_.at(1).opusFile, file("voice-002.opus"));
  EXPECT_EQ(records_.at(1).wavFile, file("voice-002.wav"));
  writeFiles(false);
  feed({started, ended});
  EXPECT_EQ(records_.at(2).opusFile, file("voice-001.opus"));
  EXPECT_EQ(records_.at(2).wavFile, "");
}

TEST_F(VoiceSessionFiles, HaveNumbersOfThreeDigitsOrMore) {
  writeFiles(false);
  for (int session = 0; session < 1000; ++session) feed({started, ended});
  EXPECT_EQ(records_.at(98).opusFile, file("voice-099.opus"));
  EXPECT_EQ(records_.at(999).opusFile, file("voice-1000.opus"));
  EXPECT_EQ(fileNames().size(), 1000U);
}

TEST_F(VoiceSessionFiles, AreWrittenForASessionWithoutFrames) {
  writeFiles(true);
  feed({started, ended});
  EXPECT_EQ(test::playedSampleCount(file("voice-001.opus")), 0);
  EXPECT_TRUE(readWav(file("voice-001.wav")).empty());
}

TEST_F(VoiceSessionFiles, ReplaceThoseOfAnEarlierRun) {
  for (const std::size_t count : {100U, 3U}) {
    writeFiles(true);
    for (const ByteVector& packet : test::encodedPackets(count)) feed({frame(packet)});
    recorder().finish();
  }
  EXPECT_EQ(test::playedSampleCount(file("voice-001.opus")), 3 * 960);
  EXPECT_EQ(readWav(file("voice-001.wav")).size(), 3U * 320U);
}

TEST_F(VoiceSessionFiles, AreTheSameInEveryRun) {
  const auto record = [&] {
    writeFiles(false);
    feed({started, soundFrame, ended, started, soundFrame, ended});
    return test::readFile(file("voice-001.opus"));
  };
  const ByteVector first = record();
  EXPECT_EQ(record(), first);
  EXPECT_NE(test::readFile(file("voice-002.opus")), first) << "streams of one serial number";
}

TEST_F(VoiceSessionFiles, GoIntoADirectoryThatIsThereAlready) {
  std::filesystem::create_directories(directory());
  const std::filesystem::path link = temporary_ / "link";
  std::filesystem::create_directory_symlink(directory(), link);
  for (const std::filesystem::path& path : {directory(), link, directory() / ""}) {
    VoiceSessionRecorder recorder(VoiceFileOptions{.directory = path});
    recorder.handle(started);
    recorder.finish();
    EXPECT_EQ(fileNames(), std::set<std::string>{"voice-001.opus"});
    std::filesystem::remove(file("voice-001.opus"));
  }
}

TEST_F(VoiceSessionFiles, NeedADirectory) {
  const auto creating = [](const std::filesystem::path& path) {
    return inputOutputError([&] { VoiceSessionRecorder(VoiceFileOptions{.directory = path}); });
  };
  const std::filesystem::path taken = temporary_ / "taken";
  test::writeFile(taken, {1});
  EXPECT_EQ(creating(taken), "could not create directory " + taken.native() + ": Not a directory");
  EXPECT_EQ(creating(taken / "voices"),
            "could not create directory " + (taken / "voices").native() + ": Not a directory");
}

TEST_F(VoiceSessionFiles, SayWhatIsInTheirPlace) {
  for (const char* const name : {"voice-001.opus", "voice-001.wav"}) {
    writeFiles(true);
    std::filesystem::create_directory(file(name));
    EXPECT_EQ(inputOutputError([&] { feed({started}); }),
              "could not create " + file(name).native() + ": Is a directory");
    std::filesystem::remove(file(name));
  }
}

TEST_F(VoiceSessionFiles, SayThatTheirDirectoryIsGone) {
  writeFiles(false);
  std::filesystem::remove(directory());
  EXPECT_EQ(inputOutputError([&] { feed({started}); }),
            "could not create " + file("voice-001.opus").native() + ": No such file or directory");
}

}  // namespace
}  // namespace tessline::cli
