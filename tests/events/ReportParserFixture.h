/// @file
/// A report parser with verbs that take hex text and give events as text.
#pragma once

#include "tessline/events/SiriRemoteReportParser.h"
#include "tests/support/Bytes.h"
#include "tests/support/EventNotation.h"
#include "tests/support/VoicePayloads.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace tessline::test {

class ReportParserFixture : public ::testing::Test {
 protected:
  std::string ingest(std::string_view payload) { return ingest(bytes(payload)); }
  std::string ingest(std::span<const std::uint8_t> payload) {
    return notation(parser_.ingestPayload(payload));
  }
  std::string applyMask(std::uint16_t mask) { return notation(parser_.applyButtonMask(mask)); }
  std::string pending() const { return hexText(parser_.pendingVoiceFrameBytes()); }

  std::string startSession() { return ingest("1b 23 00 00 10"); }
  std::string endSession() { return ingest("1b 23 00 10 00"); }

  SiriRemoteReportParser parser_;
};

}  // namespace tessline::test
