#include "tests/orvctl/appliance.h"
#include "tools/orvctl/table.h"

using orvctl::json;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// Every command that may destroy data.
constexpr const char* destroying[] = {
    "disk clear 1 --enclosure 1",
    "spare add 1 --enclosure 1",
    "raid create --level raid1 --disks 1,2 --enclosure 1",
    "raid recreate md0 --level raid5 --disks 1,2,3 --enclosure 1",
    "raid add md0 4",
    "raid fail md0 1",
    "raid fail-all md0",
    "raid destroy md1",
    "vg create vg2 --pv 4 --enclosure 1",
    "vg extend vg1 4 --enclosure 1",
    "vg destroy vg1",
    "vg repair vg1",
    "vg resume vg1 md0",
    "vg restore vg1",
    "pool destroy vg1 data",
    "pool mkfs vg1 data",
    "fs rmdir /mnt/new",
    "share delete data",
    "share disable pub",
    "share forget old",
    "recycle delete kept",
    "user delete ann",
};

}  // namespace

class questions : public appliance {
 protected:
  questions() {
    const std::string share = "    path = /mnt/x\n    ";
    machine.file("/etc/sharefolder.conf", "[data]\n    sharename = data\n" + share +
                                              "samba = 1\n[pub]\n    sharename = pub\n" + share +
                                              "ftp = 1\n[old]\n    sharename = old\n" + share +
                                              "nfs = 0\n");
    machine.file("/etc/samba/smb.conf", "[global]\n[data]\n    path = /mnt/x\n");
    machine.file("/etc/exports_recy", "/mnt/kept *(rw,sync,no_root_squash)\n");
    machine.file("/etc/nas_userfile.conf", "ann||secret\n");
    machine.file("/etc/passwd", "ann:x:1000:1000::/:/bin/nologin\n");
  }
};

