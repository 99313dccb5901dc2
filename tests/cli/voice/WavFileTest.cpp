#include "cli/voice/WavFile.h"
#include "tests/cli/voice/VoiceTestSupport.h"
#include "tests/support/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace tessline::cli {
namespace {

using test::ByteVector;
using test::inputOutputError;
using test::joined;

using Samples = std::vector<std::int16_t>;

ByteVector number(std::uint64_t value, int size) {
  ByteVector bytes;
  for (int index = 0; index < size; ++index) {
    bytes.push_back(static_cast<std::uint8_t>(value >> (8 * index)));
  }
  return bytes;
}

ByteVector text(std::string_view characters) {
  return {characters.begin(), characters.end()};
}

/// A chunk whose header claims `size` bytes, whatever `content` holds; no padding.
ByteVector chunkClaiming(std::uint64_t size, std::string_view id, const ByteVector& content) {
  return joined({text(id), number(size, 4), content});
}

ByteVector chunk(std::string_view id, const ByteVector& content) {
  return chunkClaiming(content.size(), id, content);
}

struct Format {
  std::uint64_t format = 1;
  std::uint64_t channels = 1;
  std::uint64_t rate = 16000;
  std::uint64_t bits = 16;
  std::optional<std::uint64_t> bytesPerFrame = std::nullopt;

  ByteVector fields() const {
    const std::uint64_t frame = bytesPerFrame.value_or(channels * bits / 8);
    return joined({number(format, 2), number(channels, 2), number(rate, 4), number(rate * frame, 4),
                   number(frame, 2), number(bits, 2)});
  }
};

ByteVector formatChunk(const Format& format = {}) {
  return chunk("fmt ", format.fields());
}

/// The extensible form, whose real format stands in an identifier.
ByteVector extensibleFields(std::uint64_t subformat) {
  return joined({Format{.format = 0xFFFE}.fields(), number(22, 2), number(16, 2), number(4, 4),
                 number(subformat, 2), number(0, 2), number(0x00100000, 4),
                 number(0x719B3800AA000080, 8)});
}

ByteVector riff(std::initializer_list<ByteVector> chunks) {
  const ByteVector content = joined(chunks);
  return joined({text("RIFF"), number(4 + content.size(), 4), text("WAVE"), content});
}

const Samples threeValues = {1, -1, -32768};
/// The same as they stand in a file.
const ByteVector threeSamples = {0x01, 0x00, 0xFF, 0xFF, 0x00, 0x80};

class WavFile : public testing::Test {
 protected:
  std::filesystem::path path() const { return directory_ / "sound.wav"; }

  Samples read(const ByteVector& file) {
    test::writeFile(path(), file);
    return readWav(path());
  }

  std::string refusal(const ByteVector& file) {
    return inputOutputError([&] { read(file); });
  }

  /// What is wrong with a file that is refused as not fit, without the path and the way out.
  std::string complaint(const ByteVector& file) {
    const std::string message = refusal(file);
    const std::string start = path().native() + " ";
    const std::string end =
        "; convert it, for example: ffmpeg -i INPUT -ar 16000 -ac 1 -c:a pcm_s16le OUTPUT.wav";
    if (!message.starts_with(start) || !message.ends_with(end)) return "unexpected: " + message;
    return message.substr(start.size(), message.size() - start.size() - end.size());
  }

