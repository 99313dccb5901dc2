// Refused: use of undeclared identifier 'CFShow'
// The system has it; the stand-in declares no more than what is called.
#include <CoreFoundation/CoreFoundation.h>

int main() {
  CFShow(nullptr);
}
