#include <orv/support.h>

#include <pthread.h>

#include <algorithm>
#include <bitset>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

#include "support/characters.h"

using orv::support::copy_text;
using orv::support::text_or_empty;

namespace {

std::string_view first_bytes(const char* line, int len) {
  if (line == nullptr || len <= 0) return {};
  return {line, strnlen(line, static_cast<std::size_t>(len))};
}

/// Place of the first character from `start` on for which the condition holds, or the line's size.
template <class Condition>
std::size_t find_from(std::string_view line, std::size_t start, Condition condition) {
  while (start < line.size() && !condition(line[start])) ++start;
  return start;
}

/// The characters between fields. The list tools' lines are asked for field after field: one look
/// answers for each character, and what is one character, as nearly always, is searched for.
class separator_set {
 public:
  explicit separator_set(std::string_view characters) : characters_(characters) {
    for (const char c : characters) is_in_[static_cast<unsigned char>(c)] = true;
  }
  bool has(char c) const { return is_in_[static_cast<unsigned char>(c)]; }

  /// Place of the first separator from `start` on, or the line's size.
  std::size_t find(std::string_view line, std::size_t start) const {
    if (characters_.size() == 1)
      return std::min(line.find(characters_.front(), start), line.size());
    return find_from(line, start, [this](char c) { return has(c); });
  }

 private:
  std::string_view characters_;
  std::bitset<1UL << CHAR_BIT> is_in_;
};

/// Start of the field `index`, or npos. A run of separators counts as one, so an empty column
/// shifts the columns behind it: the list tools' outputs are read that way throughout.
std::size_t field_start(std::string_view line, const separator_set& separators, int index) {
  if (index < 0) return std::string_view::npos;
  const auto is_text = [&](char c) { return !separators.has(c); };
  std::size_t start =
      find_from(line, 0, [&](char c) { return is_text(c) && c != ' ' && c != '\t'; });
  for (; index > 0 && start < line.size(); --index)
    start = find_from(line, separators.find(line, start), is_text);
  return start < line.size() ? start : std::string_view::npos;
}

/// None where the program has used up its keys: what stands under a key that is not ours is not
/// ours to free.
std::optional<pthread_key_t> key_of_kept_lines() {
  pthread_key_t key{};
  if (pthread_key_create(&key, std::free) != 0) return std::nullopt;
  return key;
}

/// Copies a line and keeps it until the thread's next call; NULL, with `errno`, without memory or a
/// key. The line may be the kept one itself. A thread_local object would not do: a thread without
/// memory for its destructor is ended by the C library.
char* keep_for_thread(std::string_view line) {
  static const std::optional<pthread_key_t> key = key_of_kept_lines();
  if (!key) {
    errno = ENOMEM;
    return nullptr;
  }
  auto* const copy = static_cast<char*>(std::malloc(line.size() + 1));
  if (copy == nullptr) return nullptr;
  copy[line.copy(copy, line.size())] = '\0';
  char* const last = static_cast<char*>(pthread_getspecific(*key));
  if (pthread_setspecific(*key, copy) != 0) {
    std::free(copy);
    return nullptr;
  }
  std::free(last);
  return copy;
}

/// The field `index` without its line end; false when the line has fewer fields.
bool find_field(const char* line, int len, const char* separators, int index,
                std::string_view& field) {
  const std::string_view text = first_bytes(line, len);
  const separator_set ends(text_or_empty(separators));
  const std::size_t start = field_start(text, ends, index);
  if (start == std::string_view::npos) return false;
  field = text.substr(start, ends.find(text, start) - start);
  field = field.substr(0, find_from(field, 0, [](char c) { return c == '\r' || c == '\n'; }));
  return true;
}

}  // namespace

int get_substr_from_line(const char* line, int len, const char* separators, int index,
                         char** field) {
  if (field == nullptr) return 0;
  const std::string_view text = first_bytes(line, len);
  const std::size_t start = field_start(text, separator_set(text_or_empty(separators)), index);
  char* const kept = start == std::string_view::npos ? nullptr : keep_for_thread(text);
  if (kept == nullptr) return 0;
  *field = kept + start;
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
