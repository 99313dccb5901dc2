/// @file
/// Packed runtimes made to order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessline::test {

/// A packed runtime in its parts. The key's length is written as it is said, or else as it is.
struct PackedRuntime {
  std::vector<std::uint8_t> key = {0x5A};
  std::vector<std::uint8_t> archive;
  std::string_view magic = "MRPL";
  std::uint8_t version = 1;
  std::uint8_t reserved = 0;

  /// As it stands in a file.
  std::vector<std::uint8_t> packed() const { return packedWithKeyLength(key.size()); }

  /// The same, its header saying that the key has `keyLength` bytes.
  std::vector<std::uint8_t> packedWithKeyLength(std::size_t keyLength) const {
    std::vector<std::uint8_t> data(magic.begin(), magic.end());
    data.push_back(version);
    data.push_back(reserved);
    data.push_back(static_cast<std::uint8_t>(keyLength & 0xFF));
    data.push_back(static_cast<std::uint8_t>(keyLength >> 8));
    data.insert(data.end(), key.begin(), key.end());
    for (std::size_t index = 0; index < archive.size(); ++index) {
      const unsigned keyByte = key.empty() ? 0U : key[index % key.size()];
      data.push_back(static_cast<std::uint8_t>(archive[index] ^ keyByte));
    }
    return data;
  }
};

}  // namespace tessline::test
