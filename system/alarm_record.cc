#include <orv/alarm.h>

#include <cstdio>

#include "common/families.h"
#include "common/log.h"

void alarm_conf_init(tag_alarm_info* alarm) {
  if (alarm != nullptr) orv::clear_fields<tag_alarm_list>(alarm);
}

void alarm_conf_fini(tag_alarm_info* alarm) { alarm_conf_init(alarm); }

int alarm_conf_show(const tag_alarm_info* alarm) {
  if (alarm == nullptr) return orv::log_missing_argument();
  std::printf("%s\t%s\t%s", alarm->id, alarm->name, alarm->time);
  return std::printf("\t'%s'", alarm->text);
}

void alarm_list_init(tag_alarm_list* list) { orv::list_init(list); }

int alarm_list_fini(tag_alarm_list* list) { return orv::list_fini(list); }

void alarm_list_show(const tag_alarm_list* list) {
  if (list != nullptr && orv::is_empty(list)) std::printf("There is no alarm!");
  orv::list_show(list, alarm_conf_show);
}
