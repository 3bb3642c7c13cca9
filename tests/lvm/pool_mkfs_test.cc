#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

class pool_mkfs : public storage_machine {};

TEST_F(pool_mkfs, makes_xfs_on_most_models) {
  changer("/sbin/mkfs.xfs");
  for (const char* name : {"KTA7120X", "KTA7120U", "KTA7120EX", "kta7120e", ""}) {
    machine.forget();
    model(name);
    EXPECT_EQ(mkfs_pool("lv0", "vg0"), ORV_OK);
    EXPECT_THAT(machine.commands(),
                ElementsAre("/sbin/mkfs.xfs -f -ssize=4k /dev/vg0/lv0 > /dev/null"));
  }
}

TEST_F(pool_mkfs, makes_xfs_when_the_model_is_not_known) {
  changer("/sbin/mkfs.xfs");
  machine.remove("/etc/sys_info");
  EXPECT_EQ(mkfs_pool("lv0", "vg0"), ORV_OK);
}

TEST_F(pool_mkfs, makes_reiserfs_on_two_models) {
  changer("mkfs.reiserfs");
  for (const char* name : {"KTA7120E", "KTA7120P"}) {
    machine.forget();
    model(name);
    EXPECT_EQ(mkfs_pool("lv0", "vg0"), ORV_OK);
    EXPECT_THAT(machine.commands(), ElementsAre("mkfs.reiserfs -f /dev/vg0/lv0 > /dev/null"));
  }
}

TEST_F(pool_mkfs, reports_a_failing_tool) {
  machine.tool("/sbin/mkfs.xfs").fails(1);
  EXPECT_EQ(mkfs_pool("lv0", "vg0"), -11000);
  EXPECT_THAT(machine.log_lines(), ElementsAre(failed_command(
                                       "/sbin/mkfs.xfs -f -ssize=4k /dev/vg0/lv0 > /dev/null", 1)));
}

TEST_F(pool_mkfs, reports_the_other_tool_failing_too) {
  model("KTA7120E");
  machine.tool("mkfs.reiserfs").fails(8);
  EXPECT_EQ(mkfs_pool("lv0", "vg0"), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("mkfs.reiserfs -f /dev/vg0/lv0 > /dev/null", 8)));
}

TEST_F(pool_mkfs, passes_strange_names_as_one_word) {
  changer("/sbin/mkfs.xfs");
  EXPECT_EQ(mkfs_pool("a b", "$(x)"), ORV_OK);
  EXPECT_THAT(machine.calls(),
              ElementsAre(ElementsAre("/sbin/mkfs.xfs", "-f", "-ssize=4k", "/dev/$(x)/a b")));
}

TEST_F(pool_mkfs, never_makes_a_file_system_on_half_a_name) {
  EXPECT_EQ(mkfs_pool("sda", ""), -11000);
  EXPECT_EQ(mkfs_pool("", "sda"), -11000);
  EXPECT_EQ(mkfs_pool(nullptr, nullptr), -11000);
  EXPECT_EQ(mkfs_pool(std::string(230, 'x').c_str(), "vg0"), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
}
