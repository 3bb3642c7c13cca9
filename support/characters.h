#ifndef ORV_SUPPORT_CHARACTERS_H
#define ORV_SUPPORT_CHARACTERS_H

#include <string_view>

namespace orv::support {

/// White space of every trim routine, whatever the locale says.
inline constexpr std::string_view white_space = " \t\r\n\v\f";

/// Tab, line feed, vertical tab, form feed and carriage return follow each other. Nearly every
/// character that is asked for is beyond the blank.
constexpr bool is_white(char c) { return c <= ' ' && (c == ' ' || (c >= '\t' && c <= '\r')); }
constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }

inline std::string_view trimmed_left(std::string_view text) {
  while (!text.empty() && is_white(text.front())) text.remove_prefix(1);
  return text;
}

inline std::string_view trimmed_right(std::string_view text) {
  while (!text.empty() && is_white(text.back())) text.remove_suffix(1);
  return text;
}

inline std::string_view trimmed(std::string_view text) { return trimmed_left(trimmed_right(text)); }

/// A text argument of the public interface, where NULL reads as the empty text.
inline std::string_view text_or_empty(const char* text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}

/// Copies `text` into a buffer of the public interface, cut and terminated; a size of 0 or less
/// writes nothing.
inline void copy_text(char* out, int size, std::string_view text) {
  if (out == nullptr || size <= 0) return;
  const std::size_t room = static_cast<std::size_t>(size) - 1;
  out[text.copy(out, room)] = '\0';
}

}  // namespace orv::support

#endif
