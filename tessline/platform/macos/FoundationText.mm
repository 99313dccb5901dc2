#include "tessline/platform/macos/FoundationText.h"

namespace tessline::platform {

std::optional<std::string> textOf(NSString* text) {
  const char* const bytes = text.UTF8String;
  if (bytes == nullptr) return std::nullopt;
  // Text may hold U+0000.
  return std::string(bytes, [text lengthOfBytesUsingEncoding:NSUTF8StringEncoding]);
}

NSString* makeNSString(std::string_view text) {
  return [[NSString alloc] initWithBytes:text.data()
                                  length:text.size()
                                encoding:NSUTF8StringEncoding];
}

}  // namespace tessline::platform
