#include "tests/raid/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class raid_members : public machine_with_disks {
 protected:
  using operation = int(const char*, const char*);

  /// The log lines of a refusal with this code, which runs nothing.
  sandbox::lines refused(operation* change, const char* array, const char* channel, int code) {
    machine.forget();
    EXPECT_EQ(change(array, channel), code);
    EXPECT_THAT(changes(), IsEmpty());
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
    return machine.log_lines();
  }

  static constexpr operation* operations[] = {raid_add, raid_rm, raid_check_rm};
};

class raid_members_of_a_controller : public machine_with_controller {};

TEST_F(raid_members, disk_is_added) {
  machine.tool("/sbin/mdadm").on("--manage /dev/md0 --add /dev/sdd");
  for (const std::string level : {"raid6", "raid5", "raid1", "linear"}) {
    machine.file("/proc/mdstat", "");
    put_array("md0", level, {{"sda"}, {"sdb"}});
    machine.forget();
    EXPECT_EQ(raid_add("md0", "4"), ORV_OK) << level;
    EXPECT_THAT(changes(), ElementsAre("/sbin/mdadm --manage /dev/md0 --add /dev/sdd > /dev/null"));
  }
  EXPECT_EQ(machine.log(), "");
}

TEST_F(raid_members, stripe_cannot_grow_or_shrink) {
  put_array("md0", "raid0", {{"sda"}, {"sdb", "faulty"}});
  EXPECT_THAT(refused(raid_add, "md0", "4", -2037), ElementsAre("'md0' is not support add disk"));
  EXPECT_THAT(refused(raid_rm, "md0", "2", -2037), ElementsAre("'md0' is not support remove disk"));
  EXPECT_THAT(refused(raid_check_rm, "md0", "2", -2037),
              ElementsAre("'md0' is not support remove disk"));
}

TEST_F(raid_members, array_of_another_or_no_known_level_cannot_grow_or_shrink) {
  for (const std::string level : {"raid10", ""}) {
    machine.file("/proc/mdstat", "");
    put_array("md0", level, {{"sda"}, {"sdb", "faulty"}});
    EXPECT_THAT(refused(raid_add, "md0", "4", -2037), ElementsAre("'md0' is not support add disk"))
        << level;
    EXPECT_THAT(refused(raid_rm, "md0", "2", -2037),
                ElementsAre("'md0' is not support remove disk"))
        << level;
  }
}

TEST_F(raid_members, disk_of_the_array_is_not_added_again) {
  put_array("md0", "raid1", {{"sda"}, {"sdb", "faulty"}});
  EXPECT_THAT(refused(raid_add, "md0", "1", -2030), ElementsAre("'1' used in md0"));
  EXPECT_THAT(refused(raid_add, "md0", "2", -2030), ElementsAre("'2' used in md0"));
}

TEST_F(raid_members, disk_of_a_volume_group_is_not_added) {
  put_array("md0", "raid1", {{"sda"}, {"sdb"}});
  put_group("vg0", "sdd");
  EXPECT_THAT(refused(raid_add, "md0", "4", -2030), ElementsAre("'4' used in pv"));
}

TEST_F(raid_members, disk_of_another_array_or_a_hot_spare_is_added_unwiped) {
  machine.tool("/sbin/mdadm").on("--manage /dev/md0 --add ...");
  put_array("md0", "raid1", {{"sda"}});
  put_array("md1", "raid1", {{"sdb"}});
  hot_spares("sdc");
  EXPECT_EQ(raid_add("md0", "2"), ORV_OK);
  EXPECT_EQ(raid_add("md0", "3"), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/mdadm --manage /dev/md0 --add /dev/sdb > /dev/null",
                                     "/sbin/mdadm --manage /dev/md0 --add /dev/sdc > /dev/null"));
}

