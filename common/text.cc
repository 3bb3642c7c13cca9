#include "common/text.h"

#include <algorithm>
#include <limits>

namespace orv {

bool equal_ignoring_case(std::string_view first, std::string_view second) {
  return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                    [](char a, char b) { return lower(a) == lower(b); });
}

std::vector<std::string_view> split(std::string_view text, std::string_view separators) {
  constexpr std::size_t usual_parts = 8;
  std::vector<std::string_view> parts;
  parts.reserve(usual_parts);
  while (true) {
    const std::string_view part = next_part(text, separators);
    if (part.empty()) return parts;
    parts.push_back(part);
  }
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
