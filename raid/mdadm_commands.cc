#include <orv/raid.h>

#include "common/command.h"
#include "common/log.h"

int add_raid(tag_md_info* md, const char* dev) try {
  if (md == nullptr) return orv::log_missing_argument();
  return orv::run(
      orv::command("/sbin/mdadm --manage /dev/%s --add /dev/%s > /dev/null", md->name, dev));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int rm_raid(tag_md_info* md, const char* dev) try {
  if (md == nullptr) return orv::log_missing_argument();
  return orv::run(
      orv::command("/sbin/mdadm --manage /dev/%s -r /dev/%s > /dev/null", md->name, dev));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int del_raid(tag_md_info* md) try {
  if (md == nullptr) return orv::log_missing_argument();
  return orv::run(orv::command("/sbin/mdadm -S /dev/%s > /dev/null", md->name));
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}
