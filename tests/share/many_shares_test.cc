#include "tests/share/insist.h"
#include "tests/share/share_machine.h"

using many_shares = share_test;

TEST_F(many_shares, take_one_more) {
  constexpr int count = 10000;
  std::string all_shares;
  std::string all_offered = global;
  for (int i = 0; i < count; ++i) {
    all_shares += listed("share" + std::to_string(i));
    if (i % 2 == 0) all_offered += offered("share" + std::to_string(i), "");
  }
  shares(all_shares);
  smb(all_offered);
  tag_share_config share = a_share("new");
  EXPECT_EQ(share_add(&share), ORV_OK);
  EXPECT_EQ(names_in(smb_path, get_share_from_smb).size(), 10001U);
  EXPECT_EQ(names_in(shares_path, get_share_from_conf).back(), "new");
}

static bool add(const std::string& name, const std::string& service) {
  tag_share_config share = a_share(name, service);
  return insist([&] { return share_add(&share); }, ORV_E_SHARE_EXISTS) >= 0;
}

static bool add_many(const std::string& prefix, const std::string& service, int count) {
  for (int i = 0; i < count; ++i) {
    if (!add(prefix + std::to_string(i), service)) return false;
  }
  return true;
}

/// Adds shares and deletes all of them again but every fiftieth.
static bool add_and_delete_many(const std::string& prefix, int count) {
  for (int i = 0; i < count; ++i) {
    const std::string name = prefix + std::to_string(i);
    if (!add(name, "ftp")) return false;
    if (i % 50 == 0) continue;
    if (insist([&] { return share_del(name.c_str(), "ftp"); }, ORV_OK) < 0) return false;
  }
  return true;
}

/// Two processes do the same at the same time, with shares "a0", "a1", ... and "b0", "b1", ...
template <class Work>
static void in_two_processes(Work work) {
  const pid_t other = fork();
  if (other == 0) _exit(work("b") ? 0 : 1);
  EXPECT_TRUE(work("a"));
  int status = -1;
  EXPECT_EQ(waitpid(other, &status, 0), other);
  EXPECT_EQ(status, 0);
}

TEST_F(many_shares, of_two_processes_are_all_kept_and_none_comes_back) {
  constexpr int count = 1000;
  in_two_processes([](const std::string& prefix) { return add_and_delete_many(prefix, count); });
  std::vector<std::string> kept;
  for (int i = 0; i < count; i += 50) {
    kept.push_back("a" + std::to_string(i));
    kept.push_back("b" + std::to_string(i));
  }
  EXPECT_THAT(names_in(shares_path, get_share_from_conf), testing::UnorderedElementsAreArray(kept));
}

TEST_F(many_shares, of_two_processes_all_reach_their_service) {
  in_two_processes([](const std::string& prefix) { return add_many(prefix, "nfs", 50); });
  const auto listed = names_in(shares_path, get_share_from_conf);
  EXPECT_EQ(listed.size(), 100U);
  EXPECT_THAT(names_in(exports_path, get_share_from_nfs),
              testing::UnorderedElementsAreArray(listed));
}
