#include "fuzz/FuzzInput.h"

#include <cstdio>
#include <cstdlib>

namespace tessline::fuzz {

void expectNoDifference(const std::string& difference) {
  if (difference.empty()) return;
  std::fprintf(stderr, "%s\n", difference.c_str());
  std::abort();
}

}  // namespace tessline::fuzz
