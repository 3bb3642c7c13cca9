#ifndef ORV_DISK_SMART_ATTRIBUTES_H
#define ORV_DISK_SMART_ATTRIBUTES_H

#include <orv/disk.h>

#include <cstdint>
#include <string_view>

#include "disk/smart_output.h"

namespace orv {

/// How a SMART tool prints attributes, one a line.
struct smart_format {
  int first_line;  ///< number, from 0, of the first line that may be an attribute
  bool (*is_reported)(std::string_view line);
  void (*fill)(tag_disksmart_info& attribute, std::string_view line, int number);
};

/// Runs a tool and appends the reported attributes that it prints to a list, at most seven. A
/// failure is logged.
/// @return ORV_OK; ORV_E_COMMAND without an output, ORV_E_SMART_DETAIL when it cannot be opened or
///         there is no memory
int append_attributes(tag_disksmart_list* attributes, smart_output& output, const command& line,
                      const smart_format& format, const char* function = __builtin_FUNCTION(),
                      int at = __builtin_LINE());

/// Fills a record from one line, from 0, of an output.
/// @return 0; the result of `get_line_from_file`, logged, or ORV_E_FAILED for a NULL record: then
///         nothing is changed
int fill_attribute(tag_disksmart_info* attribute, FILE* output, int line,
                   const smart_format& format, const char* function = __builtin_FUNCTION(),
                   int at = __builtin_LINE());

/// The number in the first 4 characters of a text: a larger one loses its last digits, as on every
/// device so far.
uint32_t short_number(std::string_view text);

}  // namespace orv

#endif
