#ifndef ORV_COMMON_TEXT_H
#define ORV_COMMON_TEXT_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "support/characters.h"

namespace orv {

using support::copy_text;
using support::is_digit;
using support::text_or_empty;
using support::trimmed;
using support::trimmed_left;
using support::trimmed_right;

/// The characters of a field of a record, up to its terminator or its end.
template <std::size_t Size>
std::string_view text_of(const char (&field)[Size]) {
  const std::string_view all(field, Size);
  return all.substr(0, all.find('\0'));
}

/// Copies a text into a field of a record, cut and terminated.
template <std::size_t Size>
void set_text(char (&field)[Size], std::string_view text) {
  copy_text(field, static_cast<int>(Size), text);
}

/// Whether a character is one of a few. A loop: they are too few for a search to pay.
constexpr bool is_one_of(char c, std::string_view characters) {
  for (const char each : characters) {
    if (c == each) return true;
  }
  return false;
}

/// The text before the first of some characters; all of it when there is none.
constexpr std::string_view before(std::string_view text, std::string_view characters) {
  // Nearly every character of a text is beyond all separators.
  char greatest = '\0';
  for (const char each : characters) greatest = each > greatest ? each : greatest;
  const auto is_sought = [&](char c) { return c <= greatest && is_one_of(c, characters); };
  std::size_t size = 0;
  while (size < text.size() && !is_sought(text[size])) ++size;
  return text.substr(0, size);
}

/// The text behind the first such character; empty when there is none.
inline std::string_view after(std::string_view text, char character) {
  const std::size_t place = text.find(character);
  return place == std::string_view::npos ? std::string_view() : text.substr(place + 1);
}

/// The text behind the last such character; all of it when there is none.
inline std::string_view after_last(std::string_view text, char character) {
  return text.substr(text.rfind(character) + 1);
}

/// An English letter in lower case; anything else as it is.
constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// True when two texts differ at most in the case of English letters.
bool equal_ignoring_case(std::string_view first, std::string_view second);

/// Cuts the next part, and the separators before it, off a text; an empty part at its end.
constexpr std::string_view next_part(std::string_view& text, std::string_view separators) {
  while (!text.empty() && is_one_of(text.front(), separators)) text.remove_prefix(1);
  const std::string_view part = before(text, separators);
  text.remove_prefix(part.size());
  return part;
}

/// The parts of a text between separator characters; a run of separators counts as one, so no part
/// is empty.
std::vector<std::string_view> split(std::string_view text, std::string_view separators);

/// The items of a comma-separated list. Empty items do not count.
inline std::vector<std::string_view> items(std::string_view list) { return split(list, ","); }

/// An item of a member list without its mark: "sda" of "sda(F)".
inline std::string_view without_mark(std::string_view item) {
  return item.substr(0, item.find('('));
}

/// The number that a text begins with, white space passed over; 0 when there is none, the largest
/// number when it does not fit.
uint64_t leading_number(std::string_view text);

}  // namespace orv

#endif
