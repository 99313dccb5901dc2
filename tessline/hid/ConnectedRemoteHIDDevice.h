/// @file
/// One HID interface of a connected remote.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

namespace tessline {

/// What an interface says of itself. A remote has several, one for each top-level collection.
struct ConnectedRemoteHIDDevice {
  std::string id;              ///< Stable while a listener runs; unique among its interfaces.
  std::string name;            ///< The property "Product"; never empty.
  std::string transport;       ///< The property "Transport", or "Unknown".
  std::int64_t vendorID = 0;   ///< The property "VendorID", or 0.
  std::int64_t productID = 0;  ///< The property "ProductID", or 0.
  std::int64_t usagePage = 0;  ///< The property "PrimaryUsagePage", or 0.
  std::int64_t usage = 0;      ///< The property "PrimaryUsage", or 0.

  /// Apple's vendor ID.
  static constexpr std::int64_t appleVendorID = 76;
  /// The product IDs of Siri Remotes; a set, whose order means nothing.
  static constexpr std::array<std::int64_t, 10> knownSiriRemoteProductIDs = {
      545, 597, 614, 615, 617, 3150, 3151, 781, 782, 789};
  /// The first vendor-defined usage page, on which the management interface stands.
  static constexpr std::int64_t deviceManagementUsagePage = 0xFF00;
  /// The usage of the management interface.
  static constexpr std::int64_t deviceManagementUsage = 0x0B;

  /// Whether that is the product ID of a Siri Remote.
  static constexpr bool isKnownSiriRemoteProductID(std::int64_t productID) {
    return std::ranges::find(knownSiriRemoteProductIDs, productID) !=
           knownSiriRemoteProductIDs.end();
  }

  /// Whether this is the interface through which a Siri Remote is managed.
  bool isDeviceManagementInterface() const {
    return vendorID == appleVendorID && isKnownSiriRemoteProductID(productID) &&
           usagePage == deviceManagementUsagePage && usage == deviceManagementUsage;
  }

  bool operator==(const ConnectedRemoteHIDDevice&) const = default;
};

}  // namespace tessline
