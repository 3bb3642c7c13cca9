#include <orv/raid.h>

#include "common/command.h"
#include "common/log.h"

int add_raid(tag_md_info* md, const char* dev) {
  if (md == nullptr) return orv::log_missing_argument();
  return orv::run(
      orv::command("/sbin/mdadm --manage /dev/%s --add /dev/%s > /dev/null", md->name, dev));
}

int rm_raid(tag_md_info* md, const char* dev) {
  if (md == nullptr) return orv::log_missing_argument();
  return orv::run(
      orv::command("/sbin/mdadm --manage /dev/%s -r /dev/%s > /dev/null", md->name, dev));
}

int del_raid(tag_md_info* md) {
  if (md == nullptr) return orv::log_missing_argument();
  return orv::run(orv::command("/sbin/mdadm -S /dev/%s > /dev/null", md->name));
}
