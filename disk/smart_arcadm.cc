#include <orv/disk.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "common/log.h"
#include "common/text.h"
#include "disk/smart_attributes.h"
#include "disk/smart_names.h"

// A line of the controller's SMART output: "Spin Up Time : 97 (21) OK" is the attribute's name, its
// worst value, its threshold and its status.

namespace {

bool is_reported(std::string_view line) {
  return line.find(':') != std::string_view::npos &&
         orv::is_reported(orv::trimmed(orv::before(line, ":")), &orv::smart_name::arcadm);
}

/// Takes the text up to a mark off the front of a text, and the mark with it. All of it is taken
/// when there is no mark.
std::string_view take_until(std::string_view& text, std::string_view mark) {
  const std::string_view taken = text.substr(0, text.find(mark));
  text.remove_prefix(std::min(taken.size() + mark.size(), text.size()));
  return orv::trimmed(taken);
}

/// The largest number for one that does not fit.
uint32_t number_of_32_bits(std::string_view text) {
  constexpr uint64_t largest = std::numeric_limits<uint32_t>::max();
  return static_cast<uint32_t>(std::min(orv::leading_number(text), largest));
}

/// @param number  of the line in the output; the controller numbers no attributes
void fill(tag_disksmart_info& attribute, std::string_view line, int number) {
  std::string_view rest = line;
  orv::set_text(attribute.id, std::to_string(number));
  orv::set_text(attribute.attr_name, take_until(rest, ":"));
  attribute.value = 0;
  attribute.worst = orv::short_number(take_until(rest, " ("));
  // Only the worst value is cut to 4 characters.
  attribute.thresh = number_of_32_bits(take_until(rest, ")"));
  const auto words = orv::split(rest, " ");
  orv::set_text(attribute.status, words.empty() ? std::string_view() : words.front());
  attribute.raw = 0;
}

constexpr orv::smart_format lines = {.first_line = 0, .is_reported = is_reported, .fill = fill};

}  // namespace

int get_smart_value_arcadm(FILE* fp, int line, tag_disksmart_info* rec) try {
  return orv::fill_attribute(rec, fp, line, lines);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_smart_from_arcadm(tag_disk_info* disk) try {
  if (disk == nullptr) return orv::log_missing_argument();
  const int64_t port = int64_t{disk->ch} - 1;  // ports count from 0
  orv::smart_output output("/tmp/smart_" + std::to_string(disk->ch) + "_detail.XXXXXX");
  const orv::command ask("/usr/local/bin/arcadm --misc -s -i %d > %s", port, output.path());
  return orv::append_attributes(&disk->smart_list, output, ask, lines);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
