#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

class pv_check : public storage_machine {
 protected:
  pv_check() {
    disk("sda", 1);
    disk("sdb", 2);
    disk("sdc", 3);
  }

  /// Checks a name; afterwards `name` is what it became.
  int check(const std::string& wanted, const char* enclosure = "0") {
    orv::scoped_list<tag_diskinfo_list> disks;
    disks_info_get(disks.get());
    orv::set_text(name, wanted);
    machine.forget();
    return check_pvname(disks.get(), name, enclosure);
  }

  char name[256] = "";
};

TEST_F(pv_check, replaces_the_channel_of_a_free_disk_by_its_device_name) {
  EXPECT_EQ(check("3"), ORV_OK);
  EXPECT_STREQ(name, "sdc");
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(changes(), IsEmpty());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(pv_check, accepts_an_array_that_exists) {
  array("md1", {"sda in_sync"});
  EXPECT_EQ(check("md1"), ORV_OK);
  EXPECT_STREQ(name, "md1");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(pv_check, refuses_an_array_that_does_not_exist) {
  array("md1", {"sda in_sync"});
  for (const char* other : {"md2", "md", "md11", "sda", "1a", "$(reboot)", "1 ", "-1"}) {
    EXPECT_EQ(check(other), -2044);
    EXPECT_THAT(machine.log_lines(), ElementsAre(std::string("cannot find md '") + other + "'"));
  }
}

TEST_F(pv_check, refuses_a_channel_that_names_not_exactly_one_disk) {
  for (const char* other : {"4", "", ",,", "1,2", "1,,2", "99999999999", "0"}) {
    EXPECT_EQ(check(other), -2042) << other;
    EXPECT_STREQ(name, other);
    EXPECT_THAT(machine.log_lines(),
                ElementsAre("invalid disk channelID: '" + std::string(other).substr(0, 8) + "'"));
  }
}

TEST_F(pv_check, counts_the_disks_that_a_channel_list_names_and_not_its_items) {
  for (const char* list : {"1,9", "9,1,8", "1,1", ",1,"}) {
    EXPECT_EQ(check(list), ORV_OK) << list;
    EXPECT_STREQ(name, "sda");
  }
}

TEST_F(pv_check, looks_for_the_channel_in_the_enclosure) {
  disk("sdx", 1, true);
  EXPECT_EQ(check("1", "1"), ORV_OK);
  EXPECT_STREQ(name, "sdx");
  for (const char* enclosure : {"2", "", "01"}) EXPECT_EQ(check("1", enclosure), -2042);
  EXPECT_EQ(check("1", nullptr), -2042);
}

TEST_F(pv_check, refuses_a_disk_of_an_array_whatever_its_mark) {
  array("md1", {"sda in_sync", "sdb faulty", "sdc spare"});
  for (const char* channel : {"1", "2", "3"}) {
    EXPECT_EQ(check(channel), -2043);
    EXPECT_THAT(machine.log_lines(),
                ElementsAre(std::string("disk channelID '") + channel + "' used in raid"));
  }
}

TEST_F(pv_check, refuses_a_hot_spare) {
  hot_spares_are("sdb");
  EXPECT_EQ(check("2"), -2043);
  EXPECT_THAT(machine.log_lines(), ElementsAre("disk channelID '2' used hotspare disk"));
  EXPECT_EQ(check("3"), ORV_OK);
}

TEST_F(pv_check, names_the_first_reason_of_several) {
  array("md1", {"sdb in_sync"});
  hot_spares_are("sdb");
  group("vg0");
  volume("/dev/sdb", "vg0");
  EXPECT_EQ(check("2"), -2043);
  EXPECT_THAT(machine.log_lines(), ElementsAre("disk channelID '2' used in raid"));
  array("md1", {"sda in_sync"});
  machine.remove("/sys/block/md1/md/dev-sdb");
  EXPECT_EQ(check("2"), -2043);
  EXPECT_THAT(machine.log_lines(), ElementsAre("disk channelID '2' used hotspare disk"));
}

TEST_F(pv_check, refuses_a_disk_of_a_group_although_the_group_lists_its_channel) {
  group("vg0");
  volume("/dev/sdc", "vg0");
  EXPECT_EQ(check("3"), -2045);
  EXPECT_THAT(machine.log_lines(), ElementsAre("'3' is used in vg"));
  EXPECT_EQ(check("2"), ORV_OK);
}

TEST_F(pv_check, compares_channels_in_their_own_enclosures) {
  disk("sdx", 3, true);
  group("vg0");
  volume("/dev/sdx", "vg0");
  EXPECT_EQ(check("3", "0"), ORV_OK);
  EXPECT_EQ(check("3", "1"), -2045);
}

TEST_F(pv_check, refuses_a_disk_of_a_group_that_lists_it_by_its_device_name) {
  group("vg0");
  volume("/dev/sdc", "vg0");
  orv::scoped_list<tag_diskinfo_list> disks;
  ASSERT_EQ(disks_info_get(disks.get()), ORV_OK);
  machine.remove("/proc/scsi/mvSata");
  char channel[32] = "3";
  EXPECT_EQ(check_pvname(disks.get(), channel, "0"), -2045);
}

TEST_F(pv_check, refuses_an_array_of_a_group) {
  array("md1", {"sda in_sync"});
  array("md11", {"sdb in_sync"});
  group("vg0");
  volume("/dev/md1", "vg0");
  EXPECT_EQ(check("md1"), -2045);
  EXPECT_THAT(machine.log_lines(), ElementsAre("'md1' is used in vg"));
  EXPECT_EQ(check("md11"), ORV_OK);
}

TEST_F(pv_check, refuses_what_the_kernel_uses_whatever_the_lists_say) {
  array("md1", {"sda in_sync"});
  machine.in_use("/dev/sdc");
  machine.in_use("/dev/md1");
  EXPECT_EQ(check("3"), -2043);
  EXPECT_THAT(machine.log_lines(), ElementsAre("'3' is used in kernel"));
  EXPECT_EQ(check("md1"), -2045);
  EXPECT_THAT(machine.log_lines(), ElementsAre("'md1' is used in kernel"));
}

TEST_F(pv_check, shows_eight_characters_of_a_channel) {
  EXPECT_EQ(check("1234567890"), -2042);
  EXPECT_THAT(machine.log_lines(), ElementsAre("invalid disk channelID: '12345678'"));
}

TEST_F(pv_check, shows_eight_characters_of_a_channel_list_whose_disk_is_used) {
  const char list[] = "1,91,92,93";
  machine.in_use("/dev/sda");
  EXPECT_EQ(check(list), -2043);
  EXPECT_THAT(machine.log_lines(), ElementsAre("'1,91,92,' is used in kernel"));
  group("vg0");
  volume("/dev/sda", "vg0");
  EXPECT_EQ(check(list), -2045);
  EXPECT_THAT(machine.log_lines(), ElementsAre("'1,91,92,' is used in vg"));
  hot_spares_are("sda");
  EXPECT_EQ(check(list), -2043);
  EXPECT_THAT(machine.log_lines(), ElementsAre("disk channelID '1,91,92,' used hotspare disk"));
  array("md1", {"sda in_sync"});
  EXPECT_EQ(check(list), -2043);
  EXPECT_THAT(machine.log_lines(), ElementsAre("disk channelID '1,91,92,' used in raid"));
}

TEST_F(pv_check, refuses_the_nameless_disks_of_the_controller) {
  model("KTA7120U");
  machine.tool("/usr/local/bin/arcadm").on("--misc --scan").prints("0 a/WD/1000/NORMAL/Free\n");
  orv::scoped_list<tag_diskinfo_list> disks;
  ASSERT_EQ(disks_info_get(disks.get()), ORV_OK);
  char channel[32] = "1";
  EXPECT_EQ(check_pvname(disks.get(), channel, "0"), -2042);
  EXPECT_STREQ(channel, "1");
  EXPECT_THAT(machine.log_lines(), ElementsAre("invalid disk channelID: '1'"));
}

TEST_F(pv_check, acts_on_no_question_that_was_not_answered) {
  array("md1", {"sda in_sync"});
  machine.remove("/sys/block/md1");
  EXPECT_EQ(check("md1"), -1032);
  EXPECT_EQ(check("2"), -1032);
  arrays_are("");
  fails_to_list("vgdisplay");
  EXPECT_EQ(check("2"), -11000);
  machine.remove("/canned/vgdisplay.fails");
  machine.remove("/etc/sys_info");
  EXPECT_EQ(check("2"), -11001);
  machine.remove("/proc/mdstat");
  EXPECT_EQ(check("2"), -11000);
}

TEST_F(pv_check, needs_disks_and_a_name) {
  orv::scoped_list<tag_diskinfo_list> disks;
  EXPECT_EQ(check_pvname(disks.get(), nullptr, "0"), ORV_E_FAILED);
  EXPECT_EQ(check_pvname(nullptr, name, "0"), ORV_E_FAILED);
  EXPECT_EQ(check_pv(nullptr), ORV_E_FAILED);
}

TEST_F(pv_check, of_a_list_stops_at_the_first_refusal) {
  orv::scoped_list<tag_pvinfo_list> volumes;
  for (const char* wanted : {"1", "9", "8"}) {
    tag_pv_info& pv = *orv::append(volumes.get());
    orv::set_text(pv.pvname, wanted);
    orv::set_text(pv.enclosure, "0");
  }
  EXPECT_EQ(check_pv(volumes.get()), -2042);
  EXPECT_STREQ((*volumes.begin()).pvname, "sda");
  EXPECT_THAT(machine.log_lines(), ElementsAre("invalid disk channelID: '9'"));
}

TEST_F(pv_check, of_a_list_needs_the_disks) {
  orv::scoped_list<tag_pvinfo_list> volumes;
  EXPECT_EQ(check_pv(volumes.get()), ORV_OK);
  fails_to_list("hotspare");
  EXPECT_EQ(check_pv(volumes.get()), -11000);
}

TEST_F(pv_check, tells_members_of_arrays_and_their_names) {
  array("md1", {"sda in_sync", "sdb faulty"});
  EXPECT_EQ(check_ch_in_raid("sda"), 1);
  EXPECT_EQ(check_ch_in_raid("sdb"), 1);
  EXPECT_EQ(check_ch_in_raid("sdc,sdb"), 1);
  for (const char* other : {"sdc", "sd", "sdb(F)", "", ","}) EXPECT_EQ(check_ch_in_raid(other), 0);
  EXPECT_EQ(check_ch_in_raid(nullptr), 0);
  EXPECT_EQ(check_md_exist("md1"), 1);
  for (const char* other : {"md", "md2", ""}) EXPECT_EQ(check_md_exist(other), 0);
  EXPECT_EQ(check_md_exist(nullptr), 0);
}

TEST_F(pv_check, tells_hot_spares) {
  hot_spares_are("sdb");
  EXPECT_EQ(check_spare_disk("sdb"), 1);
  for (const char* other : {"sda", "sd", "2", "", "sdb,sda"}) EXPECT_EQ(check_spare_disk(other), 0);
  EXPECT_EQ(check_spare_disk(static_cast<const char*>(nullptr)), 0);
}

TEST_F(pv_check, queries_answer_no_when_nothing_can_be_listed) {
  machine.remove("/proc/mdstat");
  machine.remove("/proc/scsi/mvSata");
  EXPECT_EQ(check_ch_in_raid("sda"), 0);
  EXPECT_EQ(check_md_exist("md1"), 0);
  EXPECT_EQ(check_spare_disk("sda"), 0);
}
