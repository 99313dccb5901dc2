#include "CallLog.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace standin {

std::string shown(double number) {
  std::array<char, 32> text = {};
  const int size = std::snprintf(text.data(), text.size(), "%.10g", number);
  return {text.data(), static_cast<std::size_t>(size)};
}

std::string shown(CGPoint point) {
  return shown(point.x) + ' ' + shown(point.y);
}

}  // namespace standin
