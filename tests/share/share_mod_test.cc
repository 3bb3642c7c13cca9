#include "tests/share/share_machine.h"

class share_modification : public share_test {
 protected:
  int modify(const std::string& name, const std::string& service = "samba",
             const std::string& comment = "new") {
    tag_share_config share = a_share(name, service);
    set_field(share.comment, comment);
    set_field(share.valid_users, "bob,eve");
    set_field(share.path, "/other");
    share.writable = 0;
    return share_mod(&share);
  }
  /// A section of smb.conf as `modify` leaves it, with the path that the share had.
  static std::string modified(const std::string& name, const std::string& path) {
    return "[" + name + "]\n    comment = new\n    path = " + path +
           "\n    public = yes\n    writable = no\n    printable = no\n    create mask = 0777\n"
           "    valid users = bob,eve\n";
  }
  ~share_modification() override { expect_nothing_held(); }
};

TEST_F(share_modification, changes_comment_users_and_right_in_both_files) {
  shares(listed("a") + listed("b"));
  smb(global + offered("a") + offered("b"));
  EXPECT_EQ(modify("b"), ORV_OK);
  EXPECT_EQ(shares(), listed("a") + listed("b", "samba", "new"));
  EXPECT_EQ(smb(), global + offered("a") + modified("b", "/mnt/b"));
  EXPECT_TRUE(is_committed(shares_path));
  EXPECT_TRUE(is_committed(smb_path));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(share_modification, finds_a_stamped_target_by_its_plain_name) {
  shares(listed("v", "iscsi"));
  machine.file(ietd_path, "Target x:v.1\n\tIncomingUser ann\n\tLun 0 Path=/mnt/v\n");
  EXPECT_EQ(modify("v", "iscsi"), ORV_OK);
  EXPECT_THAT(machine.read(ietd_path),
              testing::StartsWith("Target iqn.2006-05.org.orv:v.1\n\tIncomingUser bob \n"
                                  "\tIncomingUser eve \n\tLun 0 Path=/mnt/v,"));
}

TEST_F(share_modification, brings_a_share_out_of_use_back_into_use) {
  shares(listed("a", ""));
  EXPECT_EQ(modify("a", "nfs"), -2067);
  EXPECT_THAT(shares(), testing::HasSubstr("path = /other\n    size = 7\n    samba = 0\n"
                                           "    nfs = 1\n"));
  EXPECT_EQ(exports(), "/other bob,eve(ro,sync,no_root_squash)\n");
}

TEST_F(share_modification, adds_a_missing_share_and_says_so) {
  smb(global + offered("a"));
  EXPECT_EQ(modify("a"), -2067);
  EXPECT_THAT(shares(), testing::StartsWith("[a]\n    sharename = a\n    path = /other\n"));
  EXPECT_EQ(smb(), global + modified("a", "/mnt/a"));
  EXPECT_EQ(machine.log(), refusal("share_mod", -2067, "No such file or directory"));
}

TEST_F(share_modification, of_an_ftp_share_changes_the_share_list_and_reports_it_missing) {
  shares(listed("a", "ftp"));
  EXPECT_EQ(modify("a", "FTP"), -2067);
  EXPECT_EQ(shares(), listed("a", "ftp", "new"));
  EXPECT_EQ(machine.list("/etc"), (sandbox::lines{"samba", "sharefolder.conf"}));
}

TEST_F(share_modification, of_an_ftp_share_reports_it_missing_also_when_nothing_can_be_written) {
  shares(listed("a", "ftp"));
  const file_size_limit full(20);
  EXPECT_EQ(modify("a", "ftp"), -2067);
  EXPECT_EQ(shares(), listed("a", "ftp", "new").substr(0, 20));
  EXPECT_FALSE(was_committed(shares_path));
  EXPECT_EQ(machine.log(), refusal("share_mod", -2067, "No such file or directory"));
}

TEST_F(share_modification, goes_on_when_the_share_list_cannot_be_written) {
  shares(listed("a", "nfs"));
  exports(exported("a"));
  const std::string comment(127, 'c');
  const file_size_limit full(static_cast<rlim_t>(shares().size()));
  EXPECT_EQ(modify("a", "nfs", comment), -2064);
  EXPECT_EQ(exports(), exported("a", "bob,eve", "ro"));
  EXPECT_FALSE(was_committed(shares_path));
  EXPECT_TRUE(is_committed(exports_path));
  EXPECT_EQ(machine.log(), refusal("share_mod", -2064, "File too large"));
}

TEST_F(share_modification, fails_when_the_service_cannot_be_locked_read_or_written) {
  shares(listed("a"));
  EXPECT_EQ(modify("a", "none"), -2061);
  EXPECT_EQ(shares(), listed("a", "samba", "new"));
  smb("[ab\n");
  EXPECT_EQ(modify("a"), -2063);
  EXPECT_EQ(smb(), "[ab\n");
  smb("[global]\n" + std::string(1000, '#') + "\n");
  {
    const file_size_limit full(1010);
    EXPECT_EQ(modify("a"), -2065);
  }
  const foreign_lock lock(smb_path);
  EXPECT_EQ(modify("a"), -2061);
}

TEST_F(share_modification, stays_in_the_share_list_while_the_service_is_locked) {
  shares(listed("a"));
  smb("# comment\n" + offered("a"));
  const foreign_lock lock(smb_path);
  EXPECT_EQ(modify("a"), -2061);
  EXPECT_EQ(shares(), listed("a", "samba", "new"));
  EXPECT_TRUE(is_committed(shares_path));
  EXPECT_EQ(smb(), "# comment\n" + offered("a"));
  EXPECT_FALSE(was_committed(smb_path));
}

TEST_F(share_modification, stays_in_the_share_list_when_the_service_cannot_be_written) {
  const std::string settings = "[global]\n" + std::string(1000, '#') + "\n";
  shares(listed("a"));
  smb(settings + offered("a"));
  const file_size_limit full(1050);
  EXPECT_EQ(modify("a"), -2065);
  EXPECT_EQ(shares(), listed("a", "samba", "new"));
  EXPECT_TRUE(is_committed(shares_path));
  EXPECT_EQ(smb(), (settings + modified("a", "/mnt/a")).substr(0, 1050));
  EXPECT_FALSE(was_committed(smb_path));
}

TEST_F(share_modification, changes_nothing_when_the_share_list_cannot_be_locked_or_read) {
  shares("no sense\n");
  EXPECT_EQ(modify("a"), -2063);
  EXPECT_EQ(shares(), "no sense\n");
  const foreign_lock lock(shares_path);
  EXPECT_EQ(modify("a"), -2060);
  EXPECT_FALSE(machine.exists(smb_path));
}

TEST_F(share_modification, needs_a_record_with_a_name) {
  EXPECT_EQ(share_mod(nullptr), -1);
  EXPECT_EQ(modify(""), -1);
  EXPECT_FALSE(machine.exists(shares_path));
}
