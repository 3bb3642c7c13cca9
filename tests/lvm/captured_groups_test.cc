#include "tests/lvm/storage_machine.h"

/// What LVM 2.03 lists, on a machine with the array md0 and the disks sdg, sdh and sdi in bays 7
/// to 9.
class captured_groups : public storage_machine {
 protected:
  captured_groups() {
    disk("sda", 1);
    disk("sdg", 7);
    disk("sdh", 8);
    disk("sdi", 9);
    array("md0", {"sda in_sync"});
  }

  /// The groups and their volumes as they are shown.
  std::string shown(const std::string& situation) {
    canned("vgdisplay", fixture("vgdisplay/" + situation + ".txt"));
    return shown_with_volumes(situation);
  }

  /// Groups that the test tells, with the volumes of a situation.
  std::string shown_with_volumes(const std::string& situation) {
    canned("pvdisplay", fixture("pvdisplay/" + situation + ".txt"));
    orv::scoped_list<tag_vginfo_list> groups;
    machine.forget();
    EXPECT_EQ(vg_get(groups.get()), ORV_OK);
    vg_list_show(groups.get());
    EXPECT_EQ(machine.log(), "");
    return machine.output();
  }
};

TEST_F(captured_groups, of_a_machine_without_groups) {
  EXPECT_EQ(shown("none"), "");
  EXPECT_EQ(shown("pvs_without_group"), "");
}

TEST_F(captured_groups, take_none_of_the_volumes_of_no_group) {
  group("vg1");
  group("41943040");  // the size of those volumes
  EXPECT_EQ(shown_with_volumes("pvs_without_group"),
            "vg1\tresizable\t\t100G\t0G\n"
            "41943040\tresizable\t\t100G\t0G\n");
}

TEST_F(captured_groups, without_pools) {
  EXPECT_EQ(shown("no_pools"),
            "vg-two\tresizable\t0\t19G\t0G\n"
            "8\tAllocatable:yes \t0\t20G\t0G\tvg-two\n"
            "vg1\tresizable\t0\t20G\t0G\n"
            "md0\tAllocatable:yes \t0\t0G\t0G\tvg1\n"
            "7\tAllocatable:yes \t0\t20G\t0G\tvg1\n");
}

TEST_F(captured_groups, with_pools) {
  const std::string groups =
      "vg-two\tresizable\t0\t19G\t19G\n"
      "8\tAllocatable:yes (but full)\t0\t20G\t20G\tvg-two\n"
      "vg1\tresizable\t0\t20G\t15G\n"
      "md0\tAllocatable:yes \t0\t0G\t0G\tvg1\n"
      "7\tAllocatable:yes \t0\t20G\t15G\tvg1\n";
  EXPECT_EQ(shown("pools"), groups);
  EXPECT_EQ(shown("inactive_pool"), groups) << "an inactive pool keeps its extents";
}

TEST_F(captured_groups, with_a_snapshot_whose_extents_count_too) {
  EXPECT_EQ(shown("snapshot"),
            "vg-two\tresizable\t0\t19G\t19G\n"
            "8\tAllocatable:yes (but full)\t0\t20G\t20G\tvg-two\n"
            "vg1\tresizable\t0\t20G\t16G\n"
            "md0\tAllocatable:yes \t0\t0G\t0G\tvg1\n"
            "7\tAllocatable:yes \t0\t20G\t16G\tvg1\n");
}

TEST_F(captured_groups, of_which_one_is_exported) {
  EXPECT_EQ(shown("exported_group"),
            "vg-two\texported/resizable\t0\t19G\t19G\n"
            "8\tAllocatable:yes (but full)\t0\t20G\t20G\tvg-two\n"
            "vg1\tresizable\t0\t20G\t15G\n"
            "md0\tAllocatable:yes \t0\t0G\t0G\tvg1\n"
            "7\tAllocatable:yes \t0\t20G\t15G\tvg1\n");
}

TEST_F(captured_groups, of_which_one_lost_a_disk) {
  EXPECT_EQ(shown("lost_disk"),
            "vg-two\texported/resizable\t0\t19G\t19G\n"
            "8\tAllocatable:yes (but full)\t0\t20G\t20G\tvg-two\n"
            "vg1\tresizable\t0\t20G\t15G\n"
            "md0\tAllocatable:yes \t0\t0G\t0G\tvg1\n");
}

TEST_F(captured_groups, keep_their_disks_from_being_used_again) {
  shown("pools");
  orv::scoped_list<tag_diskinfo_list> disks;
  ASSERT_EQ(disks_info_get(disks.get()), ORV_OK);
  const std::pair<const char*, int> results[] = {
      {"md0", -2045}, {"1", -2043}, {"7", -2045}, {"8", -2045}, {"9", ORV_OK}};
  for (const auto& [name, result] : results) {
    char checked[32] = "";
    orv::set_text(checked, name);
    EXPECT_EQ(check_pvname(disks.get(), checked, "0"), result) << name;
  }
}
