#include "tests/orvctl/appliance.h"
#include "tools/orvctl/table.h"

using orvctl::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class vg_repair_verbs : public appliance {
 protected:
  vg_repair_verbs() {
    machine.file("/etc/lvm/backup/vg1",
                 "vg1 {\n\tid = \"GROUP\"\n\tphysical_volumes {\n\t\tpv0 {\n"
                 "\t\t\tid = \"VOLUME\"\n\t\t\tdevice = \"/dev/md0\"\t# Hint only\n");
  }

  /// The raid5 is left with one of its three members.
  void lose_two_members() {
    machine.remove("/sys/block/md0/md/dev-sdb");
    machine.remove("/sys/block/md0/md/dev-sdc");
  }
};

TEST_F(vg_repair_verbs, show_the_first_device_of_a_group) {
  EXPECT_EQ(orvctl("vg device vg1").out, "md0\n");
  EXPECT_EQ(json::parse(orvctl("vg device vg1 --json").out)["result"],
            json::parse(R"({"volume_group": "vg1", "device": "md0"})"));
  EXPECT_EQ(orvctl("vg device vg9").status, 3);
}

TEST_F(vg_repair_verbs, have_nothing_to_do_when_every_array_is_active) {
  const outcome got = orvctl("vg repair vg1 --yes");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.err, "No array is inactive: there is nothing to repair.\n");
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_repair_verbs, tell_that_an_inactive_array_was_handled) {
  lose_two_members();
  machine.tool("/sbin/mdadm").on("/dev/md0 -f /dev/sda");
  machine.tool("/sbin/pvcreate").on("-u VOLUME /dev/ram1");
  machine.tool("/sbin/vgcfgrestore").on("vg1").prints("  Restored volume group vg1\n");
  const outcome got = orvctl("vg repair vg1 --yes --json");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(json::parse(got.out)["result"],
            json::parse(R"({"volume_group": "vg1", "attempted": true})"));
  EXPECT_THAT(changes(),
              ElementsAre("/sbin/mdadm /dev/md0 -f /dev/sda", "/sbin/pvcreate -u VOLUME /dev/ram1",
                          "/sbin/vgcfgrestore vg1"));
}

TEST_F(vg_repair_verbs, do_nothing_while_an_array_cannot_be_described) {
  fail_to_tell("md0");
  const outcome got = orvctl("vg repair vg1 --yes");
  EXPECT_EQ(got.status, 1);
  EXPECT_THAT(got.err, HasSubstr("vg repair: ORV_E_COMMAND (-11000)"));
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_repair_verbs, replace_a_lost_volume) {
  machine.tool("/sbin/pvcreate").on("-u VOLUME /dev/ram1");
  machine.tool("/sbin/vgcfgrestore").on("vg1");
  const outcome got = orvctl("vg resume vg1 md0 --yes");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.err,
            "Handled md0 of vg1: 'orvctl vg list' shows whether the group is whole again.\n");
}

TEST_F(vg_repair_verbs, find_only_volumes_of_the_group) {
  const outcome got = orvctl("vg resume vg1 md5 --yes");
  EXPECT_EQ(got.status, 3);
  EXPECT_THAT(got.err, HasSubstr("ORV_E_NO_VG (-2040)"));
  EXPECT_THAT(got.err, HasSubstr(": md5 is no physical volume of vg1\n"));
  EXPECT_EQ(orvctl("vg resume vg9 md0 --yes").status, 3);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_repair_verbs, restore_metadata) {
  machine.tool("/sbin/vgcfgrestore").on("vg1").fails(5).then();
  EXPECT_EQ(orvctl("vg restore vg1 --yes").status, 1);
  EXPECT_EQ(orvctl("vg restore vg1 --yes").err, "Restored the metadata of vg1.\n");
}
