#include "tools/orvctl/arguments.h"
#include "tools/orvctl/commands.h"
#include "tools/orvctl/confirm.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/fs_table.h"
#include "tools/orvctl/records.h"

namespace orvctl {
namespace {

struct mount_arguments {
  std::string mount_point;
  std::string group;
  std::string pool;
};

struct path_arguments {
  std::string path;
};

void list(session& run) {
  fs_list systems;
  const int result = fs_get(systems.get());
  show_list(run, "file_systems", fs_table(systems), result);
}

void mount(session& run, const mount_arguments& given) {
  check(mount_fs(given.mount_point.c_str(), given.group.c_str(), given.pool.c_str()));
  report(run, "Mounted " + given.group + "/" + given.pool + " on " + given.mount_point + ".",
         {{"mount_point", given.mount_point}, {"volume_group", given.group}, {"pool", given.pool}});
}

void unmount(session& run, const path_arguments& given) {
  check(umount_fs(given.path.c_str()));
  report(run, "Unmounted " + given.path + ".", {{"mount_point", given.path}});
}

void make_directory(session& run, const path_arguments& given) {
  check(mkdir_path(given.path.c_str()));
  report(run, "Made the mount point " + given.path + ".", {{"path", given.path}});
}

void remove_directory(session& run, const path_arguments& given) {
  confirm(run, "This directory is removed with everything below it.", [&] {
    table lost({{"DIRECTORY", nullptr, form::text}});
    lost.add({given.path});
    return lost;
  });
  check(rmdir_path(given.path.c_str()));
  report(run, "Removed " + given.path + ".", {{"path", given.path}});
}

void mounted(session& run, const path_arguments& given) {
  const bool is_mounted = mount_check(given.path.c_str()) == 0;
  answer(run, is_mounted, given.path + (is_mounted ? " is mounted." : " is not mounted."),
         {{"path", given.path}, {"mounted", is_mounted}});
}

std::shared_ptr<path_arguments> add_path(CLI::App& verb, const std::string& name,
                                         const std::string& about) {
  const auto given = std::make_shared<path_arguments>();
  add_word(verb, name, given->path, about);
  return given;
}

void add_mount_commands(CLI::App& fs, session& run) {
  CLI::App& mounting =
      add_changing_verb(fs, run, "mount", "Mount a pool", "orvctl fs mount /mnt/data vg1 data");
  const auto given = std::make_shared<mount_arguments>();
  add_word(mounting, "MOUNTPOINT", given->mount_point, "absolute path of the mount point");
  add_word(mounting, "VG", given->group, "volume group of the pool");
  add_word(mounting, "POOL", given->pool, "name of the pool");
  on_run(mounting, run, given, mount);

  CLI::App& unmounting =
      add_changing_verb(fs, run, "umount", "Unmount a pool", "orvctl fs umount /mnt/data");
  on_run(unmounting, run, add_path(unmounting, "MOUNTPOINT", "mount point"), unmount);

  CLI::App& asking = add_verb(fs, run, "mounted",
                              "Say whether something is mounted on a path (exit status 0 or 3)",
                              "orvctl fs mounted /mnt/data");
  on_run(asking, run, add_path(asking, "PATH", "path"), mounted);
}

void add_directory_commands(CLI::App& fs, session& run) {
  CLI::App& making =
      add_changing_verb(fs, run, "mkdir", "Make an empty, locked directory to mount a pool on",
                        "orvctl fs mkdir /mnt/data");
  on_run(making, run, add_path(making, "PATH", "absolute path"), make_directory);

  CLI::App& removing =
      add_destroying_verb(fs, run, "rmdir", "Remove a mount point", "orvctl fs rmdir /mnt/data");
  on_run(removing, run, add_path(removing, "PATH", "absolute path"), remove_directory);
}

}  // namespace

void add_fs_commands(CLI::App& program, session& run) {
  CLI::App& fs = add_noun(program, "fs", "File systems, mount points and the mount table",
                          "orvctl fs mount /mnt/data vg1 data");
  add_list(fs, run, "list", "Show the file systems of the mount table", "orvctl fs list", list);
  add_mount_commands(fs, run);
  add_directory_commands(fs, run);
  add_fs_table_commands(fs, run);
}

}  // namespace orvctl
