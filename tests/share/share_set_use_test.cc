#include "tests/share/share_machine.h"

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class share_parking : public share_test {
 protected:
  int park(const std::string& name, const std::string& service = "samba") {
    tag_share_config share = a_share(name, service);
    const int result = share_set_use(&share);
    EXPECT_STREQ(share.service, "");
    return result;
  }
  ~share_parking() override { expect_nothing_held(); }
};

TEST_F(share_parking, moves_a_samba_share_to_the_recycle_file) {
  shares(listed("a") + listed("b"));
  smb(global + offered("a") + offered("b"));
  machine.file(smb_recy_path, parked("z"));
  EXPECT_EQ(park("a", "Samba"), ORV_OK);
  EXPECT_EQ(shares(), listed("a", "") + listed("b"));
  EXPECT_EQ(smb(), global + offered("b"));
  EXPECT_EQ(machine.read(smb_recy_path), parked("z") + parked("a"));
  for (const char* path : {shares_path, smb_path, smb_recy_path}) {
    EXPECT_TRUE(is_committed(path)) << path;
  }
  EXPECT_EQ(machine.log(), "");
}

TEST_F(share_parking, moves_an_nfs_share_to_the_recycle_file) {
  shares(listed("a", "nfs"));
  exports(exported("a"));
  EXPECT_EQ(park("a", "nfs"), ORV_OK);
  EXPECT_EQ(shares(), listed("a", ""));
  EXPECT_EQ(exports(), "");
  EXPECT_EQ(machine.read(exports_recy_path), exported("a"));
}

TEST_F(share_parking, of_a_service_without_recycle_file_changes_the_live_files) {
  shares(listed("a", "ftp") + listed("v", "iscsi"));
  machine.file(ietd_path, "Target x:v.1\n");
  EXPECT_EQ(park("a", "ftp"), -2061);
  EXPECT_EQ(park("v", "iscsi"), -2061);
  EXPECT_EQ(shares(), listed("a", "") + listed("v", ""));
  EXPECT_EQ(machine.read(ietd_path), "");
  EXPECT_EQ(park("v", "none"), -2061);
}

TEST_F(share_parking, tells_when_a_file_did_not_have_the_share) {
  smb(global + offered("a"));
  EXPECT_EQ(park("a"), -2067);
  EXPECT_EQ(shares(),
            "[a]\n    sharename = a\n    path = /mnt/a\n    size = 0\n    samba = 0\n"
            "    nfs = 0\n    ftp = 0\n    iscsi = 0\n    comment = of a\n");
  EXPECT_EQ(smb(), global);
  EXPECT_EQ(machine.read(smb_recy_path), parked("a"));
  shares(listed("b"));
  EXPECT_EQ(park("b"), -2067);
  EXPECT_EQ(machine.read(smb_recy_path), parked("a") + parked("b"));
}

TEST_F(share_parking, tells_when_the_share_is_parked_already) {
  shares(listed("a"));
  smb(global + offered("a"));
  machine.file(smb_recy_path, parked("a", "old"));
  EXPECT_EQ(park("a"), -2066);
  EXPECT_EQ(smb(), global);
  EXPECT_EQ(machine.read(smb_recy_path), parked("a", "old"));
  EXPECT_TRUE(is_committed(smb_recy_path));
}

TEST_F(share_parking, tells_rather_that_the_share_is_parked_than_that_it_was_missing) {
  for (const std::string& list : {listed("a"), std::string()}) {
    machine.forget();
    shares(list);
    smb(global);
    machine.file(smb_recy_path, parked("a", "old"));
    EXPECT_EQ(park("a"), -2066);
    EXPECT_EQ(machine.read(smb_recy_path), parked("a", "old"));
    EXPECT_EQ(machine.log(), refusal("share_set_use", -2066, "File exists"));
  }
}

TEST_F(share_parking, of_an_export_commits_another_name_than_its_recycle_file) {
  shares(listed("a", "nfs"));
  exports(exported("a"));
  expect_commit_of_parked_exports([this] { return park("a", "nfs"); });
  EXPECT_EQ(machine.read(exports_recy_path), exported("a"));
}

TEST_F(share_parking, stops_where_a_file_cannot_be_locked_or_read) {
  const std::string live = global + offered("a");
  shares(listed("a"));
  smb("[ab\n");
  EXPECT_EQ(park("a"), -2063);
  EXPECT_EQ(shares(), listed("a", ""));
  smb(live);
  {
    const foreign_lock lock(smb_path);
    EXPECT_EQ(park("a"), -2061);
  }
  EXPECT_EQ(smb(), live);
  machine.file(smb_recy_path, "[ab\n");
  EXPECT_EQ(park("a"), -2063);
  EXPECT_EQ(smb(), global);
  EXPECT_EQ(machine.read(smb_recy_path), "[ab\n");
  const foreign_lock lock(smb_recy_path);
  EXPECT_EQ(park("a"), -2061);
}

