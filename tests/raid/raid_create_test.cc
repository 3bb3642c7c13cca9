#include "tests/raid/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;

class raid_create_test : public machine_with_disks {
 protected:
  raid_create_test() { md_conf_init(&md); }

  void request(const std::string& level, const std::string& channels,
               const std::string& name = "") {
    liborv_strncpy(md.name, sizeof md.name, name.c_str());
    liborv_strncpy(md.level, sizeof md.level, level.c_str());
    liborv_strncpy(md.disks, sizeof md.disks, channels.c_str());
    liborv_strncpy(md.enclosure, sizeof md.enclosure, "1");
  }
  void spares(const std::string& names) {
    liborv_strncpy(md.spares, sizeof md.spares, names.c_str());
  }

  void creation_succeeds() {
    machine.tool("/usr/local/bin/diskformat").on("...");
    machine.tool("/sbin/mdadm").on("-C ...");
  }

  /// The log lines of a refusal with this code, which changes nothing.
  sandbox::lines refused(int code) {
    machine.forget();
    EXPECT_EQ(raid_create(&md), code);
    EXPECT_THAT(changes(), IsEmpty());
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
    return machine.log_lines();
  }

  tag_md_info md;
};

class raid_create_with_a_controller : public machine_with_controller {};

TEST_F(raid_create_test, wipes_the_disks_of_the_channels_and_creates_the_array) {
  creation_succeeds();
  request("raid5", "4,1,2");
  EXPECT_EQ(raid_create(&md), ORV_OK);
  EXPECT_THAT(
      changes(),
      ElementsAre("/usr/local/bin/diskformat /dev/sda", "/usr/local/bin/diskformat /dev/sdb",
                  "/usr/local/bin/diskformat /dev/sdd",
                  "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384  /dev/md0 -l 5 -n 3 "
                  "-R /dev/sda /dev/sdb /dev/sdd > /dev/null"));
  EXPECT_STREQ(md.name, "md0");
  EXPECT_STREQ(md.disks, "/dev/sda /dev/sdb /dev/sdd");
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(raid_create_test, failure_of_mdadm_leaves_the_members_wiped) {
  machine.tool("/usr/local/bin/diskformat").on("...");
  machine.tool("/sbin/mdadm").on("-C ...").fails(2);
  put_array("md0", "raid0", {{"sdd"}});
  request("raid1", "2,1");
  EXPECT_EQ(raid_create(&md), -11000);
  const std::string creation =
      "/sbin/mdadm -C  /dev/md1 -l 1 -n 2 -R /dev/sda /dev/sdb > /dev/null";
  EXPECT_THAT(changes(), ElementsAre("/usr/local/bin/diskformat /dev/sda",
                                     "/usr/local/bin/diskformat /dev/sdb", creation));
  EXPECT_THAT(machine.log_lines(), ElementsAre(testing::StartsWith(failed_command(creation, 2))));
  EXPECT_STREQ(md.name, "md1");
  EXPECT_STREQ(md.disks, "/dev/sda /dev/sdb");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(raid_create_test, spares_are_only_looked_at) {
  hot_spares("sde");
  creation_succeeds();
  request("raid1", "1,2");
  spares("sde,sdf");
  EXPECT_EQ(raid_create(&md), ORV_OK);
  EXPECT_THAT(
      changes(),
      ElementsAre("/usr/local/bin/diskformat /dev/sda", "/usr/local/bin/diskformat /dev/sdb",
                  "/sbin/mdadm -C  /dev/md0 -l 1 -n 2 -R /dev/sda /dev/sdb > /dev/null"));
  EXPECT_STREQ(md.disks, "/dev/sda /dev/sdb");
  EXPECT_STREQ(md.spares, "sde,sdf");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(raid_create_test, disks_are_taken_from_the_enclosure_of_the_request) {
  put_in_main_chassis(2, "sdm");
  creation_succeeds();
  request("raid0", "1,2");
  EXPECT_EQ(raid_create(&md), ORV_OK);
  EXPECT_STREQ(md.disks, "/dev/sda /dev/sdb");
}

TEST_F(raid_create_test, automatic_name_follows_the_highest_number_whatever_the_order) {
  creation_succeeds();
  using numbers = std::vector<std::string>;
  for (const numbers& order : {numbers{"3", "0"}, numbers{"0", "3"}, numbers{"1", "3", "2"}}) {
    machine.file("/proc/mdstat", "");
    for (const std::string& number : order) put_array("md" + number, "raid0", {{"sdc"}});
    request("raid1", "1,2");
    EXPECT_EQ(raid_create(&md), ORV_OK);
    EXPECT_STREQ(md.name, "md4");
    EXPECT_EQ(changes().back(),
              "/sbin/mdadm -C  /dev/md4 -l 1 -n 2 -R /dev/sda /dev/sdb > /dev/null");
  }
}

TEST_F(raid_create_test, automatic_name_is_not_that_of_an_array) {
  put_array("md0", "raid0", {{"sdd"}});
  creation_succeeds();
  request("raid1", "1,2");
  EXPECT_EQ(raid_create(&md), ORV_OK);
  EXPECT_STREQ(md.name, "md1");
}

TEST_F(raid_create_test, explicit_name_is_kept) {
  put_array("md3", "raid0", {{"sdc"}});
  creation_succeeds();
  request("linear", "1,2", "md1");
  EXPECT_EQ(raid_create(&md), ORV_OK);
  EXPECT_STREQ(md.name, "md1");
}

TEST_F(raid_create_test, explicit_name_of_another_array_is_refused) {
  put_array("md0", "raid0", {{"sdc"}});
  put_array("md3", "raid0", {{"sdd"}});
  request("raid1", "1,2", "md3");
  EXPECT_THAT(refused(-2031), ElementsAre("'md3' used"));
  EXPECT_STREQ(md.disks, "sda,sdb");
}

TEST_F(raid_create_test, name_is_tested_before_the_disks_of_each_array) {
  put_array("md0", "raid0", {{"sda"}});
  request("raid1", "1,2", "md0");
  EXPECT_THAT(refused(-2031), ElementsAre("'md0' used"));
  put_array("md1", "raid0", {{"sdd"}});
  request("raid1", "1,2", "md1");
  EXPECT_THAT(refused(-2030), ElementsAre("'sda,sdb' or '' includes used disk in md0"));
}

TEST_F(raid_create_test, level_must_be_known_exactly) {
  for (const std::string level : {"raid10", "raid", "RAID5", "", "raid4", "linears", "5"}) {
    request(level, "99");
    EXPECT_THAT(refused(-2032), IsEmpty()) << level;
    EXPECT_STREQ(md.disks, "99");
    EXPECT_STREQ(md.name, "md0");
  }
}

TEST_F(raid_create_test, every_channel_must_have_a_disk) {
  for (const std::string channels :
       {"1,9", "99999999999", "1,1", "a", "sda,sdb", "1,2,$(x)", "-1"}) {
    request("raid0", channels);
    EXPECT_THAT(refused(-2033), ElementsAre("'" + channels + " in 1' includes invalid channelIDs"));
    EXPECT_EQ(md.disks, channels);
  }
}

TEST_F(raid_create_test, channel_of_another_enclosure_is_no_disk) {
  put_in_main_chassis(7, "sdm");
  request("raid1", "1,7");
  EXPECT_THAT(refused(-2033), ElementsAre("'1,7 in 1' includes invalid channelIDs"));
}

TEST_F(raid_create_test, empty_items_of_the_channel_list_do_not_count) {
  creation_succeeds();
  request("raid1", "1,,2");
  EXPECT_EQ(raid_create(&md), ORV_OK);
  EXPECT_STREQ(md.disks, "/dev/sda /dev/sdb");
}

TEST_F(raid_create_test, request_without_disks_is_refused) {
  request("raid5", "");
  EXPECT_THAT(refused(-2034), ElementsAre("disks num 0 exceed [3, 16] in raid5"));
  request("raid0", ",,");
  EXPECT_THAT(refused(-2034), ElementsAre("disks num 0 exceed [2, 16] in raid0"));
}

TEST_F(raid_create_test, count_must_fit_the_level) {
  request("raid1", "1,2,3");
  EXPECT_THAT(refused(-2034), ElementsAre("disks num 3 exceed [2, 2] in raid1"));
}

TEST_F(raid_create_test, disk_of_another_array_is_refused) {
  put_array("md5", "raid1", {{"sdb"}});
  request("raid1", "1,2");
  EXPECT_THAT(refused(-2030), ElementsAre("'sda,sdb' or '' includes used disk in md5"));
  EXPECT_STREQ(md.name, "md6");
}

TEST_F(raid_create_test, marked_members_of_another_array_are_in_use) {
  for (const std::string state : {"faulty", "spare"}) {
    put_members("md5", 1, {{"sdb", state}});
    machine.file("/proc/mdstat", "md5 : active raid1\n");
    request("raid1", "1,2");
    EXPECT_THAT(refused(-2030), testing::Contains("'sda,sdb' or '' includes used disk in md5"));
  }
}

TEST_F(raid_create_test, spare_that_is_a_member_of_another_array_is_refused) {
  put_array("md5", "raid1", {{"sdc"}});
  request("raid1", "1,2");
  spares("sdd,sdc");
  EXPECT_THAT(refused(-2030), ElementsAre("'sda,sdb' or 'sdd,sdc' includes used disk in md5"));
}

TEST_F(raid_create_test, disk_of_a_volume_group_is_refused) {
  put_group("vg0", "sdb");
  request("raid1", "1,2");
  EXPECT_THAT(refused(-2030), ElementsAre("'sda,sdb' or '' includes used disk in pv"));
  request("raid1", "1,3");
  spares("sdb");
  EXPECT_THAT(refused(-2030), ElementsAre("'sda,sdc' or 'sdb' includes used disk in pv"));
}

TEST_F(raid_create_test, global_hot_spare_is_refused) {
  hot_spares("sdf sdb");
  request("raid1", "1,2");
  EXPECT_THAT(refused(-2030), ElementsAre("'sda,sdb' or '' includes global hotspare disk"));
}

TEST_F(raid_create_test, disk_that_the_kernel_uses_is_refused_whatever_the_lists_say) {
  machine.in_use("/dev/sdb");
  request("raid1", "1,2");
  EXPECT_THAT(refused(-2030), ElementsAre("'sda,sdb' or '' includes used disk in kernel"));
  request("raid1", "1,3");
  creation_succeeds();
  EXPECT_EQ(raid_create(&md), ORV_OK);
}

TEST_F(raid_create_test, disk_that_is_not_listed_any_more_is_not_wiped) {
  const std::string host = "/proc/scsi/mvSata/1";
  creation_succeeds();
  request("raid1", "1,2");
  EXPECT_EQ(raid_create(&md), ORV_OK);
  const int lists = times_asked_for_hot_spares();
  const std::string disks = machine.read(host);
  machine.tool("cat").on(host).prints(disks).times(lists - 1).then().prints(
      disks.substr(0, disks.find("*sda")) + "*sda\n");
  request("raid1", "1,2", "md7");
  EXPECT_THAT(refused(-2033), ElementsAre("'sda,sdb in 1' includes invalid channelIDs"));
}

TEST_F(raid_create_test, nothing_is_changed_when_the_disks_cannot_be_read) {
  request("raid1", "1,2");
  hot_spares_unknown();
  refused(-11000);
  machine.file("/told/spares", "no spare line\n");
  refused(-1024);
  machine.remove("/proc/scsi");
  refused(-1021);
  EXPECT_STREQ(md.name, "");
  EXPECT_STREQ(md.disks, "1,2");
}

TEST_F(raid_create_test, nothing_is_changed_when_the_arrays_cannot_be_read) {
  request("raid1", "1,2");
  put_array("md0", "raid1", {{"sda"}});
  machine.remove("/sys/block/md0");
  refused(-1032);
  arrays_unknown();
  refused(-11000);
}

TEST_F(raid_create_test, nothing_is_changed_when_the_volume_groups_cannot_be_read) {
  request("raid1", "1,2");
  groups_unknown();
  refused(-11000);
  machine.file("/told/groups", "");
  machine.remove("/told/volumes");
  request("raid1", "1,2");
  refused(-11000);
}

TEST_F(raid_create_test, nothing_is_changed_when_the_disks_cannot_be_read_again) {
  put_group("vg0", "md7");
  machine.tool("/usr/local/bin/diskformat").on("...");
  machine.tool("/sbin/mdadm").on("-C ...");
  request("raid1", "1,2");
  hot_spares_known(99);
  EXPECT_EQ(raid_create(&md), ORV_OK);
  const int questions = times_asked_for_hot_spares();
  // The last two are for the volume groups and for the hot spares themselves.
  for (int answered : {questions - 1, questions - 2}) {
    request("raid1", "1,2");
    hot_spares_known(answered);
    refused(-11000);
  }
}

TEST_F(raid_create_test, null_request_is_refused) {
  EXPECT_EQ(raid_create(nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(raid_create_with_a_controller, disks_without_device_names_are_refused) {
  tag_md_info md;
  md_conf_init(&md);
  liborv_strncpy(md.level, sizeof md.level, "raid1");
  liborv_strncpy(md.disks, sizeof md.disks, "2,3");
  liborv_strncpy(md.enclosure, sizeof md.enclosure, "0");
  EXPECT_EQ(raid_create(&md), -2033);
  EXPECT_EQ(machine.log(), "'2,3 in 0' includes invalid channelIDs");
  EXPECT_STREQ(md.disks, "2,3");
  EXPECT_THAT(changes(), IsEmpty());
}
