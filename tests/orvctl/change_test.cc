#include "tests/orvctl/appliance.h"
#include "tools/orvctl/table.h"

using orvctl::json;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

/// What each changing command runs, and what it says.
class change_verbs : public appliance {
 protected:
  static void expect_done(const std::string& words, const std::string& sentence) {
    const outcome got = orvctl(words);
    EXPECT_EQ(got.status, 0) << words;
    EXPECT_EQ(got.out, "") << words;
    EXPECT_EQ(got.err, sentence + "\n") << words;
  }

  static json result_of(const std::string& words) {
    const outcome got = orvctl(words);
    EXPECT_EQ(got.status, 0) << got.out;
    EXPECT_EQ(got.err, "");
    return json::parse(got.out)["result"];
  }

  /// Only the disks are left.
  void nothing_is_used() {
    machine.file("/proc/mdstat", "Personalities : [raid5]\n");
    for (const char* list : {"groups", "volumes", "pools"}) tell(list, "");
    tell("spares", "Global hotspare disk:\n");
  }
};

TEST_F(change_verbs, wipe_disks) {
  changer("/usr/local/bin/diskformat");
  expect_done("disk clear 4,2 --enclosure 1 --yes",
              "Wiping sdb (channel 2).\nWiping sdd (channel 4).\n"
              "Cleared the disks of channels 4,2.");
  EXPECT_THAT(changes(), ElementsAre("/usr/local/bin/diskformat /dev/sdb",
                                     "/usr/local/bin/diskformat /dev/sdd"));
}

TEST_F(change_verbs, tell_which_disk_could_not_be_wiped) {
  machine.tool("/usr/local/bin/diskformat").on("/dev/sdb").fails(1);
  machine.tool("/usr/local/bin/diskformat").on("/dev/sdd");
  const outcome got = orvctl("disk clear 2,4 --enclosure 1 --yes");
  EXPECT_EQ(got.status, 5);
  EXPECT_THAT(got.err, testing::HasSubstr("\norvctl: disk clear: ORV_E_COMMAND (-11000): a system "
                                          "command failed: not wiped: channel 2\n"));
}

TEST_F(change_verbs, make_hot_spares) {
  changer("/usr/local/bin/diskformat");
  machine.tool("/usr/local/bin/hotspare")
      .on("-a /dev/sdb")
      .runs("echo 'Global hotspare disk: sdd sdb' > /told/spares");
  expect_done("spare add 2 --enclosure 1 --yes",
              "Wiping the disks of channels 2.\nThe disks of channels 2 are hot spares now.");
  EXPECT_THAT(changes(), ElementsAre("/usr/local/bin/diskformat /dev/sdb",
                                     "/usr/local/bin/hotspare -a /dev/sdb"));
}

TEST_F(change_verbs, do_not_call_a_disk_a_spare_that_is_none) {
  changer("/usr/local/bin/diskformat");
  machine.tool("/usr/local/bin/hotspare").on("-a /dev/sdb").fails(1);
  const outcome got = orvctl("spare add 2 --enclosure 1 --yes");
  EXPECT_EQ(got.status, 5) << "the disk is wiped";
  EXPECT_THAT(got.err, testing::HasSubstr("a system command failed: unchanged: channel 2\n"));
}

TEST_F(change_verbs, take_hot_spares_back_without_a_question) {
  machine.tool("/usr/local/bin/hotspare")
      .on("-r /dev/sdd")
      .runs("echo 'Global hotspare disk:' > /told/spares");
  expect_done("spare remove 4 --enclosure 1",
              "The disks of channels 4 are no hot spares any more.");
  EXPECT_THAT(changes(), ElementsAre("/usr/local/bin/hotspare -r /dev/sdd"));
}

TEST_F(change_verbs, create_an_array_and_print_its_name) {
  nothing_is_used();
  changer("/usr/local/bin/diskformat");
  machine.tool("/sbin/mdadm").on("-C /dev/md0 --fg-init -l 6 -n 4 -R ...");
  const outcome got =
      orvctl("raid create --level raid6 --disks 1,2,3,4 --enclosure 1 --foreground --yes");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.out, "md0\n");
  EXPECT_EQ(got.err,
            "Wiping the disks of channels 1,2,3,4, then creating the array.\nCreated md0.\n");
  EXPECT_THAT(changes(), Contains("/sbin/mdadm -C /dev/md0 --fg-init -l 6 -n 4 -R "
                                  "/dev/sda /dev/sdb /dev/sdc /dev/sdd > /dev/null"));
}

TEST_F(change_verbs, give_the_name_of_a_created_array_as_json) {
  nothing_is_used();
  changer("/usr/local/bin/diskformat");
  machine.tool("/sbin/mdadm").on("-C /dev/md7 -l 1 -n 2 -R /dev/sda /dev/sdb");
  EXPECT_EQ(
      result_of("raid create --level raid1 --disks 1,2 --enclosure 1 --name md7 --yes --json"),
      json::parse(R"({"array": "md7", "level": "raid1"})"));
}

