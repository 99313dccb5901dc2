/// @file
/// Zip archives made to order, also such as no honest tool would make.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessline::test {

/// One file, directory or link of an archive.
struct ZipEntry {
  static constexpr std::uint32_t regularFile = 0100000;
  static constexpr std::uint32_t directory = 0040000;
  static constexpr std::uint32_t symbolicLink = 0120000;

  std::string name;                         ///< As it is written, whatever it is.
  std::string content;                      ///< Of a link: where it leads.
  std::uint32_t mode = regularFile | 0644;  ///< Unix mode: kind and permissions.
};

/// An archive of those entries, in their order, as one made on Unix; nothing is compressed.
std::vector<std::uint8_t> zipArchive(const std::vector<ZipEntry>& entries);

}  // namespace tessline::test
