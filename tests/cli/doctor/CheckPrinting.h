/// @file
/// How tests show checks.
#pragma once

#include "cli/doctor/Check.h"

#include <ostream>

namespace tessline::cli {

inline std::ostream& operator<<(std::ostream& stream, const Check& check) {
  return stream << check.name << " [" << static_cast<int>(check.state) << "] " << check.detail
                << " / " << check.remedy;
}

}  // namespace tessline::cli
