#include "tests/share/share_machine.h"

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class share_banishment : public share_test {
 protected:
  share_banishment() {
    shares(listed("a", "") + listed("b"));
    machine.file(smb_recy_path, parked("a") + parked("c"));
    machine.file(exports_recy_path, exported("a") + exported("d"));
  }
  void expect_unchanged() const {
    EXPECT_EQ(shares(), listed("a", "") + listed("b"));
    EXPECT_EQ(machine.read(smb_recy_path), parked("a") + parked("c"));
    EXPECT_EQ(machine.read(exports_recy_path), exported("a") + exported("d"));
    EXPECT_FALSE(machine.exists("/var/lib/orv"));
  }
  ~share_banishment() override { expect_nothing_held(); }
};

TEST_F(share_banishment, removes_a_share_from_all_three_files) {
  machine.file("/etc/exports_recy.conf", "");
  EXPECT_EQ(forbid_share_del("a"), ORV_OK);
  EXPECT_EQ(shares(), listed("b"));
  EXPECT_EQ(machine.read(smb_recy_path), parked("c"));
  EXPECT_EQ(machine.read(exports_recy_path), exported("d"));
  for (const char* path : {shares_path, smb_recy_path, "/etc/exports_recy.conf"}) {
    EXPECT_TRUE(is_committed(path)) << path;
  }
  EXPECT_EQ(machine.log(), "");
}

TEST_F(share_banishment, tells_when_one_file_did_not_have_the_share_and_goes_on) {
  EXPECT_EQ(forbid_share_del("b"), -2067);
  EXPECT_EQ(shares(), listed("a", ""));
  EXPECT_EQ(forbid_share_del("c"), -2067);
  EXPECT_EQ(machine.read(smb_recy_path), parked("a"));
  machine.forget();
  EXPECT_EQ(forbid_share_del("d"), -2067);
  EXPECT_EQ(machine.read(exports_recy_path), exported("a"));
  EXPECT_EQ(machine.log(), refusal("forbid_share_del", -2067, "No such file or directory"));
}

TEST_F(share_banishment, knows_an_iscsi_share_by_the_name_that_was_asked_for) {
  machine.file(ietd_path, "");
  for (const bool is_in_use : {false, true}) {
    tag_share_config share = a_share("my vol", "iscsi");
    EXPECT_EQ(share_add(&share), ORV_OK);
    if (!is_in_use) {
      EXPECT_EQ(share_set_use(&share), -2061);
    }
    EXPECT_THAT(names_in(shares_path, get_share_from_conf), ElementsAre("a", "b", "my_vol"));
    EXPECT_EQ(forbid_share_del("my vol"), -2067);
    EXPECT_EQ(shares(), listed("a", "") + listed("b"));
  }
}

TEST_F(share_banishment, takes_the_share_of_exactly_its_name_first) {
  shares(listed("my_vol", "") + listed("my vol", ""));
  EXPECT_EQ(forbid_share_del("my vol"), -2067);
  EXPECT_EQ(shares(), listed("my_vol", ""));
}

TEST_F(share_banishment, takes_no_longer_name_for_that_of_an_iscsi_share) {
  shares(listed("a_b.1", "iscsi") + listed("a_b", ""));
  EXPECT_EQ(forbid_share_del("a b"), -2067);
  EXPECT_EQ(shares(), listed("a_b.1", "iscsi"));
}

TEST_F(share_banishment, takes_no_share_of_another_service_for_an_iscsi_share) {
  for (const std::string service : {"samba", "nfs", "ftp"}) {
    shares(listed("my_vol", service));
    EXPECT_EQ(forbid_share_del("my vol"), -2067);
    EXPECT_EQ(shares(), listed("my_vol", service));
  }
  shares(listed("my_vol", ""));
  machine.file(smb_recy_path, parked("my_vol"));
  EXPECT_EQ(forbid_share_del("my vol"), -2067);
  EXPECT_EQ(shares(), listed("my_vol", ""));
  machine.file(smb_recy_path, "");
  machine.file(exports_recy_path, exported("my_vol"));
  EXPECT_EQ(forbid_share_del("my vol"), -2067);
  EXPECT_EQ(shares(), listed("my_vol", ""));
  machine.file(exports_recy_path, exported("my\\040vol"));
  EXPECT_EQ(forbid_share_del("my vol"), -2067);
  EXPECT_EQ(shares(), listed("my_vol", ""));
}

