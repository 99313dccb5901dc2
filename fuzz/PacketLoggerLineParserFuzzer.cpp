// The input's first line is the accepted address, empty for none; the rest is the line to be read.

#include "fuzz/FuzzInput.h"
#include "tests/support/TextComparison.h"

#include <algorithm>
#include <optional>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = tessline::fuzz::textOf(data, size);
  const auto addressLength = std::min(text.find('\n'), text.size());
  const std::string address(text.substr(0, addressLength));
  const auto line = text.substr(std::min(addressLength + 1, text.size()));
  tessline::fuzz::expectNoDifference(tessline::test::compareLine(line, address));
  return 0;
}
