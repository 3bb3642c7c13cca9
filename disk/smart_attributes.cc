#include "disk/smart_attributes.h"

#include <orv/support.h>

#include "common/families.h"
#include "common/line_reader.h"
#include "common/log.h"
#include "common/text.h"
#include "disk/smart_names.h"

namespace orv {
namespace {

/// False without memory.
bool append_lines(tag_disksmart_list* attributes, FILE* output, const smart_format& format) {
  line_reader reader(output);
  std::size_t found = 0;
  for (int line = 0; found < most_attributes && reader.next(); ++line) {
    if (line < format.first_line || !format.is_reported(reader.line())) continue;
    // Filled first: without memory for that, the list has no half attribute.
    tag_disksmart_info filled{};
    format.fill(filled, reader.line(), line);
    tag_disksmart_info* const attribute = append(attributes);
    if (attribute == nullptr) return false;
    const list_node link = attribute->list;
    *attribute = filled;
    attribute->list = link;
    ++found;
  }
  return true;
}

}  // namespace

int append_attributes(tag_disksmart_list* attributes, smart_output& output, const command& line,
                      const smart_format& format, const char* function, int at) {
  const int result = output.read(line, ORV_E_SMART_DETAIL, function, at);
  if (result != ORV_OK || append_lines(attributes, output.file(), format)) return result;
  return log_failure(ORV_E_SMART_DETAIL, function, at);
}

int fill_attribute(tag_disksmart_info* attribute, FILE* output, int line,
                   const smart_format& format, const char* function, int at) {
  if (attribute == nullptr) return log_missing_argument(function, at);
  char text[line_reader::capacity] = "";
  const int result = get_line_from_file(output, nullptr, line, nullptr, text, sizeof text);
  if (result != 0) return log_failure(result, function, at);
  format.fill(*attribute, text, line);
  return ORV_OK;
}

uint32_t short_number(std::string_view text) {
  return static_cast<uint32_t>(leading_number(text.substr(0, 4)));
}

}  // namespace orv
