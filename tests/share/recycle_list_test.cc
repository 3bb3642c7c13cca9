#include "tests/share/share_machine.h"

using testing::ElementsAre;

class recycle_list : public share_test {
 protected:
  void samba(const std::string& text) { machine.file(smb_recy_path, text); }
  void nfs(const std::string& text) { machine.file(exports_recy_path, text); }
  std::string samba() const { return machine.read(smb_recy_path); }
  std::string nfs() const { return machine.read(exports_recy_path); }
  ~recycle_list() override { expect_nothing_held(); }
};

TEST_F(recycle_list, is_read_under_its_lock) {
  samba(parked("a"));
  nfs(exported("b"));
  share_list list;
  EXPECT_EQ(read_samba_recy(smb_recy_path, list.get()), ORV_OK);
  EXPECT_EQ(read_nfs_recy(exports_recy_path, list.get()), ORV_OK);
  EXPECT_THAT(list.told(), ElementsAre("a|of a|/mnt/a|samba|ann|rw", "b||/mnt/b|nfs|ann|rw"));
}

TEST_F(recycle_list, is_made_when_it_is_missing) {
  share_list list;
  EXPECT_EQ(read_samba_recy("/etc/new", list.get()), ORV_OK);
  EXPECT_TRUE(machine.exists("/etc/new"));
}

TEST_F(recycle_list, cannot_be_read_while_it_is_locked_or_makes_no_sense) {
  share_list list;
  samba("[a]\nno sense\n");
  nfs("/mnt/a ((((((\n");
  EXPECT_EQ(read_samba_recy(smb_recy_path, list.get()), -2063);
  EXPECT_EQ(read_nfs_recy(exports_recy_path, list.get()), -2063);
  const foreign_lock samba_lock(smb_recy_path);
  const foreign_lock nfs_lock(exports_recy_path);
  EXPECT_EQ(read_samba_recy(smb_recy_path, list.get()), -2061);
  EXPECT_EQ(read_nfs_recy(exports_recy_path, list.get()), -2061);
  EXPECT_EQ(read_samba_recy(nullptr, list.get()), -2061);
  EXPECT_EQ(read_samba_recy(smb_recy_path, nullptr), -1);
  EXPECT_EQ(read_nfs_recy(exports_recy_path, nullptr), -1);
}

