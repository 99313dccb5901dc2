// Reads the input as hex text, alone and behind other bytes, and with every kernel that this
// processor can run, and compares with the slow reading.

#include "fuzz/FuzzInput.h"
#include "tessline/packetlog/HexByteParser.h"
#include "tests/support/Bytes.h"
#include "tests/support/ReferenceTextReader.h"
#include "tests/support/TextComparison.h"

#include <vector>

using tessline::test::ReferenceTextReader;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto text = tessline::fuzz::textOf(data, size);
  const auto expected = ReferenceTextReader::hexBytes(ReferenceTextReader::characters(text));
  const auto actual = tessline::HexByteParser::parseBytes(text);
  std::vector<std::uint8_t> appended = {0xFF};
  tessline::HexByteParser::parseBytes(text, appended);
  appended.erase(appended.begin());
  if (actual != expected || appended != expected) {
    tessline::fuzz::expectNoDifference("parsed [" + tessline::test::hexText(actual) +
                                       "], appended [" + tessline::test::hexText(appended) +
                                       "], reference [" + tessline::test::hexText(expected) + "]");
  }
  tessline::fuzz::expectNoDifference(tessline::test::compareKernels(text));
  return 0;
}
