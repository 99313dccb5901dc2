#include "tessline/packetlog/TextKernel.h"
#include "tests/support/Bytes.h"
#include "tests/support/ReferenceTextReader.h"

#include <cctype>
#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

constexpr auto nowhere = LineScan::none;

/// The text at the very end of its storage, so that a sanitizer sees a read beyond it.
class ExactText {
 public:
  explicit ExactText(std::string_view text) : bytes_(text.begin(), text.end()) {}
  operator std::string_view() const { return {bytes_.data(), bytes_.size()}; }

 private:
  std::vector<char> bytes_;
};

std::string hexBytesBy(const TextKernel& kernel, std::string_view text) {
  std::vector<std::uint8_t> bytes(hexByteCapacity(text.size()));
  bytes.resize(kernel.parseHexBytes(ExactText(text), bytes.data()));
  return hexText(bytes);
}

std::string expectedHexBytes(std::string_view text) {
  return hexText(ReferenceTextReader::hexBytes(ReferenceTextReader::characters(text)));
}

LineScan scanBy(const TextKernel& kernel, std::string_view text) {
  return kernel.scanLine(ExactText(text));
}

bool isReceivedMark(std::string_view text) {
  if (text.size() < 4) return false;
  for (std::size_t index = 0; index < 4; ++index) {
    if ((text[index] | 0x20) != "recv"[index]) return false;
  }
  return true;
}

LineScan expectedScan(std::string_view text) {
  LineScan scan;
  while (scan.length < text.size() && static_cast<unsigned char>(text[scan.length]) < 0x80 &&
         (text[scan.length] < '\n' || text[scan.length] > '\r')) {
    ++scan.length;
  }
  const std::string_view front = text.substr(0, scan.length);
  for (std::size_t index = front.size(); index-- > 0;) {
    if (isReceivedMark(front.substr(index))) scan.received = index;
  }
  return scan;
}

std::string randomAscii(std::mt19937& random, std::string_view alphabet) {
  std::string text(random() % 200, ' ');
  for (char& character : text) character = alphabet[random() % alphabet.size()];
  return text;
}

TEST(TextKernels, HaveDifferentNames) {
  std::set<std::string_view> names;
  for (const auto& kernel : textKernels()) EXPECT_TRUE(names.insert(kernel.name).second);
  EXPECT_FALSE(names.empty());
}

TEST(TextKernels, EndWithTheOneInUse) {
  EXPECT_EQ(textKernel().name, textKernels().back().name);
}

class EveryTextKernel : public ::testing::TestWithParam<TextKernel> {};

TEST_P(EveryTextKernel, ReadsHexBytesAsTheReferenceDoes) {
  std::mt19937 random(4);
  for (int count = 0; count < 3000; ++count) {
    const std::string text = randomAscii(random, "0123456789abcdefABCDEF          :g/@G`\x7F");
    ASSERT_EQ(hexBytesBy(GetParam(), text), expectedHexBytes(text)) << text;
  }
}

TEST_P(EveryTextKernel, ReadsHexBytesNextToEveryAsciiCharacter) {
  for (char character = 0; character >= 0 && character < 127; ++character) {
    const std::string text = std::string("1b") + character + "23" + character + character + "4";
    ASSERT_EQ(hexBytesBy(GetParam(), text), expectedHexBytes(text)) << int{character};
  }
}

TEST_P(EveryTextKernel, ReadsHexBytesOfEveryLength) {
  std::string text;
  for (int count = 0; count < 100; ++count) {
    text += "1b ";
    ASSERT_EQ(hexBytesBy(GetParam(), text), expectedHexBytes(text));
    ASSERT_EQ(hexBytesBy(GetParam(), text.substr(1)), expectedHexBytes(text.substr(1)));
    ASSERT_EQ(hexBytesBy(GetParam(), text.substr(0, text.size() - 1)), expectedHexBytes(text));
  }
}

TEST_P(EveryTextKernel, StopsAtLineEndsAndAtOtherThanAscii) {
  for (const char stop : {'\n', '\v', '\f', '\r', '\x80', '\xC2', '\xFF'}) {
    for (std::size_t place = 0; place < 150; ++place) {
      std::string text(150, '.');
      text[place] = stop;
      ASSERT_EQ(scanBy(GetParam(), text).length, place);
    }
  }
}

TEST_P(EveryTextKernel, PassesOverAllOtherAscii) {
  for (char character = 0; character >= 0 && character < 127; ++character) {
    const bool isLineEnd = character >= '\n' && character <= '\r';
    const std::string text = std::string(40, character) + '\x7F';
    EXPECT_EQ(scanBy(GetParam(), text).length, isLineEnd ? 0u : text.size()) << int{character};
  }
}

TEST_P(EveryTextKernel, FindsTheFirstReceivedMarkAtEveryPlace) {
  for (std::size_t place = 0; place < 150; ++place) {
    const std::string text = std::string(place, '.') + "rEcV RECV";
    const LineScan scan = scanBy(GetParam(), text);
    ASSERT_EQ(scan.received, place);
    ASSERT_EQ(scan.length, text.size());
  }
}

TEST_P(EveryTextKernel, FindsNoReceivedMarkBehindTheFirstLine) {
  for (std::size_t place = 0; place < 150; ++place) {
    ASSERT_EQ(scanBy(GetParam(), std::string(place, '.') + "\nRECV").received, nowhere);
    ASSERT_EQ(scanBy(GetParam(), std::string(place, '.') + "REC\nV").received, nowhere);
    ASSERT_EQ(scanBy(GetParam(), std::string(place, '.') + "REC").received, nowhere);
  }
}

TEST_P(EveryTextKernel, FindsNoReceivedMarkInLettersThatDifferInTheCaseBitAlone) {
  EXPECT_EQ(scanBy(GetParam(), "R%CV").received, nowhere);
  EXPECT_EQ(scanBy(GetParam(), "REcv").received, 0u);
  EXPECT_EQ(scanBy(GetParam(),
                   "\x12"
                   "ECV")
                .received,
            nowhere);
  EXPECT_EQ(scanBy(GetParam(), "REC\x16").received, nowhere);
}

TEST_P(EveryTextKernel, ScansRandomTextsAsTheyRead) {
  std::mt19937 random(5);
  for (int count = 0; count < 5000; ++count) {
    std::string text = randomAscii(random, "RECVrecv .");
    if (random() % 2 == 0 && !text.empty())
      text[random() % text.size()] = "\n\v\f\r\x80"[random() % 5];
    const LineScan expected = expectedScan(text);
    const LineScan scan = scanBy(GetParam(), text);
    ASSERT_EQ(scan.length, expected.length) << text;
    ASSERT_EQ(scan.received, expected.received) << text;
  }
}

INSTANTIATE_TEST_SUITE_P(Of, EveryTextKernel, ::testing::ValuesIn(textKernels()),
                         [](const auto& kernel) {
                           std::string name;
                           for (const char letter : kernel.param.name) {
                             if (std::isalnum(static_cast<unsigned char>(letter)) != 0)
                               name += letter;
                           }
                           return name;
                         });

}  // namespace
}  // namespace tessline::test
