#include <orv/raid.h>

#include "common/families.h"
#include "common/log.h"
#include "common/partitions.h"
#include "common/text.h"

int get_mdinfo_from_partitions(tag_mdinfo_list* list) try {
  if (list == nullptr) return orv::log_missing_argument();
  const auto names = orv::partition_names();
  if (!names) return orv::log_failure(ORV_E_PARTITIONS);
  for (const std::string& name : *names) {
    if (!name.starts_with("md")) continue;
    tag_md_info* const md = orv::append(list);
    if (md == nullptr) return orv::log_failure(ORV_E_PARTITIONS);
    orv::set_text(md->name, name);
  }
  return ORV_OK;
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
