#include "tessline/model/UUID.h"

namespace tessline {

std::string UUID::text() const {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string text;
  text.reserve(36);
  for (std::size_t index = 0; index < bytes.size(); ++index) {
    if (index == 4 || index == 6 || index == 8 || index == 10) text += '-';
    text += digits[bytes[index] >> 4U];
    text += digits[bytes[index] & 0xFU];
  }
  return text;
}

}  // namespace tessline
