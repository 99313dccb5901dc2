/// @file
/// The report parser and its slow double, fed with the same payloads.
#pragma once

#include "tessline/events/SiriRemoteReportParser.h"
#include "tests/support/ReferenceReportParser.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessline::test {

/// Compares what both make of a sequence of payloads.
class ParserComparison {
 public:
  /// Hands `payload` to both. "" when events, state and what the pure operations find agree;
  /// otherwise a description of the first difference.
  std::string ingest(const std::vector<std::uint8_t>& payload);

 private:
  SiriRemoteReportParser parser_;
  ReferenceReportParser reference_;
};

}  // namespace tessline::test
