#include "tests/raid/machine_with_disks.h"

using testing::IsEmpty;

class membership : public machine_with_disks {
 protected:
  membership() { md_conf_init(&md); }

  int spare_among(const std::string& disks) {
    liborv_strncpy(md.disks, sizeof md.disks, disks.c_str());
    return check_spare_disk(&md);
  }
  int volume_among(const std::string& disks, const std::string& spares = "") {
    liborv_strncpy(md.disks, sizeof md.disks, disks.c_str());
    liborv_strncpy(md.spares, sizeof md.spares, spares.c_str());
    return check_pv_disk(&md);
  }
  tag_md_info md;
};

/// A group with one physical volume, as a caller holds it.
class group_of_one {
 public:
  group_of_one(const std::string& name, const std::string& enclosure) {
    vg_conf_init(&group_);
    pv_list_init(&group_.pvs);
    pv_conf_init(&volume_);
    liborv_strncpy(volume_.pvname, sizeof volume_.pvname, name.c_str());
    liborv_strncpy(volume_.enclosure, sizeof volume_.enclosure, enclosure.c_str());
    volume_.list = {&group_.pvs.list, &group_.pvs.list};
    group_.pvs.list = {&volume_.list, &volume_.list};
  }
  tag_vg_info* get() { return &group_; }

 private:
  tag_vg_info group_;
  tag_pv_info volume_;
};

class membership_of_a_controller : public machine_with_controller {};

TEST_F(membership, global_hot_spare_is_found_among_the_members) {
  hot_spares("sdb sdf");
  EXPECT_EQ(spare_among("sda,sdb"), 1);
  EXPECT_EQ(spare_among("sda,sdb(F)"), 1);
  EXPECT_EQ(spare_among("sda,sdc"), 0);
  EXPECT_EQ(spare_among("sdbb"), 0);
  EXPECT_EQ(spare_among(""), 0);
}

TEST_F(membership, spare_disks_of_the_record_are_not_asked_for) {
  hot_spares("sdb");
  liborv_strncpy(md.spares, sizeof md.spares, "sdb");
  EXPECT_EQ(spare_among("sda"), 0);
}

TEST_F(membership, unknown_hot_spares_are_none_for_a_mere_question) {
  hot_spares_unknown();
  EXPECT_EQ(spare_among("sda"), 0);
  EXPECT_EQ(check_spare_disk(static_cast<tag_md_info*>(nullptr)), ORV_E_FAILED);
}

TEST_F(membership, disk_of_a_volume_group_is_found_among_members_and_spares) {
  put_group("vg0", "sdc");
  EXPECT_EQ(volume_among("sda,sdc"), 1);
  EXPECT_EQ(volume_among("sda", "sdb,sdc"), 1);
  EXPECT_EQ(volume_among("sdc(F)"), 1);
  EXPECT_EQ(volume_among("sda,sdb", "sdd"), 0);
  EXPECT_EQ(volume_among("3"), 0);
  EXPECT_EQ(volume_among(""), 0);
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(membership, every_volume_group_counts) {
  put_group("vg0", "md0");
  put_group("vg1", "sdz");
  EXPECT_EQ(volume_among("sdz"), 1);
  EXPECT_EQ(volume_among("md0"), 1);
  EXPECT_EQ(volume_among("sda"), 0);
}

TEST_F(membership, unknown_volume_groups_are_none_for_a_mere_question) {
  put_group("vg0", "sdc");
  groups_unknown();
  EXPECT_EQ(volume_among("sdc"), 0);
  EXPECT_EQ(check_pv_disk(nullptr), ORV_E_FAILED);
}

TEST_F(membership, groups_that_could_be_read_count_even_so) {
  put_group("vg0", "sdc");
  hot_spares_unknown();
  EXPECT_EQ(volume_among("sdc"), 1);
}

TEST_F(membership, channel_of_a_physical_volume_is_looked_up_in_its_enclosure) {
  put_in_main_chassis(3, "sdm");
  EXPECT_EQ(found_pv_raid(group_of_one("3", "1").get(), "sda,sdc"), 1);
  EXPECT_EQ(found_pv_raid(group_of_one("3", "0").get(), "sda,sdc"), 0);
  EXPECT_EQ(found_pv_raid(group_of_one("3", "0").get(), "sdm"), 1);
  EXPECT_EQ(found_pv_raid(group_of_one("9", "1").get(), "sda,9"), 1);
}

TEST_F(membership, other_names_of_physical_volumes_are_compared_as_they_are) {
  EXPECT_EQ(found_pv_raid(group_of_one("sda", "").get(), "sda(S)"), 1);
  EXPECT_EQ(found_pv_raid(group_of_one("03", "1").get(), "sdc"), 0);
  EXPECT_EQ(found_pv_raid(group_of_one("", "1").get(), "sda"), 0);
  EXPECT_EQ(found_pv_raid(group_of_one("sdabcdefgh", "1").get(), "sdabcde"), 1);
  EXPECT_EQ(found_pv_raid(group_of_one("sda", "1").get(), nullptr), 0);
  EXPECT_EQ(found_pv_raid(nullptr, "sda"), ORV_E_FAILED);
}

TEST_F(membership_of_a_controller, finds_no_disk_without_a_device_name) {
  put_group("vg0", "sdb");
  tag_md_info md;
  md_conf_init(&md);
  liborv_strncpy(md.disks, sizeof md.disks, ",,");
  EXPECT_EQ(check_pv_disk(&md), 0);
  EXPECT_EQ(check_spare_disk(&md), 0);
}
