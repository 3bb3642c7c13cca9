#include "common/handles.h"
#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class vg_repair : public storage_machine {
 protected:
  static constexpr char passed_over[] = "vg_check_rm:N return -11000 with Device or resource busy";
  void backup() {
    machine.file("/etc/lvm/backup/vg0",
                 "id = \"g\"\nseqno = 1\n\tid = \"a-1\"\n\tdevice = \"/dev/md1\"\n"
                 "\tid = \"a-2\"\n\tdevice = \"/dev/md2\"\n");
  }
  /// A mirror that is inactive: fewer than all but one of its members are in sync.
  void lost_array(const std::string& name, const sandbox::lines& members) {
    array(name, members);
    machine.file("/sys/block/" + name + "/md/raid_disks", "4\n");
  }
};

TEST_F(vg_repair, restores_metadata_without_redirection) {
  changer("/sbin/vgcfgrestore");
  EXPECT_EQ(vgcfgrestore("vg0"), ORV_OK);
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/vgcfgrestore vg0"));
}

TEST_F(vg_repair, logs_metadata_that_cannot_be_restored) {
  machine.tool("/sbin/vgcfgrestore").fails(5);
  for (const char* const name : {"vg0", "", static_cast<const char*>(nullptr), "--force"})
    EXPECT_EQ(vgcfgrestore(name), -1);
  EXPECT_THAT(machine.log_lines().front(), failed_command("/sbin/vgcfgrestore vg0", 5));
  EXPECT_EQ(machine.log_lines().size(), 4U);
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/vgcfgrestore vg0"));
}

TEST_F(vg_repair, passes_a_strange_name_as_one_word) {
  changer("/sbin/vgcfgrestore");
  for (const hostile_name& hostile : hostile_names) {
    machine.forget();
    EXPECT_EQ(vgcfgrestore(hostile.name), ORV_OK);
    EXPECT_THAT(machine.calls(), ElementsAre(ElementsAre("/sbin/vgcfgrestore", hostile.name)));
  }
}

