#include <orv/share.h>

#include <string>

#include "common/log.h"
#include "common/text.h"

int share_conf_set_value(char* dst, const char* word, const char* value) try {
  if (orv::text_or_empty(value) != "1") return ORV_OK;
  if (dst == nullptr) return orv::log_missing_argument();
  constexpr int capacity = sizeof(tag_share_config::service);
  const std::string_view added = orv::text_or_empty(word);
  if (*dst == '\0') {  // as of most shares, which have one service
    orv::copy_text(dst, capacity, added);
  } else {
    orv::copy_text(dst, capacity, std::string(dst) + ',' + std::string(added));
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
