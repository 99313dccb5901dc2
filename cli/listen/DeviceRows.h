/// @file
/// Rows for people about devices that come, change and go.
#pragma once

#include "cli/listen/LiveWriter.h"

#include <algorithm>
#include <vector>

namespace tessline::cli {

/// A row for each device of `now` that is new or described otherwise than in `before`, and for each
/// that is gone. Devices are told apart by their `id`.
template <class Device, class Describe>
void noteDevices(const std::vector<Device>& before, const std::vector<Device>& now,
                 Describe describe, LiveWriter& writer) {
  const auto find = [](const std::vector<Device>& devices, const Device& device) {
    return std::ranges::find(devices, device.id, &Device::id);
  };
  for (const Device& device : now) {
    const auto known = find(before, device);
    if (known == before.end()) {
      writer.note("+", describe(device));
    } else if (describe(*known) != describe(device)) {
      writer.note("~", describe(device));
    }
  }
  for (const Device& device : before) {
    if (find(now, device) == now.end()) writer.note("-", describe(device));
  }
}

}  // namespace tessline::cli
