#ifndef ORV_SERVICE_LINE_PARTS_H
#define ORV_SERVICE_LINE_PARTS_H

#include <orv/service.h>

#include <string>
#include <string_view>

#include "common/text.h"

namespace orv {

/// The text before the first of some characters; all of it when there is none.
inline std::string_view before(std::string_view text, std::string_view characters) {
  return text.substr(0, text.find_first_of(characters));
}

/// The text behind the first such character; empty when there is none.
inline std::string_view after(std::string_view text, char character) {
  const std::size_t place = text.find(character);
  return place == std::string_view::npos ? std::string_view() : text.substr(place + 1);
}

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
