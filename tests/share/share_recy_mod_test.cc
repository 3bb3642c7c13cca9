#include "tests/share/share_machine.h"

class parked_modification : public share_test {
 protected:
  int modify(const std::string& name, const std::string& service = "samba") {
    tag_share_config share = a_share(name, service);
    set_field(share.comment, "new");
    set_field(share.valid_users, "bob");
    share.writable = 0;
    const int result = share_recy_mod(&share);
    EXPECT_STREQ(share.service, "");
    return result;
  }
  static std::string modified(const std::string& name) {
    return "[" + name + "]\n    comment = new\n    path = /mnt/" + name +
           "\n    public = yes\n    writeable = no\n    printable = no\n"
           "    create mask = 0777\n    valid users = bob\n";
  }
  ~parked_modification() override { expect_nothing_held(); }
};

TEST_F(parked_modification, changes_the_share_list_and_the_recycle_file) {
  shares(listed("a", "") + listed("b"));
  machine.file(smb_recy_path, parked("z") + parked("a"));
  EXPECT_EQ(modify("a", "Cifs"), ORV_OK);
  EXPECT_EQ(shares(), listed("a", "", "new") + listed("b"));
  EXPECT_EQ(machine.read(smb_recy_path), parked("z") + modified("a"));
  EXPECT_TRUE(is_committed(shares_path));
  EXPECT_TRUE(is_committed(smb_recy_path));
  EXPECT_FALSE(machine.exists(smb_path));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(parked_modification, changes_a_parked_export) {
  shares(listed("a", ""));
  machine.file(exports_recy_path, exported("a"));
  EXPECT_EQ(modify("a", "nfs"), ORV_OK);
  EXPECT_EQ(machine.read(exports_recy_path), exported("a", "bob", "ro"));
}

TEST_F(parked_modification, keeps_the_share_out_of_use) {
  shares(listed("a", "samba"));
  machine.file(smb_recy_path, parked("a"));
  EXPECT_EQ(modify("a"), ORV_OK);
  EXPECT_EQ(shares(), listed("a", "", "new"));
}

TEST_F(parked_modification, adds_a_missing_share_and_says_so) {
  machine.file(smb_recy_path, parked("a"));
  EXPECT_EQ(modify("a"), -2067);
  EXPECT_THAT(shares(), testing::StartsWith("[a]\n    sharename = a\n"));
  EXPECT_EQ(machine.read(smb_recy_path), modified("a"));
  shares(listed("b", ""));
  EXPECT_EQ(modify("b"), -2067);
  EXPECT_EQ(machine.read(smb_recy_path), modified("a") + modified("b"));
}

TEST_F(parked_modification, of_an_ftp_share_changes_the_share_list_only) {
  shares(listed("a", ""));
  EXPECT_EQ(modify("a", "FTP"), ORV_OK);
  EXPECT_EQ(shares(), listed("a", "", "new"));
  EXPECT_EQ(machine.list("/etc"), (sandbox::lines{"samba", "sharefolder.conf"}));
  EXPECT_EQ(modify("b", "ftp"), -2067);
}

TEST_F(parked_modification, fails_without_the_recycle_file_of_its_service) {
  shares(listed("a", ""));
  EXPECT_EQ(modify("a", "iscsi"), -2061);
  EXPECT_EQ(modify("a", ""), -2061);
  EXPECT_EQ(shares(), listed("a", "", "new"));
  machine.file(smb_recy_path, "[ab\n");
  EXPECT_EQ(modify("a"), -2063);
  EXPECT_EQ(machine.read(smb_recy_path), "[ab\n");
  const foreign_lock lock(smb_recy_path);
  EXPECT_EQ(modify("a"), -2061);
}

TEST_F(parked_modification, fails_when_a_file_cannot_be_written) {
  shares(listed("a", ""));
  std::string many;
  for (const char* name : {"u", "v", "w", "x", "y", "z"}) many += parked(name);
  machine.file(smb_recy_path, many);
  {
    const file_size_limit full(static_cast<rlim_t>(many.size()));
    EXPECT_EQ(modify("a"), -2065);
  }
  const file_size_limit full(20);
  EXPECT_EQ(modify("a"), -2064);
}

TEST_F(parked_modification, leaves_the_recycle_file_when_the_share_list_cannot_be_written) {
  shares(listed("a", ""));
  machine.file(smb_recy_path, "# comment\n" + parked("a"));
  const file_size_limit full(20);
  EXPECT_EQ(modify("a"), -2064);
  EXPECT_EQ(shares(), listed("a", "", "new").substr(0, 20));
  EXPECT_FALSE(was_committed(shares_path));
  EXPECT_EQ(machine.read(smb_recy_path), "# comment\n" + parked("a"));
  EXPECT_FALSE(was_committed(smb_recy_path));
}

TEST_F(parked_modification, has_changed_the_share_list_when_the_recycle_file_cannot_be_written) {
  const std::string others = parked(std::string(32, 'x')) + parked(std::string(32, 'y'));
  shares(listed("a", ""));
  machine.file(smb_recy_path, others + parked("a"));
  const auto size = others.size() + 20;
  const file_size_limit full(size);
  EXPECT_EQ(modify("a"), -2065);
  EXPECT_EQ(shares(), listed("a", "", "new"));
  EXPECT_TRUE(is_committed(shares_path));
  EXPECT_EQ(machine.read(smb_recy_path), (others + modified("a")).substr(0, size));
  EXPECT_FALSE(was_committed(smb_recy_path));
}

TEST_F(parked_modification, locks_the_share_list_first) {
  const foreign_lock recycled(smb_recy_path);
  const foreign_lock list(shares_path);
  EXPECT_EQ(modify("a"), -2060);
}

TEST_F(parked_modification, of_an_export_commits_another_name_than_its_recycle_file) {
  shares(listed("a", ""));
  machine.file(exports_recy_path, exported("a"));
  expect_commit_of_parked_exports([this] { return modify("a", "nfs"); });
}

TEST_F(parked_modification, changes_nothing_when_the_share_list_cannot_be_locked_or_read) {
  shares("no sense\n");
  EXPECT_EQ(modify("a"), -2063);
  const foreign_lock lock(shares_path);
  EXPECT_EQ(modify("a"), -2060);
  EXPECT_EQ(shares(), "no sense\n");
  EXPECT_EQ(share_recy_mod(nullptr), -1);
}

TEST_F(parked_modification, clears_the_service_of_a_record_that_is_refused_too) {
  for (const char* const name : {"", " \n", "Globals"}) {
    tag_share_config refused = a_share(name);
    machine.forget();
    EXPECT_EQ(share_recy_mod(&refused), -1) << name;
    EXPECT_STREQ(refused.service, "") << name;
    EXPECT_EQ(machine.log(), refusal("share_recy_mod", -1, "Invalid argument"));
  }
  EXPECT_FALSE(machine.exists(shares_path));
}
