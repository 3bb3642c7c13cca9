#include <orv/disk.h>
#include <orv/raid.h>
#include <orv/support.h>
#include <strings.h>

#include <span>
#include <string>
#include <string_view>

#include "common/command.h"
#include "common/log.h"
#include "common/text.h"

namespace {

/// What mdadm calls a level, and how many members it may have.
struct level_rule {
  std::string_view name;
  int number;
  int smallest;
  int largest;
};

constexpr int most_members = 16;

constexpr level_rule creation_rules[] = {
    {"raid1", 1, 2, 2}, {"raid5", 5, 3, most_members}, {"raid6", 6, 4, most_members}};

/// Re-creation knows no mirror: one is made anew as a stripe.
constexpr level_rule reset_rules[] = {{"raid5", 5, 3, most_members}, {"raid6", 6, 4, most_members}};

constexpr level_rule striped_rule = {"", 0, 2, most_members};

const level_rule& rule_of(std::string_view level, std::span<const level_rule> rules) {
  for (const level_rule& rule : rules) {
    if (rule.name == level) return rule;
  }
  return striped_rule;
}

int check_count(int count, const level_rule& rule, const tag_md_info& md) {
  if (count >= rule.smallest && count <= rule.largest) return ORV_OK;
  liborv_log_error("disks num %d exceed [%d, %d] in %s", count, rule.smallest, rule.largest,
                   md.level);
  return ORV_E_RAID_COUNT;
}

orv::word_list device_paths(std::string_view names) {
  orv::word_list paths;
  for (const std::string_view name : orv::items(names)) paths.add("/dev/", name);
  return paths;
}

/// Turns the members of the record into device paths, as far as they fit there.
void show_device_paths(tag_md_info& md) {
  char paths[256];
  orv::set_text(paths, orv::text_of(md.disks));
  orv::set_text(md.disks, trans_disk_dev(paths));
}

/// How mdadm is told to create an array that is not linear. Only raid5 gets a write-intent bitmap.
const char* creation_form(const tag_md_info& md) {
  constexpr int last_kernel_without_bitmap = 2006029;
  const bool foreground = strcasecmp(md.state, "foreground") == 0;
  const bool raid5 = orv::text_of(md.level) == "raid5";
  if (raid5 && get_linux_version() > last_kernel_without_bitmap) {
    return foreground ? "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384 /dev/%s --fg-init "
                        "-l %d -n %d -R %s > /dev/null"
                      : "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384  /dev/%s "
                        "-l %d -n %d -R %s > /dev/null";
  }
  if (foreground) return "/sbin/mdadm -C /dev/%s --fg-init -l %d -n %d -R %s > /dev/null";
  return raid5 ? "/sbin/mdadm -C /dev/%s -l %d -n %d -R %s > /dev/null"
               : "/sbin/mdadm -C  /dev/%s -l %d -n %d -R %s > /dev/null";
}

orv::command creation_command(const tag_md_info& md, int number, int count) {
  const std::string_view level = orv::text_of(md.level);
  const orv::word_list paths = device_paths(orv::text_of(md.disks));
  if (level == "linear") {
    return orv::command("/sbin/mdadm -C /dev/%s -l %s -n %d -R %s > /dev/null", md.name, level,
                        count, paths);
  }
  return orv::command(creation_form(md), md.name, number, count, paths);
}

}  // namespace

int set_raid(tag_md_info* md) try {
  if (md == nullptr) return orv::log_missing_argument();
  const int count = count_disks(md->disks);
  const level_rule& rule = rule_of(orv::text_of(md->level), creation_rules);
  const int code = check_count(count, rule, *md);
  if (code != ORV_OK) return code;
  const orv::command create = creation_command(*md, rule.number, count);
  // No disk is wiped for an array that cannot be created.
  if (create.error() == 0) init_raid_disks(md->disks);
  show_device_paths(*md);
  return orv::run_by_c_library(create);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

int reset_raid(tag_md_info* md) try {
  if (md == nullptr) return orv::log_missing_argument();
  const int count = count_disks(md->disks);
  const level_rule& rule = rule_of(orv::text_of(md->level), reset_rules);
  const int code = check_count(count, rule, *md);
  if (code != ORV_OK) return code;
  const orv::command create("/sbin/mdadm -C /dev/%s -l %d -n %d -R %s > /dev/null", md->name,
                            rule.number, count, device_paths(orv::text_of(md->disks)));
  show_device_paths(*md);
  return orv::run_by_c_library(create);
} catch (const std::bad_alloc&) {
  return orv::without_memory();
}

char* init_raid_disks(const char* names) try {
  constexpr std::size_t longest_list = 255;
  const std::string_view list = orv::text_or_empty(names);
  for (const std::string_view name : orv::items(list)) {
    const std::size_t end = static_cast<std::size_t>(name.data() - list.data()) + name.size();
    // A name cut at the end of the list could be another disk's.
    if (end > longest_list) break;
    clear_disk(std::string(name).c_str());
  }
  return const_cast<char*>(names);
} catch (const std::bad_alloc&) {
  orv::without_memory();
  return const_cast<char*>(names);
}
