// Writes where an installation of the privileged helper would take it from.
#include "tessline/capture/PacketLoggerInstallation.h"
#include "tessline/platform/Platform.h"

#include <iostream>

int main() {
  using Installation = tessline::PacketLoggerInstallation;
  std::cout << Installation::bundledHelperURL(*tessline::platform::hostPlatform()).value_or("none");
}
