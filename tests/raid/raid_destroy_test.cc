#include "tests/raid/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class raid_destroy_test : public machine_with_disks {
 protected:
  sandbox::lines refused(const char* name, int code) {
    machine.forget();
    EXPECT_EQ(raid_destroy(name), code);
    EXPECT_THAT(changes(), IsEmpty());
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    return machine.log_lines();
  }
};

class raid_destroy_with_a_controller : public machine_with_controller {};

TEST_F(raid_destroy_test, stops_the_array_and_wipes_nothing) {
  put_array("md0", "raid1", {{"sda"}, {"sdb"}});
  put_array("md1", "raid1", {{"sdc"}, {"sdd"}});
  put_group("vg0", "md1");
  machine.tool("/sbin/mdadm").on("-S /dev/md0");
  EXPECT_EQ(raid_destroy("md0"), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/mdadm -S /dev/md0 > /dev/null"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(raid_destroy_test, array_that_carries_a_volume_group_is_kept) {
  put_array("md0", "raid1", {{"sda"}, {"sdb"}});
  put_array("md1", "raid1", {{"sdc"}, {"sdd"}});
  put_group("vg0", "sde");
  put_group("vg1", "md1");
  EXPECT_THAT(refused("md1", -2035),
              ElementsAre("raid_destroy:N return -2035 with Device or resource busy"));
}

TEST_F(raid_destroy_test, unknown_array_is_refused) {
  put_array("md0", "raid1", {{"sda"}, {"sdb"}});
  for (const char* name : {"md1", "", "md0 ", "md0;x", static_cast<const char*>(nullptr)}) {
    EXPECT_THAT(refused(name, -2038),
                ElementsAre("raid_destroy:N return -2038 with No such device"));
  }
}

TEST_F(raid_destroy_test, nothing_is_stopped_when_a_list_cannot_be_read) {
  put_array("md0", "raid1", {{"sda"}, {"sdb"}});
  groups_unknown();
  refused("md0", -11000);
  machine.file("/told/groups", "");
  machine.remove("/told/volumes");
  refused("md0", -11000);
  machine.file("/told/volumes", "");
  machine.remove("/sys/block/md0");
  refused("md0", -1032);
  arrays_unknown();
  refused("md0", -11000);
}

TEST_F(raid_destroy_test, nothing_is_stopped_when_the_model_is_not_known) {
  put_array("md0", "raid1", {{"sda"}, {"sdb"}});
  machine.remove("/etc/sys_info");
  refused("md0", -11001);
}

TEST_F(raid_destroy_test, failure_of_mdadm_is_returned) {
  put_array("md0", "raid1", {{"sda"}, {"sdb"}});
  machine.tool("/sbin/mdadm").on("-S /dev/md0").fails(1);
  EXPECT_EQ(raid_destroy("md0"), -11000);
  EXPECT_THAT(machine.log(), StartsWith(failed_command("/sbin/mdadm -S /dev/md0 > /dev/null")));
}

TEST_F(raid_destroy_with_a_controller, array_that_carries_a_volume_group_is_kept) {
  put_group("vg0", "sdb");
  EXPECT_EQ(raid_destroy("md0"), -2035);
  EXPECT_THAT(changes(), IsEmpty());
}
