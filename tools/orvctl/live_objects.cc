#include "tools/orvctl/live_objects.h"

#include "tools/orvctl/errors.h"
#include "tools/orvctl/kept_files.h"
#include "tools/orvctl/records.h"
#include "tools/orvctl/share_files.h"

namespace orvctl {
namespace {

using names = std::vector<std::string>;

// What was found before a failure is shown all the same.
template <class list, class anchor, class name_of>
names names_in(int (*get)(anchor*), name_of name) {
  list records;
  get(records.get());
  names all;
  for (const auto& each : records) all.emplace_back(name(each));
  return all;
}

}  // namespace

names names_of_arrays() {
  return names_in<raid_list>(raid_get, [](const tag_md_info& md) { return md.name; });
}

names names_of_groups() {
  return names_in<vg_list>(vg_get, [](const tag_vg_info& vg) { return vg.vgname; });
}

names names_of_pools(const std::string& group) {
  pool_list pools;
  pool_get(pools.get());
  names all;
  for (const tag_pool_info& pool : pools) {
    const std::string path = pool.poolname;
    if (group.empty() || group == pool.vgname) all.push_back(path.substr(path.rfind('/') + 1));
  }
  return all;
}

names mount_points() {
  return names_in<fs_list>(mdfstab_get, [](const tag_fs_info& fs) { return fs.mountpoint; });
}

names names_of_shares() {
  share_list listed;
  read_listed(listed);
  names all;
  for (const tag_share_config& share : listed) all.emplace_back(share.name);
  return all;
}

names names_of_users() {
  return names_in<user_list>(sys_user_get, [](const tag_user_info& user) { return user.name; });
}

names paths_of_kept_files() {
  names all;
  for (const kept_file& file : kept_files()) all.push_back(file.path);
  return all;
}

names channels(const std::string& enclosure) {
  disk_list disks;
  disks_info_get(disks.get());
  names all;
  for (const tag_disk_info& disk : disks) {
    if (enclosure == disk.enclosure) all.push_back(std::to_string(disk.ch));
  }
  return all;
}

names names_of_disks() {
  return names_in<disk_list>(disks_info_get, [](const tag_disk_info& disk) { return disk.name; });
}

}  // namespace orvctl
