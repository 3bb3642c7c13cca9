#include <orv/disk.h>
#include <orv/support.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <optional>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"

// A line of the controller's disk scan: the port number and a blank, then fields separated by "/".
// Field 0 begins with the port number.

namespace {

enum field : int { model_field = 1, size_field, state_field, usage_field };

constexpr int no_channel = -1;
constexpr std::string_view empty_bay = "N.A.";
constexpr std::string_view hot_spare = "Hot Spare";
constexpr std::string_view main_chassis = "0";

/// The text of a field up to the character that ends it, without trailing blanks; nothing when the
/// line has fewer fields.
std::optional<std::string_view> text_in(const char* line, field index, char end = '/') {
  const int length = static_cast<int>(orv::text_or_empty(line).size());
  char* start = nullptr;
  if (get_substr_from_line(line, length, "/", index, &start) == 0) return std::nullopt;
  const std::string_view text(start);
  return orv::trimmed_right(text.substr(0, text.find(end)));
}

/// Hands a field's text to the caller of the public function that is named in the log.
int copy_out(const std::optional<std::string_view>& text, char* dst, int size,
             const char* function = __builtin_FUNCTION()) {
  if (dst == nullptr) return orv::log_missing_argument(function);
  if (!text) return ORV_E_FAILED;
  orv::copy_text(dst, size, *text);
  return ORV_OK;
}

void fill_state(tag_disk_info& disk, const char* line) {
  if (get_disk_state(line, disk.state, sizeof disk.state) != ORV_OK) return;
  if (get_disk_usage(line, disk.usage, sizeof disk.usage) != ORV_OK) return;
  if (orv::text_of(disk.usage) == hot_spare) disk.hotspare = 1;
}

/// Appends the disk of one scan line, if there is one; false without memory.
bool add_disk(tag_diskinfo_list* list, const char* line) {
  if (*line == '=') return true;
  const int channel = get_disk_ch(line);
  if (channel == no_channel) return true;
  char model[sizeof tag_disk_info::model] = "";
  if (get_disk_model(line, model, sizeof model) != ORV_OK) return true;
  tag_disk_info* const disk = orv::append(list);
  if (disk == nullptr) return false;
  disk->ch = channel;
  orv::set_text(disk->model, model);
  orv::set_text(disk->enclosure, main_chassis);
  disk->size = get_disk_space(line);
  fill_state(*disk, line);
  return true;
}

}  // namespace

int get_disk_ch(const char* line) try {
  const auto words = orv::split(orv::text_or_empty(line), " ");
  if (words.empty() || !std::ranges::all_of(words.front(), orv::is_digit)) return no_channel;
  const uint64_t port = orv::leading_number(words.front());
  if (port >= static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) return no_channel;
  return static_cast<int>(port) + 1;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_disk_model(const char* line, char* dst, int size) try {
  const auto model = text_in(line, model_field);
  return model == empty_bay ? ORV_E_FAILED : copy_out(model, dst, size);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

uint64_t get_disk_space(const char* line) try {
  const auto space = text_in(line, size_field);
  return space ? orv::leading_number(*space) : std::numeric_limits<uint64_t>::max();
} catch (const std::bad_alloc&) {
  orv::without_memory();
  return std::numeric_limits<uint64_t>::max();
}

int get_disk_state(const char* line, char* dst, int size) try {
  return copy_out(text_in(line, state_field), dst, size);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_disk_usage(const char* line, char* dst, int size) try {
  return copy_out(text_in(line, usage_field, '\n'), dst, size);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_diskinfo_from_arcadm(tag_diskinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::captured_output output("/tmp/diskinfo.XXXXXX");
  const orv::command scan("/usr/local/bin/arcadm --misc --scan > %s", output.path());
  if (!output.fill(scan)) return ORV_E_COMMAND;
  const orv::unique_file file = output.open();
  if (!file) return orv::tell_cannot_open(output, ORV_E_DISK_SCAN);
  orv::line_reader reader(file.get());
  errno = 0;
  while (reader.next()) {
    if (!add_disk(list, reader.line())) return orv::log_failure(ORV_E_DISK_SCAN);
  }
  // A field without memory reads as one that is missing.
  return errno == ENOMEM ? orv::log_failure(ORV_E_DISK_SCAN) : ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
