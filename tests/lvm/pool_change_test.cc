#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

class pool_change : public storage_machine {
 protected:
  pool_change() {
    group("vg0", 100, 40);
    pool("lv0", "vg0", 50);
  }
};

TEST_F(pool_change, creates_a_pool_in_the_free_space) {
  changer("/sbin/lvcreate");
  EXPECT_EQ(pool_create("lv1", "vg0", 60), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/lvcreate -L 60G -n lv1 vg0 > /dev/null"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(pool_change, creates_nothing_that_does_not_fit) {
  EXPECT_EQ(pool_create("lv1", "vg0", 61), -2053);
  EXPECT_EQ(pool_create("lv1", "vg0", 0), -2053);
  EXPECT_EQ(pool_create("lv1", "vg1", 1), -2052);
  EXPECT_EQ(pool_create("lv0", "vg0", 1), -2051);
  EXPECT_EQ(pool_create("", "vg0", 1), -2050);
  EXPECT_EQ(pool_create(nullptr, nullptr, 1), -2052);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(pool_change, looks_at_the_group_before_the_name) {
  EXPECT_EQ(pool_create("", "vg1", 1), -2052);
  EXPECT_EQ(pool_create("lv0", "vg0", 0), -2053);
  for (const std::string& command : machine.commands()) {
    EXPECT_EQ(command.find("lvdisplay"), std::string::npos);
  }
}

TEST_F(pool_change, reports_a_pool_that_cannot_be_created) {
  machine.tool("/sbin/lvcreate").fails(5);
  EXPECT_EQ(pool_create("lv1", "vg0", 1), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/sbin/lvcreate -L 1G -n lv1 vg0 > /dev/null", 5)));
}

TEST_F(pool_change, extends_a_pool_to_a_total_that_fits_the_free_space) {
  changer("/sbin/lvextend");
  EXPECT_EQ(pool_extend("lv0", "vg0", 51), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/lvextend -L 51G /dev/vg0/lv0 > /dev/null"));
}

TEST_F(pool_change, extends_nothing_to_the_same_size_or_beyond_the_free_space) {
  EXPECT_EQ(pool_extend("lv0", "vg0", 50), -2053);
  EXPECT_THAT(machine.log_lines(), ElementsAre("/dev/vg0/lv0's size 50G cannot extend to 50G"));
  machine.forget();
  EXPECT_EQ(pool_extend("lv0", "vg0", 61), -2053);
  EXPECT_EQ(pool_extend("lv0", "vg0", 0), -2053);
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(pool_change, takes_a_size_beyond_an_int_as_the_largest) {
  for (const uint64_t size : {UINT64_C(1) << 32, (UINT64_C(1) << 32) + 1, UINT64_MAX}) {
    EXPECT_EQ(pool_extend("lv0", "vg0", size), -2053);
  }
  EXPECT_EQ(machine.log(), "") << "not refused as a size below the pool's";
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(pool_change, extends_and_removes_only_pools_that_are_there) {
  pool("lv2", "vg1");
  EXPECT_EQ(pool_extend("lv1", "vg0", 51), -2055);
  EXPECT_EQ(pool_extend("lv2", "vg0", 51), -2052);
  EXPECT_EQ(pool_extend("", "vg0", 51), -2050);
  EXPECT_EQ(pool_destroy("lv1", "vg0"), -2055);
  EXPECT_EQ(pool_destroy("lv2", "vg0"), -2052);
  EXPECT_EQ(pool_destroy("lv0", nullptr), -2050);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(pool_change, extends_nothing_in_a_group_that_is_not_listed) {
  pool("lv2", "vg1", 1);
  EXPECT_EQ(pool_extend("lv2", "vg1", 2), -2052);
  EXPECT_THAT(machine.log_lines(), ElementsAre("Cannot find vg 'vg1'!"));
}

TEST_F(pool_change, removes_a_pool) {
  changer("/sbin/lvremove");
  EXPECT_EQ(pool_destroy("lv0", "vg0"), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/lvremove -f vg0/lv0 > /dev/null"));
}

TEST_F(pool_change, reports_pools_that_cannot_be_extended_or_removed) {
  machine.tool("/sbin/lvextend").fails(5);
  machine.tool("/sbin/lvremove").fails(5);
  EXPECT_EQ(pool_extend("lv0", "vg0", 51), -11000);
  EXPECT_EQ(pool_destroy("lv0", "vg0"), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/sbin/lvextend -L 51G /dev/vg0/lv0 > /dev/null", 5),
                          failed_command("/sbin/lvremove -f vg0/lv0 > /dev/null", 5)));
}

TEST_F(pool_change, changes_nothing_when_pools_or_groups_cannot_be_listed) {
  fails_to_list("lvdisplay");
  EXPECT_EQ(pool_create("lv1", "vg0", 1), -1051);
  EXPECT_EQ(pool_extend("lv0", "vg0", 51), -1051);
  EXPECT_EQ(pool_destroy("lv0", "vg0"), -1051);
  machine.remove("/canned/lvdisplay.fails");
  fails_to_list("vgdisplay");
  EXPECT_EQ(pool_create("lv1", "vg0", 1), -11000);
  EXPECT_EQ(pool_extend("lv0", "vg0", 51), -11000);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(pool_change, goes_by_what_the_real_tools_list) {
  for (const std::string tool : {"lvdisplay", "vgdisplay", "pvdisplay"}) {
    canned(tool, fixture(tool + "/pools.txt"));
  }
  changers({"/sbin/lvcreate", "/sbin/lvremove"});
  EXPECT_EQ(pool_create("new", "vg1", 6), -2053) << "5 of 20 GiB are free";
  EXPECT_EQ(pool_create("new", "vg-two", 1), -2053);
  EXPECT_EQ(pool_create("backup-1", "vg1", 5), -2051);
  EXPECT_EQ(pool_extend("data", "vg1", 10), -2053);
  EXPECT_EQ(pool_destroy("all", "vg1"), -2052);
  EXPECT_THAT(changes(), IsEmpty());
  EXPECT_EQ(pool_create("new", "vg1", 5), ORV_OK);
  EXPECT_EQ(pool_destroy("backup-1", "vg1"), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/lvcreate -L 5G -n new vg1 > /dev/null",
                                     "/sbin/lvremove -f vg1/backup-1 > /dev/null"));
}

TEST_F(pool_change, passes_strange_names_as_one_word) {
  changers({"/sbin/lvcreate", "/sbin/lvextend", "/sbin/lvremove"});
  for (const hostile_name& hostile : hostile_names) {
    machine.forget();
    const std::string name = hostile.name;
    EXPECT_EQ(create_pool(hostile.name, "vg0", 1), ORV_OK);
    EXPECT_EQ(extend_pool("lv0", hostile.name, 2), ORV_OK);
    EXPECT_EQ(destroy_pool(hostile.name, hostile.name), ORV_OK);
    EXPECT_THAT(machine.calls(),
                ElementsAre(ElementsAre("/sbin/lvcreate", "-L", "1G", "-n", name, "vg0"),
                            ElementsAre("/sbin/lvextend", "-L", "2G", "/dev/" + name + "/lv0"),
                            ElementsAre("/sbin/lvremove", "-f", name + "/" + name)));
  }
}

TEST_F(pool_change, runs_nothing_with_a_name_that_is_missing_an_option_or_too_long) {
  const std::string long_name(300, 'x');
  for (const char* name : {"", "-f", static_cast<const char*>(nullptr), long_name.c_str()}) {
    EXPECT_EQ(create_pool(name, "vg0", 1), -11000);
    EXPECT_EQ(create_pool("lv0", name, 1), -11000);
    EXPECT_EQ(destroy_pool("lv0", name), -11000);
  }
  EXPECT_EQ(extend_pool("lv0", "", 1), -11000);
  EXPECT_EQ(extend_pool("", "vg0", 1), -11000);
  EXPECT_EQ(destroy_pool("", "vg0"), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(machine.log_lines().size(), 15U);
}
