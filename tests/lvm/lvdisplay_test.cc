#include "tests/lvm/list_commands.h"
#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::ElementsAreArray;

class lvdisplay : public storage_machine {
 protected:
  void TearDown() override { EXPECT_THAT(machine.open_descriptors(), ElementsAre()); }
  int get() { return pool_get(pools.get()); }
  tag_pool_info& only() {
    EXPECT_EQ(names().size(), 1U);
    return *pools.begin();
  }
  sandbox::lines names() {
    sandbox::lines all;
    for (const tag_pool_info& pool : pools) all.emplace_back(pool.poolname);
    return all;
  }
  /// One pool with this status and number of sectors.
  void figures(const std::string& status, const std::string& sectors) {
    canned("lvdisplay",
           "  /dev/vg0/lv0:vg0:3:" + status + ":-1:0:" + sectors + ":25:-1:0:-1:253:0\n");
  }

  /// Nothing can be read of what the tool said. @param logged  how the log line ends
  void expect_not_opened(const std::string& logged) {
    EXPECT_EQ(get(), -1050);
    EXPECT_EQ(machine.log_lines().back(), "get_poolinfo_from_lvdisplay:N " + logged);
    EXPECT_THAT(machine.output(),
                testing::MatchesRegex("cannot open /tmp/lvdisplay\\.[A-Za-z0-9]{6}\n"));
    EXPECT_THAT(machine.temp_files(), ElementsAre());
  }

  orv::scoped_list<tag_poolinfo_list> pools;
};

TEST_F(lvdisplay, reads_a_pool_with_the_enclosure_of_its_group) {
  disk("sda", 1, true);
  group("vg1");
  group("vg0");
  volume("/dev/sda", "vg0");
  pool("lv0", "vg0", 10);
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_STREQ(only().poolname, "/dev/vg0/lv0");
  EXPECT_STREQ(only().state, "available");
  EXPECT_EQ(only().size, 10U);
  EXPECT_EQ(only().used, 0U);
  EXPECT_STREQ(only().vgname, "vg0");
  EXPECT_STREQ(only().enclosure, "1");
  EXPECT_THAT(machine.commands(), ElementsAreArray(list_commands::pools()));
  EXPECT_THAT(machine.temp_files(), ElementsAre());
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(machine.output(), "");
}

TEST_F(lvdisplay, lists_pools_in_the_order_of_the_tool) {
  pool("b", "vg1");
  pool("a", "vg0");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names(), ElementsAre("/dev/vg1/b", "/dev/vg0/a"));
  EXPECT_STREQ((*pools.begin()).enclosure, "");
}

TEST_F(lvdisplay, tells_inactive_pools) {
  figures("0", "20971520");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_STREQ(only().state, "not available");
}

TEST_F(lvdisplay, rounds_sizes_to_nearest) {
  const std::pair<const char*, uint64_t> sizes[] = {{"20971520", 10},
                                                    {"1048575", 0},
                                                    {"1048576", 1},
                                                    {"x", 0},
                                                    {"18446744073709551615", 1ULL << 43}};
  for (const auto& [sectors, size] : sizes) {
    figures("1", sectors);
    EXPECT_EQ(get(), ORV_OK);
    EXPECT_EQ(only().size, size) << sectors;
    pool_list_fini(pools.get());
  }
}

TEST_F(lvdisplay, lists_nothing_on_a_machine_without_pools) {
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names(), ElementsAre());
}

TEST_F(lvdisplay, ignores_lines_that_begin_with_no_device_path) {
  canned("lvdisplay",
         "\n  No volume groups found\n  vg0/lv1:vg0:3:1:-1:0:1048576:\n:/dev/vg0/lv2:vg0:\n"
         "  /dev/vg0/lv3\n\t /dev/vg0/lv4:vg0:3:1:-1:0:1048576:\n/dev/vg0/lv5:");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names(), ElementsAre("/dev/vg0/lv4", "/dev/vg0/lv5"));
}

