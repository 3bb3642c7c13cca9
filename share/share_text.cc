#include "share/share_text.h"

#include <algorithm>
#include <span>

#include "common/control_characters.h"
#include "common/text.h"

namespace orv {

namespace {

void make_fit(char* value, std::size_t size, std::string_view unfit) {
  for (char& c : std::span(value, size)) {
    const bool is_unfit = unfit.find(c) != std::string_view::npos;
    if ((is_control(c) && c != '\t') || is_unfit) c = ' ';
  }
}

}  // namespace

std::string fit_value(std::string_view value, std::string_view unfit) {
  std::string text(value);
  make_fit(text.data(), text.size(), unfit);
  return text;
}

void append_fit_value(secret_text& text, std::string_view value, std::string_view unfit) {
  const std::size_t start = text.size();
  text.append(value);
  make_fit(text.data() + start, value.size(), unfit);
}

std::string samba_value(std::string_view value) {
  std::string text = fit_value(value, "=");
  const std::size_t kept = text.find_last_not_of("\\ \t") + 1;
  std::replace(text.begin() + static_cast<std::ptrdiff_t>(kept), text.end(), '\\', ' ');
  return text;
}

std::string stored_name(std::string_view name, std::string_view service) {
  std::string text(trimmed(samba_value(fit_value(name, "]"))));
  if (equal_ignoring_case(service, "iscsi")) {
    std::replace(text.begin(), text.end(), ' ', '_');
    std::replace(text.begin(), text.end(), '\t', '_');
  }
  return text;
}

bool is_global_to_samba(std::string_view name) {
  std::string word(name);
  std::erase_if(word, support::is_white);
  return equal_ignoring_case(word, "global") || equal_ignoring_case(word, "globals");
}

std::string_view or_nobody(std::string_view fit, std::string_view list) {
  const bool names_somebody = !trimmed(fit).empty() || trimmed(list).empty();
  return names_somebody ? fit : "_";
}

std::string_view whole_items(std::string_view list, std::size_t room) {
  if (list.size() <= room) return list;
  const bool ends_there = list[room] == ',' || list[room] == ' ';
  const std::string_view cut = list.substr(0, room);
  const std::size_t end = ends_there ? room : cut.find_last_of(", ");
  return end == std::string_view::npos || end == 0 ? cut : cut.substr(0, end);
}

void append_section(secret_text& text, std::string_view name) {
  const std::string stored = stored_name(name);
  text.append("[").append(stored.empty() ? " " : stored).append("]\n");
}

void append_setting(secret_text& text, std::string_view key, std::string_view value) {
  text.append("    ").append(key).append(" = ");
  append_fit_value(text, value, "=");
  text += '\n';
}

}  // namespace orv
