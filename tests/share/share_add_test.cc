#include "tests/share/share_machine.h"

using testing::HasSubstr;
using testing::MatchesRegex;

class share_addition : public share_test {
 protected:
  int add(tag_share_config share) { return share_add(&share); }
  ~share_addition() override { expect_nothing_held(); }
};

TEST_F(share_addition, goes_to_the_share_list_and_to_samba) {
  shares(listed("old", "nfs"));
  smb(global);
  EXPECT_EQ(add(a_share("a")), ORV_OK);
  EXPECT_EQ(shares(), listed("old", "nfs") + listed("a"));
  EXPECT_EQ(smb(), global + offered("a"));
  EXPECT_TRUE(is_committed(shares_path));
  EXPECT_TRUE(is_committed(smb_path));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(share_addition, makes_the_files_that_are_missing) {
  EXPECT_EQ(add(a_share("a", "nfs")), ORV_OK);
  EXPECT_EQ(shares(), listed("a", "nfs"));
  EXPECT_EQ(exports(), exported("a"));
}

TEST_F(share_addition, stamps_an_iscsi_target_once) {
  EXPECT_EQ(add(a_share("v", "iscsi")), ORV_OK);
  EXPECT_EQ(shares(), listed("v", "iscsi"));
  const std::string first = machine.read(ietd_path);
  EXPECT_THAT(first, MatchesRegex("Target iqn.2006-05.org.orv:v\\.[0-9]{14}\n(.|\n)*"));
  EXPECT_EQ(add(a_share("w", "iscsi")), ORV_OK);
  EXPECT_THAT(machine.read(ietd_path), testing::StartsWith(first.substr(0, first.find('\n'))));
  EXPECT_THAT(machine.read(ietd_path), HasSubstr("\nTarget iqn.2006-05.org.orv:w."));
}

TEST_F(share_addition, of_an_ftp_share_changes_the_share_list_only) {
  EXPECT_EQ(add(a_share("a", "Ftp")), ORV_OK);
  EXPECT_EQ(shares(), listed("a", "ftp"));
  EXPECT_EQ(machine.list("/etc"), (sandbox::lines{"samba", "sharefolder.conf"}));
  EXPECT_EQ(add(a_share("a", "ftp")), ORV_OK);
  EXPECT_EQ(shares(), listed("a", "ftp"));
}

TEST_F(share_addition, brings_every_share_of_the_service_in_line) {
  shares(listed("a") + listed("b") + listed("n", "nfs") + listed("c", "nfs"));
  smb(global + offered("c", "carl") + offered("a", "bob", "writable = no") + offered("gone"));
  EXPECT_EQ(add(a_share("d")), ORV_OK);
  EXPECT_EQ(smb(), global + offered("c", "") + offered("a", "", "writable = no") + offered("gone") +
                       offered("b", "") + offered("d"));
}

TEST_F(share_addition, of_a_share_that_exists_brings_the_service_in_line_all_the_same) {
  shares(listed("a") + listed("b"));
  smb(global + offered("a", "bob"));
  tag_share_config share = a_share("a");
  set_field(share.comment, "other");
  EXPECT_EQ(add(share), -2066);
  EXPECT_EQ(shares(), listed("a") + listed("b"));
  EXPECT_FALSE(was_committed(shares_path));
  EXPECT_EQ(smb(), global + offered("a", "") + offered("b", ""));
  EXPECT_EQ(machine.log(), refusal("share_add", -2066, "File exists"));
}

class repeated_addition : public share_addition {
 protected:
  static constexpr char comment[] = "# what is = not read\n";

  repeated_addition() { shares(comment + listed("a")); }
  ~repeated_addition() override {
    EXPECT_EQ(shares(), comment + listed("a"));
    EXPECT_FALSE(was_committed(shares_path));
  }
  void expect(int code, const std::string& service = "samba") {
    EXPECT_EQ(add(a_share("a", service)), code);
  }
};

TEST_F(repeated_addition, tells_that_the_service_is_locked) {
  const foreign_lock lock(smb_path);
  expect(-2061);
}

TEST_F(repeated_addition, tells_that_the_service_is_not_known) { expect(-2061, "none"); }

TEST_F(repeated_addition, tells_that_the_service_cannot_be_read) {
  smb("[ab\n");
  expect(-2063);
  EXPECT_EQ(smb(), "[ab\n");
}

TEST_F(repeated_addition, tells_that_the_service_cannot_be_written) {
  const std::string settings = "[global]\n" + std::string(1000, '#') + "\n";
  smb(settings);
  const file_size_limit full(1050);
  expect(-2065);
  EXPECT_EQ(smb(), (settings + offered("a", "")).substr(0, 1050));
  EXPECT_FALSE(was_committed(smb_path));
}

TEST_F(share_addition, finds_iscsi_targets_by_their_names_without_stamps) {
  shares(listed("v", "iscsi") + listed("v.1", "iscsi"));
  machine.file(ietd_path, "Target x:v.20240101000000\n\tIncomingUser ann x\n\tLun 0 Path=/old\n");
  EXPECT_EQ(add(a_share("w", "iscsi")), ORV_OK);
  const std::string targets = machine.read(ietd_path);
  EXPECT_THAT(targets, testing::StartsWith("Target iqn.2006-05.org.orv:v.20240101000000\n"
                                           "\tLun 0 Path=/mnt/v,"));
  EXPECT_THAT(targets, HasSubstr("Target iqn.2006-05.org.orv:v.1\n"));
  EXPECT_THAT(targets, HasSubstr("Target iqn.2006-05.org.orv:w.2"));
}

TEST_F(share_addition, never_finds_an_iscsi_share_whose_own_name_has_a_dot) {
  EXPECT_EQ(add(a_share("v.1", "iscsi")), ORV_OK);
  EXPECT_EQ(add(a_share("w", "iscsi")), ORV_OK);
  EXPECT_THAT(names_in(ietd_path, get_share_from_ietd),
              ElementsAre("v.1", "v.1", testing::StartsWith("w.")));
}

TEST_F(share_addition, knows_an_export_by_the_last_part_of_its_path) {
  tag_share_config share = a_share("docs", "nfs");
  set_field(share.path, "/mnt/pool");
  EXPECT_EQ(add(share), ORV_OK);
  EXPECT_EQ(add(a_share("a", "nfs")), ORV_OK);
  EXPECT_EQ(exports(),
            "/mnt/pool ann(rw,sync,no_root_squash)\n"
            "/mnt/pool *(rw,sync,no_root_squash)\n" +
                exported("a"));
}

TEST_F(share_addition, appends_the_shares_of_exactly_its_service_word) {
  shares(listed("a"));
  EXPECT_EQ(add(a_share("b", "SAMBA")), ORV_OK);
  EXPECT_EQ(smb(), offered("b"));
}

TEST_F(share_addition, of_no_known_service_changes_the_share_list_only) {
  EXPECT_EQ(add(a_share("a", "none")), -2061);
  EXPECT_THAT(shares(), HasSubstr("sharename = a\n    path = /mnt/a\n    size = 7\n    comment"));
  EXPECT_EQ(add(a_share("b", "")), -2061);
  EXPECT_THAT(shares(), HasSubstr(listed("b", "")));
  EXPECT_EQ(machine.log(), refusal("share_add", -2061, "Invalid argument") +
                               refusal("share_add", -2061, "Invalid argument"));
}

TEST_F(share_addition, changes_nothing_while_the_share_list_is_locked) {
  const foreign_lock lock(shares_path);
  EXPECT_EQ(add(a_share("a")), -2060);
  EXPECT_EQ(shares(), "");
  EXPECT_FALSE(machine.exists(smb_path));
  EXPECT_EQ(machine.log(), refusal("share_add", -2060, "Resource temporarily unavailable"));
}

TEST_F(share_addition, locks_the_share_list_first) {
  const foreign_lock service(smb_path);
  const foreign_lock list(shares_path);
  EXPECT_EQ(add(a_share("a")), -2060);
}

TEST_F(share_addition, keeps_the_share_listed_while_the_service_is_locked) {
  const foreign_lock lock(exports_path, F_RDLCK);
  EXPECT_EQ(add(a_share("a", "nfs")), -2061);
  EXPECT_EQ(shares(), listed("a", "nfs"));
  EXPECT_EQ(exports(), "");
}

TEST_F(share_addition, rewrites_no_file_that_it_could_not_read) {
  shares("[x]\nno sense\n");
  EXPECT_EQ(add(a_share("a")), -2063);
  EXPECT_EQ(shares(), "[x]\nno sense\n");
  EXPECT_EQ(machine.log(), refusal("share_add", -2063, "Bad message"));
  shares("");
  smb("[x]\nno sense\n");
  EXPECT_EQ(add(a_share("a")), -2063);
  EXPECT_EQ(smb(), "[x]\nno sense\n");
  EXPECT_EQ(shares(), listed("a"));
}

TEST_F(share_addition, ends_when_the_share_list_cannot_be_written) {
  const file_size_limit full(20);
  EXPECT_EQ(add(a_share("a")), -2064);
  EXPECT_EQ(machine.log(), refusal("share_add", -2064, "File too large"));
  EXPECT_FALSE(machine.exists(smb_path));
}

TEST_F(share_addition, fails_when_the_service_cannot_be_written) {
  smb("[global]\n" + std::string(1000, '#') + "\n");
  const file_size_limit full(1010);
  EXPECT_EQ(add(a_share("a")), -2065);
  EXPECT_EQ(shares(), listed("a"));
  EXPECT_FALSE(was_committed(smb_path));
}

TEST_F(share_addition, fails_where_a_file_cannot_be_opened) {
  machine.directory(exports_path);
  EXPECT_EQ(add(a_share("a", "nfs")), -2061);
  machine.remove(shares_path);
  machine.directory(shares_path);
  EXPECT_EQ(add(a_share("b", "nfs")), -2060);
}

TEST_F(share_addition, follows_symbolic_links_and_keeps_modes) {
  machine.file("/data/exports", "", 0640);
  machine.link(exports_path, "/data/exports");
  EXPECT_EQ(add(a_share("a", "nfs")), ORV_OK);
  EXPECT_EQ(machine.read("/data/exports"), exported("a"));
  EXPECT_EQ(machine.mode("/data/exports"), 0640U);
}

TEST_F(share_addition, refuses_what_samba_takes_for_its_global_section) {
  for (const char* const name : {"global", "GLOBALS ", "globals", "g lobal", "glob\tal s"}) {
    EXPECT_EQ(add(a_share(name, "cifs")), ORV_E_FAILED) << name;
    EXPECT_FALSE(machine.exists(shares_path));
  }
  EXPECT_EQ(add(a_share("globals", "nfs")), ORV_OK);
}

TEST_F(share_addition, needs_a_record_with_a_name) {
  EXPECT_EQ(share_add(nullptr), -1);
  EXPECT_EQ(add(a_share("")), -1);
  EXPECT_EQ(add(a_share("\n= ]")), -1);
  EXPECT_EQ(add(a_share("GLOBAL", "Samba")), -1);
  EXPECT_FALSE(machine.exists(shares_path));
  EXPECT_EQ(machine.log_lines().size(), 4U);
}
