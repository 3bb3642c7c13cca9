#include "tests/disk/machine_with_disks.h"

using testing::IsEmpty;

class sysfs_disk : public disk_test {
 protected:
  /// The size that a disk gets from the text of its size file.
  uint64_t size_of(const std::string& sectors) {
    disk_list_fini(&list);
    sysfs("sda", sectors, "", "");
    const tag_disk_info& disk = add("sda", 1, "0");
    EXPECT_EQ(get_diskinfo_from_sd(&list), ORV_OK);
    return disk.size;
  }
};

TEST_F(sysfs_disk, fills_size_state_and_model_of_every_disk) {
  sysfs("sda", "1953525168\n", "running\n", "WDC WD1002FBYS-0\n");
  sysfs("sdb", "3907029168\n", "offline\n", " ST32000644NS   \n");
  add("sda", 1, "0");
  add("sdb", 2, "0");
  EXPECT_EQ(get_diskinfo_from_sd(&list), ORV_OK);
  const auto found = disks();
  EXPECT_EQ(found[0]->size, 932U);
  EXPECT_STREQ(found[0]->state, "running");
  EXPECT_STREQ(found[0]->model, "WDC WD1002FBYS-0");
  EXPECT_EQ(found[1]->size, 1863U);
  EXPECT_STREQ(found[1]->state, "offline");
  EXPECT_STREQ(found[1]->model, "ST32000644NS");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(sysfs_disk, of_a_real_machine_is_read) {
  sysfs("sda", fixture("sysfs_disk/size.txt"), fixture("sysfs_disk/state.txt"),
        fixture("sysfs_disk/model.txt"));
  const tag_disk_info& disk = add("sda", 1, "0");
  EXPECT_EQ(get_diskinfo_from_sd(&list), ORV_OK);
  EXPECT_EQ(disk.size, 0U);  // 409600 sectors are 0.2 GiB
  EXPECT_STREQ(disk.state, "running");
  EXPECT_STREQ(disk.model, "QEMU HARDDISK");
}

TEST_F(sysfs_disk, rounds_the_size_to_the_nearest_gib) {
  EXPECT_EQ(size_of("1048575\n"), 0U);
  EXPECT_EQ(size_of("1048576\n"), 1U);
  EXPECT_EQ(size_of("2097152\n"), 1U);
  EXPECT_EQ(size_of("3145727\n"), 1U);
  EXPECT_EQ(size_of("3145728"), 2U);
}

TEST_F(sysfs_disk, survives_a_size_that_is_none) {
  EXPECT_EQ(size_of(""), 0U);
  EXPECT_EQ(size_of("sectors\n"), 0U);
  EXPECT_EQ(size_of(" 2097152 sectors\n"), 1U);
  EXPECT_EQ(size_of("99999999999999999999999999\n"), UINT64_MAX / 2097152 + 1);
}

TEST_F(sysfs_disk, text_is_cut_to_its_field) {
  sysfs("sda", "0", std::string(100'000, 's'), std::string(40, 'm'));
  const tag_disk_info& disk = add("sda", 1, "0");
  EXPECT_EQ(get_diskinfo_from_sd(&list), ORV_OK);
  EXPECT_EQ(disk.state, std::string(31, 's'));
  EXPECT_EQ(disk.model, std::string(31, 'm'));
}

TEST_F(sysfs_disk, sees_256_bytes_of_a_file) {
  sysfs("sda", std::string(256, ' ') + "2097152", std::string(255, ' ') + "running", "m");
  const tag_disk_info& disk = add("sda", 1, "0");
  EXPECT_EQ(get_diskinfo_from_sd(&list), ORV_OK);
  EXPECT_EQ(disk.size, 0U);
  EXPECT_STREQ(disk.state, "r");
}

TEST_F(sysfs_disk, unreadable_file_ends_the_work_on_that_disk_only) {
  sysfs("sdb", "2097152", "running", "model");
  sysfs("sdc", "2097152", "running", "model");
  sysfs("sdd", "2097152", "running", "model");
  machine.remove("/sys/block/sdb/device/state");
  machine.remove("/sys/block/sdc/device/model");
  for (const char* name : {"sda", "sdb", "sdc", "sdd", ""}) add(name, 1, "0");
  EXPECT_EQ(get_diskinfo_from_sd(&list), ORV_OK);
  sandbox::lines filled;
  for (const tag_disk_info* disk : disks()) {
    filled.push_back(std::to_string(disk->size) + disk->state + disk->model);
  }
  EXPECT_THAT(filled, testing::ElementsAre("0", "1", "1running", "1runningmodel", "0"));
}

TEST_F(sysfs_disk, file_that_opens_but_cannot_be_read_counts_as_unreadable) {
  sysfs("sda", "2097152", "running", "model");
  machine.remove("/sys/block/sda/size");
  machine.directory("/sys/block/sda/size");
  const tag_disk_info& disk = add("sda", 1, "0");
  EXPECT_EQ(get_diskinfo_from_sd(&list), ORV_OK);
  EXPECT_STREQ(disk.state, "");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(sysfs_disk, has_nothing_to_do_for_an_empty_list) {
  EXPECT_EQ(get_diskinfo_from_sd(&list), ORV_OK);
  EXPECT_THAT(disks(), IsEmpty());
}

TEST_F(sysfs_disk, missing_list_is_reported) {
  EXPECT_EQ(get_diskinfo_from_sd(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "get_diskinfo_from_sd:N return -1 with Invalid argument\n");
}