TEST_F(raid_members, failed_member_is_removed) {
  machine.tool("/sbin/mdadm").on("--manage /dev/md0 -r /dev/sdb");
  for (const std::string level : {"raid6", "raid5", "raid1", "linear"}) {
    machine.file("/proc/mdstat", "");
    put_array("md0", level, {{"sda"}, {"sdb", "faulty"}, {"sdc"}});
    machine.forget();
    EXPECT_EQ(raid_rm("md0", "2"), ORV_OK) << level;
    EXPECT_THAT(changes(), ElementsAre("/sbin/mdadm --manage /dev/md0 -r /dev/sdb > /dev/null"));
  }
}

TEST_F(raid_members, healthy_member_is_not_removed) {
  put_array("md0", "raid5", {{"sda"}, {"sdb", "spare"}, {"sdc", "faulty"}});
  EXPECT_THAT(refused(raid_rm, "md0", "1", -2036), ElementsAre("'1' in md0 is not fauty"));
  EXPECT_THAT(refused(raid_rm, "md0", "2", -2036), ElementsAre("'2' in md0 is not fauty"));
  EXPECT_THAT(refused(raid_check_rm, "md0", "1", -2036), ElementsAre("'1' in md0 is not fauty"));
}

TEST_F(raid_members, disk_that_is_no_member_is_not_removed) {
  put_array("md0", "raid5", {{"sda", "faulty"}});
  EXPECT_THAT(refused(raid_rm, "md0", "2", -2033), ElementsAre("'2' is not in md0"));
  EXPECT_THAT(refused(raid_check_rm, "md0", "2", -2033), ElementsAre("'2' is not in md0"));
}

