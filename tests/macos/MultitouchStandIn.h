/// @file
/// The system's multitouch library as tests script it.
#pragma once

#include "tests/platform/DesktopContract.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tessline::test {

/// `contacts` records as the library lays them out, of moving contacts with the identifiers 1, 2
/// ...
std::vector<std::byte> contactRecords(int contacts);

/// The library and its surfaces, with the verbs of a scripted backend. Expects that whoever used
/// it has let go of everything.
class MultitouchStandIn {
 public:
  MultitouchStandIn();
  MultitouchStandIn(const MultitouchStandIn&) = delete;
  MultitouchStandIn& operator=(const MultitouchStandIn&) = delete;
  ~MultitouchStandIn();

  std::string pathOfLibrary() const;
  std::string pathOfNoLibrary() const { return "/nowhere/MultitouchSupport"; }
  /// The one function that the library lacks from now on.
  void setMissingFunction(const std::string& name);
  void setGivesList(bool gives);
  /// Behind those that are there. The first has the index 0, whatever goes later.
  void connectSurface(const ConnectedSurface& surface);
  void disconnectSurface(std::size_t index);
  /// Moving contacts, of the identifiers 1, 2 ...
  void sendFrame(std::size_t surface, int contacts);

 private:
  const long objectsBefore_;
  std::uint64_t nextIdentifier_ = 0x0500'0000'0000'0001;
};

}  // namespace tessline::test