TEST_F(questions, without_a_terminal_need_yes_and_run_nothing) {
  for (const std::string words : destroying) {
    const outcome got = orvctl(words);
    EXPECT_EQ(got.status, 2) << words;
    EXPECT_EQ(got.out, "") << words;
    EXPECT_THAT(got.err, HasSubstr("this destroys data, and there is no terminal to ask on\n"
                                   "  What to do: add --yes to go ahead without a question\n"))
        << words;
  }
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(questions, at_a_terminal_are_asked_and_no_is_the_default) {
  for (const std::string words : destroying) {
    const outcome got = at_terminal(words, "\n");
    EXPECT_EQ(got.status, 1) << words;
    EXPECT_EQ(got.out, "") << words;
    EXPECT_THAT(got.err, HasSubstr("\nContinue? [y/N] orvctl: ")) << words;
    EXPECT_THAT(got.err, HasSubstr("not confirmed, and so nothing was changed\n")) << words;
  }
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(questions, take_only_a_plain_yes) {
  for (const std::string typed : {"", "\n", "n\n", "yessir\n", " y\n", "j\n"}) {
    EXPECT_EQ(at_terminal("raid destroy md1", typed).status, 1) << typed;
  }
  EXPECT_THAT(changes(), IsEmpty());
  machine.tool("/sbin/mdadm").on("-S /dev/md1").times(5);
  for (const std::string typed : {"y\n", "Y\n", "yes\n", "YES\n", "y"}) {
    EXPECT_EQ(at_terminal("raid destroy md1", typed).status, 0) << typed;
  }
}

TEST_F(questions, show_disks_and_what_uses_them) {
  EXPECT_EQ(at_terminal("disk clear 1,4 --enclosure 1", "\n").err,
            "CHANNEL DEVICE    SIZE MODEL        USED BY\n"
            "      1 sda    932 GiB ST31000340NS array md0\n"
            "      4 sdd    932 GiB ST31000340NS hot spare\n"
            "All data on these disks will be lost.\n"
            "Continue? [y/N] orvctl: disk clear: not confirmed, and so nothing was changed\n"
            "  What to do: answer \"yes\" to go ahead\n");
}

TEST_F(questions, show_the_volume_group_of_a_disk) {
  tell("volumes", "  /dev/sdd:vg1:3906519040:-1:8:8:-1:4096:476869:348869:128000:u\n");
  EXPECT_THAT(at_terminal("disk clear 4 --enclosure 1", "\n").err,
              HasSubstr("      4 sdd    932 GiB ST31000340NS volume group vg1\n"));
}

TEST_F(questions, show_the_array_that_goes) {
  EXPECT_THAT(at_terminal("raid destroy md1", "\n").err,
              HasSubstr("\nmd1  raid1 clean, degraded, recovering 12.6%(48.00MB/s) 931 GiB "));
}

TEST_F(questions, show_the_pool_that_goes) {
  EXPECT_THAT(at_terminal("pool mkfs vg1 data", "\n").err,
              testing::StartsWith("GROUP POOL    SIZE STATE     ENCLOSURE DEVICE\n"
                                  "vg1   data 500 GiB available         1 /dev/vg1/data\n"
                                  "This pool gets a new file system: all data on it will be lost.\n"
                                  "Continue? [y/N] "));
}

TEST_F(questions, show_the_volume_group_that_goes) {
  EXPECT_THAT(at_terminal("vg destroy vg1", "\n").err,
              HasSubstr("\nvg1  resizable          1 1862 GiB 500 GiB 1362 GiB md0\n"));
}

TEST_F(questions, are_not_asked_about_what_is_not_there) {
  for (const std::string words :
       {"disk clear 9 --enclosure 1", "disk clear 1,9 --enclosure 1", "disk clear 1",
        "raid create --level raid1 --disks 8,9", "raid destroy md9", "raid fail md9 1",
        "raid fail md0 1,2", "raid add md0 9", "vg destroy vg9", "pool destroy vg1 other",
        "pool mkfs vg9 data"}) {
    const outcome got = at_terminal(words, "yes\n");
    EXPECT_EQ(got.status, 3) << words;
    EXPECT_THAT(got.err, testing::Not(HasSubstr("Continue?"))) << words;
  }
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(questions, are_not_asked_when_the_losses_cannot_be_told) {
  machine.remove("/proc/mdstat");
  const outcome got = at_terminal("disk clear 4 --enclosure 1", "yes\n");
  EXPECT_EQ(got.status, 1);
  EXPECT_THAT(got.err, HasSubstr("ORV_E_COMMAND (-11000)"));
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(questions, are_asked_before_the_machine_goes_down) {
  machine.tool("halt").succeeds();
  machine.tool("reboot").succeeds();
  for (const std::string words : {"power off", "power reboot"}) {
    const outcome got = orvctl(words);
    EXPECT_EQ(got.status, 2);
    EXPECT_THAT(got.err, HasSubstr("this ends the service of every client, and there is no "
                                   "terminal to ask on\n"));
    EXPECT_EQ(at_terminal(words, "n\n").status, 1);
  }
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(at_terminal("power off", "y\n").err,
            "The machine is powered off.\nContinue? [y/N] The machine goes down.\n");
  EXPECT_EQ(orvctl("power reboot --yes").err, "The machine goes down and starts again.\n");
  EXPECT_THAT(machine.commands(), ElementsAre("halt", "reboot"));
}

TEST_F(questions, keep_standard_output_for_the_json_document) {
  const outcome declined = at_terminal("raid destroy md1 --json", "n\n");
  EXPECT_EQ(json::parse(declined.out)["error"]["name"], "declined");
  EXPECT_THAT(declined.err, EndsWith("Continue? [y/N] "));
  const outcome refused = orvctl("raid destroy md1 --json");
  EXPECT_EQ(json::parse(refused.out)["error"]["exit_status"], 2);
  EXPECT_EQ(refused.err, "");
}

TEST_F(questions, are_not_asked_for_an_array_that_becomes_a_volume) {
  machine.tool("/sbin/pvcreate").succeeds();
  machine.tool("/sbin/vgcreate").succeeds();
  const outcome got = at_terminal("vg create vg2 --pv md1", "");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.err, "Created vg2.\n");
}