  test::TemporaryDirectory directory_;
};

TEST_F(WavFile, ReadsPlainPcm) {
  EXPECT_EQ(read(riff({formatChunk(), chunk("data", threeSamples)})), threeValues);
}

TEST_F(WavFile, ReadsTheExtensibleFormOfPcm) {
  EXPECT_EQ(read(riff({chunk("fmt ", extensibleFields(1)), chunk("data", threeSamples)})),
            threeValues);
}

TEST_F(WavFile, PassesOverOtherChunksAndTheirPadding) {
  const ByteVector odd = joined({chunk("LIST", {1, 2, 3}), {0}});
  EXPECT_EQ(read(riff({odd, chunk("fact", {9, 9, 9, 9}), formatChunk(), odd,
                       chunk("data", threeSamples), odd})),
            threeValues);
}

TEST_F(WavFile, PassesOverAChunkLargerThanAnyBuffer) {
  EXPECT_EQ(
      read(riff(
          {chunk("JUNK", ByteVector(100'001)), {0}, formatChunk(), chunk("data", threeSamples)})),
      threeValues);
}

TEST_F(WavFile, PassesOverAnOddExtensionOfTheFormat) {
  const ByteVector fields = joined({Format{}.fields(), number(41, 2), ByteVector(41)});
  EXPECT_EQ(read(riff({chunk("fmt ", fields), {0}, chunk("data", threeSamples)})), threeValues);
}

TEST_F(WavFile, DoesNotTrustTheOuterLength) {
  for (const std::uint64_t lie : {0U, 3U, 0xFFFFFFFFU}) {
    EXPECT_EQ(read(joined({text("RIFF"), number(lie, 4), text("WAVE"), formatChunk(),
                           chunk("data", threeSamples)})),
              threeValues);
  }
}

TEST_F(WavFile, ReadsAFileWithoutSound) {
  EXPECT_EQ(read(riff({formatChunk(), chunk("data", {})})), Samples{});
  EXPECT_EQ(read(riff({formatChunk(), chunk("data", {}), chunk("LIST", {1, 2})})), Samples{});
}

TEST_F(WavFile, ReadsFromAPipe) {
  ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
  const ByteVector file = riff(
      {chunk("JUNK", ByteVector(70'000)), formatChunk(), chunk("data", ByteVector(200'000, 0x11))});
  std::thread writer([&] { test::writeFile(path(), file); });
  const Samples samples = readWav(path());
  writer.join();
  EXPECT_EQ(samples, Samples(100'000, 0x1111));
}

TEST_F(WavFile, SaysWhatElseAFileHolds) {
  const auto held = [&](const ByteVector& format) {
    return complaint(riff({format, chunk("data", threeSamples)}));
  };
  const std::string needed = ", but 16000 Hz, mono, 16-bit PCM is needed";
  EXPECT_EQ(held(formatChunk({.channels = 2, .rate = 44100})),
            "holds 44100 Hz, stereo, 16-bit PCM" + needed);
  EXPECT_EQ(held(formatChunk({.rate = 8000})), "holds 8000 Hz, mono, 16-bit PCM" + needed);
  EXPECT_EQ(held(formatChunk({.channels = 6})), "holds 16000 Hz, 6 channels, 16-bit PCM" + needed);
  EXPECT_EQ(held(formatChunk({.bits = 24})), "holds 16000 Hz, mono, 24-bit PCM" + needed);
  EXPECT_EQ(held(formatChunk({.format = 3, .bits = 32})),
            "holds 16000 Hz, mono, 32-bit floating point" + needed);
  EXPECT_EQ(held(formatChunk({.format = 6, .bits = 8})),
            "holds 16000 Hz, mono, 8-bit A-law" + needed);
  EXPECT_EQ(held(formatChunk({.format = 7, .bits = 8})),
            "holds 16000 Hz, mono, 8-bit mu-law" + needed);
  EXPECT_EQ(held(formatChunk({.format = 0x55})),
            "holds 16000 Hz, mono, 16-bit format 0x0055" + needed);
  EXPECT_EQ(held(formatChunk({.bytesPerFrame = 4})),
            "holds 16000 Hz, mono, 16-bit PCM in frames of 4 bytes" + needed);
  EXPECT_EQ(held(formatChunk({.bits = 12, .bytesPerFrame = 2})),
            "holds 16000 Hz, mono, 12-bit PCM in frames of 2 bytes" + needed);
  EXPECT_EQ(held(formatChunk({.channels = 2, .bytesPerFrame = 2})),
            "holds 16000 Hz, stereo, 16-bit PCM in frames of 2 bytes" + needed);
  EXPECT_EQ(held(formatChunk({.channels = 0xFFFF, .bits = 0xFFFF, .bytesPerFrame = 2})),
            "holds 16000 Hz, 65535 channels, 65535-bit PCM in frames of 2 bytes" + needed);
  EXPECT_EQ(held(chunk("fmt ", extensibleFields(3))),
            "holds 16000 Hz, mono, 16-bit floating point" + needed);
}

TEST_F(WavFile, RefusesAnExtensibleFormOfUnknownKind) {
  ByteVector foreign = extensibleFields(1);
  foreign.back() ^= 0xFF;
  const std::string unknown =
      "holds 16000 Hz, mono, 16-bit format 0xFFFE, but 16000 Hz, mono, 16-bit PCM is needed";
  EXPECT_EQ(complaint(riff({chunk("fmt ", foreign), chunk("data", threeSamples)})), unknown);
  EXPECT_EQ(complaint(riff({formatChunk({.format = 0xFFFE}), chunk("data", threeSamples)})),
            unknown);
}

TEST_F(WavFile, RefusesWhatIsNoWav) {
  for (const ByteVector& file : {ByteVector{}, text("RIFF"), text("OggS\x01\x02\x03\x04WAVE"),
                                 text("RIFF\x01\x02\x03\x04"
                                      "AVI "),
                                 text("RF64....WAVE")}) {
    EXPECT_EQ(complaint(file), "is no WAV file");
  }
}

TEST_F(WavFile, RefusesSamplesOfNoStatedFormat) {
  EXPECT_EQ(complaint(riff({chunk("data", threeSamples), formatChunk()})),
            "is damaged: its samples come before their description");
  EXPECT_EQ(complaint(riff({chunk("fmt ", ByteVector(15)), chunk("data", threeSamples)})),
            "is damaged: its format description is too short");
}

TEST_F(WavFile, RefusesHalfASample) {
  EXPECT_EQ(complaint(riff({formatChunk(), chunk("data", {1, 2, 3}), {0}})),
            "is damaged: 3 bytes are no whole number of 16-bit samples");
}

TEST_F(WavFile, RefusesAStreamOfUnknownLength) {
  const std::string reason = "does not say how long it is, as if it had been written to a pipe";
  EXPECT_EQ(complaint(riff({formatChunk(), chunkClaiming(0xFFFFFFFF, "data", threeSamples)})),
            reason);
  EXPECT_EQ(complaint(riff({formatChunk(), chunkClaiming(0, "data", threeSamples)})), reason);
}

TEST_F(WavFile, SaysWhatIsMissingFromAFileCutShort) {
  const std::string start = path().native() + " is cut short: ";
  EXPECT_EQ(refusal(riff({formatChunk(), chunkClaiming(64'000, "data", threeSamples)})),
            start + "of 64000 bytes in its \"data\" chunk only 6 are there");
  EXPECT_EQ(refusal(riff({formatChunk(), chunkClaiming(0xFFFFFFFE, "data", ByteVector(70'000))})),
            start + "of 4294967294 bytes in its \"data\" chunk only 70000 are there");
  EXPECT_EQ(refusal(riff({chunkClaiming(0xFFFFFFFF, "L\x01ST", ByteVector(5000))})),
            start + "of 4294967295 bytes in its \"L?ST\" chunk only 5000 are there");
  EXPECT_EQ(refusal(riff({chunkClaiming(16, "fmt ", ByteVector(9))})),
            start + "of 16 bytes in its \"fmt \" chunk only 9 are there");
  EXPECT_EQ(refusal(riff({formatChunk(), text("dat")})), start + "it ends inside a header");
}

TEST_F(WavFile, EveryFrontPartOfAFileIsRefused) {
  const ByteVector whole = riff({chunk("LIST", {1, 2, 3, 4}), chunk("fmt ", extensibleFields(1)),
                                 chunk("data", threeSamples)});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const ByteVector part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_TRUE(refusal(part).starts_with(path().native())) << size;
  }
}

TEST_F(WavFile, RefusesAFileWithoutSamples) {
  EXPECT_EQ(refusal(riff({formatChunk(), chunk("LIST", {})})),
            path().native() + " holds no samples: it has no \"data\" chunk");
}

TEST_F(WavFile, SaysWhyAFileCannotBeRead) {
  EXPECT_EQ(inputOutputError([&] { readWav(path()); }),
            "could not open " + path().native() + ": No such file or directory");
  EXPECT_EQ(inputOutputError([&] { readWav(directory_.path()); }),
            "could not read " + directory_.path().native() + ": Is a directory");
}

TEST_F(WavFile, WritesTheCanonicalHeader) {
  WavWriter writer(path());
  writer.write(Samples{1, -1, -32768});
  writer.finish();
  EXPECT_EQ(test::readFile(path()), riff({formatChunk(), chunk("data", threeSamples)}));
}

TEST_F(WavFile, ReadsBackWhatItWrote) {
  Samples all;
  WavWriter writer(path());
  for (std::size_t size = 0; size < 20'000; size += 997) {
    Samples piece(size);
    for (std::size_t index = 0; index < size; ++index) {
      piece[index] = static_cast<std::int16_t>(size * 31 + index * 7);
    }
    writer.write(piece);
    all.insert(all.end(), piece.begin(), piece.end());
  }
  writer.finish();
  EXPECT_EQ(readWav(path()), all);
}

TEST_F(WavFile, WritesAnEmptyFileInPlaceOfAnOlderOne) {
  test::writeFile(path(), ByteVector(5000, 0x55));
  WavWriter(path()).finish();
  EXPECT_EQ(test::readFile(path()), riff({formatChunk(), chunk("data", {})}));
}

TEST_F(WavFile, IsWholeUpToTheLastSecondWhileItIsBeingWritten) {
  WavWriter writer(path());
  EXPECT_EQ(readWav(path()), Samples{});
  for (int packet = 0; packet < 2 * 50 + 49; ++packet) writer.write(Samples(320, 7));
  EXPECT_EQ(readWav(path()), Samples(std::size_t{2} * 16'000, 7));
}

TEST_F(WavFile, RefusesMoreThanTheFormatCanHoldAndKeepsWhatIsThere) {
  // Samples without number, of which none may be looked at: they are in no memory.
  constexpr std::size_t fourGiB = std::size_t{1} << 32;
  void* const address =
      ::mmap(nullptr, fourGiB, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(address, MAP_FAILED);
  const auto* const first = static_cast<const std::int16_t*>(address);
  constexpr std::size_t samplesThatFit = (0xFFFFFFFFU - 36U) / 2;

  WavWriter writer(path());
  writer.write(Samples{5});
  EXPECT_EQ(inputOutputError([&] {
              writer.write({first, samplesThatFit});
            }),
            "could not write " + path().native() + ": File too large");
  writer.finish();
  EXPECT_EQ(readWav(path()), Samples{5});
  EXPECT_EQ(::munmap(address, fourGiB), 0);
}

TEST_F(WavFile, SaysWhyAFileCannotBeWritten) {
  EXPECT_EQ(inputOutputError([&] { WavWriter(directory_.path()); }),
            "could not create " + directory_.path().native() + ": Is a directory");
  const std::filesystem::path nowhere = directory_ / "nowhere" / "sound.wav";
  EXPECT_EQ(inputOutputError([&] { WavWriter{nowhere}; }),
            "could not create " + nowhere.native() + ": No such file or directory");
}

}  // namespace
}  // namespace tessline::cli
