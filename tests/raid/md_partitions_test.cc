#include "tests/raid/machine_with_disks.h"

class md_partitions : public sandbox_test {};

TEST_F(md_partitions, arrays_are_the_md_devices_of_the_partition_list) {
  machine.file("/proc/partitions",
               "major minor  #blocks  name\n\n"
               "   8        0  976762584 sda\n"
               "   9        0    2093056 md0\n"
               "   9      127    2093056 md127  \n"
               "   9        1\n"
               "   9        2    2093056 amd2\n"
               "   9        3    2093056 md3");
  md_list list;
  EXPECT_EQ(get_mdinfo_from_partitions(list.get()), ORV_OK);
  EXPECT_THAT(list.names(), testing::ElementsAre("md0", "md127", "md3"));
  EXPECT_STREQ(list.only().state, "inactive");
  EXPECT_THAT(machine.commands(), testing::IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), testing::IsEmpty());
}

TEST_F(md_partitions, long_names_are_cut_and_the_rest_of_a_long_line_is_no_line) {
  const std::string name = "md" + std::string(40, '7');
  machine.file("/proc/partitions", "9 0 1 " + name + "\n" + std::string(255, 'x') + "9 0 1 md1\n");
  md_list list;
  EXPECT_EQ(get_mdinfo_from_partitions(list.get()), ORV_OK);
  EXPECT_THAT(list.names(), testing::ElementsAre(name.substr(0, 31)));
}

TEST_F(md_partitions, missing_partition_list_is_logged) {
  md_list list;
  EXPECT_EQ(get_mdinfo_from_partitions(list.get()), -1020);
  EXPECT_EQ(machine.log(),
            "get_mdinfo_from_partitions:N return -1020 with No such file or directory\n");
  EXPECT_EQ(machine.output(), "");
  EXPECT_EQ(get_mdinfo_from_partitions(nullptr), ORV_E_FAILED);
}
