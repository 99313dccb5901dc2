// Refused: no type named 'jthread' in namespace 'std'
#include <thread>

int main() {
  const std::jthread thread([] {});
}
