#include "tests/support/NastyText.h"
#include "tests/support/ReferenceTextReader.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

// Comparisons over these texts are worth something only if all that can happen does happen.
TEST(NastyText, HoldsEveryKindOfLineInFairNumbers) {
  NastyTextGenerator generator(6);
  const ReferenceTextReader reader{std::string(nastyTextAddress)};
  ReferenceReading sum;
  for (int count = 0; count < 200; ++count) {
    const ReferenceReading reading = reader.read(generator.text());
    sum.empty += reading.empty;
    sum.notReceived += reading.notReceived;
    sum.otherRemote += reading.otherRemote;
    sum.withoutPayload += reading.withoutPayload;
    sum.packets.insert(sum.packets.end(), reading.packets.begin(), reading.packets.end());
  }
  EXPECT_GT(sum.empty, 100u);
  EXPECT_GT(sum.notReceived, 100u);
  EXPECT_GT(sum.otherRemote, 100u);
  EXPECT_GT(sum.withoutPayload, 10u);
  EXPECT_GT(sum.packets.size(), 100u);
}

TEST(NastyText, HoldsLinesOfEveryLengthAroundTheFullOne) {
  NastyTextGenerator generator(7);
  std::set<std::size_t> lengths;
  for (int count = 0; count < 1000; ++count) {
    lengths.insert(ReferenceTextReader::characters(generator.line()).size());
  }
  for (std::size_t length = 45; length < 65; ++length) EXPECT_TRUE(lengths.contains(length));
}

TEST(NastyText, IsTheSameForTheSameSeed) {
  NastyTextGenerator one(8);
  NastyTextGenerator same(8);
  NastyTextGenerator other(9);
  const std::string text = one.line();
  EXPECT_EQ(same.line(), text);
  EXPECT_NE(other.line(), text);
}

}  // namespace
}  // namespace tessline::test
