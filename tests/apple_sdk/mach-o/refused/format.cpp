// Refused: no member named 'format' in namespace 'std'
// It came with macOS 13.3.
#include <format>

int main() {
  return std::format("{}", 1).empty() ? 1 : 0;
}
