#include <chrono>

#include "tests/share/share_machine.h"

using many_shares = share_test;

TEST_F(many_shares, take_one_more_without_delay) {
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
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(share_add(&share), ORV_OK);
  const auto taken = std::chrono::steady_clock::now() - start;
  EXPECT_LT(taken, std::chrono::seconds(5));
  EXPECT_EQ(names_in(smb_path, get_share_from_smb).size(), 10001U);
  EXPECT_EQ(names_in(shares_path, get_share_from_conf).back(), "new");
}

/// Adds shares until so many were added. What is locked is asked for again; a share that was listed
/// while its service was locked exists then.
/// @return false when anything else went wrong
static bool add_many(const std::string& prefix, const std::string& service, int count) {
  for (int i = 0; i < count;) {
    tag_share_config share = a_share(prefix + std::to_string(i), service);
    const int result = share_add(&share);
    if (result == ORV_OK || result == ORV_E_SHARE_EXISTS) {
      ++i;
    } else if (result != ORV_E_SHARES_LOCKED && result != ORV_E_SERVICE_LOCKED) {
      return false;
    }
  }
  return true;
}

/// Two processes add so many shares each at the same time.
static void add_from_two_processes(const std::string& service, int count) {
  const pid_t other = fork();
  if (other == 0) _exit(add_many("b", service, count) ? 0 : 1);
  EXPECT_TRUE(add_many("a", service, count));
  int status = -1;
  EXPECT_EQ(waitpid(other, &status, 0), other);
  EXPECT_EQ(status, 0);
}

TEST_F(many_shares, of_two_processes_are_all_kept) {
  add_from_two_processes("ftp", 100);
  EXPECT_EQ(names_in(shares_path, get_share_from_conf).size(), 200U);
}

TEST_F(many_shares, of_two_processes_all_reach_their_service) {
  add_from_two_processes("nfs", 50);
  const auto listed = names_in(shares_path, get_share_from_conf);
  EXPECT_EQ(listed.size(), 100U);
  EXPECT_THAT(names_in(exports_path, get_share_from_nfs),
              testing::UnorderedElementsAreArray(listed));
}
