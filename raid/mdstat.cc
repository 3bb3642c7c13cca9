#include <orv/raid.h>
#include <orv/support.h>

#include <cstdio>
#include <optional>
#include <string_view>
#include <vector>

#include "common/captured_output.h"
#include "common/families.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"

namespace {

/// The text before the first colon of a line. Lines that describe an array begin with its name and
/// a colon.
std::optional<std::string_view> line_head(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  return line.substr(0, colon);
}

bool heads_array(std::string_view line, std::string_view name) {
  const std::optional<std::string_view> head = line_head(line);
  return head && orv::trimmed_right(*head) == name;
}

/// Moves to the line that shows an array's rebuild: two below the line that it begins with.
bool find_rebuild_line(orv::line_reader& lines, std::string_view name) {
  while (lines.next()) {
    if (heads_array(lines.line(), name)) return lines.next() && lines.next();
  }
  return false;
}

/// "9472" of "speed=9472K/sec", which the line ends with. White space may follow the "=".
std::optional<uint64_t> speed_of(std::string_view line_end) {
  const std::size_t equals = line_end.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  const std::string_view number = orv::trimmed_left(line_end.substr(equals + 1));
  if (number.empty() || !orv::is_digit(number.front())) return std::nullopt;
  return orv::leading_number(number);
}

/// Reads "[===>....]  recovery = 18.4% (18944/102400) finish=0.1min speed=9472K/sec". A rebuild
/// that waits has no percentage, and a line that was cut ends anywhere.
void read_progress(std::string_view line, tag_md_info& md) {
  constexpr std::size_t percentage = 3;
  constexpr std::size_t speed = 6;
  const std::vector<std::string_view> words = orv::split(orv::trimmed_left(line), " ");
  if (words.size() <= percentage) return;
  const std::size_t sign = words[percentage].find('%');
  if (sign == std::string_view::npos) return;
  orv::set_text(md.progress, words[percentage].substr(0, sign));
  if (words.size() <= speed) return;
  const auto speed_begins = static_cast<std::size_t>(words[speed].data() - line.data());
  const std::optional<uint64_t> kib = speed_of(line.substr(speed_begins));
  if (!kib) return;
  // Whole MiB shown with two decimals: readers of the progress expect the ".00".
  const uint64_t mib = *kib / 1024;
  char text[sizeof md.progress];
  const int length =
      std::snprintf(text, sizeof text, "%s%%(%.2fMB/s)", md.progress, static_cast<double>(mib));
  if (length > 0) orv::set_text(md.progress, text);
}

bool is_rebuilding(const tag_md_info& md) {
  return liborv_strcmp_substr(md.state, "recovering,resyncing", " ,") == 0;
}

}  // namespace

int get_mdinfo_from_proc(tag_mdinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::captured_output output("/tmp/mdstat.XXXXXX");
  if (!output.fill(orv::command("cat /proc/mdstat > %s", output.path()))) return ORV_E_COMMAND;
  const orv::unique_file dump = output.open();
  if (!dump) return orv::tell_cannot_open(output, ORV_E_MDSTAT);
  orv::line_reader lines(dump.get());
  while (lines.next()) {
    const std::string_view name = orv::trimmed(line_head(lines.line()).value_or(""));
    if (!name.starts_with("md")) continue;
    tag_md_info* const md = orv::append(list);
    if (md == nullptr) return orv::log_failure(ORV_E_MDSTAT);
    orv::set_text(md->name, name);
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_mdinfo_from_mdstat(tag_mdinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const orv::captured_output output("/tmp/mdstat.XXXXXX");
  if (!output.fill(orv::command("cat /proc/mdstat > %s", output.path()))) return ORV_E_COMMAND;
  for (tag_md_info& md : orv::records(list)) {
    if (!is_rebuilding(md)) continue;
    const orv::unique_file dump = output.open();
    if (!dump) return orv::tell_cannot_open(output, ORV_E_MDSTAT);
    orv::line_reader lines(dump.get());
    if (find_rebuild_line(lines, orv::text_of(md.name))) read_progress(lines.line(), md);
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
