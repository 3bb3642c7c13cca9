#include <cerrno>

#include "tests/disk/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;

class disks_info : public disk_test {
 protected:
  void driver_lists(const std::string& disk_lines) {
    machine.tool("cat").is_real();
    host("0", "1,4", disk_lines);
  }

  /// A machine with one disk, of which everything can be told.
  void knows_one_disk() {
    model("KTA7120E");
    driver_lists(disk_line(0, 0, "sda"));
    sysfs("sda", "2097152\n", "running\n", "ST3\n");
  }

  /// Place, size and state of the only disk.
  std::string filled() {
    EXPECT_EQ(disks().size(), 1U);
    const tag_disk_info& disk = *disks().at(0);
    return places().at(0) + " size " + std::to_string(disk.size) + " state '" + disk.state + "'";
  }
};

TEST_F(disks_info, come_from_driver_sysfs_and_hot_spare_tool) {
  model("KTA7120E");
  driver_lists(disk_line(0, 0, "sda") + disk_line(8, 1, "sdb"));
  sysfs("sda", "1953525168\n", "running\n", "WDC\n");
  sysfs("sdb", "2097152\n", "running\n", "ST3\n");
  machine.tool("/usr/local/bin/hotspare").prints("Global hotspare disk: sdb\n");
  EXPECT_EQ(disks_info_get(&list), ORV_OK);
  EXPECT_THAT(machine.commands(),
              ElementsAre("cat /proc/scsi/mvSata/0 > /tmp/disk0.XXXXXX",
                          "/usr/local/bin/hotspare --list > /tmp/hotspare.XXXXXX"));
  disk_list_show(&list);
  EXPECT_EQ(machine.output(),
            "'sda'\t'1'\t'932'\t'running'\t'WDC'\t''\t'0'\t'0'\n"
            "'sdb'\t'2'\t'1'\t'running'\t'ST3'\t''\t'0'\t'1'\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(disks_info, come_from_the_controller_on_its_model_only) {
  model("KTA7120U");
  machine.tool("/usr/local/bin/arcadm").on("--misc --scan").prints("0 a/ST3/500/Normal/Free\n");
  EXPECT_EQ(disks_info_get(&list), ORV_OK);
  EXPECT_THAT(places(), ElementsAre(" 1@0"));
  EXPECT_THAT(machine.commands(),
              ElementsAre("/usr/local/bin/arcadm --misc --scan > /tmp/diskinfo.XXXXXX"));
}

TEST_F(disks_info, of_a_similar_or_unknown_model_come_from_the_driver) {
  for (const char* name : {"KTA7120", "KTA7120UX", "KTA7120U2", "kta7120u", ""}) {
    model(name);
    EXPECT_EQ(disks_info_get(&list), -1021) << name;
  }
  machine.remove("/etc/sys_info");
  EXPECT_EQ(disks_info_get(&list), -1021);
}

TEST_F(disks_info, stop_with_the_code_of_the_driver) {
  EXPECT_EQ(disks_info_get(&list), -1021);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(disks_info, stop_with_the_code_of_the_hot_spare_tool_and_keep_the_disks) {
  knows_one_disk();
  machine.tool("/usr/local/bin/hotspare").fails(1);
  EXPECT_EQ(disks_info_get(&list), -11000);
  EXPECT_THAT(places(), ElementsAre("sda 1@0"));
  EXPECT_STREQ(disks()[0]->model, "ST3");
}

TEST_F(disks_info, stop_at_a_host_that_cannot_be_dumped_and_keep_those_of_the_one_before) {
  knows_one_disk();
  machine.directory("/proc/scsi/mvSata/1");
  EXPECT_EQ(disks_info_get(&list), -11000);
  EXPECT_EQ(filled(), "sda 1@0 size 0 state ''");
  EXPECT_THAT(machine.commands(), ElementsAre("cat /proc/scsi/mvSata/0 > /tmp/disk0.XXXXXX",
                                              "cat /proc/scsi/mvSata/1 > /tmp/disk1.XXXXXX"));
}

TEST_F(disks_info, stop_at_a_host_whose_dump_cannot_be_opened_and_keep_those_of_the_one_before) {
  knows_one_disk();
  host("1", "1,5", disk_line(0, 0, "sdb"));
  machine.tool("cat").on("/proc/scsi/mvSata/1").runs("rm -f /tmp/disk1.*");
  EXPECT_EQ(disks_info_get(&list), -1022);
  EXPECT_EQ(filled(), "sda 1@0 size 0 state ''");
  EXPECT_EQ(machine.log(),
            "get_diskinfo_from_mvSata:N return -1022 with No such file or directory\n");
  EXPECT_THAT(machine.commands(), ElementsAre("cat /proc/scsi/mvSata/0 > /tmp/disk0.XXXXXX",
                                              "cat /proc/scsi/mvSata/1 > /tmp/disk1.XXXXXX"));
}

TEST_F(disks_info, stop_when_the_list_of_hot_spares_cannot_be_opened_and_keep_the_disks) {
  knows_one_disk();
  machine.tool("/usr/local/bin/hotspare").runs("rm -f /tmp/hotspare.*");
  EXPECT_EQ(disks_info_get(&list), -1023);
  EXPECT_EQ(filled(), "sda 1@0 size 1 state 'running'");
  EXPECT_EQ(machine.log(), "get_global_hotspare:N return -1023 with No such file or directory\n");
}

TEST_F(disks_info, stop_when_the_list_of_hot_spares_has_no_line_of_them_and_keep_the_disks) {
  knows_one_disk();
  machine.tool("/usr/local/bin/hotspare").prints("sda\n");
  errno = 0;
  EXPECT_EQ(disks_info_get(&list), -1024);
  EXPECT_EQ(filled(), "sda 1@0 size 1 state 'running'");
  EXPECT_EQ(machine.log(), "get_global_hotspare:N return -1024 with Success\n");
}

TEST_F(disks_info, of_the_controller_never_fall_back_to_the_driver) {
  model("KTA7120U");
  driver_lists(disk_line(0, 0, "sda"));
  machine.tool("/usr/local/bin/arcadm").fails(1);
  EXPECT_EQ(disks_info_get(&list), -11000);
  EXPECT_THAT(disks(), IsEmpty());
}

TEST_F(disks_info, never_come_from_the_partition_list) {
  model("KTA7120E");
  machine.file("/proc/partitions", "   8        0  976762584 sda\n");
  machine.directory("/proc/scsi/mvSata");
  machine.tool("/usr/local/bin/hotspare").prints("Global hotspare disk:\n");
  EXPECT_EQ(disks_info_get(&list), ORV_OK);
  EXPECT_THAT(disks(), IsEmpty());
}

TEST_F(disks_info, need_a_list) {
  EXPECT_EQ(disks_info_get(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "disks_info_get:N return -1 with Invalid argument\n");
}
