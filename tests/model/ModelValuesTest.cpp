#include "tessline/model/ProjectWorkstream.h"
#include "tessline/model/ReverseEngineeringFinding.h"
#include "tessline/model/TesslinePacket.h"
#include "tests/support/Bytes.h"

#include <gtest/gtest.h>

namespace tessline::test {
namespace {

TEST(TesslinePacket, IsEqualWhenPayloadAndLineAre) {
  const TesslinePacket packet{bytes("1b 23"), "RECV 1b 23"};
  const TesslinePacket samePacket = packet;
  const TesslinePacket otherPayload{bytes("1b 24"), "RECV 1b 23"};
  const TesslinePacket otherLine{bytes("1b 23"), "recv 1b 23"};
  EXPECT_TRUE(packet == samePacket);
  EXPECT_FALSE(packet == otherPayload);
  EXPECT_FALSE(packet == otherLine);
}

TEST(ReverseEngineeringFinding, IsEqualWhenAllTextsAre) {
  const ReverseEngineeringFinding finding{"a", "b", "c"};
  EXPECT_TRUE(finding == (ReverseEngineeringFinding{"a", "b", "c"}));
  EXPECT_FALSE(finding == (ReverseEngineeringFinding{"x", "b", "c"}));
  EXPECT_FALSE(finding == (ReverseEngineeringFinding{"a", "x", "c"}));
  EXPECT_FALSE(finding == (ReverseEngineeringFinding{"a", "b", "x"}));
}

TEST(ProjectWorkstream, IsEqualWhenTextsAndStageAre) {
  const ProjectWorkstream workstream{"a", "b", "c", 1};
  EXPECT_TRUE(workstream == (ProjectWorkstream{"a", "b", "c", 1}));
  EXPECT_FALSE(workstream == (ProjectWorkstream{"x", "b", "c", 1}));
  EXPECT_FALSE(workstream == (ProjectWorkstream{"a", "x", "c", 1}));
  EXPECT_FALSE(workstream == (ProjectWorkstream{"a", "b", "x", 1}));
  EXPECT_FALSE(workstream == (ProjectWorkstream{"a", "b", "c", 0}));
}

}  // namespace
}  // namespace tessline::test
