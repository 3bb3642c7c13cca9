#ifndef ORV_SHARE_INI_LINE_H
#define ORV_SHARE_INI_LINE_H

#include <cstddef>
#include <optional>
#include <string_view>

#include "common/text.h"

/// The lines of "/etc/sharefolder.conf" and of the Samba files.

namespace orv {

/// Shorter lines say nothing.
inline constexpr std::size_t shortest_ini_line = 3;

inline bool is_section(std::string_view line) { return line.starts_with('['); }

/// The name in a section's head; nothing when the head is not closed.
inline std::optional<std::string_view> section_name(std::string_view line) {
  if (!line.ends_with(']')) return std::nullopt;
  return line.substr(1, line.size() - 2);
}

inline bool has_two_equals(std::string_view line) {
  return after(line, '=').find('=') != std::string_view::npos;
}

/// The section of a Samba file that is read as no share: by exactly this name.
inline constexpr std::string_view global_section = "global";

struct ini_setting {
  std::string_view key;
  std::string_view value;
};

/// The setting of a "key = value" line; nothing when it has no "=", or two.
inline std::optional<ini_setting> setting_of(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  if (line.find('=', equals + 1) != std::string_view::npos) return std::nullopt;
  return ini_setting{trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1))};
}

/// Fills a field of a record. The first value wins; an empty one does not count.
template <std::size_t Size>
void fill_once(char (&field)[Size], std::string_view value) {
  if (field[0] == '\0') set_text(field, value);
}

}  // namespace orv

#endif
