#include "CoreBluetoothUUID.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <CoreBluetooth/CoreBluetooth.h>

namespace standin::bluetooth {

namespace {

constexpr std::size_t fullSize = 16;

bool hasHyphenBefore(std::size_t byte) {
  return byte == 4 || byte == 6 || byte == 8 || byte == 10;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> parseUUID(const std::string& text) {
  const bool isShort = text.size() == 4 || text.size() == 8;
  if (!isShort && text.size() != 36) return std::nullopt;
  std::vector<std::uint8_t> bytes;
  for (std::size_t place = 0; place < text.size(); place += 2) {
    if (!isShort && hasHyphenBefore(bytes.size()) && text[place++] != '-') return std::nullopt;
    const std::string digits = text.substr(place, 2);
    if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
      return std::nullopt;
    }
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits, nullptr, 16)));
  }
  return bytes;
}

UUIDValue valueOfUUID(const std::vector<std::uint8_t>& bytes) {
  UUIDValue value = {0, 0, 0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0x80, 0x5F, 0x9B, 0x34, 0xFB};
  // Two bytes stand behind two of zero.
  const std::size_t first = bytes.size() == 2 ? 2 : 0;
  std::copy(bytes.begin(), bytes.end(), value.begin() + static_cast<std::ptrdiff_t>(first));
  return value;
}

std::string textOfUUID(const std::vector<std::uint8_t>& bytes) {
  std::string text;
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    if (bytes.size() == fullSize && hasHyphenBefore(index)) text += '-';
    text += "0123456789ABCDEF"[bytes[index] >> 4];
    text += "0123456789ABCDEF"[bytes[index] & 0xF];
  }
  return text;
}

}  // namespace standin::bluetooth

@implementation CBUUID {
  std::vector<uint8_t> bytes_;
}

+ (CBUUID*)make:(std::vector<uint8_t>)bytes {
  CBUUID* made = [[CBUUID alloc] init];
  made->bytes_ = std::move(bytes);
  return made;
}

// The system raises an exception that nobody is meant to catch.
+ (CBUUID*)UUIDWithString:(NSString*)theString {
  auto bytes = standin::bluetooth::parseUUID(theString.UTF8String);
  if (!bytes) {
    std::fprintf(stderr, "CoreBluetooth stand-in: %s is no UUID\n", theString.UTF8String);
    std::abort();
  }
  return [CBUUID make:*std::move(bytes)];
}

+ (CBUUID*)UUIDWithData:(NSData*)theData {
  const auto* bytes = static_cast<const uint8_t*>(theData.bytes);
  if (theData.length != 2 && theData.length != 4 && theData.length != 16) {
    std::fprintf(stderr, "CoreBluetooth stand-in: data of no UUID's size\n");
    std::abort();
  }
  return [CBUUID make:std::vector<uint8_t>(bytes, bytes + theData.length)];
}

- (NSData*)data {
  return [NSData dataWithBytes:bytes_.data() length:bytes_.size()];
}

- (NSString*)UUIDString {
  return [NSString stringWithUTF8String:standin::bluetooth::textOfUUID(bytes_).c_str()];
}

- (BOOL)isEqual:(id)object {
  if (![object isKindOfClass:[CBUUID class]]) return NO;
  const CBUUID* other = object;
  return standin::bluetooth::valueOfUUID(bytes_) == standin::bluetooth::valueOfUUID(other->bytes_);
}

- (NSUInteger)hash {
  return standin::bluetooth::valueOfUUID(bytes_)[3];
}

- (id)copyWithZone:(NSZone*)zone {
  return self;
}

@end
