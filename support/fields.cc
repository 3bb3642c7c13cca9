#include <orv/support.h>

#include <charconv>
#include <cstring>
#include <string>

#include "support/characters.h"

using orv::support::copy_text;
using orv::support::text_or_empty;

namespace {

std::string_view first_bytes(const char* line, int len) {
  if (line == nullptr || len <= 0) return {};
  return {line, strnlen(line, static_cast<std::size_t>(len))};
}

/// Start of the field `index`, or npos. A run of separators counts as one, so an empty column
/// shifts the columns behind it: the list tools' outputs are read that way throughout.
std::size_t field_start(std::string_view line, std::string_view separators, int index) {
  if (index < 0) return std::string_view::npos;
  std::string leading(separators);
  leading += " \t";
  std::size_t start = line.find_first_not_of(leading);
  for (; index > 0 && start != std::string_view::npos; --index) {
    const std::size_t end = line.find_first_of(separators, start);
    if (end == std::string_view::npos) return end;
    start = line.find_first_not_of(separators, end);
  }
  return start;
}

/// The field `index` without its line end; false when the line has fewer fields.
bool find_field(const char* line, int len, const char* separators, int index,
                std::string_view& field) {
  const std::string_view text = first_bytes(line, len);
  const std::string_view characters = text_or_empty(separators);
  const std::size_t start = field_start(text, characters, index);
  if (start == std::string_view::npos) return false;
  field = text.substr(start);
  field = field.substr(0, field.find_first_of(characters));
  field = field.substr(0, field.find_first_of("\r\n"));
  return true;
}

}  // namespace

int get_substr_from_line(const char* line, int len, const char* separators, int index,
                         char** field) {
  thread_local std::string kept_line;
  if (field == nullptr) return 0;
  // The line may be the kept one itself: copy first, replace then.
  std::string copy(first_bytes(line, len));
  const std::size_t start = field_start(copy, text_or_empty(separators), index);
  if (start == std::string::npos) return 0;
  kept_line.swap(copy);
  *field = kept_line.data() + start;
  return 1;
}

int get_size_from_display(const char* line, int len, const char* separators, int index,
                          uint64_t* value) {
  std::string_view field;
  if (value == nullptr || !find_field(line, len, separators, index, field)) return -1;
  uint64_t number = 0;
  const char* const end = field.data() + field.size();
  const auto [stopped, error] = std::from_chars(field.data(), end, number);
  if (error != std::errc() || stopped != end) return -1;
  *value = number;
  return 0;
}

int get_str_from_display(const char* line, int len, const char* separators, int index, char* out,
                         int size) {
  std::string_view field;
  if (out == nullptr || size <= 0 || !find_field(line, len, separators, index, field)) return -1;
  copy_text(out, size, field);
  return 0;
}