TEST_F(raid_members, checked_removal_is_for_raid5_only) {
  for (const std::string level : {"raid6", "raid1", "linear"}) {
    machine.file("/proc/mdstat", "");
    put_array("md0", level, {{"sda"}, {"sdb", "faulty"}});
    EXPECT_THAT(refused(raid_check_rm, "md0", "2", -2037),
                ElementsAre("'md0' is not support remove disk"))
        << level;
  }
  put_array("md1", "raid5", {{"sdc"}, {"sdd", "faulty"}});
  machine.tool("/sbin/mdadm").on("--manage /dev/md1 -r /dev/sdd");
  EXPECT_EQ(raid_check_rm("md1", "4"), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/mdadm --manage /dev/md1 -r /dev/sdd > /dev/null"));
}

TEST_F(raid_members, unknown_array_is_logged) {
  put_array("md0", "raid5", {{"sda", "faulty"}});
  for (const char* name : {"md1", "md", "md00", "", "$(x)", static_cast<const char*>(nullptr)}) {
    EXPECT_THAT(refused(raid_add, name, "1", -2038),
                ElementsAre("raid_add:N return -2038 with No such device"));
  }
  EXPECT_THAT(refused(raid_rm, "md1", "1", -2038),
              ElementsAre("raid_rm:N return -2038 with No such device"));
  EXPECT_THAT(refused(raid_check_rm, "md1", "1", -2038),
              ElementsAre("raid_check_rm:N return -2038 with No such device"));
}

TEST_F(raid_members, channel_must_name_one_disk_of_the_enclosure) {
  put_in_main_chassis(8, "sdm");
  put_array("md0", "raid5", {{"sda", "faulty"}});
  for (operation* change : operations) {
    for (const std::string channel :
         {"9", "8", "", ",,", "1,,2", "8,9", "99999999999", "a;b", "sda", "-1"}) {
      EXPECT_THAT(refused(change, "md0", channel.c_str(), -2033),
                  ElementsAre("'" + channel + "' is not invalid disk"));
    }
    EXPECT_THAT(refused(change, "md0", nullptr, -2033), ElementsAre("'' is not invalid disk"));
  }
}

TEST_F(raid_members, list_of_channels_of_which_one_has_a_disk_names_that_disk) {
  put_array("md0", "raid5", {{"sda", "faulty"}, {"sdb"}, {"sdc"}});
  machine.tool("/sbin/mdadm").on("--manage /dev/md0 -r /dev/sda");
  machine.tool("/sbin/mdadm").on("--manage /dev/md0 --add /dev/sdd");
  for (const char* const channels : {"1,9", "9,1", "1,1", ",1,", "1,99999999"}) {
    machine.forget();
    EXPECT_EQ(raid_rm("md0", channels), ORV_OK) << channels;
    EXPECT_EQ(raid_check_rm("md0", channels), ORV_OK) << channels;
    const std::string removal = "/sbin/mdadm --manage /dev/md0 -r /dev/sda > /dev/null";
    EXPECT_THAT(changes(), ElementsAre(removal, removal));
  }
  machine.forget();
  EXPECT_EQ(raid_add("md0", "9,4"), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/mdadm --manage /dev/md0 --add /dev/sdd > /dev/null"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(raid_members, channel_is_looked_up_in_the_enclosure_of_the_array) {
  put_in_main_chassis(1, "sdm");
  put_array("md0", "raid1", {{"sdm", "faulty"}, {"sdx"}});
  machine.tool("/sbin/mdadm").on("--manage /dev/md0 -r /dev/sdm");
  EXPECT_EQ(raid_rm("md0", "1"), ORV_OK);
}

TEST_F(raid_members, channel_is_cut_to_seven_characters) {
  put_array("md0", "raid5", {{"sda", "faulty"}, {"sdb"}});
  for (operation* change : operations) {
    EXPECT_THAT(refused(change, "md0", "9,9,9,9,1", -2033),
                ElementsAre("'9,9,9,9,1' is not invalid disk"));
  }
  machine.tool("/sbin/mdadm").on("--manage /dev/md0 -r /dev/sda");
  EXPECT_EQ(raid_rm("md0", "9,9,9,1"), ORV_OK);
}

TEST_F(raid_members, failure_of_mdadm_is_returned) {
  put_array("md0", "raid5", {{"sda", "faulty"}, {"sdb"}});
  machine.tool("/sbin/mdadm").on("--manage ...").fails(1);
  EXPECT_EQ(raid_add("md0", "4"), -11000);
  EXPECT_EQ(raid_rm("md0", "1"), -11000);
  EXPECT_EQ(raid_check_rm("md0", "1"), -11000);
  const std::string addition = "/sbin/mdadm --manage /dev/md0 --add /dev/sdd > /dev/null";
  const std::string removal = "/sbin/mdadm --manage /dev/md0 -r /dev/sda > /dev/null";
  EXPECT_THAT(changes(), ElementsAre(addition, removal, removal));
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(StartsWith(failed_command(addition)), StartsWith(failed_command(removal)),
                          StartsWith(failed_command(removal))));
}

TEST_F(raid_members, nothing_is_run_when_a_list_cannot_be_read) {
  put_array("md0", "raid5", {{"sda", "faulty"}, {"sdb"}});
  groups_unknown();
  refused(raid_add, "md0", "4", -11000);
  machine.file("/told/groups", "");
  for (operation* change : operations) {
    hot_spares_unknown();
    refused(change, "md0", "1", -11000);
    hot_spares("");
    machine.remove("/sys/block/md0");
    refused(change, "md0", "1", -1032);
    put_members("md0", 2, {{"sda", "faulty"}, {"sdb"}});
  }
  arrays_unknown();
  for (operation* change : operations) refused(change, "md0", "1", -11000);
}

TEST_F(raid_members, nothing_is_added_when_the_disks_cannot_be_read_again) {
  put_array("md0", "raid5", {{"sda"}, {"sdb"}});
  put_group("vg0", "md7");
  machine.tool("/sbin/mdadm").on("--manage ...");
  hot_spares_known(99);
  EXPECT_EQ(raid_add("md0", "4"), ORV_OK);
  hot_spares_known(times_asked_for_hot_spares() - 1);
  refused(raid_add, "md0", "4", -11000);
}

TEST_F(raid_members_of_a_controller, are_not_changed_since_they_have_no_device) {
  for (const char* channel : {"1", "3"}) {
    EXPECT_EQ(raid_add("md0", channel), -2033);
    EXPECT_EQ(raid_rm("md0", channel), -2033);
  }
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(raid_members_of_a_controller, empty_device_name_is_refused) {
  put_array_of_device("0");
  EXPECT_EQ(raid_add("md0", "3"), -2033);
  EXPECT_THAT(changes(), IsEmpty());
}
