// The input's first byte chooses the accepted address and the size of pieces; the rest is a
// capture. It is decoded at once, in pieces of whole lines, and by the slow reading, and all must
// agree.

#include "fuzz/FuzzInput.h"
#include "tests/support/NastyText.h"
#include "tests/support/TextComparison.h"

#include <optional>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto text = tessline::fuzz::textOf(data + 1, size - 1);
  const bool hasAddress = data[0] % 2 == 1;
  const std::size_t pieceSize = data[0] / 2 + 1u;

  std::optional<std::string> address;
  if (hasAddress) address = tessline::test::nastyTextAddress;
  tessline::fuzz::expectNoDifference(tessline::test::compareCapture(text, address));
  tessline::fuzz::expectNoDifference(tessline::test::comparePieces(text, address, pieceSize));
  return 0;
}
