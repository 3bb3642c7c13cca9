#include "subject.h"

namespace faults {
namespace {

using list = tag_fsinfo_list;

void fill_with_table(list* systems) { mdfstab_get(systems); }

}  // namespace

std::vector<subject> fs_subjects() {
  const codes changes = {ORV_E_FAILED, ORV_E_MOUNT_TABLE, ORV_E_COMMAND};
  const codes queries = {ORV_E_FAILED, ORV_E_LVDISPLAY};
  const exemptions undescribed =
      because("a pool that the tool does not list keeps its line of the table", {"lvdisplay"}) +
      because("without the mounts nothing is called mounted", {"/proc/mounts"});
  return {
      {.name = "add_mdfstab(char const*, char const*, char const*)",
       .documented = changes,
       .prepare = call([] { return add_mdfstab("/mnt/new", "vg1", "new"); })},
      {.name = "del_mdfstab(char const*)", .documented = changes, .prepare = call([] {
                                                                    return del_mdfstab("/mnt/old");
                                                                  })},
      {.name = "mdfstab_get(tag_fsinfo_list*)",
       .documented = queries,
       .prepare = with_list<list>(mdfstab_get)},
      {.name = "fs_get(tag_fsinfo_list*)",
       .documented = queries,
       .prepare = with_list<list>(fs_get),
       .overcomes =
           undescribed + because("what cannot be measured is not available", {"statfs", "/test"}),
       .may_tell_less = true},
      {.name = "mountfs_get(tag_fsinfo_list*)",
       .documented = queries,
       .prepare = with_list<list>(mountfs_get, fill_with_table),
       .overcomes = undescribed,
       .may_tell_less = true},
      {.name = "get_usedsize_from_df(tag_fsinfo_list*)",
       .documented = queries,
       .prepare = with_list<list>(get_usedsize_from_df, fill_with_table),
       .overcomes = because("what cannot be measured is not available", {every_fault})},
      {.name = "fs_check(char const*)",
       .documented = {ORV_E_FAILED, 0},
       .prepare = call([] { return fs_check("data"); }),
       .expected = 1},
      {.name = "mount_check(char const*)",
       .documented = {ORV_E_FAILED},
       .prepare = call([] { return mount_check("/mnt/data"); })},
  };
}

}  // namespace faults
