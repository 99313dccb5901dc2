#include "tests/support/Bytes.h"
#include "tests/support/ParserComparison.h"
#include "tests/support/VoicePayloads.h"

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

/// Payloads that the rules look for, whole and in parts, one in another, and with single bytes off.
class PayloadGenerator {
 public:
  explicit PayloadGenerator(std::uint32_t seed) : random_(seed) {}

  std::vector<std::uint8_t> next() {
    std::vector<std::uint8_t> payload;
    for (std::size_t parts = 1 + below(3); parts > 0; --parts) payload = joined({payload, part()});
    if (below(4) == 0) payload.resize(below(payload.size() + 1));
    if (below(4) == 0 && !payload.empty()) payload[below(payload.size())] = byte();
    return payload;
  }

 private:
  std::size_t below(std::size_t bound) { return random_() % bound; }

  std::uint8_t byte() {
    constexpr std::uint8_t meaningful[] = {0x00, 0x1B, 0x23, 0x3A, 0x36, 0x15, 0xFB, 0xB8,
                                           0x10, 0x20, 0x30, 0x01, 0x02, 0x03, 0x04};
    return below(4) == 0 ? static_cast<std::uint8_t>(random_())
                         : meaningful[below(std::size(meaningful))];
  }

  std::vector<std::uint8_t> part() {
    constexpr std::string_view patterns[] = {"1b 23 00 00 10",
                                             "1b 23 00 10 00",
                                             "1b 3a 00 20 00",
                                             "1b 3a 00 00 00",
                                             "1b 23 00 00 00",
                                             "1b 23 00 00 02",
                                             "1b 23 00 00 04",
                                             "1b 23 00 03 00",
                                             "1b 15 00 fb",
                                             "1b 15 00 01 fb",
                                             "fb",
                                             "01 fb"};
    const FlagByte flag = below(2) == 0 ? FlagByte::first : FlagByte::second;
    switch (below(6)) {
      case 0:
        return frameStart("05 b8 01", flag);
      case 1:
        return longFrameStart("03 b8 01 02 03", flag);
      case 2:
        return continuation("02 03 04", flag);
      case 3:
        return {byte(), byte()};
      case 4:
        return std::vector<std::uint8_t>(below(20), byte());
    }
    return bytes(patterns[below(std::size(patterns))]);
  }

  std::mt19937 random_;
};

class ReportParserAgainstReference : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(ReportParserAgainstReference, AgreesOnRandomPayloads) {
  PayloadGenerator generator(GetParam());
  ParserComparison comparison;
  for (int count = 0; count < 2000; ++count) {
    ASSERT_EQ(comparison.ingest(generator.next()), "");
  }
}

INSTANTIATE_TEST_SUITE_P(Seed, ReportParserAgainstReference, ::testing::Range(1u, 21u));

}  // namespace
}  // namespace tessline::test
