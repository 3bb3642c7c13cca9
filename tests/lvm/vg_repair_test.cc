#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

class vg_repair : public storage_machine {
 protected:
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
  EXPECT_NE(vgcfgrestore("vg0"), ORV_OK);
  EXPECT_NE(vgcfgrestore(""), ORV_OK);
  EXPECT_NE(vgcfgrestore(nullptr), ORV_OK);
  EXPECT_NE(vgcfgrestore("--force"), ORV_OK);
  EXPECT_THAT(machine.log_lines().front(), failed_command("/sbin/vgcfgrestore vg0", 5));
  EXPECT_EQ(machine.log_lines().size(), 4U);
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/vgcfgrestore vg0"));
}

TEST_F(vg_repair, resumes_a_group_that_lost_a_volume) {
  changers({"/sbin/pvcreate", "/sbin/vgcfgrestore"});
  backup();
  EXPECT_EQ(md_vg_resume("vg0", "md2"), -1);
  EXPECT_THAT(machine.commands(),
              ElementsAre("/sbin/pvcreate -u a-2 /dev/ram1", "/sbin/vgcfgrestore vg0"));
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
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
  EXPECT_EQ(changes().size(), 3U);
  EXPECT_EQ(machine.log_lines().size(), 3U);
}

TEST_F(vg_repair, restores_the_group_of_an_array_that_is_not_in_the_backup) {
  changer("/sbin/vgcfgrestore");
  backup();
  lost_array("md7", {"sdc faulty"});
  EXPECT_EQ(vg_check_rm("vg0"), -1);
  EXPECT_THAT(changes(), ElementsAre("/sbin/vgcfgrestore vg0"));
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
}

TEST_F(vg_repair, changes_nothing_when_an_array_cannot_be_described) {
  backup();
  array("md1", {"sda in_sync", "sdb in_sync"});
  machine.remove("/canned/dev/md1");
  EXPECT_EQ(vg_check_rm("vg0"), -11000);
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
