#include "tests/share/share_machine.h"

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
  EXPECT_EQ(forbid_share_del("d"), -2067);
  EXPECT_EQ(machine.read(exports_recy_path), exported("a"));
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

TEST_F(share_banishment, changes_nothing_when_a_file_cannot_be_read) {
  for (const char* path : {shares_path, smb_recy_path, exports_recy_path}) {
    const std::string good = machine.read(path);
    machine.file(path, "[x]\n((this makes no sense\n");
    EXPECT_EQ(forbid_share_del("a"), -2063) << path;
    machine.file(path, good);
    expect_unchanged();
  }
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

TEST_F(share_banishment, needs_a_name) {
  EXPECT_EQ(forbid_share_del(nullptr), -1);
  EXPECT_EQ(forbid_share_del(""), -1);
  expect_unchanged();
}