TEST_F(share_banishment, changes_nothing_when_a_file_cannot_be_locked) {
  const std::pair<const char*, int> codes[] = {
      {shares_path, -2060}, {smb_recy_path, -2061}, {exports_recy_path, -2061}};
  for (const auto& [path, code] : codes) {
    const foreign_lock lock(path);
    EXPECT_EQ(forbid_share_del("a"), code) << path;
    expect_unchanged();
  }
}

TEST_F(share_banishment, reads_each_file_before_it_locks_the_next) {
  const char* const paths[] = {shares_path, smb_recy_path, exports_recy_path};
  for (int i = 0; i < 2; ++i) {
    const std::string good = machine.read(paths[i]);
    machine.file(paths[i], "[ab\n");
    {
      const foreign_lock next(paths[i + 1]);
      EXPECT_EQ(forbid_share_del("a"), -2063) << paths[i];
    }
    machine.file(paths[i], good);
    expect_unchanged();
  }
}

TEST_F(share_banishment, changes_nothing_when_a_file_cannot_be_read) {
  for (const char* path : {shares_path, smb_recy_path, exports_recy_path}) {
    const std::string good = machine.read(path);
    machine.file(path, "[x]\n((this makes no sense\n");
    EXPECT_EQ(forbid_share_del("a"), -2063) << path;
    machine.file(path, good);
    expect_unchanged();
  }
}

TEST_F(share_banishment, takes_the_samba_file_before_the_exports) {
  const std::string good_samba = machine.read(smb_recy_path);
  const std::string good_exports = machine.read(exports_recy_path);
  {
    const foreign_lock lock(smb_recy_path);
    machine.file(exports_recy_path, "/mnt/a ((((((\n");
    EXPECT_EQ(forbid_share_del("a"), -2061);
    machine.file(exports_recy_path, good_exports);
  }
  const foreign_lock lock(exports_recy_path);
  machine.file(smb_recy_path, "[ab\n");
  EXPECT_EQ(forbid_share_del("a"), -2063);
  machine.file(smb_recy_path, good_samba);
  expect_unchanged();
}

TEST_F(share_banishment, releases_its_files_in_the_order_in_which_it_took_them) {
  const lock_watch watch(machine);
  EXPECT_EQ(forbid_share_del("a"), ORV_OK);
  EXPECT_THAT(watch.last_three(),
              ElementsAre(UnorderedElementsAre(shares_path, smb_recy_path, exports_recy_path),
                          UnorderedElementsAre(smb_recy_path, exports_recy_path),
                          ElementsAre(exports_recy_path)));
}

TEST_F(share_banishment, writes_the_share_list_last) {
  {
    const file_size_limit full(30);
    EXPECT_EQ(forbid_share_del("a"), -2065);
  }
  EXPECT_EQ(shares(), listed("a", "") + listed("b"));
  EXPECT_EQ(machine.read(exports_recy_path), exported("a") + exported("d"));

  machine.file(smb_recy_path, "");
  {
    const file_size_limit full(30);
    EXPECT_EQ(forbid_share_del("a"), -2065);
  }
  EXPECT_EQ(shares(), listed("a", "") + listed("b"));

  machine.file(exports_recy_path, "");
  const file_size_limit full(30);
  EXPECT_EQ(forbid_share_del("a"), -2064);
}

TEST_F(share_banishment, has_changed_both_recycle_files_when_the_share_list_cannot_be_written) {
  std::string many;
  for (int i = 10; i < 30; ++i) many += listed(std::to_string(i));
  shares(listed("a", "") + many);
  machine.file("/etc/exports_recy.conf", "committed\n");
  {
    const file_size_limit full(1000);
    EXPECT_EQ(forbid_share_del("a"), -2064);
  }
  EXPECT_EQ(machine.read(smb_recy_path), parked("c"));
  EXPECT_EQ(machine.read(exports_recy_path), exported("d"));
  EXPECT_TRUE(is_committed(smb_recy_path));
  EXPECT_TRUE(is_committed("/etc/exports_recy.conf"));
  EXPECT_EQ(shares(), many.substr(0, 1000));
  EXPECT_FALSE(was_committed(shares_path));
}

TEST_F(share_banishment, needs_a_name) {
  EXPECT_EQ(forbid_share_del(nullptr), -1);
  EXPECT_EQ(forbid_share_del(""), -1);
  expect_unchanged();
}
