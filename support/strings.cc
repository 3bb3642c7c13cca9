#include <orv/support.h>

#include <cstring>

#include "support/characters.h"

using orv::support::is_digit;
using orv::support::is_white;
using orv::support::text_or_empty;
using orv::support::trimmed;

namespace {

/// Takes the next element off the front of a list; false when the list is used up.
bool next_element(std::string_view& list, std::string_view separators, std::string_view& element) {
  if (list.data() == nullptr) return false;
  const std::size_t end = list.find_first_of(separators);
  element = trimmed(list.substr(0, end));
  list = end == std::string_view::npos ? std::string_view() : list.substr(end + 1);
  return true;
}

bool has_element(std::string_view list, std::string_view separators, std::string_view wanted) {
  std::string_view element;
  while (next_element(list, separators, element)) {
    if (element == wanted) return true;
  }
  return false;
}

}  // namespace

char* liborv_strncpy(char* dst, int size, const char* src) {
  if (dst == nullptr || size <= 0) return dst;
  const std::size_t room = static_cast<std::size_t>(size) - 1;
  const std::size_t length = src == nullptr ? 0 : strnlen(src, room);
  if (length > 0) std::memmove(dst, src, length);
  dst[length] = '\0';
  return dst;
}

char* liborv_strncat(char* dst, int size, const char* src) {
  if (dst == nullptr || size <= 0) return dst;
  const int used = static_cast<int>(strnlen(dst, static_cast<std::size_t>(size)));
  if (used == size) {
    dst[size - 1] = '\0';
    return dst;
  }
  liborv_strncpy(dst + used, size - used, src);
  return dst;
}

int liborv_strcmp_substr(const char* first, const char* second, const char* separators) {
  const std::string_view characters = text_or_empty(separators);
  std::string_view rest = text_or_empty(first);
  std::string_view element;
  while (next_element(rest, characters, element)) {
    if (!element.empty() && has_element(text_or_empty(second), characters, element)) return 0;
  }
  return 1;
}

char* clear_string(char* text, int len) {
  if (text == nullptr || len <= 0) return text;
  const std::size_t limit = static_cast<std::size_t>(len);
  if (strnlen(text, limit) == limit) text[limit] = '\0';
  return ltrimstr(rtrimstr(text));
}

char* rtrimstr(char* s) {
  if (s == nullptr) return s;
  std::size_t length = std::strlen(s);
  while (length > 0 && is_white(s[length - 1])) --length;
  s[length] = '\0';
  return s;
}

char* ltrimstr(char* s) {
  if (s == nullptr) return s;
  while (*s != '\0' && is_white(*s)) ++s;
  return s;
}

int isdigital(const char* s) {
  const std::string_view text = text_or_empty(s);
  if (text.empty()) return 0;
  for (const char c : text) {
    if (!is_digit(c)) return 0;
  }
  return 1;
}

int key_val_split(char* line, char** key, char** value) {
  if (line == nullptr || key == nullptr || value == nullptr) return 0;
  char* const equals = std::strchr(line, '=');
  if (equals == nullptr) return 0;
  *equals = '\0';
  *key = line;
  *value = equals + 1;
  return 1;
}
