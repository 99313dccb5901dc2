// Refused: undefined symbol: .*new_delete_resource
// Headers have it; the library has it from macOS 14 on.
#include <memory_resource>

int main() {
  std::pmr::new_delete_resource()->deallocate(nullptr, 0);
}
