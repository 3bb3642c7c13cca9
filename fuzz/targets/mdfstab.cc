/// The appliance's mount table: read, added to, removed from.

#include <orv/fs.h>

#include "common/octal_code.h"
#include "fuzz.h"

namespace {

struct entries {
  std::string text;
  std::size_t count;
};

entries listed() {
  fuzz::list<tag_fsinfo_list> systems;
  EXPECT(mdfstab_get(systems.get()) == ORV_OK);
  return {systems.check(fuzz::lines_in(*the_machine.text("/etc/mdfstab"))), systems.count()};
}

bool has_entry(std::string_view mountpoint) {
  fuzz::list<tag_fsinfo_list> systems;
  EXPECT(mdfstab_get(systems.get()) == ORV_OK);
  for (const tag_fs_info& fs : systems) {
    if (orv::text_of(fs.mountpoint) == mountpoint.substr(0, sizeof fs.mountpoint - 1)) return true;
  }
  return false;
}

}  // namespace

FUZZ_TARGET(mdfstab, in) {
  const std::string mountpoint = in.word();
  const std::string group = in.word();
  const std::string pool = in.word();
  const std::string table(in.rest());
  EXPECT(orv::unescaped(orv::escaped(mountpoint)) == mountpoint);
  EXPECT(orv::escaped(group).find_first_of(" \t\n") == std::string::npos);
  the_machine.put("/etc/mdfstab", table);
  const entries before = listed();

  const int added = add_mdfstab(mountpoint.c_str(), group.c_str(), pool.c_str());
  const entries after_adding = listed();
  if (added == ORV_OK) {
    // Every entry that was there is there, and at most one came.
    EXPECT(after_adding.text.starts_with(before.text));
    EXPECT(after_adding.count <= before.count + 1);
    EXPECT(the_machine.text("/etc/mdfstab")->starts_with(table));
    const std::size_t length = orv::escaped(mountpoint + group + pool).size();
    if (length < 200) EXPECT(has_entry(mountpoint));
    if (length < 200) EXPECT(add_mdfstab(mountpoint.c_str(), "g", "p") == ORV_E_FAILED);
  } else {
    EXPECT(*the_machine.text("/etc/mdfstab") == table);
  }

  fuzz::temporary_files_left = 2;  // one for each time that the mount point was not listed
  EXPECT(del_mdfstab(mountpoint.c_str()) == ORV_OK);
  const std::string remaining = *the_machine.text("/etc/mdfstab");
  EXPECT(added != ORV_OK || mountpoint.size() >= 100 || !has_entry(mountpoint));
  EXPECT(del_mdfstab(mountpoint.c_str()) == ORV_OK);
  EXPECT(*the_machine.text("/etc/mdfstab") == remaining);
  const int listed_pool = fs_check(pool.c_str());
  EXPECT(listed_pool == 0 || listed_pool == 1);
}
