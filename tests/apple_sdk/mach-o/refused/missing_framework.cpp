// Refused: undefined symbol: .*AXIsProcessTrusted
// Nothing but CoreFoundation is linked with it.
#include <ApplicationServices/ApplicationServices.h>

int main() {
  return AXIsProcessTrusted() ? 0 : 1;
}