TEST_F(vg_repair, resumes_a_group_that_lost_a_volume) {
  changers({"/sbin/pvcreate", "/sbin/vgcfgrestore"});
  backup();
  EXPECT_EQ(md_vg_resume("vg0", "md2"), -1);
  EXPECT_THAT(machine.commands(),
              ElementsAre("/sbin/pvcreate -u a-2 /dev/ram1", "/sbin/vgcfgrestore vg0"));
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(vg_repair, resumes_a_group_although_a_tool_fails) {
  backup();
  machine.tool("/sbin/pvcreate").fails(5);
  changer("/sbin/vgcfgrestore");
  EXPECT_EQ(md_vg_resume("vg0", "md2"), -1);
  machine.tool("/sbin/pvcreate").succeeds();
  machine.tool("/sbin/vgcfgrestore").fails(3);
  EXPECT_EQ(md_vg_resume("vg0", "md1"), -1);
  EXPECT_THAT(machine.commands(),
              ElementsAre("/sbin/pvcreate -u a-2 /dev/ram1", "/sbin/vgcfgrestore vg0",
                          "/sbin/pvcreate -u a-1 /dev/ram1", "/sbin/vgcfgrestore vg0"));
  EXPECT_THAT(machine.log_lines(), ElementsAre(failed_command("/sbin/pvcreate -u a-2 /dev/ram1", 5),
                                               failed_command("/sbin/vgcfgrestore vg0", 3)));
}

TEST_F(vg_repair, resumes_nothing_from_a_backup_that_cannot_be_read) {
  backup();
  machine.fail("fread", EIO, 1);
  EXPECT_EQ(md_vg_resume("vg0", "md2"), -11000);
  EXPECT_EQ(machine.log(), "pv_check_rm:N return -11000 with Input/output error\n");
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(vg_repair, resumes_nothing_for_a_volume_that_is_not_in_the_backup) {
  EXPECT_EQ(md_vg_resume("vg0", "md1"), -2040);
  backup();
  EXPECT_EQ(md_vg_resume("vg0", "md3"), 0);
  EXPECT_EQ(md_vg_resume("vg1", "md1"), -2040);
  EXPECT_EQ(md_vg_resume(nullptr, nullptr), -2040);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(vg_repair, fails_the_members_of_the_first_inactive_array_and_restores_the_group) {
  changers({"/sbin/pvcreate", "/sbin/vgcfgrestore"});
  machine.tool("/sbin/mdadm").on("/dev/md2 -f *").succeeds();
  backup();
  array("md1", {"sda in_sync", "sdb in_sync"});
  lost_array("md2", {"sdc in_sync"});
  lost_array("md3", {"sdd in_sync"});
  EXPECT_EQ(vg_check_rm("vg0"), -1);
  EXPECT_THAT(changes(), ElementsAre("/sbin/mdadm /dev/md2 -f /dev/sdc",
                                     "/sbin/pvcreate -u a-2 /dev/ram1", "/sbin/vgcfgrestore vg0"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(vg_repair, goes_on_when_its_tools_fail) {
  machine.tool("/sbin/mdadm").on("/dev/md1 -f /dev/sdc").fails(1);
  machine.tool("/sbin/pvcreate").fails(5);
  machine.tool("/sbin/vgcfgrestore").fails(5);
  backup();
  lost_array("md1", {"sdc in_sync"});
  EXPECT_EQ(vg_check_rm("vg0"), -1);
  EXPECT_THAT(changes(), ElementsAre("/sbin/mdadm /dev/md1 -f /dev/sdc",
                                     "/sbin/pvcreate -u a-1 /dev/ram1", "/sbin/vgcfgrestore vg0"));
  EXPECT_THAT(machine.log_lines(), ElementsAre(failed_command("/sbin/mdadm /dev/md1 -f /dev/sdc"),
                                               failed_command("/sbin/pvcreate -u a-1 /dev/ram1", 5),
                                               failed_command("/sbin/vgcfgrestore vg0", 5)));
}

TEST_F(vg_repair, restores_the_group_of_an_array_that_is_not_in_the_backup) {
  changer("/sbin/vgcfgrestore");
  backup();
  lost_array("md7", {"sdc faulty"});
  EXPECT_EQ(vg_check_rm("vg0"), -1);
  EXPECT_THAT(changes(), ElementsAre("/sbin/vgcfgrestore vg0"));
}

TEST_F(vg_repair, restores_the_group_of_an_array_that_lost_its_disks) {
  changers({"/sbin/pvcreate", "/sbin/vgcfgrestore"});
  machine.tool("/sbin/mdadm").on("/dev/md0 -f /dev/sdd").fails(1);
  machine.file("/etc/lvm/backup/vg1", fixture("lvm_backup/md_and_disk.txt"));
  machine.file("/proc/mdstat", fixture("mdstat/raid5_inactive.txt"));
  canned("dev/md0", fixture("mdadm_detail/raid5_inactive.txt"));
  machine.file("/sys/block/md0/md/raid_disks", "\n");
  machine.file("/sys/block/md0/md/dev-sdd/state", "spare\n");
  EXPECT_EQ(vg_check_rm("vg1"), -1);
  EXPECT_THAT(changes(),
              ElementsAre("/sbin/mdadm /dev/md0 -f /dev/sdd",
                          "/sbin/pvcreate -u ShokST-iASS-f5G8-tFUh-KUVn-HNTG-fB1g85 /dev/ram1",
                          "/sbin/vgcfgrestore vg1"));
}

TEST_F(vg_repair, changes_nothing_while_every_array_is_active) {
  backup();
  array("md1", {"sda in_sync", "sdb faulty"});
  EXPECT_EQ(vg_check_rm("vg0"), 0);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_repair, changes_nothing_without_a_backup) {
  lost_array("md1", {"sdc in_sync"});
  EXPECT_EQ(vg_check_rm("vg0"), -2040);
  EXPECT_EQ(vg_check_rm(nullptr), -2040);
  EXPECT_EQ(vg_check_rm("."), -2040);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(vg_repair, changes_nothing_when_an_array_cannot_be_described) {
  backup();
  array("md1", {"sda in_sync", "sdb in_sync"});
  machine.remove("/canned/dev/md1");
  for (const char* const state : {"", "clean\n"}) {
    machine.file("/sys/block/md1/md/array_state", state);
    machine.forget();
    EXPECT_EQ(vg_check_rm("vg0"), -11000) << state;
    EXPECT_THAT(machine.log_lines(),
                ElementsAre(testing::HasSubstr("/sbin/mdadm --detail"), passed_over))
        << state;
  }
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_repair, repairs_an_array_that_mdadm_cannot_describe_when_the_kernel_says_it_is_inactive) {
  changers({"/sbin/pvcreate", "/sbin/vgcfgrestore"});
  machine.tool("/sbin/mdadm").on("/dev/md1 -f *").succeeds();
  backup();
  array("md1", {"sda in_sync"});
  machine.remove("/canned/dev/md1");
  for (const char* const state : {"inactive\n", "clear\n"}) {
    machine.file("/sys/block/md1/md/array_state", state);
    machine.forget();
    EXPECT_EQ(vg_check_rm("vg0"), -1) << state;
    EXPECT_THAT(changes(),
                ElementsAre("/sbin/mdadm /dev/md1 -f /dev/sda", "/sbin/pvcreate -u a-1 /dev/ram1",
                            "/sbin/vgcfgrestore vg0"));
  }
}

TEST_F(vg_repair, passes_over_a_doubtful_array_for_one_that_is_inactive) {
  changers({"/sbin/pvcreate", "/sbin/vgcfgrestore"});
  machine.tool("/sbin/mdadm").on("/dev/md2 -f *").succeeds();
  backup();
  array("md1", {"sda in_sync", "sdb in_sync"});
  machine.remove("/canned/dev/md1");
  lost_array("md2", {"sdc in_sync"});
  EXPECT_EQ(vg_check_rm("vg0"), -1);
  EXPECT_THAT(changes(), ElementsAre("/sbin/mdadm /dev/md2 -f /dev/sdc",
                                     "/sbin/pvcreate -u a-2 /dev/ram1", "/sbin/vgcfgrestore vg0"));
}

TEST_F(vg_repair, fails_no_member_when_the_backup_cannot_be_read) {
  changers({"/sbin/pvcreate", "/sbin/vgcfgrestore"});
  machine.tool("/sbin/mdadm").on("/dev/md1 -f *").succeeds();
  backup();
  lost_array("md1", {"sdc in_sync"});
  // What is read before belongs to the arrays.
  const std::string told = "vg_check_rm:N return -11000 with Input/output error\n";
  for (int nth = 1; nth < 50 && machine.log() != told; ++nth) {
    machine.forget();
    machine.fail("fread", EIO, nth);
    vg_check_rm("vg0");
  }
  EXPECT_EQ(machine.log(), told);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_repair, changes_nothing_of_an_array_that_runs_and_whose_description_was_cut_short) {
  changers({"/sbin/pvcreate", "/sbin/vgcfgrestore"});
  machine.tool("/sbin/mdadm").on("/dev/md1 -f /dev/sda").succeeds();
  machine.tool("/sbin/mdadm").on("/dev/md1 -f /dev/sdb").succeeds();
  backup();
  array("md1", {"sda in_sync", "sdb in_sync"});
  const std::string whole = machine.read("/canned/dev/md1");
  canned("dev/md1", whole.substr(0, whole.find("State :")));
  for (const char* state : {"clean\n", "active-idle\n", "readonly\n"}) {
    machine.file("/sys/block/md1/md/array_state", state);
    EXPECT_EQ(vg_check_rm("vg0"), -11000) << state;
  }
  EXPECT_THAT(changes(), IsEmpty());
  // Neither of one that has lost no more than it may.
  machine.file("/sys/block/md1/md/dev-sdb/state", "faulty\n");
  machine.file("/sys/block/md1/md/array_state", "clean\n");
  machine.file("/sys/block/md1/md/level", "raid1\n");
  machine.file("/sys/block/md1/md/degraded", "1\n");
  canned("dev/md1", "Raid Level : raid1\nArray Size : 1048576\n");
  EXPECT_EQ(vg_check_rm("vg0"), -11000);
  canned("dev/md1", "Raid Level : rai\nArray Size : 1048576\n");
  EXPECT_EQ(vg_check_rm("vg0"), -11000);
  EXPECT_THAT(changes(), IsEmpty());
  canned("dev/md1", "Raid Level : raid1\nArray Size : 1048576\n");
  machine.file("/sys/block/md1/md/degraded", "2\n");
  EXPECT_EQ(vg_check_rm("vg0"), -1);
  machine.file("/sys/block/md1/md/dev-sdb/state", "in_sync\n");
  // The kernel has the last word, and without it mdadm.
  for (const char* state : {"inactive\n", "clear\n", ""}) {
    machine.file("/sys/block/md1/md/array_state", state);
    EXPECT_EQ(vg_check_rm("vg0"), -1) << state;
  }
  machine.remove("/sys/block/md1/md/array_state");
  EXPECT_EQ(vg_check_rm("vg0"), -1);
}

TEST_F(vg_repair, takes_the_level_from_mdadm_when_the_kernel_does_not_tell_it) {
  changers({"/sbin/pvcreate", "/sbin/vgcfgrestore"});
  machine.tool("/sbin/mdadm").on("/dev/md1 -f /dev/sda").succeeds();
  backup();
  array("md1", {"sda in_sync", "sdb faulty"});
  canned("dev/md1", "Raid Level : raid1\nArray Size : 1048576\n");
  machine.file("/sys/block/md1/md/array_state", "clean\n");
  for (const char* level : {"raid1\n", ""}) {
    machine.file("/sys/block/md1/md/level", level);
    machine.file("/sys/block/md1/md/degraded", "1\n");
    EXPECT_EQ(vg_check_rm("vg0"), -11000) << level;
    EXPECT_THAT(changes(), IsEmpty()) << level;
  }
  machine.file("/sys/block/md1/md/degraded", "2\n");
  EXPECT_EQ(vg_check_rm("vg0"), -1);
}

TEST_F(vg_repair, repairs_an_array_that_runs_when_its_level_allows_no_lost_or_spare_member) {
  changers({"/sbin/pvcreate", "/sbin/vgcfgrestore"});
  machine.tool("/sbin/mdadm").on("/dev/md1 -f *").succeeds();
  backup();
  array("md1", {"sda in_sync", "sdb in_sync", "sdc spare"});
  canned("dev/md1", "Raid Level : raid10\nArray Size : 1048576\nState : clean\n");
  machine.file("/sys/block/md1/md/array_state", "clean\n");
  machine.file("/sys/block/md1/md/level", "raid10\n");
  machine.file("/sys/block/md1/md/degraded", "0\n");
  EXPECT_EQ(vg_check_rm("vg0"), -1);
  EXPECT_THAT(changes(), UnorderedElementsAre(
                             "/sbin/mdadm /dev/md1 -f /dev/sda", "/sbin/mdadm /dev/md1 -f /dev/sdb",
                             "/sbin/mdadm /dev/md1 -f /dev/sdc", "/sbin/pvcreate -u a-1 /dev/ram1",
                             "/sbin/vgcfgrestore vg0"));
}

/// A running array of three members, of which no state can be read.
class unreadable_array : public vg_repair {
 protected:
  void unreadable(const std::string& level, const std::string& degraded = "0") {
    backup();
    arrays_are("");
    machine.remove("/sys/block/md1");
    array("md1", {"sda in_sync", "sdb in_sync", "sdc in_sync"});
    canned("dev/md1", "Raid Level : " + level + "\nArray Size : 1048576\nState : clean\n");
    machine.file(md + "array_state", "clean\n");
    machine.file(md + "level", level + "\n");
    machine.file(md + "degraded", degraded + "\n");
    for (const char* const disk : {"sda", "sdb", "sdc"})
      cannot_be_read("dev-" + std::string(disk) + "/state");
  }
  void cannot_be_read(const std::string& attribute) {
    machine.remove(md + attribute);
    machine.directory(md + attribute);
  }
  const std::string md = "/sys/block/md1/md/";
};

TEST_F(unreadable_array, is_left_alone_at_every_level) {
  for (const char* const level : {"raid1", "raid5", "raid6"}) {
    unreadable(level);
    machine.forget();
    EXPECT_EQ(vg_check_rm("vg0"), -11000) << level;
    EXPECT_THAT(machine.log_lines(), ElementsAre(passed_over)) << level;
  }
  machine.forget();
  for (const char* const level : {"raid0", "raid10", "linear"}) {
    unreadable(level);
    EXPECT_EQ(vg_check_rm("vg0"), 0) << level;
  }
  EXPECT_THAT(changes(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(unreadable_array, is_left_alone_when_it_bears_its_lost_member) {
  unreadable("raid5", "1");
  machine.remove(md + "dev-sdc/state");
  machine.file(md + "dev-sdc/state", "faulty\n");
  EXPECT_EQ(vg_check_rm("vg0"), -11000);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(unreadable_array, is_left_alone_when_the_kernel_cannot_be_asked_about_it_either) {
  for (const char* const attribute : {"degraded", "level", "array_state"}) {
    unreadable("raid5", "1");
    machine.remove(md + "dev-sdc/state");
    machine.file(md + "dev-sdc/state", "faulty\n");
    cannot_be_read(attribute);
    EXPECT_EQ(vg_check_rm("vg0"), -11000) << attribute;
    machine.remove(md + attribute);
  }
  unreadable("raid5");
  for (int nth = 1; nth <= 30; ++nth) {
    machine.fail("read", EIO, nth);
    const int result = vg_check_rm("vg0");
    EXPECT_TRUE(result == -11000 || result == 0) << nth << ' ' << result;
  }
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_repair, changes_nothing_when_the_arrays_cannot_be_listed) {
  backup();
  lost_array("md1", {"sdc in_sync"});
  array("md2", {"sda in_sync"});
  machine.remove("/sys/block/md2");
  EXPECT_EQ(vg_check_rm("vg0"), -1032);
  machine.remove("/proc/mdstat");
  EXPECT_EQ(vg_check_rm("vg0"), -11000);
  EXPECT_THAT(changes(), IsEmpty());
}

/// Gives the identifier of a volume of vg1 to the RAM disk.
class lost_volume : public storage_machine {
 protected:
  lost_volume() { backup(fixture("lvm_backup/md_and_disk.txt")); }

  void backup(const std::string& text) { machine.file("/etc/lvm/backup/vg1", text); }
  /// Whoever read the backup before may have left it at its end.
  int recreate(const char* volume) {
    const orv::unique_file file(std::fopen("/etc/lvm/backup/vg1", "re"));
    EXPECT_EQ(std::fseek(file.get(), 0, SEEK_END), 0);
    return pv_check_rm(file.get(), volume);
  }
};

TEST_F(lost_volume, passes_its_identifier_on_to_a_ram_disk) {
  changer("/sbin/pvcreate");
  EXPECT_EQ(recreate("sdg"), -1);
  EXPECT_EQ(recreate("md0"), -1);
  EXPECT_THAT(changes(),
              ElementsAre("/sbin/pvcreate -u 1dv5bE-3TMy-MfkR-C0yv-oGqT-uWJj-t35irh /dev/ram1",
                          "/sbin/pvcreate -u ShokST-iASS-f5G8-tFUh-KUVn-HNTG-fB1g85 /dev/ram1"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(lost_volume, is_told_although_the_tool_fails) {
  machine.tool("/sbin/pvcreate").fails(5);
  EXPECT_EQ(recreate("md0"), -1);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command(
                  "/sbin/pvcreate -u ShokST-iASS-f5G8-tFUh-KUVn-HNTG-fB1g85 /dev/ram1", 5)));
}

TEST_F(lost_volume, runs_nothing_when_the_backup_does_not_hold_it) {
  for (const char* volume : {"md2", "md", "", "data", "/dev/md0"}) EXPECT_EQ(recreate(volume), 0);
  EXPECT_EQ(recreate(nullptr), 0);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(lost_volume, has_its_device_directly_behind_its_identifier) {
  for (const char* const text :
       {"id = \"a\"\nseqno = 1\ndevice = \"/dev/md1\"\n", "id=\"c\"\ndevice = \"/dev/md1\"\n",
        "id = \"d\"\ndevice = \"/dev/md1\n", "id = \"e\"",
        "id = \"f\"\nid = \"g\"\ndevice = \"/dev/md1\"\n", "id = \"h\"\ndevice = \"md1\"\n"}) {
    backup(text);
    EXPECT_EQ(recreate("md1"), 0) << text;
  }
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(lost_volume, is_told_although_its_identifier_cannot_be_used) {
  for (const char* const identifier : {"\"", "b", "\"\""}) {
    machine.forget();
    backup(std::string("id = ") + identifier + "\ndevice = \"/dev/md1\"\n");
    EXPECT_EQ(recreate("md1"), -1) << identifier;
    EXPECT_THAT(machine.log_lines(),
                ElementsAre(command_not_run("/sbin/pvcreate -u  /dev/ram1", "Invalid argument")));
  }
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(lost_volume, is_not_the_one_that_a_device_id_names) {
  changer("/sbin/pvcreate");
  backup(
      "\tid = \"a-1\"\n\tdevice = \"/dev/md1\"\n\n\tdevice_id_type = \"sys_wwid\"\n"
      "\tdevice_id = \"naa.5000/md2\"\n\tid = \"a-2\"\n\tdevice = \"/dev/md2\"\t# Hint only\n");
  EXPECT_EQ(recreate("md2"), -1);
  EXPECT_THAT(changes(), ElementsAre("/sbin/pvcreate -u a-2 /dev/ram1"));
}

TEST_F(lost_volume, may_have_a_strange_identifier_which_is_passed_as_one_word) {
  changer("/sbin/pvcreate");
  backup("id = \"a\"; reboot; \"b\"\ndevice = \"/dev/md1\"\n");
  EXPECT_EQ(recreate("md1"), -1);
  EXPECT_THAT(machine.calls(),
              ElementsAre(ElementsAre("/sbin/pvcreate", "-u", "a\"; reboot; \"b", "/dev/ram1")));
}

TEST_F(lost_volume, is_not_told_by_a_backup_that_is_not_open) {
  EXPECT_EQ(pv_check_rm(nullptr, "md1"), 0);
  EXPECT_THAT(machine.log_lines(), ElementsAre("pv_check_rm:N return -1 with Invalid argument"));
}
