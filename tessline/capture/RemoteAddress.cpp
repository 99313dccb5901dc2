#include "tessline/capture/RemoteAddress.h"

#include "tessline/model/TesslineError.h"
#include "tessline/text/Graphemes.h"
#include "tessline/text/Whitespace.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace tessline {

namespace {

constexpr std::string_view reportType = "SPBluetoothDataType";
constexpr std::string_view addressLabel = "Address:";
constexpr std::string_view productLabel = "Product ID:";
constexpr std::string_view remoteProductID = "0x0315";
// Headings of groups of devices, and not of a device.
constexpr std::array<std::string_view, 4> groupHeadings = {
    "Bluetooth:", "Connected:", "Not Connected:", "Bluetooth Controller:"};

bool startsWith(std::string_view line, std::string_view label) {
  return findCharacters(line, label, LetterCase::matters) == 0;
}

bool endsWithColon(std::string_view line) {
  if (!line.ends_with(':')) return false;
  std::string_view last;
  for (GraphemeWalk walk(line); !walk.rest().empty();) last = walk.next();
  return last == ":";
}

// What the report says of one device.
struct Device {
  std::optional<std::string> address;
  std::optional<std::string> productID;

  bool isRemote() const {
    return productID && findCharacters(*productID, remoteProductID, LetterCase::ignoredInAscii) !=
                            std::string_view::npos;
  }
};

}  // namespace

std::optional<std::string> detectConnectedSiriRemoteAddress(platform::ChildProcesses& processes) {
  try {
    const auto output = processes.makePipe();
    const auto errors = processes.makePipe();
    const auto process = processes.makeProcess({.executable = std::string(bluetoothReportTool),
                                                .arguments = {std::string(reportType)},
                                                .standardOutput = output,
                                                .standardError = errors});
    // Nobody reads what the tool complains of, but it must not wait for that.
    errors->setReadabilityHandler([](std::span<const std::uint8_t>) {});
    process->launch();
    // Read first: a report that is larger than the pipe would keep the tool from ending.
    const std::vector<std::uint8_t> data = output->readDataToEndOfFile();
    process->waitUntilExit();
    const std::string text(data.begin(), data.end());
    return isValidUtf8(text) ? detectConnectedSiriRemoteAddress(text) : std::nullopt;
  } catch (const TesslineError&) {
    return std::nullopt;
  }
}

std::optional<std::string> detectConnectedSiriRemoteAddress(std::string_view text) {
  Device device;
  for (const std::string_view piece : splitAtNewlines(text)) {
    const std::string_view line = trimmedOfWhitespace(piece);
    const bool isAddress = startsWith(line, addressLabel);
    const bool isProduct = startsWith(line, productLabel);
    if (isAddress || isProduct) {
      const std::size_t labelSize = isAddress ? addressLabel.size() : productLabel.size();
      (isAddress ? device.address : device.productID) =
          std::string(trimmedOfWhitespace(line.substr(labelSize)));
    } else if (endsWithColon(line) &&
               std::ranges::find(groupHeadings, line) == groupHeadings.end()) {
      if (device.isRemote() && device.address) return device.address;
      device = {};
    }
  }
  return device.isRemote() ? device.address : std::nullopt;
}

}  // namespace tessline
