#include "tests/crash/rewrites.h"

/// The name of the machine that runs the tests stays as it is.
extern "C" int sethostname(const char* /*name*/, std::size_t /*size*/) noexcept { return 0; }

std::vector<rewrite_case> rewrite_test::all_cases() {
  const std::string shares_now = listed("a") + listed("n", "nfs") + listed("i", "iscsi") +
                                 listed("parked", "none") + many_listed();
  const std::string samba_now = global + offered("a") + offered("b");
  const std::string exports_now = exported("n") + exported("m");
  const std::string target =
      "Target iqn.2006-05.org.orv:i.20240131235959\n\tLun 0 Path=/mnt/i,"
      "Type=fileio,IOMode=wb\n";
  std::vector<rewrite_case> all = {
      {"share_add",
       {{shares_path, shares_now}, {smb_path, samba_now}},
       [] {
         tag_share_config share = a_share("new");
         return share_add(&share);
       }},
      {"share_mod",
       {{shares_path, shares_now}, {exports_path, exports_now}},
       [] {
         tag_share_config share = a_share("n", "nfs");
         set_field(share.comment, "changed");
         set_field(share.valid_users, "10.0.0.1");
         return share_mod(&share);
       }},
      {"share_del",
       {{shares_path, shares_now}, {ietd_path, target}},
       [] { return share_del("i", "iscsi"); }},
      {"share_set_use",
       {{shares_path, shares_now}, {smb_path, samba_now}, {smb_recy_path, parked("x")}},
       [] {
         tag_share_config share = a_share("a");
         return share_set_use(&share);
       }},
      {"share_recy_mod",
       {{shares_path, shares_now}, {exports_recy_path, exported("parked")}},
       [] {
         tag_share_config share = a_share("parked", "nfs");
         set_field(share.valid_users, "10.0.0.1");
         return share_recy_mod(&share);
       }},
      {"forbid_share_del",
       {{shares_path, shares_now},
        {smb_recy_path, parked("parked") + parked("x")},
        {exports_recy_path, exported("parked") + exported("y")}},
       [] { return forbid_share_del("parked"); }},
      {"share_recy_del",
       {{smb_recy_path, parked("parked") + parked("x")},
        {exports_recy_path, exported("parked") + exported("y")}},
       [] { return share_recy_del("parked"); }},
      {"samba_recy_del",
       {{smb_recy_path, parked("parked") + parked("x")}},
       [] { return samba_recy_del(smb_recy_path, "parked", "samba"); }},
      {"nfs_recy_del",
       {{exports_recy_path, exported("parked") + exported("y")}},
       [] { return nfs_recy_del(exports_recy_path, "parked", "nfs"); }},
      {"ftp_set_use",
       {{shares_path, shares_now + listed("f", "ftp")},
        {"/etc/mdfstab",
         "/dev/v/f\t/mnt/f\txfs\tdefaults\t0 0\n/dev/v/q\t/mnt/q\txfs\tdefaults\t0 0\n"}},
       [] {
         tag_share_config share = a_share("f", "ftp");
         return ftp_set_use(&share);
       }},
      {"add_mdfstab",
       {{"/etc/mdfstab", "/dev/v/p\t/mnt/p\txfs\tdefaults\t0 0\n"}},
       [] { return add_mdfstab("/mnt/q", "v", "q"); }},
      {"del_mdfstab",
       {{"/etc/mdfstab",
         "# all\n/dev/v/p\t/mnt/p\txfs\tdefaults\t0 0\n"
         "/dev/v/q\t/mnt/q\txfs\tdefaults\t0 0\n"}},
       [] { return del_mdfstab("/mnt/q"); }},
      {"ftp_share_para_set",
       {{"/etc/vsftpd.conf", "max_clients=5\nlisten=YES\nmax_per_ip=1\n"}},
       [] { return ftp_share_para_set(1, 20, 30); }},
      {"hostname_set",
       {{"/etc/hostname", "a-long-name-of-old"}},
       [] { return hostname_set("nas"); }},
      {"sys_user_add",
       {{"/etc/shadow", shadow_of()}, {"/etc/nas_userfile.conf", users_of(300)}},
       [] { return add_user("bob"); }},
      {"sys_user_delete",
       {{"/etc/nas_userfile.conf", users_of(300)}},
       [] { return sys_user_delete("user7"); }},
      {"set_users_to_conf",
       {{"/etc/nas_userfile.conf", users_of(300)}},
       [] {
         user_list users;
         users.add("bob", "secret");
         return set_users_to_conf(users.get());
       }},
  };
  EXPECT_EQ(all.size(), cases);
  return all;
}
