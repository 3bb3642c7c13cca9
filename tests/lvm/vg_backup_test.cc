#include "tests/lvm/storage_machine.h"

using testing::IsEmpty;

class vg_backup : public storage_machine {
 protected:
  void backup(const std::string& text) { machine.file("/etc/lvm/backup/vg0", text); }

  /// The first device of vg0, or the result code.
  std::string first_device() {
    char device[256] = "unchanged";
    const int result = vg_get_pv("vg0", device);
    return result == ORV_OK ? device : std::to_string(result) + " " + device;
  }
};

TEST_F(vg_backup, names_the_first_array_or_disk) {
  backup(fixture("lvm_backup/md_and_disk.txt"));
  EXPECT_EQ(first_device(), "md0");
  backup(
      "device = \"/dev/loop0\"\n  device = \"/dev/mapper/x\"\n\tdevice = \"/dev/sdb\" # hint\t\n");
  EXPECT_EQ(first_device(), "sdb");
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(vg_backup, passes_over_lines_without_a_whole_device) {
  backup(
      "device = \"/dev/sda\ndevice = sdb\"\ndevice=\"/dev/sdc\"\n# device = \"/dev/sdd\"\n"
      "device = \"/dev/sde\" # a/b\nxdevice = \"/dev/sdf\"\ndevice = \"");
  EXPECT_EQ(first_device(), "-2040 unchanged");
}

TEST_F(vg_backup, sees_255_characters_of_a_line) {
  backup(std::string(300, ' ') + "device = \"/dev/sda\"\n" + "device = \"/dev/sd" +
         std::string(100000, 'x') + "\"\ndevice = \"/dev/sdb\"\n");
  EXPECT_EQ(first_device(), "sdb");
  // The closing quote is the 255th character, and then the 256th.
  const std::string start = "device = \"/dev/";
  const std::string longest = "sd" + std::string(254 - start.size() - 2, 'x');
  backup(start + longest + "\"\n");
  EXPECT_EQ(first_device(), longest);
  backup(start + longest + "x\"\n");
  EXPECT_EQ(first_device(), "-2040 unchanged");
}

TEST_F(vg_backup, that_cannot_be_read_on_is_told) {
  backup(fixture("lvm_backup/md_and_disk.txt"));
  machine.fail("fread", EIO, 1);
  EXPECT_EQ(first_device(), "-2040 unchanged");
  EXPECT_EQ(machine.log(), "vg_get_pv:N return -2040 with Input/output error\n");
}

TEST_F(vg_backup, may_be_missing_empty_or_noise) {
  EXPECT_EQ(first_device(), "-2040 unchanged");
  backup("");
  EXPECT_EQ(first_device(), "-2040 unchanged");
  backup(std::string("\0\xff\n\0device = \"/dev/sda\"\n", 24));
  EXPECT_EQ(first_device(), "-2040 unchanged");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(vg_backup, is_a_file_in_the_directory_of_backups) {
  machine.file("/etc/other", fixture("lvm_backup/md_and_disk.txt"));
  machine.directory("/etc/lvm/backup/vg1");
  char device[256];
  for (const char* name : {"../../other", "/etc/other", "vg1", "", ".", ".."}) {
    EXPECT_EQ(vg_get_pv(name, device), -2040) << name;
  }
  EXPECT_EQ(vg_get_pv(nullptr, device), -2040);
  EXPECT_EQ(vg_get_pv("vg0", nullptr), ORV_E_FAILED);
}
