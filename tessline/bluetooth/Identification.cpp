#include "tessline/bluetooth/BluetoothRemoteDiscoveryService.h"
#include "tessline/text/Graphemes.h"
#include "tessline/text/Unicode.h"
#include "tessline/text/Utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace tessline {

namespace {

// "mac " with its space, so that words that hold the letters are no Macs.
constexpr std::array<std::string_view, 14> exclusionWords = {
    "airpods",        "iphone",      "ipad",           "watch",  "macbook", "imac",   "mac ",
    "magic keyboard", "magic mouse", "magic trackpad", "pencil", "homepod", "airtag", "beats"};
constexpr std::string_view wholeName = "remote";
constexpr std::array<std::string_view, 4> remoteWords = {"siri remote", "apple tv remote",
                                                         "apple tv", "siri"};
constexpr std::size_t addressLikeLength = 12;

bool containsAnyOf(std::string_view text, std::span<const std::string_view> words) {
  return std::ranges::any_of(
      words, [text](std::string_view word) { return text.find(word) != std::string_view::npos; });
}

// Some remotes advertise nothing but twelve letters and digits.
bool isAddressLike(std::string_view name) {
  std::size_t characters = 0;
  bool hasNumber = false;
  bool hasLetter = false;
  GraphemeWalk walk(name);
  for (auto character = walk.next(); !character.empty(); character = walk.next()) {
    if (++characters > addressLikeLength) return false;
    const UnicodeCategory first = unicodeCategory(firstScalar(character).value);
    hasNumber = hasNumber || first == UnicodeCategory::number;
    hasLetter = hasLetter || first == UnicodeCategory::letter;
    while (!character.empty()) {
      const Utf8Scalar scalar = firstScalar(character);
      if (unicodeCategory(scalar.value) == UnicodeCategory::other) return false;
      character.remove_prefix(scalar.size);
    }
  }
  return characters == addressLikeLength && hasNumber && hasLetter;
}

}  // namespace

bool BluetoothRemoteDiscoveryService::isSiriRemote(const std::optional<std::string>& name,
                                                   std::span<const BluetoothUUID>) {
  if (!name || name->empty()) return false;
  const std::string lower = lowercased(*name);
  if (containsAnyOf(lower, exclusionWords)) return false;
  return lower == wholeName || containsAnyOf(lower, remoteWords) || isAddressLike(*name);
}

bool BluetoothRemoteDiscoveryService::isSiriRemote(
    const platform::BluetoothPeripheral& peripheral) {
  std::vector<BluetoothUUID> uuids;
  for (const Service& service : peripheral.services()) uuids.push_back(service->uuid());
  return isSiriRemote(peripheral.name(), uuids);
}

}  // namespace tessline
