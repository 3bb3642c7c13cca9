#ifndef ORV_SERVICE_LINE_PARTS_H
#define ORV_SERVICE_LINE_PARTS_H

#include <orv/service.h>

#include <string>
#include <string_view>

namespace orv {

inline bool is_number(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

inline bool is_ip(std::string_view text) { return check_ip(std::string(text).c_str()) == ORV_OK; }

}  // namespace orv

#endif
