#include "tests/share/share_machine.h"

class share_removal : public share_test {
 protected:
  ~share_removal() override { expect_nothing_held(); }
};

TEST_F(share_removal, takes_a_share_from_both_files) {
  shares(listed("a") + listed("b"));
  smb(global + offered("a") + offered("b"));
  EXPECT_EQ(share_del("a", "CIFS"), ORV_OK);
  EXPECT_EQ(shares(), listed("b"));
  EXPECT_EQ(smb(), global + offered("b"));
  EXPECT_TRUE(is_committed(shares_path));
  EXPECT_TRUE(is_committed(smb_path));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(share_removal, takes_a_stamped_target_by_its_plain_name) {
  shares(listed("v", "iscsi"));
  machine.file(ietd_path, "Target x:v.20240101000000\nTarget x:w.1\n");
  EXPECT_EQ(share_del("v", "iscsi"), ORV_OK);
  EXPECT_EQ(shares(), "");
  EXPECT_THAT(machine.read(ietd_path), testing::StartsWith("Target iqn.2006-05.org.orv:w.1\n"));
}

TEST_F(share_removal, leaves_no_export_whose_path_the_share_list_cannot_hold) {
  tag_share_config share = a_share("a=b", "nfs");
  EXPECT_EQ(share_add(&share), ORV_OK);
  EXPECT_EQ(exports(), exported("a=b"));
  EXPECT_EQ(share_del("a=b", "nfs"), ORV_OK);
  EXPECT_EQ(shares(), "");
  EXPECT_EQ(exports(), "");
}

TEST_F(share_removal, of_an_ftp_share_changes_the_share_list_only) {
  shares(listed("a", "ftp"));
  EXPECT_EQ(share_del("unknown", "Ftp"), ORV_OK);
  EXPECT_EQ(shares(), listed("a", "ftp"));
  EXPECT_EQ(share_del("a", "ftp"), ORV_OK);
  EXPECT_EQ(shares(), "");
  EXPECT_EQ(machine.list("/etc"), (sandbox::lines{"samba", "sharefolder.conf"}));
}

TEST_F(share_removal, of_an_unknown_ftp_share_rewrites_the_share_list) {
  shares("# what is = not read\n" + listed("a", "ftp"));
  EXPECT_EQ(share_del("unknown", "ftp"), ORV_OK);
  EXPECT_EQ(shares(), listed("a", "ftp"));
  EXPECT_TRUE(is_committed(shares_path));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(share_removal, leaves_a_service_that_cannot_be_written_as_far_as_it_was) {
  shares(listed("a") + listed("n", "nfs"));
  const std::string kept = global + offered("b");
  smb(kept + offered("a"));
  exports(exported("m") + exported("n") + exported("o"));
  {
    const file_size_limit full(kept.size() - 10);
    EXPECT_EQ(share_del("a", "samba"), -2065);
  }
  EXPECT_EQ(smb(), kept.substr(0, kept.size() - 10));
  EXPECT_FALSE(was_committed(smb_path));
  {
    const file_size_limit full(exported("m").size() + 10);
    EXPECT_EQ(share_del("n", "nfs"), -2065);
  }
  EXPECT_EQ(exports(), exported("m") + exported("o").substr(0, 10));
  EXPECT_FALSE(was_committed(exports_path));
  EXPECT_EQ(shares(), listed("a") + listed("n", "nfs"));
}

TEST_F(share_removal, tells_when_one_of_the_files_did_not_have_the_share) {
  shares(listed("a") + listed("b"));
  smb(global + offered("b") + offered("c"));
  EXPECT_EQ(share_del("a", "samba"), -2067);
  EXPECT_EQ(share_del("c", "samba"), -2067);
  EXPECT_EQ(shares(), listed("b"));
  EXPECT_EQ(smb(), global + offered("b"));
  EXPECT_EQ(machine.log(), refusal("share_del", -2067, "No such file or directory") +
                               refusal("share_del", -2067, "No such file or directory"));
}

TEST_F(share_removal, rewrites_nothing_without_the_file_of_its_service) {
  shares(listed("a"));
  for (const char* mode : {"none", "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(share_del("a", mode), -2061);
  }
  {
    const foreign_lock lock(smb_path);
    EXPECT_EQ(share_del("a", "samba"), -2061);
  }
  smb("[ab\n");
  EXPECT_EQ(share_del("a", "samba"), -2063);
  EXPECT_EQ(shares(), listed("a"));
  EXPECT_EQ(smb(), "[ab\n");
  EXPECT_FALSE(machine.exists("/var/lib/orv"));
}

TEST_F(share_removal, keeps_a_share_listed_when_its_service_cannot_be_written) {
  shares(listed("a"));
  const std::string settings = "[global]\n" + std::string(1000, '#') + "\n";
  smb(settings + offered("a") + offered("b"));
  const file_size_limit full(1015);
  EXPECT_EQ(share_del("a", "samba"), -2065);
  EXPECT_EQ(shares(), listed("a"));
}

TEST_F(share_removal, fails_when_the_share_list_cannot_be_written) {
  shares(listed("a") + listed("b"));
  smb(global);
  const file_size_limit full(50);
  EXPECT_EQ(share_del("a", "samba"), -2064);
  EXPECT_TRUE(is_committed(smb_path));
}

TEST_F(share_removal, changes_nothing_when_the_share_list_cannot_be_locked_or_read) {
  shares("no sense\n");
  EXPECT_EQ(share_del("a", "samba"), -2063);
  const foreign_lock lock(shares_path);
  EXPECT_EQ(share_del("a", "samba"), -2060);
  EXPECT_EQ(shares(), "no sense\n");
  EXPECT_FALSE(machine.exists(smb_path));
}

TEST_F(share_removal, needs_a_name) {
  EXPECT_EQ(share_del(nullptr, "samba"), -1);
  EXPECT_EQ(share_del(" \n", "samba"), -1);
  EXPECT_FALSE(machine.exists(shares_path));
}
