/// Rows of shares, services and users.
#include "tests/security/functions.h"
#include "tests/share/share_files.h"

namespace security {
namespace {

using number = plain<int>;
using texts = std::vector<std::string>;

/// As callers do: who locks a file closes it.
void lock_and_close(const char* path) {
  const int file = lock_sharefile(path);
  if (file >= 0) close(file);
}

/// Each file, and the copy that a commit keeps of it.
texts with_copies(const texts& files) {
  texts all = files;
  for (const std::string& file : files) all.push_back("/var/lib/orv/kept" + file);
  return all;
}

const texts& every_share_file() {
  static const texts all = with_copies(
      {shares_path, smb_path, smb_recy_path, exports_path, exports_recy_path, ietd_path});
  return all;
}

void add_share_file_functions(call_table& table) {
  ROW(get_share_from_conf, opened(shares_path), shares("samba"));
  ROW(put_share_to_conf, opened(shares_path), shares("samba")).changes(with_copies({shares_path}));
  ROW(get_share_from_smb, opened(smb_path), shares("samba"));
  ROW(put_share_to_smb, opened(smb_path), shares("samba")).changes(with_copies({smb_path}));
  ROW(put_share_to_smb_recy, opened(smb_recy_path), shares("samba"))
      .changes(with_copies({smb_recy_path}));
  ROW(get_share_from_nfs, opened(exports_path), shares("nfs"));
  ROW(put_share_to_nfs, opened(exports_path), shares("nfs")).changes(with_copies({exports_path}));
  ROW(put_share_to_nfs_recy, opened(exports_recy_path), shares("nfs"))
      .changes(with_copies({exports_recy_path}));
  ROW(get_share_from_ietd, opened(ietd_path), shares("iscsi"));
  ROW(put_share_to_ietd, opened(ietd_path), shares("iscsi")).changes(with_copies({ietd_path}));
  ROW(get_share_from_ftp, number(-1), shares("ftp"));
  ROW(put_share_to_ftp, number(-1), shares("ftp"));
  ROW(get_share_from_mode, opened(smb_path), shares("samba"), word("samba"));
  ROW(put_share_to_mode, opened(smb_path), shares("samba"), word("samba"))
      .changes(with_copies({smb_path}));
  ROW(put_share_to_mode_recy, opened(smb_recy_path), shares("samba"), word("samba"))
      .changes(with_copies({smb_recy_path}));
}

void add_share_list_functions(call_table& table) {
  ROW(add_share_to_sharelist, share("samba"), shares("samba"));
  ROW(mod_share_to_sharelist, share("samba"), word("x"), shares("samba"));
  ROW(del_share_to_sharelist, word("new"), shares("iscsi"));
  ROW(fine_share_in_list, shares("samba"), word("new"));
  ROW(get_pwd_from_conf, word("ann"), output(32), number(32));
  ROW(find_one_user, word("ann"), shares("ftp"));
  ROW(find_sub_user, word("ann"), shares("ftp"));
  ROW(share_conf_set_value, buffer("samba", 32), word("nfs"), word("1"));
  ROW(mod_recy_list, share("samba"), shares("samba"));
}

void add_share_discovery_functions(call_table& table) {
  ROW(share_get, shares("samba"));
  ROW(get_shareinfo_from_shareconf, shares("samba"));
  ROW(get_shareinfo_from_smbconf, shares("samba"));
  ROW(get_shareinfo_from_ftpconf, shares("ftp"));
  ROW(get_shareinfo_from_exportfs, shares("nfs"));
  ROW(get_shareinfo_from_mount, shares("samba"));
  ROW(get_shareinfo_from_df, shares("samba")).changes({"/tmp/df.info"});
  ROW(get_shareinfo_from_iSCSI, shares("iscsi"));
  ROW(get_shareinfo_from_ietd, shares("iscsi"));
  ROW(get_shareinfo_from_recy, shares(""));
  ROW(get_sizeinfo_from_df, result_of<uint64_t>(), result_of<uint64_t>(), word("/mnt/a"));
}

void add_share_change_functions(call_table& table) {
  for (const char* const service : {"samba", "nfs", "iscsi", "ftp"}) {
    ROW(share_add, share(service)).changes(every_share_file());
    ROW(share_mod, share(service)).changes(every_share_file());
    ROW(share_set_use, share(service)).changes(every_share_file());
    ROW(share_recy_mod, share(service)).changes(every_share_file());
    ROW(share_del, word("first"), word(service)).changes(every_share_file());
  }
  ROW(ftp_set_use, share("ftp"))
      .changes(every_share_file())
      .changes(with_copies({"/etc/mdfstab"}))
      .changes({"/tmp/mdfstab.XXXXXX"});
  ROW(forbid_share_del, word("first")).changes(every_share_file());
  ROW(read_samba_recy, word(smb_recy_path), shares("samba")).changes_file_named_by("0");
  ROW(read_nfs_recy, word(exports_recy_path), shares("nfs")).changes_file_named_by("0");
  ROW(samba_recy_del, word(smb_recy_path), word("parked"), word("x"))
      .changes_file_named_by("0")
      .changes(every_share_file());
  ROW(nfs_recy_del, word(exports_recy_path), word("parked"), word("x"))
      .changes_file_named_by("0")
      .changes(every_share_file());
  ROW(share_recy_del, word("parked")).changes(every_share_file());
}

}  // namespace

void add_share_functions(call_table& table) {
  add_share_file_functions(table);
  add_share_list_functions(table);
  add_share_discovery_functions(table);
  add_share_change_functions(table);
  driven_call& lock = add(table, driven("lock_sharefile", lock_and_close, word("/scratch/lock")));
  lock.changes_file_named_by("0");
  ROW(lock_modefile, opens(), word("samba")).changes(every_share_file());
  ROW(lock_mode_recyfile, opens(), word("samba")).changes(every_share_file());
}

void add_service_functions(call_table& table) {
  ROW(share_status_get, word("/told/text"));
  ROW(get_conninfo_from_netstat, connections());
  ROW(get_conninfo_from_smbstatus, connections());
  ROW(get_conninfo_from_session, connections());
  ROW(check_ip, word("1.2.3.4"));
}

void add_user_functions(call_table& table) {
  const texts user_file = with_copies({"/etc/nas_userfile.conf"});
  const texts account_files =
      with_copies({"/etc/passwd", "/etc/shadow", "/etc/group", "/etc/samba/private/smbpasswd",
                   "/etc/nas_userfile.conf"});
  const record_copy<tag_user_info> user([](tag_user_info& request) {
    orv::set_text(request.name, "eve");
    orv::set_text(request.password, "secret");
  });
  ROW(get_users_from_conf, users());
  ROW(set_users_to_conf, users()).changes(user_file);
  ROW(sys_user_add, user)
      .changes(account_files)
      .changes({"/etc/shadow-"})
      .runs_with({"0.name"})
      .echoes("0.password");
  ROW(sys_user_delete, word("ann")).changes(account_files).runs_with({"0"});
  ROW(sys_user_modify, word("ann"), user)
      .changes(account_files)
      .changes({"/etc/shadow-"})
      .runs_with({"0", "1.name"})
      .echoes("1.password");
  ROW(sys_user_validpwd, word("root"), word("secret"));
  ROW(create_backup, word("/scratch/backup"), stream("text\n")).changes_file_named_by("0");
}

}  // namespace security
