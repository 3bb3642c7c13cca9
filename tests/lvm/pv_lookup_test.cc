#include "tests/lvm/storage_machine.h"

class pv_lookup : public storage_machine {
 protected:
  pv_lookup() {
    for (const char* name : {"md1", "3", "4,5"}) {
      orv::set_text(orv::append(volumes.get())->pvname, name);
    }
  }
  orv::scoped_list<tag_pvinfo_list> volumes;
};

TEST_F(pv_lookup, by_the_whole_name) {
  for (const auto found : {found_vg, found_raid}) {
    EXPECT_EQ(found(volumes.get(), "md1"), 1);
    EXPECT_EQ(found(volumes.get(), "3"), 1);
    EXPECT_EQ(found(volumes.get(), "4,5"), 1);
    for (const char* other : {"md", "md11", "4", "", "MD1"})
      EXPECT_EQ(found(volumes.get(), other), 0);
    EXPECT_EQ(found(volumes.get(), nullptr), 0);
    EXPECT_EQ(found(nullptr, "md1"), 0);
  }
}

TEST_F(pv_lookup, by_an_item_of_the_name) {
  for (const char* name : {"md1", "3", "4", "5", "9,5"})
    EXPECT_EQ(found_pv_vg(volumes.get(), name), 1);
  for (const char* other : {"md", "md11", "45", "", ",", ",,"}) {
    EXPECT_EQ(found_pv_vg(volumes.get(), other), 0) << other;
  }
  EXPECT_EQ(found_pv_vg(volumes.get(), nullptr), 0);
  EXPECT_EQ(found_pv_vg(nullptr, "md1"), 0);
}

TEST_F(pv_lookup, in_every_group_of_the_machine) {
  disk("sdc", 3);
  group("vg0");
  group("vg1");
  volume("/dev/md1", "vg0");
  volume("/dev/sdc", "vg1");
  EXPECT_EQ(check_pv_used("md1"), 1);
  EXPECT_EQ(check_pv_used("3"), 1);
  EXPECT_EQ(check_pv_used("sdc"), 0);
  EXPECT_EQ(check_pv_used("md2"), 0);
  EXPECT_EQ(check_pv_used(""), 0);
  EXPECT_EQ(check_pv_used(nullptr), 0);
}

TEST_F(pv_lookup, answers_no_when_the_groups_cannot_be_listed) {
  fails_to_list("vgdisplay");
  EXPECT_EQ(check_pv_used("md1"), 0);
}
