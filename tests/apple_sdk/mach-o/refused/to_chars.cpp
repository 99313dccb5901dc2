// Refused: 'to_chars' is unavailable
// Decimal digits of a double came with macOS 13.3.
#include <charconv>

int main() {
  char text[32];
  return std::to_chars(text, text + sizeof text, 1.5).ptr == text ? 1 : 0;
}