TEST_F(share_parking, locks_the_live_file_before_the_recycle_file) {
  shares(listed("a"));
  machine.file(smb_recy_path, "[ab\n");
  const foreign_lock live(smb_path);
  EXPECT_EQ(park("a"), -2061);
  EXPECT_EQ(machine.read(smb_recy_path), "[ab\n");
}

TEST_F(share_parking, releases_its_files_in_the_order_in_which_it_took_them) {
  shares(listed("a"));
  smb(global + offered("a"));
  const lock_watch watch(machine);
  EXPECT_EQ(park("a"), ORV_OK);
  EXPECT_THAT(
      watch.last_three(),
      ElementsAre(UnorderedElementsAre(shares_path, smb_path, smb_recy_path),
                  UnorderedElementsAre(smb_path, smb_recy_path), ElementsAre(smb_recy_path)));
}

TEST_F(share_parking, stops_where_a_file_cannot_be_written) {
  shares(listed("a"));
  {
    const file_size_limit full(20);
    EXPECT_EQ(park("a"), -2064);
  }
  EXPECT_FALSE(machine.exists(smb_path));
  shares(listed("a"));
  smb("[global]\n" + std::string(1000, '#') + "\n" + offered("b") + offered("a"));
  {
    const file_size_limit full(1015);
    EXPECT_EQ(park("a"), -2065);
  }
  EXPECT_FALSE(machine.exists(smb_recy_path));
  smb(global);
  std::string many;
  for (const char* name : {"u", "v", "w", "x", "y", "z"}) many += parked(name);
  machine.file(smb_recy_path, many);
  const file_size_limit full(static_cast<rlim_t>(many.size()));
  EXPECT_EQ(park("a"), -2065);
}

TEST_F(share_parking, has_changed_the_share_list_when_the_live_file_cannot_be_written) {
  const std::string settings = "[global]\n" + std::string(1000, '#') + "\n";
  shares(listed("a"));
  smb(settings + offered("b") + offered("a"));
  const file_size_limit full(1050);
  EXPECT_EQ(park("a"), -2065);
  EXPECT_EQ(shares(), listed("a", ""));
  EXPECT_TRUE(is_committed(shares_path));
  EXPECT_EQ(smb(), (settings + offered("b")).substr(0, 1050));
  EXPECT_FALSE(was_committed(smb_path));
  EXPECT_FALSE(machine.exists(smb_recy_path));
}

TEST_F(share_parking, has_changed_both_lists_when_the_recycle_file_cannot_be_written) {
  const std::string many = parked(std::string(32, 'x')) + parked(std::string(32, 'y'));
  shares(listed("a"));
  smb(global + offered("a"));
  machine.file(smb_recy_path, many);
  const auto size = many.size() + 10;
  const file_size_limit full(size);
  EXPECT_EQ(park("a"), -2065);
  EXPECT_EQ(shares(), listed("a", ""));
  EXPECT_EQ(smb(), global);
  EXPECT_TRUE(is_committed(shares_path));
  EXPECT_TRUE(is_committed(smb_path));
  EXPECT_EQ(machine.read(smb_recy_path), (many + parked("a")).substr(0, size));
  EXPECT_FALSE(was_committed(smb_recy_path));
}

TEST_F(share_parking, changes_nothing_when_the_share_list_cannot_be_locked_or_read) {
  shares("no sense\n");
  EXPECT_EQ(park("a"), -2063);
  const foreign_lock lock(shares_path);
  EXPECT_EQ(park("a"), -2060);
  EXPECT_EQ(shares(), "no sense\n");
  EXPECT_FALSE(machine.exists(smb_path));
  EXPECT_EQ(share_set_use(nullptr), -1);
  tag_share_config nameless = a_share("");
  EXPECT_EQ(share_set_use(&nameless), -1);
}

TEST_F(share_parking, clears_the_service_of_a_record_that_is_refused_too) {
  for (const char* const name : {"", " \n", "Globals"}) {
    tag_share_config refused = a_share(name);
    machine.forget();
    EXPECT_EQ(share_set_use(&refused), -1) << name;
    EXPECT_STREQ(refused.service, "") << name;
    EXPECT_EQ(machine.log(), refusal("share_set_use", -1, "Invalid argument"));
  }
  EXPECT_FALSE(machine.exists(shares_path));
}
