// Refused: undefined symbol: .*MTDeviceCreateList
// It is looked up when a program runs: there is nothing to link.
extern "C" void* MTDeviceCreateList();

int main() {
  return MTDeviceCreateList() == nullptr ? 1 : 0;
}
