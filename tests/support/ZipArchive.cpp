#include "tests/support/ZipArchive.h"

#include <cstddef>
#include <string_view>

namespace tessline::test {

namespace {

constexpr std::uint32_t localHeaderMark = 0x04034B50;
constexpr std::uint32_t centralHeaderMark = 0x02014B50;
constexpr std::uint32_t endMark = 0x06054B50;
constexpr std::uint16_t neededVersion = 20;
constexpr std::uint16_t madeOnUnix = 3 << 8 | neededVersion;
constexpr std::uint16_t stored = 0;
constexpr std::uint16_t someTime = 12 << 11;                         // Noon.
constexpr std::uint16_t someDate = (2024 - 1980) << 9 | 1 << 5 | 2;  // 2 January 2024.

std::uint32_t checksum(std::string_view text) {
  std::uint32_t value = 0xFFFFFFFF;
  for (const char character : text) {
    value ^= static_cast<std::uint8_t>(character);
    for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ (0xEDB88320 & (0 - (value & 1)));
  }
  return ~value;
}

class Writer {
 public:
  std::size_t size() const { return bytes_.size(); }
  const std::vector<std::uint8_t>& bytes() const { return bytes_; }

  void add16(std::size_t value) { addNumber(value, 2); }
  void add32(std::size_t value) { addNumber(value, 4); }
  void add(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }
  void add(const Writer& other) {
    bytes_.insert(bytes_.end(), other.bytes_.begin(), other.bytes_.end());
  }
  // What both headers of an entry say.
  void addCommonHeader(const ZipEntry& entry) {
    add16(neededVersion);
    add16(0);  // Flags.
    add16(stored);
    add16(someTime);
    add16(someDate);
    add32(checksum(entry.content));
    add32(entry.content.size());
    add32(entry.content.size());
    add16(entry.name.size());
    add16(0);  // Of the extra field.
  }

 private:
  void addNumber(std::size_t value, int size) {
    for (int index = 0; index < size; ++index) {
      bytes_.push_back(static_cast<std::uint8_t>(value >> 8 * index));
    }
  }

  std::vector<std::uint8_t> bytes_;
};

}  // namespace

std::vector<std::uint8_t> zipArchive(const std::vector<ZipEntry>& entries) {
  Writer archive;
  Writer directory;
  for (const ZipEntry& entry : entries) {
    directory.add32(centralHeaderMark);
    directory.add16(madeOnUnix);
    directory.addCommonHeader(entry);
    directory.add16(0);  // Of the comment.
    directory.add16(0);  // Disk.
    directory.add16(0);  // Internal attributes.
    directory.add32(std::size_t{entry.mode} << 16);
    directory.add32(archive.size());
    directory.add(entry.name);

    archive.add32(localHeaderMark);
    archive.addCommonHeader(entry);
    archive.add(entry.name);
    archive.add(entry.content);
  }
  const std::size_t directoryOffset = archive.size();
  archive.add(directory);
  archive.add32(endMark);
  archive.add16(0);  // Disk.
  archive.add16(0);  // Disk of the directory.
  archive.add16(entries.size());
  archive.add16(entries.size());
  archive.add32(directory.size());
  archive.add32(directoryOffset);
  archive.add16(0);  // Of the comment.
  return archive.bytes();
}

}  // namespace tessline::test
