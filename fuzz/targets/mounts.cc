/// The kernel's table of mounts, and the listing of df.

#include <orv/fs.h>
#include <orv/lvm.h>
#include <orv/share.h>

#include "common/mounted_below.h"
#include "fuzz.h"

namespace {

void read_mounts(fuzz::input& in) {
  const std::string path = in.word();
  the_machine.put("/proc/mounts", in.rest());
  const int mounted = mount_check(path.c_str());
  EXPECT(mounted == ORV_OK || mounted == ORV_E_FAILED);
  const std::string named = orv::without_empty_components(path);
  const int below = orv::mounted_below(named, named);
  // What is mounted exactly there is mounted below it, unless ".." leads elsewhere.
  EXPECT(mounted != ORV_OK || below != 0 || path.find("..") != path.npos || path[0] != '/');
  const std::size_t before = the_machine.commands;
  const int removed = rmdir_path(path.c_str());
  EXPECT(removed == ORV_OK ? below == 0 : the_machine.commands == before);

  fuzz::list<tag_fsinfo_list> systems;
  tag_fs_info* const fs = orv::append(systems.get());
  orv::set_text(fs->mountpoint, path);
  EXPECT(mountfs_get(systems.get()) == ORV_OK);
  EXPECT(orv::text_of(fs->state) == "umount" || orv::text_of(fs->state) == "not available");
  systems.check(1);

  fuzz::list<tag_shareconf_list> shares;
  for (const char* const name : {"data", "public", "disk"}) {
    tag_share_config* const share = orv::append(shares.get());
    orv::set_text(share->name, name);
    orv::set_text(share->service, share->name[0] == 'd' ? "samba" : "iSCSI");
  }
  EXPECT(get_shareinfo_from_mount(shares.get()) == ORV_OK);
  shares.check(3);
}

void read_df(fuzz::input& in) {
  const std::string path = in.word();
  the_machine.put("/tmp/df.info", in.rest());
  fuzz::temporary_files_left = 1;
  uint64_t total = 7;
  uint64_t used = 7;
  const int result = get_sizeinfo_from_df(&total, &used, path.c_str());
  EXPECT(result == ORV_OK || result == ORV_E_FAILED);
  EXPECT(result == ORV_OK || (total == 7 && used == 7));
}

/// Figures of a file system, as the kernel gives them.
void measure(fuzz::input& in) {
  const auto number = [&in] { return std::strtoull(in.word().c_str(), nullptr, 10); };
  the_machine.block_size = static_cast<int64_t>(number() % (1U << 20));
  the_machine.blocks = number();
  the_machine.available = number();
  the_machine.put("/mnt/data/file", "");
  fuzz::list<tag_shareconf_list> shares;
  orv::set_text(orv::append(shares.get())->path, "/mnt/data");
  EXPECT(get_shareinfo_from_df(shares.get()) == ORV_OK);
  shares.check(1);
  fuzz::list<tag_fsinfo_list> systems;
  orv::set_text(orv::append(systems.get())->mountpoint, "/mnt/data");
  EXPECT(get_usedsize_from_df(systems.get()) == ORV_OK);
  systems.check(1);
}

}  // namespace

FUZZ_TARGET(mounts, in) {
  switch (in.below(3)) {
    case 0:
      return read_mounts(in);
    case 1:
      return read_df(in);
    default:
      return measure(in);
  }
}