TEST_F(lvdisplay, keeps_what_a_cut_line_holds) {
  canned("lvdisplay", "  /dev/vg0/lv0:vg0:3:1:-1");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_STREQ(only().vgname, "vg0");
  EXPECT_STREQ(only().state, "available");
  EXPECT_EQ(only().size, 0U);
}

TEST_F(lvdisplay, counts_a_run_of_colons_as_one) {
  canned("lvdisplay", "  /dev/vg0/lv0::3:1:0:0:1048576:25\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_STREQ(only().vgname, "3");
  EXPECT_STREQ(only().state, "not available");
}

TEST_F(lvdisplay, cuts_names_that_are_too_long) {
  pool(std::string(100, 'p'), std::string(60, 'v'));
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_EQ(only().poolname, "/dev/" + std::string(60, 'v') + "/" + std::string(61, 'p'));
  EXPECT_EQ(only().vgname, std::string(32, 'v'));
}

TEST_F(lvdisplay, sees_the_255th_character_of_a_line_but_not_the_next) {
  const std::string longest = "/dev/" + std::string(247, 'p');  // behind two blanks
  canned("lvdisplay", "  " + longest + ":\n   " + longest + ":\n  " + longest + "q:\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names(), ElementsAre(longest.substr(0, 127)));
}

TEST_F(lvdisplay, survives_binary_output_and_very_long_lines) {
  std::string noise;
  for (int i = 0; i < 5000; ++i) noise += static_cast<char>(i * 37 % 256);
  canned("lvdisplay",
         noise + "\n/dev/" + std::string(100000, 'x') + ":/dev/a:b\n/dev/vg0/lv0:vg0:\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_EQ(names().back(), "/dev/vg0/lv0");
}

TEST_F(lvdisplay, lists_what_a_failing_tool_printed) {
  pool("lv0", "vg0");
  fails_to_list("lvdisplay");
  EXPECT_EQ(get(), -1051);
  EXPECT_STREQ(only().poolname, "/dev/vg0/lv0");
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/sbin/lvdisplay -c > /tmp/lvdisplay.XXXXXX ")));
  EXPECT_THAT(machine.temp_files(), ElementsAre());
}

TEST_F(lvdisplay, lists_pools_whose_groups_cannot_be_listed) {
  pool("lv0", "vg0");
  fails_to_list("vgdisplay");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_STREQ(only().enclosure, "");
}

TEST_F(lvdisplay, tells_output_that_cannot_be_opened_and_removes_it) {
  // The first file opened is the list of groups.
  machine.fail("fopen", EMFILE);
  EXPECT_EQ(get(), -1050);
  EXPECT_EQ(machine.log_lines().back(),
            "get_poolinfo_from_lvdisplay:N return 0 with Too many open files");
  EXPECT_THAT(machine.temp_files(), ElementsAre("vgdisplay.XXXXXX"));
}

TEST_F(lvdisplay, tells_the_failed_tool_too_when_its_output_cannot_be_opened) {
  fails_to_list("lvdisplay");
  fails_to_list("vgdisplay");
  machine.fail("fopen", EMFILE);
  expect_not_opened("return -1051 with Too many open files");
}

TEST_F(lvdisplay, tells_output_that_cannot_be_examined_and_removes_it) {
  fails_to_list("vgdisplay");
  machine.fail("stat", EIO);
  expect_not_opened("return 0 with Input/output error");
}

TEST_F(lvdisplay, tells_output_that_cannot_be_read_and_removes_it) {
  fails_to_list("vgdisplay");
  machine.fail("fread", EIO);
  expect_not_opened("return 0 with Input/output error");
}

TEST_F(lvdisplay, runs_nothing_without_a_temporary_file) {
  machine.fail("mkstemp", ENOSPC);
  EXPECT_EQ(get(), -1050);
  EXPECT_THAT(machine.commands(), ElementsAre());
  EXPECT_EQ(
      machine.log_lines().front(),
      command_not_run("/sbin/lvdisplay -c > /tmp/lvdisplay.XXXXXX ", "No space left on device"));
  EXPECT_EQ(machine.log_lines().back(),
            "get_poolinfo_from_lvdisplay:N return -1051 with No space left on device");
}

TEST_F(lvdisplay, needs_a_list) {
  EXPECT_EQ(pool_get(nullptr), ORV_E_FAILED);
  EXPECT_EQ(get_poolinfo_from_lvdisplay(nullptr), ORV_E_FAILED);
}

/// The machine on which the tools' output was captured: vg1 on md0 and sdg, vg-two on sdh. All
/// disks but sdg stand in the expansion enclosure here.
class lvdisplay_captured : public lvdisplay {
 protected:
  lvdisplay_captured() {
    disk("sdg", 1);
    int channel = 0;
    for (const char* name : {"sda", "sdb", "sdh"}) disk(name, ++channel, true);
    array("md0", {"sda in_sync", "sdb in_sync"});
  }
  /// The pools of a situation, as pool_list_show prints them.
  std::string shown(const std::string& situation) {
    for (const std::string tool : {"lvdisplay", "vgdisplay", "pvdisplay"}) {
      canned(tool, fixture(tool + '/' + situation + ".txt"));
    }
    machine.forget();
    orv::scoped_list<tag_poolinfo_list> listed;
    EXPECT_EQ(pool_get(listed.get()), ORV_OK);
    EXPECT_EQ(machine.log(), "") << situation;
    pool_list_show(listed.get());
    return machine.output();
  }
};

TEST_F(lvdisplay_captured, machines_without_pools_list_none) {
  for (const char* situation : {"none", "pvs_without_group", "no_pools"}) {
    EXPECT_EQ(shown(situation), "") << situation;
  }
}

TEST_F(lvdisplay_captured, pools_show_their_group_and_enclosure) {
  EXPECT_EQ(shown("pools"),
            "/dev/vg-two/all\tavailable\t20G\t0G\tvg-two\t1\n"
            "/dev/vg1/data\tavailable\t10G\t0G\tvg1\t0\n"
            "/dev/vg1/backup-1\tavailable\t5G\t0G\tvg1\t0\n");
}

TEST_F(lvdisplay_captured, inactive_pools_are_not_available) {
  EXPECT_EQ(shown("inactive_pool"),
            "/dev/vg-two/all\tavailable\t20G\t0G\tvg-two\t1\n"
            "/dev/vg1/data\tavailable\t10G\t0G\tvg1\t0\n"
            "/dev/vg1/backup-1\tnot available\t5G\t0G\tvg1\t0\n");
}

TEST_F(lvdisplay_captured, snapshots_are_pools) {
  EXPECT_THAT(shown("snapshot"), testing::EndsWith("/dev/vg1/snap\tavailable\t1G\t0G\tvg1\t0\n"));
}

TEST_F(lvdisplay_captured, pools_of_an_exported_group_are_not_listed) {
  EXPECT_EQ(shown("exported_group"),
            "/dev/vg1/data\tavailable\t10G\t0G\tvg1\t0\n"
            "/dev/vg1/backup-1\tnot available\t5G\t0G\tvg1\t0\n");
}

TEST_F(lvdisplay_captured, pools_of_a_group_that_lost_a_disk_are_not_available) {
  EXPECT_EQ(shown("lost_disk"),
            "/dev/vg1/data\tnot available\t10G\t0G\tvg1\t1\n"
            "/dev/vg1/backup-1\tnot available\t5G\t0G\tvg1\t1\n");
}

TEST(isdashed_, tells_a_placeholder) {
  for (const char* dashes : {"", "-", "---"}) EXPECT_EQ(isdashed(dashes), 1) << dashes;
  for (const char* other : {"-a-", "a", "--- ", " -"}) EXPECT_EQ(isdashed(other), 0) << other;
  EXPECT_EQ(isdashed(nullptr), 1);
}
