#include <orv.h>
#include <orv/scoped.h>

#include <cstring>
#include <filesystem>
#include <utility>

#include "tests/soak/calls.h"

namespace soak {
namespace {

template <std::size_t size>
void set(char (&field)[size], const std::string& text) {
  liborv_strncpy(field, size, text.c_str());
}

// --- Shares --------------------------------------------------------------------------------------

tag_share_config share(const std::string& name, const char* service) {
  tag_share_config made;
  share_conf_init(&made);
  set(made.name, name);
  set(made.comment, "comment of " + name);
  set(made.path, "/srv/" + name);
  set(made.service, service);
  set(made.valid_users, std::string(service) == "nfs" ? "10.0.0.0/8" : "ann,bob");
  return made;
}

int change_share(const std::string& name, const char* service) {
  tag_share_config changed = share(name, service);
  set(changed.comment, "changed");
  changed.writable = 0;
  return share_mod(&changed);
}

cycle share_cycle(const std::string& name, const char* service) {
  // One process at a time can change the shares; the other is refused, at any of the files.
  return {"share_" + std::string(service),
          12,
          [=] {
            tag_share_config added = share(name, service);
            return share_add(&added);
          },
          [=] { return change_share(name, service); },
          [=] { return share_del(name.c_str(), service); },
          {ORV_E_SHARES_LOCKED, ORV_E_SERVICE_LOCKED, ORV_E_NO_SHARE, ORV_E_SHARE_EXISTS}};
}

int park_share(const std::string& name) {
  tag_share_config parked = share(name, "samba");
  return share_set_use(&parked);
}

/// A share that goes out of use and is forgotten.
cycle parked_share_cycle(const std::string& name) {
  cycle made = share_cycle(name, "samba");
  made.name = "share_set_use";
  made.change = [=] { return park_share(name); };
  made.remove = [=] {
    const int result = forbid_share_del(name.c_str());
    // It is in one of the two recycle files at most.
    return result == ORV_E_NO_SHARE ? share_del(name.c_str(), "samba") : result;
  };
  return made;
}

// --- Users, settings -----------------------------------------------------------------------------

tag_user_info user(const std::string& password) {
  tag_user_info made{};
  user_info_init(&made);
  made.uid = 500;
  set(made.name, "soaker");
  set(made.password, password);
  return made;
}

cycle user_cycle() {
  return {"sys_user",
          3,
          [] { return sys_user_add(user("first password")); },
          [] { return sys_user_modify("soaker", user("second")); },
          [] { return sys_user_delete("soaker"); },
          {}};
}

cycle mount_table_cycle() {
  return {"mdfstab",
          12,
          [] { return add_mdfstab("/mnt/soak", "vg1", "soak"); },
          [] { return add_mdfstab("/mnt/soak2", "vg1", "soak2"); },
          [] {
            del_mdfstab("/mnt/soak2");
            return del_mdfstab("/mnt/soak");
          },
          {}};
}

cycle mount_point_cycle() {
  return {"mkdir_path",
          6,
          [] { return mkdir_path("/mnt/soak_point"); },
          [] { return mount_check("/mnt/soak_point") == ORV_OK ? ORV_E_FAILED : ORV_OK; },
          [] { return rmdir_path("/mnt/soak_point"); },
          {}};
}

cycle settings_cycle() {
  return {"settings",
          12,
          [] { return ftp_share_para_set(1000, 10, 2); },
          [] { return hostname_set("soaked"); },
          [] { return hostname_set("soaking"); },
          {}};
}

cycle service_cycle() {
  return {"service", 2, ftp_start, ftp_stop, [] { return ORV_OK; }, {}};
}

// --- Storage -------------------------------------------------------------------------------------

cycle pool_cycle() {
  return {"pool",
          4,
          [] { return pool_create("soak", "vg1", 5); },
          [] { return pool_extend("soak", "vg1", 6); },
          [] { return pool_destroy("soak", "vg1"); },
          {}};
}

int create_group(const char* name, const char* volume) {
  tag_vg_info group;
  vg_conf_init(&group);
  set(group.vgname, name);
  tag_pv_info& member = orv::append(group.pvs);
  set(member.pvname, volume);
  set(member.enclosure, "0");
  const int result = vg_create(&group);
  vg_conf_fini(&group);
  return result;
}

cycle group_cycle() {
  return {"vg",
          1,
          [] { return create_group("vgsoak", "6"); },
          [] { return vg_extend("vgsoak", "7", "0"); },
          [] { return vg_destroy("vgsoak"); },
          {}};
}

int create_array(const char* level, const char* channels) {
  tag_md_info array;
  md_conf_init(&array);
  set(array.level, level);
  set(array.disks, channels);
  set(array.enclosure, "0");
  return raid_create(&array);
}

cycle array_cycle() {
  return {"raid",
          1,
          [] { return create_array("raid1", "4,5"); },
          [] { return set_disk_faulty("md1", "sde"); },
          [] { return raid_destroy("md1"); },
          {}};
}

int set_hot_spare(int wanted) {
  orv::disk_list request;
  tag_disk_info& disk = request.append();
  disk.ch = 8;
  set(disk.enclosure, "0");
  disk.hotspare = wanted;
  return disks_hotspare_set(request.get());
}

cycle spare_cycle() {
  return {"hotspare",
          1,
          [] { return set_hot_spare(1); },
          [] { return set_hot_spare(0); },
          [] { return set_hot_spare(-1); },
          {}};
}

}  // namespace

std::vector<cycle> share_cycles(const std::string& name) {
  return {share_cycle(name + "_smb", "samba"), share_cycle(name + "_nfs", "nfs"),
          parked_share_cycle(name + "_parked")};
}

std::vector<cycle> machine_cycles() {
  return {user_cycle(), mount_table_cycle(), mount_point_cycle(), settings_cycle(), service_cycle(),
          pool_cycle(), group_cycle(),       array_cycle(),       spare_cycle()};
}

int prepare_machine() {
  using step = std::pair<const char*, int (*)()>;
  const step steps[] = {
      {"raid_create", [] { return create_array("raid5", "1,2,3"); }},
      {"vg_create", [] { return create_group("vg1", "md0"); }},
      {"pool_create", [] { return pool_create("data", "vg1", 20); }},
      {"mkfs_pool", [] { return mkfs_pool("data", "vg1"); }},
      {"mkdir_path", [] { return mkdir_path("/mnt/data"); }},
      {"mount_fs", [] { return mount_fs("/mnt/data", "vg1", "data"); }},
      {"add_mdfstab", [] { return add_mdfstab("/mnt/data", "vg1", "data"); }},
  };
  for (const auto& [name, make] : steps) {
    const int result = make();
    if (result == ORV_OK) continue;
    std::fprintf(stderr, "%s gave %d\n", name, result);
    return result;
  }
  return ORV_OK;
}

}  // namespace soak
