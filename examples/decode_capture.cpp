#include "tessline/packetlog/TesslineService.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

int main(int, char** arguments) {
  std::ifstream file(arguments[1]);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  for (const tessline::TesslineEvent& event :
       tessline::TesslineService().decodeRecordedPacketLog(text)) {
    if (const auto* button = std::get_if<tessline::RemoteButtonEvent>(&event)) {
      std::cout << name(button->command) << ' ' << rawValue(button->phase) << '\n';
    }
  }
}
