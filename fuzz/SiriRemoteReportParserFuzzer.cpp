// The input is a sequence of payloads, each behind a byte that tells its length. One parser ingests
// them in order and is compared with the slow one after each.

#include "fuzz/FuzzInput.h"
#include "tests/support/ParserComparison.h"

#include <algorithm>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tessline::test::ParserComparison comparison;
  const std::uint8_t* const end = data + size;
  while (data != end) {
    const std::size_t declared = *data++;
    const auto length = std::min(declared, static_cast<std::size_t>(end - data));
    tessline::fuzz::expectNoDifference(
        comparison.ingest(std::vector<std::uint8_t>(data, data + length)));
    data += length;
  }
  return 0;
}
