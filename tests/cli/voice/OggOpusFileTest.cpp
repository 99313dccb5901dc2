#include "cli/voice/OggOpusFile.h"
#include "tests/cli/voice/VoiceTestSupport.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::cli {
namespace {

using test::ByteVector;
using test::inputOutputError;
using test::OggPage;

constexpr std::uint32_t serialNumber = 0xFEDCBA98;

class OggOpusFile : public testing::Test {
 protected:
  std::filesystem::path path() const { return directory_ / "voice.opus"; }

  void write(const std::vector<ByteVector>& packets) {
    OggOpusWriter writer(path(), serialNumber);
    for (const ByteVector& packet : packets) writer.write(packet);
    writer.finish();
  }

  std::vector<OggPage> pages() const { return test::readOggPages(path()); }

  /// The files' sizes in packets, page by page, without the headers.
  std::vector<std::size_t> audioPageSizes() const {
    std::vector<std::size_t> sizes;
    for (const OggPage& page : pages()) sizes.push_back(page.packets.size());
    sizes.erase(sizes.begin(), sizes.begin() + 2);
    return sizes;
  }

  test::TemporaryDirectory directory_;
};

TEST_F(OggOpusFile, KeepsPacketsByteForByte) {
  const auto packets = test::encodedPackets(130);
  write(packets);
  EXPECT_EQ(test::readOpusPackets(path()), packets);
}

TEST_F(OggOpusFile, KeepsPacketsOfEveryPossibleSize) {
  std::vector<ByteVector> packets;
  for (std::size_t size = 1; size <= 255; ++size) packets.emplace_back(size, 0xB8);
  for (int count = 0; count < 100; ++count) packets.emplace_back(255, 0xB8);
  write(packets);
  EXPECT_EQ(test::readOpusPackets(path()), packets);
}

TEST_F(OggOpusFile, IsPlayedInItsWholeLength) {
  for (const std::size_t count : {1U, 49U, 50U, 51U, 100U, 333U}) {
    write(test::encodedPackets(count));
    EXPECT_EQ(test::playedSampleCount(path()), static_cast<std::int64_t>(count) * 960);
  }
}

TEST_F(OggOpusFile, DescribesTheRemotesSound) {
  write(test::encodedPackets(1));
  const ByteVector expected = {'O', 'p', 'u',  's',  'H', 'e', 'a', 'd', 1, 1,
                               0,   0,   0x80, 0x3E, 0,   0,   0,   0,   0};
  ASSERT_EQ(pages().size(), 3U);
  EXPECT_EQ(pages()[0].packets, std::vector<ByteVector>{expected});
}

TEST_F(OggOpusFile, NamesWhatWroteItAndHasNoComments) {
  write(test::encodedPackets(1));
  const ByteVector tags = pages().at(1).packets.at(0);
  const std::string text(tags.begin(), tags.end());
  ASSERT_GT(text.size(), 16U);
  const std::size_t vendorSize = text.size() - 16;
  EXPECT_EQ(text.substr(0, 8), "OpusTags");
  EXPECT_EQ(text.substr(8, 4), std::string({static_cast<char>(vendorSize), 0, 0, 0}));
  EXPECT_EQ(text.substr(12, 9), "Tessline ");
  EXPECT_EQ(text.substr(12 + vendorSize), std::string(4, '\0'));
}

TEST_F(OggOpusFile, HasAPageForEverySecond) {
  const auto packets = test::encodedPackets(151);
  write(packets);
  EXPECT_EQ(audioPageSizes(), (std::vector<std::size_t>{50, 50, 50, 1}));
  std::vector<std::int64_t> positions;
  for (const OggPage& page : pages()) positions.push_back(page.granulePosition);
  EXPECT_EQ(positions, (std::vector<std::int64_t>{0, 0, 48'000, 96'000, 144'000, 144'960}));
}

TEST_F(OggOpusFile, MarksItsFirstAndItsLastPageOnly) {
  for (const std::size_t count : {0U, 1U, 50U, 100U, 120U}) {
    write(test::encodedPackets(count));
    const std::vector<OggPage> all = pages();
    for (std::size_t index = 0; index < all.size(); ++index) {
      EXPECT_EQ(all[index].isFirst, index == 0) << count;
      EXPECT_EQ(all[index].isLast, index + 1 == all.size()) << count;
      EXPECT_EQ(all[index].serialNumber, serialNumber);
    }
  }
}

TEST_F(OggOpusFile, IsWellFormedWithoutPackets) {
  write({});
  EXPECT_EQ(pages().size(), 2U);
  EXPECT_EQ(test::playedSampleCount(path()), 0);
}

TEST_F(OggOpusFile, IsTheSameFileEveryTime) {
  const auto packets = test::encodedPackets(60);
  write(packets);
  const ByteVector first = test::readFile(path());
  write(packets);
  EXPECT_EQ(test::readFile(path()), first);
}

TEST_F(OggOpusFile, ReplacesALongerFile) {
  write(test::encodedPackets(200));
  const auto packets = test::encodedPackets(3);
  write(packets);
  EXPECT_EQ(test::readOpusPackets(path()), packets);
}

TEST_F(OggOpusFile, IsPlayableUpToTheLastSecondWhileItIsBeingWritten) {
  const auto packets = test::encodedPackets(2 * 50 + 40);
  OggOpusWriter writer(path(), serialNumber);
  for (const ByteVector& packet : packets) writer.write(packet);
  EXPECT_EQ(test::playedSampleCount(path()), 2 * 48'000);
}

TEST_F(OggOpusFile, SaysWhyItCannotBeWritten) {
  EXPECT_EQ(inputOutputError([&] { OggOpusWriter(directory_.path(), serialNumber); }),
            "could not create " + directory_.path().native() + ": Is a directory");
}

}  // namespace
}  // namespace tessline::cli
