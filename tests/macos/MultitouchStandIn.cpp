#include "tests/macos/MultitouchStandIn.h"

#include "tessline/touch/ContactRecord.h"

#include <cstring>

#include <gtest/gtest.h>
#include <standin/corefoundation.h>
#include <standin/multitouch.h>

namespace tessline::test {

std::vector<std::byte> contactRecords(int contacts) {
  constexpr std::size_t recordSize = 96;
  constexpr std::size_t stateOffset = 20;
  constexpr std::size_t identifierOffset = 24;
  // What is not filled in is not nothing.
  std::vector<std::byte> records(recordSize * static_cast<std::size_t>(contacts), std::byte{0xA5});
  std::byte* record = records.data();
  for (std::int32_t contact = 1; contact <= contacts; ++contact, record += recordSize) {
    std::memcpy(record + stateOffset, &contactMoved, sizeof contactMoved);
    std::memcpy(record + identifierOffset, &contact, sizeof contact);
  }
  return records;
}

MultitouchStandIn::MultitouchStandIn() : objectsBefore_(standin::liveCFObjects()) {}

MultitouchStandIn::~MultitouchStandIn() {
  EXPECT_EQ(standin::multitouch::openHandles(), 0U);
  EXPECT_EQ(standin::multitouch::liveLists(), 0U);
  EXPECT_EQ(standin::liveCFObjects(), objectsBefore_);
  standin::multitouch::reset();
}

std::string MultitouchStandIn::pathOfLibrary() const {
  return std::string(standin::multitouch::libraryPath);
}

void MultitouchStandIn::setMissingFunction(const std::string& name) {
  standin::multitouch::setMissingFunctions({name});
}

void MultitouchStandIn::setGivesList(bool gives) {
  standin::multitouch::setGivesList(gives);
}

void MultitouchStandIn::connectSurface(const ConnectedSurface& surface) {
  standin::multitouch::connect({surface.isBuiltIn, nextIdentifier_++, surface.rows, surface.columns,
                                surface.width, surface.height, 0, surface.startStatus});
}

void MultitouchStandIn::disconnectSurface(std::size_t index) {
  standin::multitouch::disconnect(index);
}

void MultitouchStandIn::sendFrame(std::size_t surface, int contacts) {
  standin::multitouch::sendFrame(surface, contactRecords(contacts), contacts);
}

}  // namespace tessline::test
