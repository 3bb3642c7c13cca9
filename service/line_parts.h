#ifndef ORV_SERVICE_LINE_PARTS_H
#define ORV_SERVICE_LINE_PARTS_H

#include <orv/service.h>

#include <string>
#include <string_view>

#include "common/text.h"

namespace orv {

/// The text from a field, counted from 0, to the end of the line; empty when there are fewer.
inline std::string_view from_field(std::string_view line, std::string_view separators,
                                   std::size_t index) {
  const auto fields = split(line, separators);
  if (index >= fields.size()) return {};
  return line.substr(static_cast<std::size_t>(fields[index].data() - line.data()));
}

inline bool is_number(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

inline bool is_ip(std::string_view text) { return check_ip(std::string(text).c_str()) == ORV_OK; }

}  // namespace orv

#endif
