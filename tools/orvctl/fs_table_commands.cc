#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/records.h"

namespace orvctl {
namespace {

struct entry_arguments {
  std::string mount_point;
  std::string group;
  std::string pool;
};

constexpr column<tag_fs_info> entry_columns[] = {
    {"DEVICE", "device", form::text, [](const tag_fs_info& fs) { return text_value(fs.devname); }},
    {"MOUNT POINT", "mount_point", form::text,
     [](const tag_fs_info& fs) { return text_value(fs.mountpoint); }},
    {"TYPE", "type", form::text, [](const tag_fs_info& fs) { return text_value(fs.fstype); }},
    {"GROUP", "volume_group", form::text,
     [](const tag_fs_info& fs) { return text_value(fs.vgname); }},
};

void list(session& run) {
  fs_list entries;
  const int result = mdfstab_get(entries.get());
  show_list(run, "mount_table_entries", make_table(entry_columns, entries), result);
}

void add(session& run, const entry_arguments& given) {
  check(add_mdfstab(given.mount_point.c_str(), given.group.c_str(), given.pool.c_str()));
  report(run, "Listed " + given.mount_point + " in the mount table.",
         {{"mount_point", given.mount_point}, {"volume_group", given.group}, {"pool", given.pool}});
}

void remove(session& run, const entry_arguments& given) {
  check(del_mdfstab(given.mount_point.c_str()));
  report(run, given.mount_point + " is not in the mount table any more.",
         {{"mount_point", given.mount_point}});
}

void check_pool_entry(session& run, const entry_arguments& given) {
  const int listed = fs_check(given.pool.c_str());
  if (listed < 0) check(listed);
  answer(run, listed == 1,
         given.pool + (listed == 1 ? " is in the mount table." : " is not in the mount table."),
         {{"pool", given.pool}, {"listed", listed == 1}});
}

}  // namespace

void add_fs_table_commands(CLI::App& fs, session& run) {
  add_list(fs, run, "table", "Show the entries of the mount table", "orvctl fs table", list);

  const auto entry = std::make_shared<entry_arguments>();
  CLI::App& adding = add_changing_verb(fs, run, "table-add", "Add a pool to the mount table",
                                       "orvctl fs table-add /mnt/data vg1 data");
  add_word(adding, "MOUNTPOINT", entry->mount_point, "absolute path of the mount point");
  add_word(adding, "VG", entry->group, "volume group of the pool");
  add_word(adding, "POOL", entry->pool, "name of the pool");
  on_run(adding, run, entry, add);

  const auto old_entry = std::make_shared<entry_arguments>();
  CLI::App& removing =
      add_changing_verb(fs, run, "table-remove", "Remove a mount point from the mount table",
                        "orvctl fs table-remove /mnt/data");
  add_word(removing, "MOUNTPOINT", old_entry->mount_point, "mount point");
  on_run(removing, run, old_entry, remove);

  const auto asked = std::make_shared<entry_arguments>();
  CLI::App& asking =
      add_verb(fs, run, "check", "Say whether a pool is in the mount table (exit status 0 or 3)",
               "orvctl fs check data");
  add_word(asking, "POOL", asked->pool, "name of the pool");
  on_run(asking, run, asked, check_pool_entry);
}

}  // namespace orvctl
