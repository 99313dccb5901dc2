#include "tests/support/Bytes.h"

#include <stdexcept>

namespace tessline::test {

namespace {

constexpr std::string_view digits = "0123456789abcdef";

std::uint8_t digitValue(char digit) {
  const auto value = digits.find(digit);
  if (value == std::string_view::npos) throw std::invalid_argument("not a lower-case hex digit");
  return static_cast<std::uint8_t>(value);
}

}  // namespace

std::vector<std::uint8_t> bytes(std::string_view text) {
  std::vector<std::uint8_t> result;
  for (std::size_t index = 0; index < text.size(); index += 3) {
    const auto number = text.substr(index, 3);
    if (number.size() == 1 ||
        (number.size() == 3 && (number[2] != ' ' || index + 3 == text.size()))) {
      throw std::invalid_argument("not two-digit numbers separated by single blanks");
    }
    result.push_back(static_cast<std::uint8_t>(digitValue(number[0]) * 16 + digitValue(number[1])));
  }
  return result;
}

std::string hexText(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

std::vector<std::uint8_t> joined(std::initializer_list<std::vector<std::uint8_t>> parts) {
  std::vector<std::uint8_t> result;
  for (const auto& part : parts) result.insert(result.end(), part.begin(), part.end());
  return result;
}

}  // namespace tessline::test
