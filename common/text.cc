#include "common/text.h"

#include <limits>

namespace orv {

std::vector<std::string_view> split(std::string_view text, std::string_view separators) {
  std::vector<std::string_view> parts;
  std::size_t start = text.find_first_not_of(separators);
  while (start != std::string_view::npos) {
    const std::size_t end = text.find_first_of(separators, start);
    parts.push_back(text.substr(start, end - start));
    start = text.find_first_not_of(separators, end);
  }
  return parts;
}

uint64_t leading_number(std::string_view text) {
  constexpr uint64_t largest = std::numeric_limits<uint64_t>::max();
  uint64_t number = 0;
  for (const char c : trimmed_left(text)) {
    if (!is_digit(c)) break;
    const uint64_t digit = static_cast<uint64_t>(c - '0');
    if (number > (largest - digit) / 10) return largest;
    number = number * 10 + digit;
  }
  return number;
}

}  // namespace orv
