#include <orv/disk.h>
#include <orv/support.h>

#include <string>

#include "common/families.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"
#include "disk/smart_names.h"
#include "disk/smart_output.h"

// A line of smartctl's attribute table:
//
// ID# ATTRIBUTE_NAME        FLAG    VALUE WORST THRESH TYPE     UPDATED  WHEN_FAILED RAW_VALUE
//   5 Reallocated_Sector_Ct 0x0033  100   100   005    Pre-fail Always   -           0

namespace {

enum column : std::size_t {
  id_column,
  name_column,
  value_column = 3,
  worst_column,
  threshold_column,
  failed_column = 8,
  raw_column,
};

/// The output line, counted from 0, from which the table is looked for.
constexpr int first_line = 18;

/// The words of a line; one that the line does not have is empty.
class table_row {
 public:
  explicit table_row(std::string_view line) : words_(orv::split(line, " ")) {}

  std::string_view word(column place) const {
    return place < words_.size() ? words_[place] : std::string_view();
  }

  /// The number in the word's first 4 characters: a larger one loses its last digits, as on every
  /// device so far.
  uint32_t number(column place) const {
    return static_cast<uint32_t>(orv::leading_number(word(place).substr(0, 4)));
  }

 private:
  std::vector<std::string_view> words_;
};

void fill_attribute(tag_disksmart_info& attribute, const table_row& row) {
  orv::set_text(attribute.id, row.word(id_column));
  orv::set_text(attribute.attr_name, row.word(name_column));
  attribute.value = row.number(value_column);
  attribute.worst = row.number(worst_column);
  attribute.thresh = row.number(threshold_column);
  orv::set_text(attribute.status, row.word(failed_column));
  attribute.raw = row.number(raw_column);
}

/// Appends the attributes of the table; false without memory.
bool add_attributes(tag_disksmart_list* attributes, FILE* file) {
  orv::line_reader reader(file);
  std::size_t found = 0;
  for (int line = 0; found < orv::most_attributes && reader.next(); ++line) {
    if (line < first_line) continue;
    const table_row row(reader.line());
    if (!orv::is_reported(row.word(name_column), &orv::smart_name::smartctl)) continue;
    tag_disksmart_info* const attribute = orv::append(attributes);
    if (attribute == nullptr) return false;
    fill_attribute(*attribute, row);
    ++found;
  }
  return true;
}

}  // namespace

int get_smart_detail_value(FILE* fp, int line, tag_disksmart_info* rec) {
  if (rec == nullptr) return orv::log_missing_argument();
  char text[orv::line_reader::capacity] = "";
  const int result = get_line_from_file(fp, nullptr, line, nullptr, text, sizeof text);
  if (result != 0) return orv::log_failure(result);
  fill_attribute(*rec, table_row(text));
  return ORV_OK;
}

int get_smart_detail(tag_disk_info* disk) {
  if (disk == nullptr) return orv::log_missing_argument();
  const std::string name(orv::text_of(disk->name));
  orv::smart_output output("/tmp/smart_" + name + "_detail.XXXXXX");
  const orv::command ask(
      "/usr/local/sbin/smartctl -d marvell -T permissive -Hi --attributes /dev/%s > %s", name,
      output.path());
  const int result = output.read(ask, ORV_E_SMART_DETAIL);
  if (result != ORV_OK) return result;
  if (!add_attributes(&disk->smart_list, output.file())) {
    return orv::log_failure(ORV_E_SMART_DETAIL);
  }
  return ORV_OK;
}
