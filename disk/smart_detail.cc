#include <orv/disk.h>

#include <string>
#include <vector>

#include "common/log.h"
#include "common/text.h"
#include "disk/smart_attributes.h"
#include "disk/smart_names.h"

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

/// The words of a line; one that the line does not have is empty.
class table_row {
 public:
  explicit table_row(std::string_view line) : words_(orv::split(line, " ")) {}

  std::string_view word(column place) const {
    return place < words_.size() ? words_[place] : std::string_view();
  }
  uint32_t number(column place) const { return orv::short_number(word(place)); }

 private:
  std::vector<std::string_view> words_;
};

bool is_reported(std::string_view line) {
  return orv::is_reported(table_row(line).word(name_column), &orv::smart_name::smartctl);
}

void fill(tag_disksmart_info& attribute, std::string_view line, int /*number*/) {
  const table_row row(line);
  orv::set_text(attribute.id, row.word(id_column));
  orv::set_text(attribute.attr_name, row.word(name_column));
  attribute.value = row.number(value_column);
  attribute.worst = row.number(worst_column);
  attribute.thresh = row.number(threshold_column);
  orv::set_text(attribute.status, row.word(failed_column));
  attribute.raw = row.number(raw_column);
}

/// The table is looked for behind the disk's identity and health.
constexpr orv::smart_format table = {.first_line = 18, .is_reported = is_reported, .fill = fill};

}  // namespace

int get_smart_detail_value(FILE* fp, int line, tag_disksmart_info* rec) try {
  return orv::fill_attribute(rec, fp, line, table);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int get_smart_detail(tag_disk_info* disk) try {
  if (disk == nullptr) return orv::log_missing_argument();
  const std::string name(orv::text_of(disk->name));
  orv::smart_output output("/tmp/smart_" + name + "_detail.XXXXXX");
  const orv::command ask(
      "/usr/local/sbin/smartctl -d marvell -T permissive -Hi --attributes /dev/%s > %s", name,
      output.path());
  return orv::append_attributes(&disk->smart_list, output, ask, table);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