TEST_F(change_verbs, hand_spares_over_to_be_checked) {
  const outcome got =
      orvctl("raid create --level raid1 --disks 4,3 --enclosure 1 --spares sde --name md9 --yes");
  EXPECT_EQ(got.status, 4);
  EXPECT_THAT(got.err, testing::HasSubstr("ORV_E_DISK_USED (-2030)"));
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(change_verbs, create_an_array_anew_with_devices_in_the_given_order) {
  machine.tool("/sbin/mdadm").on("-C /dev/md0 -l 5 -n 3 -R /dev/sdc /dev/sda /dev/sdb");
  expect_done("raid recreate md0 --level raid5 --disks sdc,sda,sdb --yes", "Created md0 anew.");
}

TEST_F(change_verbs, create_an_array_anew_with_the_disks_of_channels) {
  machine.tool("/sbin/mdadm").on("-C /dev/md0 -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc");
  expect_done("raid recreate md0 --level raid5 --disks 3,2,1 --enclosure 1 --yes",
              "Created md0 anew.");
}

TEST_F(change_verbs, add_a_disk_to_an_array) {
  machine.tool("/sbin/mdadm").on("--manage /dev/md0 --add /dev/sdd");
  expect_done("raid add md0 4 --yes", "Added the disk of channel 4 to md0.");
}

TEST_F(change_verbs, remove_a_failed_disk_from_an_array) {
  machine.file("/sys/block/md0/md/dev-sdb/state", "faulty\n");
  machine.tool("/sbin/mdadm").on("--manage /dev/md0 -r /dev/sdb").times(2);
  expect_done("raid remove md0 2", "Removed the disk of channel 2 from md0.");
  expect_done("raid remove md0 2 --raid5-only", "Removed the disk of channel 2 from md0.");
}

TEST_F(change_verbs, mark_a_member_failed_by_channel_or_device) {
  machine.tool("/sbin/mdadm").on("/dev/md0 -f /dev/sdb").times(2);
  expect_done("raid fail md0 2 --yes", "Marked sdb in md0 as failed.");
  expect_done("raid fail md0 sdb --yes", "Marked sdb in md0 as failed.");
}

TEST_F(change_verbs, mark_every_member_failed) {
  machine.tool("/sbin/mdadm").on("/dev/md0 -f *").times(3);
  expect_done("raid fail-all md0 --yes", "Marked the members of md0 as failed.");
  EXPECT_EQ(changes().size(), 3u);
}

TEST_F(change_verbs, destroy_an_array) {
  machine.tool("/sbin/mdadm").on("-S /dev/md1");
  expect_done("raid destroy md1 --yes", "Destroyed md1.");
}

TEST_F(change_verbs, create_a_volume_group_of_arrays_without_a_question) {
  changer("/sbin/pvcreate");
  changer("/sbin/vgcreate");
  expect_done("vg create vg2 --pv md1", "Created vg2.");
  EXPECT_THAT(changes(), ElementsAre("/sbin/pvcreate /dev/md1 > /dev/null",
                                     "/sbin/vgcreate vg2  /dev/md1 > /dev/null"));
}

TEST_F(change_verbs, create_a_volume_group_of_several_volumes) {
  tell("spares", "Global hotspare disk:\n");
  changer("/usr/local/bin/diskformat");
  changer("/sbin/pvcreate");
  changer("/sbin/vgcreate");
  expect_done("vg create --pv md1 --pv 4 vg2 --enclosure 1 --yes",
              "Wiping the disks of channels 4.\nCreated vg2.");
  EXPECT_THAT(changes(), ElementsAre("/sbin/pvcreate /dev/md1 > /dev/null",
                                     "/usr/local/bin/diskformat /dev/sdd",
                                     "/sbin/pvcreate /dev/sdd > /dev/null",
                                     "/sbin/vgcreate vg2  /dev/md1 /dev/sdd > /dev/null"));
}

TEST_F(change_verbs, extend_and_destroy_volume_groups) {
  changer("/sbin/pvcreate");
  changer("/sbin/vgextend");
  expect_done("vg extend vg1 md1 --enclosure 1", "Extended vg1 by md1.");
  EXPECT_THAT(changes(), ElementsAre("/sbin/pvcreate /dev/md1 > /dev/null",
                                     "/sbin/vgextend vg1 /dev/md1 > /dev/null"));
  machine.forget();
  const outcome got = orvctl("vg destroy vg1 --yes");
  EXPECT_EQ(got.status, 4) << "it holds a pool";
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(change_verbs, remove_a_volume_group_without_pools) {
  tell("pools", "");
  tell("groups", "  vg1:r/w:772:-1:0:0:0:-1:0:1:1:1953255424:4096:476869:0:476869:u\n");
  for (const char* tool : {"/sbin/vgremove", "/sbin/pvremove"}) changer(tool);
  EXPECT_EQ(result_of("vg destroy vg1 --yes --json"), json::parse(R"({"volume_group": "vg1"})"));
}

TEST_F(change_verbs, have_nothing_to_wait_for_at_a_whole_array) {
  const outcome got = orvctl("raid watch md0 --json");
  EXPECT_EQ(got.status, 0) << got.out << got.err;
  EXPECT_EQ(json::parse(got.out)["arrays"][0]["state"], "clean");
}

TEST_F(change_verbs, create_and_extend_pools) {
  changer("/sbin/lvcreate");
  changer("/sbin/lvextend");
  expect_done("pool create vg1 new 100", "Created vg1/new.");
  expect_done("pool extend vg1 data 501", "Extended vg1/data to 501 GiB.");
  EXPECT_THAT(changes(), ElementsAre("/sbin/lvcreate -L 100G -n new vg1 > /dev/null",
                                     "/sbin/lvextend -L 501G /dev/vg1/data > /dev/null"));
}

TEST_F(change_verbs, destroy_pools_and_make_file_systems) {
  changer("/sbin/mkfs.xfs");
  changer("/sbin/lvremove");
  expect_done("pool mkfs vg1 data --yes",
              "Making a file system on vg1/data.\nMade a file system on vg1/data.");
  expect_done("pool destroy vg1 data -y", "Destroyed vg1/data.");
  EXPECT_THAT(changes(), ElementsAre("/sbin/mkfs.xfs -f -ssize=4k /dev/vg1/data > /dev/null",
                                     "/sbin/lvremove -f vg1/data > /dev/null"));
}

TEST_F(change_verbs, mount_and_unmount) {
  for (const char* tool : {"mount", "chmod", "umount"}) changer(tool);
  expect_done("fs mount /mnt/new vg1 data", "Mounted vg1/data on /mnt/new.");
  expect_done("fs umount /mnt/new", "Unmounted /mnt/new.");
  EXPECT_THAT(changes(),
              ElementsAre("mount -t xfs -o inode64 /dev/vg1/data /mnt/new > /dev/null",
                          "chmod 0777 /mnt/new > /dev/null", "umount /mnt/new > /dev/null"));
}

TEST_F(change_verbs, make_and_remove_mount_points) {
  for (const char* tool : {"mkdir", "chattr", "rm"}) changer(tool);
  expect_done("fs mkdir /mnt/new", "Made the mount point /mnt/new.");
  expect_done("fs rmdir /mnt/new --yes", "Removed /mnt/new.");
  EXPECT_THAT(
      changes(),
      ElementsAre("mkdir -m 0444 -p /mnt/new > /dev/null", "chattr  +i /mnt/new > /dev/null",
                  "chattr  -i /mnt/new > /dev/null", "rm -rf /mnt/new > /dev/null"));
}

TEST_F(change_verbs, keep_the_mount_table) {
  machine.tool("mv").is_real();
  expect_done("fs table-add /mnt/new vg1 new", "Listed /mnt/new in the mount table.");
  expect_done("fs table-remove /mnt/data", "/mnt/data is not in the mount table any more.");
  EXPECT_EQ(machine.read("/etc/mdfstab"), "/dev/vg1/new\t/mnt/new\txfs\tdefaults\t0 0\n");
}

TEST_F(change_verbs, answer_questions_with_their_exit_status) {
  EXPECT_EQ(orvctl("fs mounted /mnt/data").status, 0);
  EXPECT_EQ(orvctl("fs mounted /mnt/data").out, "/mnt/data is mounted.\n");
  EXPECT_EQ(orvctl("fs mounted /mnt/other").status, 3);
  EXPECT_EQ(orvctl("fs check data").out, "data is in the mount table.\n");
  EXPECT_EQ(orvctl("fs check other").status, 3);
  const outcome got = orvctl("fs check other --json");
  EXPECT_EQ(json::parse(got.out), json::parse(R"({"format_version": 2,
      "result": {"pool": "other", "listed": false}})"));
  machine.remove("/etc/mdfstab");
  EXPECT_EQ(orvctl("fs check data").status, 1);
}

TEST_F(change_verbs, hand_hostile_names_over_as_one_word) {
  changer("/sbin/lvcreate");
  const outcome got = run({"pool", "create", "vg1", "a b; $(reboot)", "1"}, "", false);
  EXPECT_EQ(got.status, 0);
  EXPECT_THAT(changes(), ElementsAre("/sbin/lvcreate -L 1G -n 'a b; $(reboot)' vg1 > /dev/null"));
}

TEST_F(change_verbs, leave_nothing_behind) {
  changer("/sbin/pvcreate");
  changer("/sbin/vgcreate");
  orvctl("vg create vg2 --pv md1");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}
