#include <orv/share.h>

#include <string>

#include "common/log.h"
#include "common/text.h"

int share_conf_set_value(char* dst, const char* word, const char* value) try {
  if (orv::text_or_empty(value) != "1") return ORV_OK;
  if (dst == nullptr) return orv::log_missing_argument();
  constexpr int capacity = sizeof(tag_share_config::service);
  std::string services(dst);
  if (!services.empty()) services += ',';
  services += orv::text_or_empty(word);
  orv::copy_text(dst, capacity, services);
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
