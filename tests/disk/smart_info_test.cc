#include <cerrno>

#include "tests/disk/smart_output.h"

using testing::ElementsAre;
using testing::IsEmpty;

class smart_info : public disk_test {
 protected:
  void ask_for_detail() {
    liborv_strncpy(list.smart.smart_enabled, sizeof list.smart.smart_enabled, "detail");
  }

  /// A tool takes its redirected output away.
  static void loses_output(sandbox::answer& given) { given.runs("rm -f /tmp/smart_*").times(1); }

  static std::string lost(const std::string& output) {
    return "cannot stat /tmp/" + output + ".XXXXXX for 'No such file or directory'\n";
  }
};

TEST_F(smart_info, is_a_summary_of_every_disk_on_an_ordinary_model) {
  model("KTA7120A");
  add("sda", 1, "0");
  add("sdb", 2, "0");
  machine.tool(smartctl).on("-d marvell -T permissive -Hi /dev/sda").prints(summary_output);
  machine.tool(smartctl)
      .on("-d marvell -T permissive -Hi /dev/sdb")
      .prints("Device Model: B\n" + summary_output);
  EXPECT_EQ(smart_info_get(&list), ORV_OK);
  EXPECT_STREQ(disks()[0]->smart.device_model, "ST31000340NS");
  EXPECT_STREQ(disks()[1]->smart.device_model, "B");
  EXPECT_THAT(attributes_of(*disks()[0]), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(smart_info, is_the_attributes_of_every_disk_when_detail_is_asked_for) {
  model("KTA7120A");
  ask_for_detail();
  add("sda", 1, "0");
  add("sdb", 2, "0");
  machine.tool(smartctl)
      .on("-d marvell -T permissive -Hi --attributes /dev/sd?")
      .prints(summary_output + smartctl_line("3", "Spin_Up_Time"))
      .times(2);
  EXPECT_EQ(smart_info_get(&list), ORV_OK);
  for (const tag_disk_info* disk : disks()) {
    EXPECT_EQ(attributes_of(*disk).size(), 1U);
    EXPECT_STREQ(disk->smart.device_model, "NaN");
  }
}

TEST_F(smart_info, mode_is_the_whole_word_of_the_head) {
  model("KTA7120A");
  add("sda", 1, "0");
  liborv_strncpy(list.smart.smart_enabled, sizeof list.smart.smart_enabled, "details");
  machine.tool(smartctl).on("-d marvell -T permissive -Hi /dev/sda").prints(summary_output);
  EXPECT_EQ(smart_info_get(&list), ORV_OK);
}

TEST_F(smart_info, of_the_controllers_disks_comes_from_the_controller) {
  model("KTA7120U");
  ask_for_detail();
  add("", 1, "0");
  add("", 3, "0");
  machine.tool(arcadm).on("--misc -s -i 0").prints("Spin Up Time : 97 (21) OK\n");
  machine.tool(arcadm).on("--misc -s -i 2").prints("Seek Error Rate : 1 (2) OK\n");
  EXPECT_EQ(smart_info_get(&list), ORV_OK);
  EXPECT_THAT(attributes_of(*disks()[0]), ElementsAre("0|Spin Up Time|0|97|21|0|OK"));
  EXPECT_THAT(attributes_of(*disks()[1]), ElementsAre("0|Seek Error Rate|0|1|2|0|OK"));
}

TEST_F(smart_info, has_no_summary_of_the_controllers_disks) {
  model("KTA7120U");
  add("", 1, "0");
  add("", 2, "0");
  errno = 0;
  EXPECT_EQ(smart_info_get(&list), -11002);
  EXPECT_THAT(machine.commands(), IsEmpty());
  for (const tag_disk_info* disk : disks()) {
    EXPECT_EQ(summary_of(*disk), no_summary);
    EXPECT_THAT(attributes_of(*disk), IsEmpty());
  }
  EXPECT_EQ(machine.log(), "smart_info_get:N return -11002 with Success\n");
}

TEST_F(smart_info, simulated_controller_tells_its_attributes) {
  model("KTA7120U");
  ask_for_detail();
  machine.tool(arcadm).runs(fixture("../simulators/arcadm"));
  machine.file("/var/lib/orv-sim/arcadm.conf",
               "disk|0|ST31000340NS|1000|Normal|Raid Set # 000\n"
               "smart|0|Raw Read Error Rate|117|44|OK\nsmart|0|Power On Hours|9|1|OK\n"
               "smart|1|Spin Up Time|1|1|OK\nsmart|0|Temperature Celsius|31|0|FAILED\n");
  add("", 1, "0");
  add("", 2, "0");
  EXPECT_EQ(smart_info_get(&list), ORV_OK);
  EXPECT_THAT(attributes_of(*disks()[0]), ElementsAre("2|Raw Read Error Rate|0|117|44|0|OK",
                                                      "4|Temperature Celsius|0|31|0|0|FAILED"));
  EXPECT_THAT(attributes_of(*disks()[1]), IsEmpty());
}

TEST_F(smart_info, result_is_that_of_the_last_disk) {
  model("KTA7120A");
  add("sda", 1, "0");
  add("sdb", 2, "0");
  loses_output(machine.tool(smartctl).on("-d marvell -T permissive -Hi /dev/sda"));
  machine.tool(smartctl)
      .on("-d marvell -T permissive -Hi /dev/sdb")
      .prints(summary_output)
      .times(1);
  EXPECT_EQ(smart_info_get(&list), ORV_OK);
  EXPECT_EQ(machine.log(), lost("smart_sda"));
  EXPECT_STREQ(disks()[1]->smart.health, "PASSED");
  machine.tool(smartctl).on("-d marvell -T permissive -Hi /dev/sda").prints(summary_output);
  loses_output(machine.tool(smartctl).on("-d marvell -T permissive -Hi /dev/sdb"));
  EXPECT_EQ(smart_info_get(&list), -11000);
}

TEST_F(smart_info, result_of_the_attributes_is_that_of_the_last_disk) {
  model("KTA7120A");
  ask_for_detail();
  add("sda", 1, "0");
  add("sdb", 2, "0");
  loses_output(machine.tool(smartctl).on("-d marvell -T permissive -Hi --attributes /dev/sda"));
  machine.tool(smartctl)
      .on("-d marvell -T permissive -Hi --attributes /dev/sdb")
      .prints(summary_output + smartctl_line("3", "Spin_Up_Time"))
      .times(1);
  EXPECT_EQ(smart_info_get(&list), ORV_OK);
  EXPECT_THAT(attributes_of(*disks()[0]), IsEmpty());
  EXPECT_THAT(attributes_of(*disks()[1]), ElementsAre("3|Spin_Up_Time|100|99|44|0|-"));
  EXPECT_EQ(machine.log(), lost("smart_sda_detail"));
}

TEST_F(smart_info, result_of_the_attributes_is_that_of_a_last_disk_that_fails) {
  model("KTA7120A");
  ask_for_detail();
  add("sda", 1, "0");
  add("sdb", 2, "0");
  machine.tool(smartctl)
      .on("-d marvell -T permissive -Hi --attributes /dev/sda")
      .prints(summary_output + smartctl_line("3", "Spin_Up_Time"))
      .times(1);
  loses_output(machine.tool(smartctl).on("-d marvell -T permissive -Hi --attributes /dev/sdb"));
  EXPECT_EQ(smart_info_get(&list), -11000);
  EXPECT_THAT(attributes_of(*disks()[0]), ElementsAre("3|Spin_Up_Time|100|99|44|0|-"));
  EXPECT_THAT(attributes_of(*disks()[1]), IsEmpty());
  EXPECT_EQ(machine.log(), lost("smart_sdb_detail"));
}

TEST_F(smart_info, result_of_the_controllers_disks_is_that_of_the_last_one) {
  model("KTA7120U");
  ask_for_detail();
  add("", 1, "0");
  add("", 3, "0");
  loses_output(machine.tool(arcadm).on("--misc -s -i 0"));
  machine.tool(arcadm).on("--misc -s -i 2").prints("Spin Up Time : 97 (21) OK\n").times(1);
  EXPECT_EQ(smart_info_get(&list), ORV_OK);
  EXPECT_THAT(attributes_of(*disks()[0]), IsEmpty());
  EXPECT_THAT(attributes_of(*disks()[1]), ElementsAre("0|Spin Up Time|0|97|21|0|OK"));
  EXPECT_EQ(machine.log(), lost("smart_1_detail"));
}

TEST_F(smart_info, result_of_the_controllers_disks_is_that_of_a_last_one_that_fails) {
  model("KTA7120U");
  ask_for_detail();
  add("", 1, "0");
  add("", 3, "0");
  machine.tool(arcadm).on("--misc -s -i 0").prints("Spin Up Time : 97 (21) OK\n").times(1);
  loses_output(machine.tool(arcadm).on("--misc -s -i 2"));
  EXPECT_EQ(smart_info_get(&list), -11000);
  EXPECT_THAT(attributes_of(*disks()[0]), ElementsAre("0|Spin Up Time|0|97|21|0|OK"));
  EXPECT_THAT(attributes_of(*disks()[1]), IsEmpty());
  EXPECT_EQ(machine.log(), lost("smart_3_detail"));
}

TEST_F(smart_info, of_no_disk_needs_the_model_only) {
  EXPECT_EQ(smart_info_get(&list), -11001);
  ask_for_detail();
  EXPECT_EQ(smart_info_get(&list), -11001);
  const std::string logged =
      "devmodel_get:N return -1001 with No such file or directory\n"
      "smart_info_get:N return -11001 with No such file or directory\n";
  EXPECT_EQ(machine.log(), logged + logged);
  model("KTA7120U");
  EXPECT_EQ(smart_info_get(&list), ORV_OK);
  EXPECT_EQ(smart_info_get(nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(smart_info, model_that_is_not_known_counts_as_an_ordinary_one) {
  add("sda", 1, "0");
  machine.tool(smartctl).prints(summary_output);
  EXPECT_EQ(smart_info_get(&list), ORV_OK);
  EXPECT_STREQ(disks()[0]->smart.health, "PASSED");
}
