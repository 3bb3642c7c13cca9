#include <orv/disk.h>

#include "common/families.h"
#include "common/log.h"

void disk_conf_init(tag_disk_info* disk) {
  if (disk == nullptr) return;
  orv::clear_fields<tag_diskinfo_list>(disk);
  smart_info_init(&disk->smart);
  smart_list_init(&disk->smart_list);
}

void disk_conf_fini(tag_disk_info* disk) {
  if (disk == nullptr) return;
  smart_list_fini(&disk->smart_list);
  orv::clear_fields<tag_diskinfo_list>(disk);
  smart_list_init(&disk->smart_list);
}

int disk_conf_show(const tag_disk_info* disk) {
  if (disk == nullptr) return orv::log_missing_argument();
  std::printf("'%s'\t'%d'\t'%lld'\t'%s'\t'%s'\t'%s'\t'%s'", disk->name, disk->ch,
              static_cast<long long>(disk->size), disk->state, disk->model, disk->usage,
              disk->enclosure);
  int printed = std::printf("\t'%d'\n", disk->hotspare);
  const int summary = smart_info_show(&disk->smart);
  if (summary != 0) printed = summary;
  for (const tag_disksmart_info& attribute : orv::records(&disk->smart_list)) {
    printed = smart_conf_show(&attribute);
  }
  return printed;
}

void disk_list_init(tag_diskinfo_list* list) { orv::list_init(list); }

int disk_list_fini(tag_diskinfo_list* list) { return orv::list_fini(list); }

void disk_list_show(const tag_diskinfo_list* list) { orv::list_show(list, disk_conf_show); }
