#include "share/ini_index.h"

#include <algorithm>

#include "common/text.h"
#include "share/file_text.h"

namespace orv {
namespace {

/// A text as a buffer of C holds it: up to the first NUL.
std::string_view c_text(std::string_view text) { return text.substr(0, text.find('\0')); }

ini_head head_of(std::string_view line) {
  constexpr std::string_view ends("]\r\0", 3);
  const std::size_t end = line.find_first_of(ends);
  const bool is_closed = end != std::string_view::npos && line[end] == ']';
  return {line.substr(1, end - 1), is_closed};
}

std::string_view section_name(std::string_view head) {
  return trimmed(head.substr(1, head.find(']') - 1));
}

/// The place of a key among the keys; their number when it is none of them.
std::size_t place_in(std::span<const std::string_view> keys, std::string_view key) {
  return static_cast<std::size_t>(std::ranges::find(keys, key) - keys.begin());
}

}  // namespace

std::optional<std::string_view> ini_section::value(std::string_view key) const {
  if (values_ == nullptr) return std::nullopt;
  const std::size_t place = place_in(keys_, key);
  if (place == keys_.size() || values_[place].data() == nullptr) return std::nullopt;
  return values_[place];
}

ini_index::ini_index(const char* path, std::span<const std::string_view> keys)
    : keys_(keys), text_(file_text(path)) {
  make_room();
  std::string_view rest = text_;
  std::string_view line;
  while (next_line(rest, line)) {
    if (line.starts_with('[')) heads_.push_back(head_of(line));
    const std::string_view text = trimmed(line);
    if (text.starts_with('[')) {
      add_section(section_name(text));
    } else if (is_taking_) {
      add_setting(text);
    }
  }
}

/// Exactly as much as is needed: there may be thousands of shares.
void ini_index::make_room() {
  std::size_t heads = 0;
  std::string_view rest = text_;
  std::string_view line;
  while (next_line(rest, line)) heads += line.starts_with('[') ? 1 : 0;
  heads_.reserve(heads);
  sections_.reserve(heads);
  values_.reserve(heads * keys_.size());
}

void ini_index::add_section(std::string_view name) {
  is_taking_ = sections_.try_emplace(name, values_.size()).second;
  if (is_taking_) values_.resize(values_.size() + keys_.size());
}

void ini_index::add_setting(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return;
  const std::size_t place = place_in(keys_, trimmed(line.substr(0, equals)));
  if (place == keys_.size()) return;
  std::string_view& value = values_[values_.size() - keys_.size() + place];
  if (value.data() == nullptr) value = c_text(trimmed(line.substr(equals + 1)));
}

ini_section ini_index::section(std::string_view name) const {
  const auto found = sections_.find(trimmed(name));
  return {keys_, found == sections_.end() ? nullptr : &values_[found->second]};
}

}  // namespace orv
