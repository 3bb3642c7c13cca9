#include "tests/raid/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class mdadm_commands : public machine_with_disks {
 protected:
  mdadm_commands() {
    md_conf_init(&md);
    liborv_strncpy(md.name, sizeof md.name, "md0");
  }
  tag_md_info md;
};

TEST_F(mdadm_commands, add_remove_and_stop) {
  machine.tool("/sbin/mdadm").on("--manage /dev/md0 --add /dev/sdd");
  machine.tool("/sbin/mdadm").on("--manage /dev/md0 -r /dev/sda");
  machine.tool("/sbin/mdadm").on("-S /dev/md0");
  EXPECT_EQ(add_raid(&md, "sdd"), ORV_OK);
  EXPECT_EQ(rm_raid(&md, "sda"), ORV_OK);
  EXPECT_EQ(del_raid(&md), ORV_OK);
  EXPECT_THAT(machine.commands(),
              ElementsAre("/sbin/mdadm --manage /dev/md0 --add /dev/sdd > /dev/null",
                          "/sbin/mdadm --manage /dev/md0 -r /dev/sda > /dev/null",
                          "/sbin/mdadm -S /dev/md0 > /dev/null"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(mdadm_commands, failures_are_logged_with_the_exit_code) {
  machine.tool("/sbin/mdadm").on("--manage ...").fails(2);
  machine.tool("/sbin/mdadm").on("-S ...").dies_of(9);
  EXPECT_EQ(add_raid(&md, "sdd"), -11000);
  EXPECT_EQ(rm_raid(&md, "sdd"), -11000);
  EXPECT_EQ(del_raid(&md), -11000);
  EXPECT_THAT(
      machine.log_lines(),
      ElementsAre(StartsWith(failed_command(machine.commands()[0], 2)),
                  StartsWith(failed_command(machine.commands()[1], 2)),
                  testing::AnyOf(StartsWith("system(\"/sbin/mdadm -S /dev/md0 > /dev/null\") "
                                            "return unnormal with exit(0) for '"),
                                 StartsWith(failed_command(machine.commands()[2], 137)))));
}

TEST_F(mdadm_commands, names_reach_mdadm_as_one_word) {
  liborv_strncpy(md.name, sizeof md.name, "a b;$(c)'");
  machine.tool("/sbin/mdadm").on("...");
  add_raid(&md, "-x\ny");
  EXPECT_THAT(machine.calls(), ElementsAre(ElementsAre("/sbin/mdadm", "--manage", "/dev/a b;$(c)'",
                                                       "--add", "/dev/-x\ny")));
}

TEST_F(mdadm_commands, nothing_is_run_without_an_array_or_a_device) {
  EXPECT_EQ(add_raid(&md, ""), -11000);
  EXPECT_EQ(rm_raid(&md, nullptr), -11000);
  md.name[0] = '\0';
  EXPECT_EQ(del_raid(&md), -11000);
  EXPECT_EQ(machine.log_lines().size(), 3u);
  EXPECT_EQ(add_raid(nullptr, "sda"), ORV_E_FAILED);
  EXPECT_EQ(rm_raid(nullptr, "sda"), ORV_E_FAILED);
  EXPECT_EQ(del_raid(nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.commands(), IsEmpty());
}
