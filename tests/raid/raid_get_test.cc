#include <cerrno>

#include "tests/raid/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;

class raid_get_of_md : public machine_with_disks {
 protected:
  md_list list;
};
class raid_get_of_a_controller : public machine_with_controller {
 protected:
  md_list list;
};

TEST_F(raid_get_of_md, reads_every_source_in_turn) {
  machine.file(
      "/proc/mdstat",
      "Personalities : [raid1]\n"
      "md0 : active raid1 sdb[2] sda[0]\n"
      "      1048576 blocks super 1.2 [2/1] [U_]\n"
      "      [===>.................]  recovery = 18.4% (1/2) finish=0.1min speed=9472K/sec\n"
      "\n"
      "unused devices: <none>\n");
  machine.file("/told/detail/md0",
               "        Raid Level : raid1\n        Array Size : 1048576 (1.00 GiB 1.07 GB)\n"
               "             State : clean, degraded, recovering \n");
  put_members("md0", 2, {{"sda"}});
  EXPECT_EQ(raid_get(list.get()), ORV_OK);
  const tag_md_info& md = list.only();
  EXPECT_STREQ(md.name, "md0");
  EXPECT_STREQ(md.level, "raid1");
  EXPECT_STREQ(md.state, "clean, degraded, recovering");
  EXPECT_STREQ(md.progress, "18.4%(9.00MB/s)");
  EXPECT_EQ(md.size, 1u);
  EXPECT_EQ(md.size2, 0u);
  EXPECT_STREQ(md.disks, "sda,*(M)");
  EXPECT_STREQ(md.enclosure, "1");
  EXPECT_THAT(machine.commands(),
              ElementsAre("cat /proc/mdstat > /tmp/mdstat.XXXXXX",
                          "/sbin/mdadm --detail /dev/md0 > /tmp/md0.XXXXXX",
                          "cat /proc/scsi/mvSata/1 > /tmp/disk1.XXXXXX",
                          "/usr/local/bin/hotspare --list > /tmp/hotspare.XXXXXX",
                          "cat /proc/mdstat > /tmp/mdstat.XXXXXX"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(raid_get_of_md, may_fill_a_list_again_once_it_is_released) {
  put_array("md0", "raid1", {{"sda"}});
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(raid_get(list.get()), ORV_OK);
    EXPECT_THAT(list.names(), ElementsAre("md0"));
    EXPECT_STREQ(list.only().disks, "sda");
    EXPECT_EQ(md_list_fini(list.get()), 0);
  }
}

TEST_F(raid_get_of_md, lists_an_array_that_mdadm_cannot_describe) {
  put_array("md0", "raid1", {});
  put_members("md0", 2, {{"sda", "faulty"}});
  put_array("md1", "raid0", {{"sdc"}});
  machine.remove("/told/detail/md0");
  EXPECT_EQ(raid_get(list.get()), ORV_OK);
  ASSERT_THAT(list.names(), ElementsAre("md0", "md1"));
  EXPECT_THAT(fields_of(*list.records()[0]),
              ElementsAre("md0", "", "inactive", "", "0", "0", "sda(F),*(M)", "", "1"));
  EXPECT_THAT(fields_of(*list.records()[1]),
              ElementsAre("md1", "raid0", "clean", "", "1", "0", "sdc", "", "1"));
  EXPECT_THAT(machine.log_lines(), ElementsAre(testing::StartsWith(failed_command(
                                       "/sbin/mdadm --detail /dev/md0 > /tmp/md0.XXXXXX"))));
}

TEST_F(raid_get_of_md, goes_on_when_the_details_cannot_be_opened) {
  put_array("md0", "raid1", {{"sda"}});
  machine.fail("fopen", EMFILE, 3);  // After the device model and the array status.
  EXPECT_EQ(raid_get(list.get()), ORV_OK);
  EXPECT_STREQ(list.only().level, "");
  EXPECT_STREQ(list.only().disks, "sda");
  EXPECT_EQ(machine.log(), "get_mdinfo_from_mdadm:N return -1030 with Too many open files\n");
}

TEST_F(raid_get_of_md, returns_the_code_of_the_source_that_failed) {
  put_array("md0", "raid1", {{"sda"}});
  machine.remove("/sys/block/md0");
  EXPECT_EQ(raid_get(list.get()), -1032);
  EXPECT_THAT(list.names(), ElementsAre("md0"));
  arrays_unknown();
  EXPECT_EQ(raid_get(list.get()), -11000);
  EXPECT_EQ(raid_get(nullptr), ORV_E_FAILED);
}

TEST_F(raid_get_of_md, keeps_what_it_read_when_the_progress_cannot_be) {
  put_array("md0", "raid1", {{"sda"}});
  machine.fail("mkstemp", ENOSPC, 5);  // After status, details, disks and hot spares.
  EXPECT_EQ(raid_get(list.get()), -11000);
  EXPECT_STREQ(list.only().state, "clean");
  EXPECT_STREQ(list.only().disks, "sda");
}

TEST_F(raid_get_of_md, treats_an_unknown_model_as_one_without_controller) {
  put_array("md0", "raid1", {{"sda"}});
  machine.remove("/etc/sys_info");
  EXPECT_EQ(raid_get(list.get()), ORV_OK);
  EXPECT_THAT(list.names(), ElementsAre("md0"));
  model("KTA7120");
  EXPECT_EQ(raid_get(list.get()), ORV_OK);
}

TEST_F(raid_get_of_md, reads_what_the_simulator_of_a_controller_says) {
  model("KTA7120U");
  machine.file("/var/lib/orv-sim/arcadm.conf",
               "disk|0|ST31000340NS|931|normal|Raid\n"
               "raid|md0|5|64K|normal|1862|sdb|1 2 13\n"
               "raid|md1|1|N.A.|degraded|931|sdc|4 5\n");
  machine.tool("/usr/local/bin/arcadm")
      .on("--display --scan")
      .runs(fixture("../simulators/arcadm"));
  EXPECT_EQ(raid_get(list.get()), ORV_OK);
  ASSERT_THAT(list.names(), ElementsAre("md0", "md1"));
  const tag_md_info& first = *list.records()[0];
  EXPECT_STREQ(first.level, "raid5");
  EXPECT_STREQ(first.state, "normal");
  EXPECT_EQ(first.size, 1862u);
  EXPECT_STREQ(first.enclosure, "sdb");
  EXPECT_STREQ(first.disks, "1,2,13");
  const tag_md_info& second = *list.records()[1];
  EXPECT_STREQ(second.state, "degraded");
  EXPECT_STREQ(second.disks, "4,5");
}

TEST_F(raid_get_of_a_controller, reads_only_the_controller) {
  EXPECT_EQ(raid_get(list.get()), ORV_OK);
  EXPECT_STREQ(list.only().name, "md0");
  EXPECT_STREQ(list.only().level, "raid5");
  EXPECT_STREQ(list.only().disks, "1,2");
  EXPECT_STREQ(list.only().enclosure, "sdb");
  EXPECT_EQ(machine.commands().size(), 1u);
}
