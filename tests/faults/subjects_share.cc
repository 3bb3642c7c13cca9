#include <fcntl.h>
#include <unistd.h>

#include "subject.h"
#include "tests/share/share_machine.h"

namespace faults {
namespace {

using list = tag_shareconf_list;

tag_share_config share(const char* name, const char* service) {
  tag_share_config asked = a_share(name, service);
  put(asked.comment, "changed");
  return asked;
}

/// A function on the record of a share.
template <class Function>
auto with_share(const char* name, const char* service, Function function) {
  return [=](world&) {
    auto asked = std::make_shared<tag_share_config>(share(name, service));
    return ready_call{.act = [=] { return long{function(asked.get())}; },
                      .show = [=] { share_conf_show(asked.get()); }};
  };
}

/// A function on an open file and a list, which holds one share.
template <class Function>
auto with_file(const char* path, Function function, bool filled) {
  return [=](world&) {
    auto file = std::make_shared<open_file>(path);
    auto shares = std::make_shared<orv::scoped_list<list>>();
    if (filled) {
      tag_share_config one = share("photos", "samba");
      add_share_to_sharelist(&one, shares->get());
    }
    return ready_call{.act = [=] { return long{function(file->number(), shares->get())}; },
                      .show = [=] { show(shares->get()); }};
  };
}

template <class Function>
auto reader(const char* path, Function function) {
  return with_file(path, function, false);
}
template <class Function>
auto writer(const char* path, Function function) {
  return with_file(path, function, true);
}

/// A function that opens and locks a file, whose descriptor is closed again.
template <class Function>
auto lock(Function function) {
  return call([function] {
    const int file = function();
    if (file < 0) return file;
    ::close(file);
    return int{ORV_OK};
  });
}

void fill_with_shares(list* shares) { get_shareinfo_from_shareconf(shares); }

const std::vector<std::string> all_files = {shares_path,  smb_path,          smb_recy_path,
                                            exports_path, exports_recy_path, ietd_path};

std::vector<subject> changes() {
  // No fault makes a share exist, or go missing.
  const codes results = {ORV_E_SHARES_LOCKED, ORV_E_SERVICE_LOCKED, ORV_E_SHARES_READ,
                         ORV_E_SHARES_WRITE, ORV_E_SERVICE_WRITE};
  std::vector<subject> all = {
      {.name = "share_add(tag_share_config*)",
       .variant = "samba",
       .prepare = with_share("new", "samba", share_add)},
      {.name = "share_add(tag_share_config*)",
       .variant = "nfs",
       .prepare = with_share("new", "nfs", share_add)},
      {.name = "share_add(tag_share_config*)",
       .variant = "iscsi",
       .prepare = with_share("new", "iscsi", share_add)},
      {.name = "share_mod(tag_share_config*)", .prepare = with_share("photos", "samba", share_mod)},
      {.name = "share_del(char const*, char const*)",
       .prepare = call([] { return share_del("photos", "Samba"); })},
      {.name = "share_set_use(tag_share_config*)",
       .prepare = with_share("photos", "samba", share_set_use)},
      {.name = "share_recy_mod(tag_share_config*)",
       .prepare = with_share("parked", "samba", share_recy_mod)},
      {.name = "forbid_share_del(char const*)",
       .prepare = call([] { return forbid_share_del("parked"); })},
      {.name = "samba_recy_del(char const*, char const*, char const*)",
       .prepare = call([] { return samba_recy_del(smb_recy_path, "parked", ""); })},
      {.name = "nfs_recy_del(char const*, char const*, char const*)",
       .prepare = call([] { return nfs_recy_del(exports_recy_path, "parked", ""); })},
      {.name = "share_recy_del(char const*)",
       .prepare = call([] { return share_recy_del("parked"); })},
      {.name = "ftp_set_use(tag_share_config*)",
       .prepare =
           [](world& w) {
             w.machine.file("/proc/mounts", "/dev/sda1 / ext4 rw 0 0\n");
             w.machine.file("/mnt/films/file", "gone\n");
             return with_share("films", "ftp", ftp_set_use)(w);
           }},
  };
  for (subject& one : all) {
    one.documented = results;
    one.cut_short = all_files;
  }
  all.back().documented.push_back(ORV_E_COMMAND);
  all.back().overcomes = because("what stays of the mount point and its entry is logged",
                                 {"chattr", "rm -rf", "mv", "mdfstab", "/proc/mounts", "clone",
                                  "execve", "wait4", "/dev/null", "dup2"});
  all.back().leaves = {"/tmp/mdfstab.XXXXXX"};
  return all;
}

std::vector<subject> file_subjects() {
  const codes reading = {ORV_E_SHARE_READ, ORV_E_SHARE_SYNTAX};
  const codes writing = {ORV_E_SHARE_WRITE, ORV_E_SHARE_READ};
  std::vector<subject> all = {
      {.name = "get_share_from_conf(int, tag_shareconf_list*)",
       .documented = reading,
       .prepare = reader(shares_path, get_share_from_conf)},
      {.name = "get_share_from_smb(int, tag_shareconf_list*)",
       .documented = reading,
       .prepare = reader(smb_path, get_share_from_smb)},
      {.name = "get_share_from_nfs(int, tag_shareconf_list*)",
       .documented = reading,
       .prepare = reader(exports_path, get_share_from_nfs)},
      {.name = "get_share_from_ietd(int, tag_shareconf_list*)",
       .documented = reading,
       .prepare = reader(ietd_path, get_share_from_ietd)},
      {.name = "get_share_from_ftp(int, tag_shareconf_list*)",
       .prepare = reader(shares_path, get_share_from_ftp)},
      {.name = "get_share_from_mode(int, tag_shareconf_list*, char const*)",
       .documented = reading,
       .prepare =
           reader(smb_path,
                  [](int file, list* found) { return get_share_from_mode(file, found, "Samba"); })},
      {.name = "put_share_to_conf(int, tag_shareconf_list*)",
       .documented = writing,
       .prepare = writer(shares_path, put_share_to_conf)},
      {.name = "put_share_to_smb(int, tag_shareconf_list*)",
       .documented = writing,
       .prepare = writer(smb_path, put_share_to_smb)},
      {.name = "put_share_to_smb_recy(int, tag_shareconf_list*)",
       .documented = writing,
       .prepare = writer(smb_recy_path, put_share_to_smb_recy)},
      {.name = "put_share_to_nfs(int, tag_shareconf_list*)",
       .documented = writing,
       .prepare = writer(exports_path, put_share_to_nfs)},
      {.name = "put_share_to_nfs_recy(int, tag_shareconf_list*)",
       .documented = writing,
       .prepare = writer(exports_recy_path, put_share_to_nfs_recy)},
      {.name = "put_share_to_ietd(int, tag_shareconf_list*)",
       .documented = writing,
       .prepare = writer(ietd_path, put_share_to_ietd)},
      {.name = "put_share_to_ftp(int, tag_shareconf_list*)",
       .prepare = writer(shares_path, put_share_to_ftp)},
      {.name = "put_share_to_mode(int, tag_shareconf_list*, char const*)",
       .documented = writing,
       .prepare =
           writer(smb_path,
                  [](int file, list* wanted) { return put_share_to_mode(file, wanted, "Samba"); })},
      {.name = "put_share_to_mode_recy(int, tag_shareconf_list*, char const*)",
       .documented = writing,
       .prepare = writer(
           smb_recy_path,
           [](int file, list* wanted) { return put_share_to_mode_recy(file, wanted, "Samba"); })},
  };
  for (subject& one : all)
    if (one.name.starts_with("put_")) one.cut_short = all_files;
  return all;
}

std::vector<subject> lock_subjects() {
  const codes locking = {ORV_E_SHARE_OPEN, ORV_E_FILE_LOCKED};
  return {
      {.name = "lock_sharefile(char const*)",
       .documented = locking,
       .prepare = lock([] { return lock_sharefile(shares_path); })},
      {.name = "lock_modefile(int&, char const*)",
       .documented = locking,
       .prepare = lock([] {
         int file = -1;
         const int result = lock_modefile(file, "Samba");
         return result < 0 ? result : file;
       })},
      {.name = "lock_mode_recyfile(int&, char const*)",
       .documented = locking,
       .prepare = lock([] {
         int file = -1;
         const int result = lock_mode_recyfile(file, "Samba");
         return result < 0 ? result : file;
       })},
      {.name = "unlock_file(int)",
       .documented = {-1},
       .prepare = reader(shares_path, [](int file, list*) { return unlock_file(file); })},
      {.name = "lock_reg(int, int, int, long, int, long)",
       .documented = {-1},
       .prepare = reader(
           shares_path,
           [](int file, list*) { return lock_reg(file, F_SETLK, F_UNLCK, 0, SEEK_SET, 0); })},
      {.name = "lock_test(int, int, long, int, long)",
       .documented = {-1},
       .prepare = reader(shares_path,
                         [](int file, list*) { return lock_test(file, F_WRLCK, 0, SEEK_SET, 0); })},
      {.name = "getline(int, char*, int)",
       .documented = {-1},
       .prepare = reader(exports_path,
                         [](int file, list*) {
                           char line[300];
                           return getline(file, line, 256) > 0 ? 0 : -1;
                         })},
  };
}

std::vector<subject> discovery_subjects() {
  const codes results = {ORV_E_FAILED,    ORV_E_COMMAND,        ORV_E_EXPORTS,    ORV_E_IETD,
                         ORV_E_FTP_USERS, ORV_E_SERVICE_LOCKED, ORV_E_SHARES_READ};
  const auto step = [](int (*function)(list*)) {
    return with_list<list>(function, fill_with_shares);
  };
  const exemptions lenient =
      because("a service whose file is not there adds nothing",
              {"access", "/etc/samba/smb.conf", "fstatat /etc/exports", "/proc/net/iet/volume"}) +
      because("users that cannot be listed have no shares", {"/etc/vsftpd"}) +
      because("of unreadable mounts nothing is known", {"/proc/mounts"}) +
      because("what cannot be measured keeps its size", {"statfs"});
  std::vector<subject> all = {
      {.name = "share_get(tag_shareconf_list*)",
       .prepare = with_list<list>(share_get),
       .overcomes = lenient + because("a file that cannot be read has no shares and no users",
                                      {"/etc/sharefolder.conf", "fstatat", "no memory"})},
      {.name = "get_shareinfo_from_shareconf(tag_shareconf_list*)",
       .prepare = with_list<list>(get_shareinfo_from_shareconf),
       .overcomes = because("it always succeeds: a file that cannot be read has no shares",
                            {"/etc/sharefolder.conf", "no memory"})},
      {.name = "get_shareinfo_from_smbconf(tag_shareconf_list*)",
       .prepare = step(get_shareinfo_from_smbconf),
       .overcomes = lenient},
      {.name = "get_shareinfo_from_ftpconf(tag_shareconf_list*)",
       .prepare = step(get_shareinfo_from_ftpconf),
       .overcomes = lenient + because("it always succeeds", {"no memory", "/home/ann", "fstatat"})},
      {.name = "get_shareinfo_from_exportfs(tag_shareconf_list*)",
       .prepare = step(get_shareinfo_from_exportfs),
       .overcomes = lenient},
      {.name = "get_shareinfo_from_mount(tag_shareconf_list*)",
       .prepare = step(get_shareinfo_from_mount),
       .overcomes = lenient},
      {.name = "get_shareinfo_from_df(tag_shareconf_list*)",
       .prepare = step(get_shareinfo_from_df),
       .overcomes = because("what cannot be measured keeps its size", {"statfs"})},
      {.name = "get_shareinfo_from_iSCSI(tag_shareconf_list*)",
       .prepare = step(get_shareinfo_from_iSCSI),
       .overcomes = lenient},
      {.name = "get_shareinfo_from_ietd(tag_shareconf_list*)",
       .prepare = step(get_shareinfo_from_ietd),
       .overcomes = lenient},
      {.name = "get_shareinfo_from_recy(tag_shareconf_list*)",
       .prepare = step(get_shareinfo_from_recy)},
      {.name = "get_sizeinfo_from_df(unsigned long*, unsigned long*, char const*)",
       .prepare = call([] {
         uint64_t total = 0;
         uint64_t used = 0;
         return get_sizeinfo_from_df(&total, &used, "/pool/data");
       }),
       .overcomes = because("a listing that is not there has no sizes", {"openat /tmp/df.info"})},
      {.name = "read_samba_recy(char const*, tag_shareconf_list*)",
       .prepare =
           with_list<list>([](list* found) { return read_samba_recy(smb_recy_path, found); })},
      {.name = "read_nfs_recy(char const*, tag_shareconf_list*)",
       .prepare =
           with_list<list>([](list* found) { return read_nfs_recy(exports_recy_path, found); })},
  };
  for (subject& one : all) one.documented = results;
  return all;
}

std::vector<subject> user_and_list_subjects() {
  return {
      {.name = "get_ftp_user(char (*) [33], int)",
       // What cannot be examined is no regular file.
       .documented = {ORV_E_FTP_USERS, 0},
       .prepare = call([] {
         char names[4][33];
         return get_ftp_user(names, 4);
       }),
       .expected = 1},
      {.name = "find_one_user(char const*, tag_shareconf_list*)",
       // What cannot be examined is no directory.
       .documented = {ORV_E_FTP_USERS, 1},
       .prepare = with_list<list>([](list* found) { return find_one_user("ann", found); },
                                  fill_with_shares),
       .expected = -2},
      {.name = "find_sub_user(char const*, tag_shareconf_list*)",
       .documented = {ORV_E_FAILED},
       .prepare = with_list<list>([](list* found) { return find_sub_user("ann", found); },
                                  fill_with_shares)},
      {.name = "get_pwd_from_conf(char const*, char*, int)",
       .documented = {ORV_E_PASSWORDS},
       .prepare = call_with_text([](char* text) { return get_pwd_from_conf("ann", text, 256); })},
      {.name = "add_share_to_sharelist(tag_share_config*, tag_shareconf_list*)",
       .documented = {ORV_E_FAILED},
       .prepare = with_list<list>([](list* found) {
         tag_share_config one = share("new", "samba");
         return add_share_to_sharelist(&one, found);
       })},
      {.name = "mod_share_to_sharelist(tag_share_config*, char const*, tag_shareconf_list*)",
       .documented = {ORV_E_FAILED},
       .prepare = with_list<list>(
           [](list* found) {
             tag_share_config one = share("photos", "samba");
             return mod_share_to_sharelist(&one, "", found);
           },
           fill_with_shares)},
      {.name = "del_share_to_sharelist(char const*, tag_shareconf_list*)",
       .documented = {ORV_E_FAILED},
       .prepare = with_list<list>(
           [](list* found) { return del_share_to_sharelist("photos", found); }, fill_with_shares)},
      {.name = "fine_share_in_list(tag_shareconf_list*, char const*)",
       .prepare = with_list<list>(
           [](list* found) { return fine_share_in_list(found, "photos") != nullptr ? 0 : 1; },
           fill_with_shares)},
      {.name = "mod_recy_list(tag_share_config*, tag_shareconf_list*)",
       .documented = {ORV_E_FAILED},
       .prepare = with_list<list>(
           [](list* found) {
             tag_share_config one = share("photos", "samba");
             return mod_recy_list(&one, found);
           },
           fill_with_shares)},
      {.name = "share_conf_set_value(char*, char const*, char const*)",
       .documented = {ORV_E_FAILED},
       .prepare =
           call_with_text([](char* text) { return share_conf_set_value(text, "samba", "1"); })},
  };
}

}  // namespace

std::vector<subject> share_subjects() {
  std::vector<subject> all = changes();
  for (const auto& more :
       {file_subjects(), lock_subjects(), discovery_subjects(), user_and_list_subjects()})
    all.insert(all.end(), more.begin(), more.end());
  return all;
}

}  // namespace faults