TEST_F(recycle_list, loses_one_share) {
  samba(parked("a") + parked("b"));
  nfs(exported("a") + exported("b"));
  EXPECT_EQ(samba_recy_del(smb_recy_path, "a", "ignored"), ORV_OK);
  EXPECT_EQ(nfs_recy_del(exports_recy_path, "a", nullptr), ORV_OK);
  EXPECT_EQ(samba(), parked("b"));
  EXPECT_EQ(nfs(), exported("b"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(recycle_list, is_rewritten_when_the_share_is_not_there) {
  samba("# comment\n" + parked("a"));
  EXPECT_EQ(samba_recy_del(smb_recy_path, "x", ""), -2067);
  EXPECT_EQ(samba(), parked("a"));
  nfs("# comment\n" + exported("a"));
  EXPECT_EQ(nfs_recy_del(exports_recy_path, "x", ""), -2067);
  EXPECT_EQ(nfs(), exported("a"));
  EXPECT_EQ(machine.log(), refusal("samba_recy_del", -2067, "No such file or directory") +
                               refusal("nfs_recy_del", -2067, "No such file or directory"));
}

TEST_F(recycle_list, stays_when_it_cannot_be_locked_or_read) {
  samba("[ab\n");
  EXPECT_EQ(samba_recy_del(smb_recy_path, "a", ""), -2063);
  EXPECT_EQ(samba(), "[ab\n");
  nfs("/mnt/a ((((((\n");
  EXPECT_EQ(nfs_recy_del(exports_recy_path, "a", ""), -2063);
  EXPECT_EQ(nfs(), "/mnt/a ((((((\n");
  EXPECT_EQ(nfs_recy_del(nullptr, "a", ""), -2061);
}

TEST_F(recycle_list, stays_while_it_is_locked) {
  samba("# comment\n" + parked("a"));
  nfs("# comment\n" + exported("a"));
  {
    const foreign_lock samba_lock(smb_recy_path);
    const foreign_lock nfs_lock(exports_recy_path);
    EXPECT_EQ(samba_recy_del(smb_recy_path, "a", ""), -2061);
    EXPECT_EQ(nfs_recy_del(exports_recy_path, "a", ""), -2061);
  }
  EXPECT_EQ(samba(), "# comment\n" + parked("a"));
  EXPECT_EQ(nfs(), "# comment\n" + exported("a"));
  EXPECT_FALSE(machine.exists("/var/lib/orv"));
}

TEST_F(recycle_list, of_nfs_is_committed_by_another_name) {
  nfs(exported("a") + exported("b"));
  samba(parked("b"));
  expect_commit_of_parked_exports([] { return nfs_recy_del(exports_recy_path, "a", ""); });
  expect_commit_of_parked_exports([] { return share_recy_del("b"); });
  EXPECT_EQ(nfs(), "");
}

TEST_F(recycle_list, that_cannot_be_written_counts_more_than_a_missing_share) {
  samba(parked("a"));
  nfs(exported("a"));
  const file_size_limit full(20);
  EXPECT_EQ(samba_recy_del(smb_recy_path, "x", ""), -2065);
  EXPECT_EQ(nfs_recy_del(exports_recy_path, "x", ""), -2065);
  EXPECT_EQ(samba(), parked("a").substr(0, 20));
  EXPECT_EQ(nfs(), exported("a").substr(0, 20));
  EXPECT_FALSE(machine.exists("/var/lib/orv/kept"));
}

TEST_F(recycle_list, is_rewritten_whole_for_a_name_that_no_share_has) {
  const std::string nameless = "/mnt/a/ *(rw,sync,no_root_squash)\n";
  const std::string section = "[ ]\n" + parked("a").substr(4);
  for (const char* const name : {"", " \n", static_cast<const char*>(nullptr)}) {
    machine.forget();
    nfs("# comment\n" + nameless);
    samba("# comment\n" + section);
    EXPECT_EQ(nfs_recy_del(exports_recy_path, name, ""), -2067);
    EXPECT_EQ(samba_recy_del(smb_recy_path, name, ""), -2067);
    EXPECT_EQ(nfs(), nameless);
    EXPECT_EQ(samba(), section);
    EXPECT_EQ(machine.log(), refusal("nfs_recy_del", -2067, "No such file or directory") +
                                 refusal("samba_recy_del", -2067, "No such file or directory"));
  }
  nfs("# comment\n" + nameless);
  samba("# comment\n" + section);
  EXPECT_EQ(share_recy_del(nullptr), -2067);
  EXPECT_EQ(nfs(), nameless);
  EXPECT_EQ(samba(), section);
}

// --- Both lists ----------------------------------------------------------------------------------

TEST_F(recycle_list, of_both_services_lose_a_share) {
  samba(parked("a") + parked("b"));
  nfs(exported("a"));
  EXPECT_EQ(share_recy_del("a"), ORV_OK);
  EXPECT_EQ(samba(), parked("b"));
  EXPECT_EQ(nfs(), "");
}

TEST_F(recycle_list, of_samba_need_not_have_the_share) {
  samba(parked("b"));
  nfs(exported("a"));
  EXPECT_EQ(share_recy_del("a"), ORV_OK);
  EXPECT_EQ(samba(), parked("b"));
  EXPECT_TRUE(is_committed(smb_recy_path));
  EXPECT_EQ(nfs(), "");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(recycle_list, of_nfs_gives_the_result) {
  samba(parked("a"));
  EXPECT_EQ(share_recy_del("a"), -2067);
  EXPECT_EQ(samba(), "");
  const foreign_lock lock(exports_recy_path);
  EXPECT_EQ(share_recy_del("a"), -2061);
}

TEST_F(recycle_list, of_nfs_stays_when_that_of_samba_fails) {
  samba("[ab\n");
  nfs(exported("a"));
  EXPECT_EQ(share_recy_del("a"), -2063);
  const foreign_lock lock(smb_recy_path);
  EXPECT_EQ(share_recy_del("a"), -2061);
  EXPECT_EQ(nfs(), exported("a"));
}

TEST_F(recycle_list, of_nfs_stays_when_that_of_samba_cannot_be_written) {
  samba(parked("a") + parked("b"));
  nfs(exported("a"));
  {
    const file_size_limit full(20);
    EXPECT_EQ(share_recy_del("a"), -2065);
  }
  EXPECT_EQ(nfs(), exported("a"));
}

TEST_F(recycle_list, of_an_export_is_known_by_the_name_in_the_share_list) {
  nfs("/mnt/a=b 10.0.0.1(rw)\n");
  share_list list;
  list.add(a_share("a b", ""));
  EXPECT_EQ(get_shareinfo_from_recy(list.get()), ORV_OK);
  EXPECT_STREQ(list.only().valid_users, "10.0.0.1");
  EXPECT_EQ(share_recy_del("a b"), ORV_OK);
  EXPECT_EQ(nfs(), "");
}

// --- Completion of records -----------------------------------------------------------------------

TEST_F(recycle_list, completes_shares_out_of_use) {
  samba(offered("a", "bob", "writeable = no") + parked("used", "eve"));
  nfs(exported("a", "10.0.0.1") + exported("n", "10.0.0.2", "ro"));
  share_list list;
  list.add(a_share("a", "")).add(a_share("used", "nfs")).add(a_share("n", ""));
  list.add(a_share("x", ""));
  EXPECT_EQ(get_shareinfo_from_recy(list.get()), ORV_OK);
  EXPECT_THAT(list.told(), ElementsAre("a|of a|/mnt/a||bob|ro", "used|of used|/mnt/used|nfs|ann|rw",
                                       "n|of n|/mnt/n||10.0.0.2|rw", "x|of x|/mnt/x||ann|rw"));
}

TEST_F(recycle_list, completes_nothing_when_one_file_fails) {
  share_list list;
  list.add(a_share("a", ""));
  samba(parked("a", "bob"));
  nfs("((((((((((((\n");
  EXPECT_EQ(get_shareinfo_from_recy(list.get()), -2063);
  samba("[ab\n");
  nfs(exported("a"));
  EXPECT_EQ(get_shareinfo_from_recy(list.get()), -2063);
  EXPECT_EQ(samba(), "[ab\n");
  samba(parked("a", "bob"));
  {
    const foreign_lock lock(exports_recy_path);
    EXPECT_EQ(get_shareinfo_from_recy(list.get()), -2061);
  }
  const foreign_lock lock(smb_recy_path);
  EXPECT_EQ(get_shareinfo_from_recy(list.get()), -2061);
  EXPECT_STREQ(list.only().valid_users, "ann");
  EXPECT_EQ(get_shareinfo_from_recy(nullptr), -1);
}
