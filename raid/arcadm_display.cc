#include <orv/raid.h>
#include <orv/support.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"

namespace {

/// Fields of a display line, counted between "/".
enum display_field { level_field = 1, status_field = 3, size_field, device_field, disks_field };

std::optional<std::string_view> find_field(const char* line, display_field index) {
  char* field = nullptr;
  const int length = line == nullptr ? 0 : static_cast<int>(std::strlen(line));
  if (get_substr_from_line(line, length, "/", index, &field) == 0) return std::nullopt;
  const std::string_view rest(field);
  return rest.substr(0, rest.find('/'));
}

/// A field up to its first blank.
std::optional<std::string_view> find_word(const char* line, display_field index) {
  const std::optional<std::string_view> field = find_field(line, index);
  if (!field) return std::nullopt;
  return orv::trimmed_right(field->substr(0, field->find(' ')));
}

int copy_word(const char* line, display_field index, char* dst, int size) {
  const std::optional<std::string_view> word = find_word(line, index);
  if (!word) return -1;
  orv::copy_text(dst, size, *word);
  return 0;
}

/// "1,2" of "#1 #2".
std::string channel_list(std::string_view field) {
  std::string channels;
  for (const std::string_view word : orv::split(field, " ")) {
    if (word.front() != '#') continue;
    channels += orv::trimmed_right(word.substr(1));
    channels += ',';
  }
  if (!channels.empty()) channels.pop_back();
  return channels;
}

template <std::size_t Size>
constexpr int size_of(const char (&)[Size]) {
  return static_cast<int>(Size);
}

void read_array(const char* line, std::string_view name, tag_md_info& md) {
  orv::set_text(md.name, name);
  get_raid_level(line, md.level, size_of(md.level));
  get_raid_status(line, md.state, size_of(md.state));
  md.size = get_raid_size(line);
  get_raid_device(line, md.enclosure, size_of(md.enclosure));
  get_raid_disks(line, md.disks, size_of(md.disks));
}

/// Moves to the next line that is not blank, trimmed; NULL at the end.
const char* next_display_line(orv::line_reader& lines) {
  while (lines.next()) {
    const char* const line = ltrimstr(rtrimstr(lines.line()));
    if (*line != '\0') return line;
  }
  return nullptr;
}

/// The table of arrays begins below the line of "=".
bool find_table(orv::line_reader& lines) {
  while (const char* const line = next_display_line(lines)) {
    if (isequal(line) != 0) return true;
  }
  return false;
}

}  // namespace

int isequal(const char* s) {
  return orv::text_or_empty(s).find_first_not_of('=') == std::string_view::npos ? 1 : 0;
}

int get_raid_level(const char* line, char* dst, int size) try {
  if (dst == nullptr) return orv::log_missing_argument();
  const std::optional<std::string_view> word = find_word(line, level_field);
  if (!word) return -1;
  orv::copy_text(dst, size, "raid" + std::string(*word));
  return 0;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_raid_status(const char* line, char* dst, int size) try {
  if (dst == nullptr) return orv::log_missing_argument();
  return copy_word(line, status_field, dst, size);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

uint64_t get_raid_size(const char* line) try {
  const std::optional<std::string_view> word = find_word(line, size_field);
  return word ? orv::leading_number(*word) : std::numeric_limits<uint64_t>::max();
} catch (const std::bad_alloc&) {
  orv::without_memory();
  return std::numeric_limits<uint64_t>::max();
}

int get_raid_device(const char* line, char* dst, int size) try {
  if (dst == nullptr) return orv::log_missing_argument();
  return copy_word(line, device_field, dst, size);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_raid_disks(const char* line, char* dst, int size) try {
  if (dst == nullptr) return orv::log_missing_argument();
  const std::optional<std::string_view> field = find_field(line, disks_field);
  if (!field) return -1;
  orv::copy_text(dst, size, channel_list(*field));
  return 0;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_mdinfo_from_arcadm(tag_mdinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  orv::captured_output output("/tmp/mdstat.XXXXXX");
  const orv::command display("/usr/local/bin/arcadm --display --scan > %s", output.path());
  if (!output.fill(display)) return ORV_E_COMMAND;
  const orv::unique_file file = output.open();
  if (!file) return orv::log_failure(ORV_E_MD_DETAIL);
  output.leave();  // The last display stays readable in /tmp.
  orv::line_reader lines(file.get());
  if (!find_table(lines)) return ORV_OK;
  errno = 0;
  while (const char* const line = next_display_line(lines)) {
    const std::string_view text(line);
    const std::string_view name = text.substr(0, text.find(' '));
    if (!name.starts_with("md")) continue;
    tag_md_info* const md = orv::append(list);
    if (md == nullptr) return orv::log_failure(ORV_E_MD_DETAIL);
    read_array(line, name, *md);
  }
  // A field without memory reads as one that is missing.
  return errno == ENOMEM ? orv::log_failure(ORV_E_MD_DETAIL) : ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
