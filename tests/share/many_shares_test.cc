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

/// Adds shares until so many were added. @return how often it was told that a file was locked
static int add_many(const std::string& prefix, int count) {
  int refused = 0;
  for (int i = 0; i < count;) {
    tag_share_config share = a_share(prefix + std::to_string(i), "ftp");
    const int result = share_add(&share);
    if (result == ORV_OK) {
      ++i;
    } else if (result == ORV_E_SHARES_LOCKED) {
      ++refused;
    } else {
      _exit(1);
    }
  }
  return refused;
}

TEST_F(many_shares, of_two_processes_are_all_kept) {
  constexpr int count = 100;
  const pid_t other = fork();
  if (other == 0) {
    add_many("b", count);
    _exit(0);
  }
  add_many("a", count);
  int status = -1;
  EXPECT_EQ(waitpid(other, &status, 0), other);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(names_in(shares_path, get_share_from_conf).size(), 2U * count);
}
