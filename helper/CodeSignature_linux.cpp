#include "helper/CodeSignature.h"

namespace helper {

bool isSignedByMaker(int) {
  // Programs carry no signature here. Only a path that root alone can change is trusted.
  return false;
}

}  // namespace helper
