#include <orv/disk.h>
#include <orv/support.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "common/families.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"
#include "disk/smart_names.h"
#include "disk/smart_output.h"

// A line of the controller's SMART output: "Spin Up Time : 97 (21) OK" is the attribute's name, its
// worst value, its threshold and its status.

namespace {

std::string_view name_in(std::string_view line) { return orv::trimmed(orv::before(line, ":")); }

/// Takes the text up to a mark off the front of a text, and the mark with it. All of it is taken
/// when there is no mark.
std::string_view take_until(std::string_view& text, std::string_view mark) {
  const std::string_view taken = text.substr(0, text.find(mark));
  text.remove_prefix(std::min(taken.size() + mark.size(), text.size()));
  return orv::trimmed(taken);
}

/// The number in the first 4 characters.
uint32_t short_number(std::string_view text) {
  return static_cast<uint32_t>(orv::leading_number(text.substr(0, 4)));
}

/// @param number  of the line in the output; the controller numbers no attributes
void fill_attribute(tag_disksmart_info& attribute, std::string_view line, int number) {
  std::string_view rest = line;
  orv::set_text(attribute.id, std::to_string(number));
  orv::set_text(attribute.attr_name, take_until(rest, ":"));
  attribute.value = 0;
  attribute.worst = short_number(take_until(rest, " ("));
  attribute.thresh = short_number(take_until(rest, ")"));
  const auto words = orv::split(rest, " ");
  orv::set_text(attribute.status, words.empty() ? std::string_view() : words.front());
  attribute.raw = 0;
}

bool is_attribute(std::string_view line) {
  return line.find(':') != std::string_view::npos &&
         orv::is_reported(name_in(line), &orv::smart_name::arcadm);
}

/// Appends the attributes of the output; false without memory.
bool add_attributes(tag_disksmart_list* attributes, FILE* file) {
  orv::line_reader reader(file);
  std::size_t found = 0;
  for (int line = 0; found < orv::most_attributes && reader.next(); ++line) {
    if (!is_attribute(reader.line())) continue;
    tag_disksmart_info* const attribute = orv::append(attributes);
    if (attribute == nullptr) return false;
    fill_attribute(*attribute, reader.line(), line);
    ++found;
  }
  return true;
}

}  // namespace

int get_smart_value_arcadm(FILE* fp, int line, tag_disksmart_info* rec) {
  if (rec == nullptr) return orv::log_missing_argument();
  char text[orv::line_reader::capacity] = "";
  const int result = get_line_from_file(fp, nullptr, line, nullptr, text, sizeof text);
  if (result != 0) return orv::log_failure(result);
  fill_attribute(*rec, text, line);
  return ORV_OK;
}

int get_smart_from_arcadm(tag_disk_info* disk) {
  if (disk == nullptr) return orv::log_missing_argument();
  const int64_t port = int64_t{disk->ch} - 1;  // ports count from 0
  orv::smart_output output("/tmp/smart_" + std::to_string(disk->ch) + "_detail.XXXXXX");
  const orv::command ask("/usr/local/bin/arcadm --misc -s -i %d > %s", port, output.path());
  const int result = output.read(ask, ORV_E_SMART_DETAIL);
  if (result != ORV_OK) return result;
  if (!add_attributes(&disk->smart_list, output.file())) {
    return orv::log_failure(ORV_E_SMART_DETAIL);
  }
  return ORV_OK;
}
