#ifndef ORV_COMMON_FIELDS_H
#define ORV_COMMON_FIELDS_H

#include <string_view>

#include "common/text.h"

namespace orv {

/// The text from a field, counted from 0, to the end of the line; empty when there are fewer. A run
/// of separators counts as one.
inline std::string_view from_field(std::string_view line, std::string_view separators,
                                   std::size_t index) {
  for (; index > 0; --index) next_part(line, separators);
  while (!line.empty() && is_one_of(line.front(), separators)) line.remove_prefix(1);
  return line;
}

}  // namespace orv

#endif
