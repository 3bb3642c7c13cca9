#include <climits>

#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

class pool_check : public storage_machine {};

TEST_F(pool_check, of_a_group_compares_with_the_free_size) {
  group("vg0", 100, 60);
  EXPECT_EQ(check_vg("vg0", 1), ORV_OK);
  EXPECT_EQ(check_vg("vg0", 40), ORV_OK);
  EXPECT_EQ(check_vg("vg0", 41), -2053);
  EXPECT_EQ(check_vg("vg0", 0), -2053);
  EXPECT_EQ(check_vg("vg0", UINT64_MAX), -2053);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(pool_check, of_a_group_never_takes_a_negative_size_for_a_large_one) {
  group("vg0", 10, 11);
  EXPECT_EQ(check_vg("vg0", 1), -2053);
}

TEST_F(pool_check, of_a_group_needs_the_group) {
  group("vg0");
  EXPECT_EQ(check_vg("vg", 1), -2052);
  EXPECT_EQ(check_vg("", 0), -2052);
  EXPECT_EQ(check_vg(nullptr, 0), -2052);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre("Cannot find vg 'vg'!", "Cannot find vg ''!", "Cannot find vg ''!"));
}

TEST_F(pool_check, of_a_group_needs_the_list_of_groups) {
  group("vg0");
  fails_to_list("pvdisplay");
  EXPECT_EQ(check_vg("vg0", 1), -11000);
  machine.remove("/etc/sys_info");
  EXPECT_EQ(check_vg("vg0", 1), -11001);
}

TEST_F(pool_check, of_a_new_name_compares_the_whole_path) {
  pool("lv0", "vg0");
  EXPECT_EQ(check_pool("lv0", "vg0"), -2051);
  EXPECT_THAT(machine.log_lines(), ElementsAre("poolname 'lv0' used"));
  for (const auto& [name, vgname] :
       {std::pair("lv0", "vg1"), std::pair("lv", "vg0"), std::pair("lv00", "vg0")}) {
    EXPECT_EQ(check_pool(name, vgname), ORV_OK);
  }
}

TEST_F(pool_check, needs_both_names) {
  EXPECT_EQ(check_pool("", "vg0"), -2050);
  EXPECT_EQ(check_pool("lv0", nullptr), -2050);
  EXPECT_EQ(check_pool_vg(nullptr, "vg0", 0), -2050);
  EXPECT_EQ(check_pool_vg("lv0", "", 0), -2050);
  EXPECT_THAT(machine.log_lines(), testing::Each("Cannot find poolname!"));
  EXPECT_EQ(machine.log_lines().size(), 4U);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(pool_check, needs_the_list_of_pools) {
  pool("lv0", "vg0");
  fails_to_list("lvdisplay");
  EXPECT_EQ(check_pool("lv1", "vg0"), -1051);
  EXPECT_EQ(check_pool_vg("lv0", "vg0", 0), -1051);
}

TEST_F(pool_check, finds_a_pool_in_its_group) {
  pool("lv1", "vg0");
  pool("lv0", "vg0", 50);
  EXPECT_EQ(check_pool_vg("lv0", "vg0", 0), ORV_OK);
  EXPECT_EQ(check_pool_vg("lv0", "vg0", 51), ORV_OK);
  EXPECT_EQ(check_pool_vg("lv0", "vg0", INT_MAX), ORV_OK);
  EXPECT_EQ(check_pool_vg("lv0", "vg0", -1), ORV_OK) << "no size to compare";
  EXPECT_EQ(machine.log(), "");
}

TEST_F(pool_check, tells_a_size_that_extends_nothing) {
  pool("lv0", "vg0", 50);
  EXPECT_EQ(check_pool_vg("lv0", "vg0", 50), -2053);
  EXPECT_EQ(check_pool_vg("lv0", "vg0", 1), -2053);
  EXPECT_THAT(machine.log_lines(), ElementsAre("/dev/vg0/lv0's size 50G cannot extend to 50G",
                                               "/dev/vg0/lv0's size 50G cannot extend to 1G"));
}

TEST_F(pool_check, tells_a_pool_that_is_not_there) {
  EXPECT_EQ(check_pool_vg("lv0", "vg0", 0), -2055);
  pool("lv1", "vg0");
  for (const char* name : {"lv0", "lv", "vg0/lv1", "/dev/vg0/lv1"}) {
    EXPECT_EQ(check_pool_vg(name, "vg0", 0), -2055);
  }
  EXPECT_EQ(machine.log(), "");
}

TEST_F(pool_check, tells_a_pool_that_only_other_groups_have) {
  pool("lv0", "vg1");
  pool("lv0", "vg2");
  EXPECT_EQ(check_pool_vg("lv0", "vg0", 0), -2052);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre("lv0's vgname not match 'vg0'", "lv0's vgname not match 'vg0'"));
}

TEST_F(pool_check, passes_over_other_groups_on_the_way) {
  pool("lv0", "vg1");
  pool("lv0", "vg0");
  EXPECT_EQ(check_pool_vg("lv0", "vg0", 0), ORV_OK);
  EXPECT_THAT(machine.log_lines(), ElementsAre("lv0's vgname not match 'vg0'"));
}

TEST_F(pool_check, ends_at_a_large_pool_of_this_name_in_another_group) {
  pool("lv0", "vg1", 80);
  pool("lv0", "vg0", 10);
  EXPECT_EQ(check_pool_vg("lv0", "vg0", 60), -2053);
  EXPECT_THAT(machine.log_lines(), ElementsAre("/dev/vg1/lv0's size 80G cannot extend to 60G"));
}
