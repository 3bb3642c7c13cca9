#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "tests/raid/machine_with_disks.h"

using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class md_sysfs : public machine_with_disks {
 protected:
  /// What is read of an array "md0" of this level.
  tag_md_info read(const std::string& level, int expected, const std::vector<member>& members,
                   const std::string& state = "clean") {
    machine.remove("/sys/block/md0");
    put_members("md0", expected, members);
    md_list list;
    tag_md_info& md = list.add("md0");
    liborv_strncpy(md.level, sizeof md.level, level.c_str());
    liborv_strncpy(md.state, sizeof md.state, state.c_str());
    EXPECT_EQ(get_mdinfo_from_sysblock(list.get()), ORV_OK);
    return md;
  }
  std::string state(const std::string& level, int expected, const std::vector<member>& members) {
    return read(level, expected, members).state;
  }
  int disk_state(const std::string& text) {
    machine.file("/sys/state", text);
    return get_disk_state("/sys/state");
  }
  int raid_disks(const std::string& text) {
    machine.file("/sys/raid_disks", text);
    return get_raid_disks("/sys/raid_disks");
  }

  void expect_told(const char* function, int error, int result, int usual_calls);

  static sandbox::lines items(const std::string& list) {
    sandbox::lines all(1);
    for (const char c : list) {
      if (c == ',') {
        all.emplace_back();
      } else {
        all.back() += c;
      }
    }
    return all;
  }
};

TEST_F(md_sysfs, members_carry_marks) {
  const tag_md_info md =
      read("raid6", 4, {{"sda"}, {"sdb", "faulty"}, {"sdc", "spare"}, {"sdd", "blocked"}});
  EXPECT_THAT(items(md.disks), UnorderedElementsAre("sda", "sdb(F)", "sdc(S)", "sdd"));
}

TEST_F(md_sysfs, only_sd_members_count) {
  put_members("md0", 2, {{"sda"}, {"vda"}, {"nvme0"}});
  machine.file("/sys/block/md0/md/dev-s/state", "in_sync\n");
  machine.file("/sys/block/md0/md/sync_action", "idle\n");
  md_list list;
  liborv_strncpy(list.add("md0").state, 48, "clean");
  EXPECT_EQ(get_mdinfo_from_sysblock(list.get()), ORV_OK);
  EXPECT_STREQ(list.only().disks, "sda,*(M)");
}

TEST_F(md_sysfs, missing_member_of_a_raid5_is_shown_and_the_second_one_ends_it) {
  tag_md_info md = read("raid5", 4, {{"sda"}, {"sdb"}, {"sdc"}});
  EXPECT_THAT(items(md.disks), UnorderedElementsAre("sda", "sdb", "sdc", "*(M)"));
  EXPECT_STREQ(md.state, "clean");
  md = read("raid5", 4, {{"sda"}, {"sdb"}});
  EXPECT_THAT(items(md.disks), UnorderedElementsAre("sda", "sdb", "*(M)", "*(M)"));
  EXPECT_STREQ(md.state, "inactive");
}

TEST_F(md_sysfs, array_without_members_begins_with_a_comma) {
  EXPECT_STREQ(read("raid1", 2, {}).disks, ",*(M),*(M)");
}

TEST_F(md_sysfs, levels_bear_the_loss_of_their_redundancy) {
  const member good{"sda"}, other{"sdb"}, third{"sdc"}, failed{"sdd", "faulty"},
      spare{"sde", "spare"};
  EXPECT_EQ(state("raid6", 4, {good, other}), "clean");
  EXPECT_EQ(state("raid6", 4, {good, spare, failed}), "inactive");
  EXPECT_EQ(state("raid5", 3, {good, other, failed}), "clean");
  EXPECT_EQ(state("raid5", 3, {good, failed, spare}), "inactive");
  EXPECT_EQ(state("raid1", 2, {good, failed}), "clean");
  EXPECT_EQ(state("raid1", 2, {failed}), "inactive");
}

TEST_F(md_sysfs, three_way_mirror_counts_as_one_of_two) {
  EXPECT_EQ(state("raid1", 3, {{"sda"}, {"sdb"}}), "clean");
  EXPECT_EQ(state("raid1", 3, {{"sda"}}), "inactive");
}

TEST_F(md_sysfs, other_levels_bear_nothing) {
  for (const std::string level : {"raid0", "linear", "raid10", ""}) {
    EXPECT_EQ(state(level, 2, {{"sda"}, {"sdb"}}), "clean") << level;
    EXPECT_EQ(state(level, 2, {{"sda"}, {"sdb"}, {"sdc", "spare"}}), "inactive") << level;
    EXPECT_EQ(state(level, 2, {{"sda"}, {"sdb", "faulty"}}), "inactive") << level;
    EXPECT_EQ(state(level, 2, {{"sda"}}), "inactive") << level;
  }
}

TEST_F(md_sysfs, inactive_array_stays_inactive) {
  EXPECT_STREQ(read("raid1", 2, {{"sda"}, {"sdb"}}, "inactive").state, "inactive");
}

TEST_F(md_sysfs, enclosure_is_that_of_a_member) {
  put_in_main_chassis(1, "sdm");
  EXPECT_STREQ(read("raid1", 2, {{"sda"}, {"sdx"}}).enclosure, "1");
  EXPECT_STREQ(read("raid1", 2, {{"sdm"}, {"sdx"}}).enclosure, "0");
  EXPECT_STREQ(read("raid1", 2, {{"sdx"}}).enclosure, "");
}

/// The kernel lists the members in an order of its own. One that is no known disk changes nothing.
TEST_F(md_sysfs, enclosure_is_that_of_the_last_member_that_is_a_known_disk) {
  put_in_main_chassis(1, "sdm");
  using members = std::vector<member>;
  for (const members& made :
       {members{{"sdx"}, {"sda"}, {"sdm"}}, members{{"sdm"}, {"sda"}, {"sdx"}}}) {
    const tag_md_info md = read("raid5", 3, made);
    sandbox::lines known = items(md.disks);
    std::erase(known, "sdx");
    ASSERT_THAT(known, UnorderedElementsAre("sda", "sdm"));
    EXPECT_STREQ(md.enclosure, known.back() == "sda" ? "1" : "0") << md.disks;
  }
}

TEST_F(md_sysfs, members_are_read_without_a_disk_list) {
  hot_spares_unknown();
  machine.remove("/proc/scsi");
  const tag_md_info md = read("raid1", 1, {{"sda"}});
  EXPECT_STREQ(md.disks, "sda");
  EXPECT_STREQ(md.enclosure, "");
}

TEST_F(md_sysfs, member_list_never_outgrows_its_field) {
  std::vector<member> members;
  for (char c = 'a'; c <= 'z'; ++c) members.push_back({std::string("sda") + c, "faulty"});
  EXPECT_EQ(std::string(read("raid6", 26, members).disks).size(), 127u);
  EXPECT_EQ(std::string(read("raid6", 2147483647, {{"sda"}}).disks).size(), 127u);
}

TEST_F(md_sysfs, array_without_a_directory_is_printed_and_logged) {
  put_members("md0", 1, {{"sda"}});
  md_list list;
  liborv_strncpy(list.add("md0").disks, 128, "scratch");
  liborv_strncpy(list.add("md1").disks, 128, "scratch");
  EXPECT_EQ(get_mdinfo_from_sysblock(list.get()), -1032);
  EXPECT_STREQ(list.records()[0]->disks, "sda");
  EXPECT_STREQ(list.records()[1]->disks, "");
  EXPECT_EQ(machine.output(), "cannot open dir /sys/block/md1/md\n");
  EXPECT_THAT(machine.log(),
              testing::EndsWith(
                  "get_mdinfo_from_sysblock:N return -1032 with No such file or directory\n"));
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  EXPECT_EQ(get_mdinfo_from_sysblock(nullptr), ORV_E_FAILED);
}

TEST_F(md_sysfs, member_that_went_away_is_lost) {
  put_members("md0", 2, {{"sda"}, {"sdb"}, {"sdc"}, {"sdd"}});
  machine.remove("/sys/block/md0/md/dev-sdb");
  machine.directory("/sys/block/md0/md/dev-sdb");  // without a state
  machine.remove("/sys/block/md0/md/dev-sdc");
  machine.file("/sys/block/md0/md/dev-sdc", "");
  md_list list;
  tag_md_info& md = list.add("md0");
  EXPECT_EQ(get_mdinfo_from_sysblock(list.get()), ORV_OK);
  EXPECT_THAT(items(md.disks), UnorderedElementsAre("sda", "sdb", "sdc", "sdd"));
}

TEST_F(md_sysfs, member_without_a_state_is_there_but_not_in_sync) {
  const std::string members = "/sys/block/md0/md/dev-";
  put_members("md0", 4, {{"sda"}, {"sdb"}, {"sdc"}, {"sdd"}});
  md_list list;
  tag_md_info& md = list.add("md0");
  liborv_strncpy(md.level, sizeof md.level, "raid5");
  liborv_strncpy(md.state, sizeof md.state, "clean");
  for (const std::string name : {"sdd", "sda"}) {
    EXPECT_STREQ(md.state, "clean");
    machine.remove(members + name + "/state");
    machine.forget();
    EXPECT_EQ(get_mdinfo_from_sysblock(list.get()), ORV_OK);
    EXPECT_THAT(items(md.disks), UnorderedElementsAre("sda", "sdb", "sdc", "sdd"));
    EXPECT_THAT(machine.output(), HasSubstr("cannot cat " + members + name + "/state\n"));
    EXPECT_THAT(machine.log_lines(),
                Each("get_disk_state:N return NULL with No such file or directory"));
  }
  EXPECT_STREQ(md.state, "inactive");
  EXPECT_EQ(machine.log_lines().size(), 2u);
}

TEST_F(md_sysfs, array_of_an_unknown_number_of_members_misses_none) {
  put_members("md0", 4, {{"sda", "faulty"}});
  machine.remove("/sys/block/md0/md/raid_disks");
  md_list list;
  tag_md_info& md = list.add("md0");
  liborv_strncpy(md.level, sizeof md.level, "raid5");
  liborv_strncpy(md.state, sizeof md.state, "clean");
  EXPECT_EQ(get_mdinfo_from_sysblock(list.get()), ORV_OK);
  EXPECT_STREQ(md.disks, "sda(F)");
  EXPECT_STREQ(md.state, "clean");
  EXPECT_EQ(machine.output(), "cannot cat /sys/block/md0/md/raid_disks\n");
  EXPECT_EQ(machine.log(), "get_raid_disks:N return NULL with No such file or directory\n");
}

/// What a getter says when the n-th call of a function fails, for every n until it succeeds.
void md_sysfs::expect_told(const char* function, int error, int result, int usual_calls) {
  int told = 0;
  for (int nth = 1; nth <= usual_calls; ++nth) {
    md_list list;
    tag_md_info& md = list.add("md0");
    liborv_strncpy(md.level, sizeof md.level, "raid5");
    liborv_strncpy(md.state, sizeof md.state, "clean");
    machine.fail(function, error, nth);
    const int got = get_mdinfo_from_sysblock(list.get());
    EXPECT_TRUE(got == ORV_OK || got == result) << nth << ' ' << got;
    EXPECT_TRUE(got != ORV_OK || error == ENODEV || std::string(md.state) == "clean") << nth;
    if (got != ORV_OK) ++told;
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  }
  EXPECT_EQ(told > 0, result != ORV_OK) << function;
}

TEST_F(md_sysfs, member_whose_state_cannot_be_opened_just_now_is_no_lost_one) {
  put_members("md0", 3, {{"sda"}, {"sdb"}, {"sdc"}});
  expect_told("open", EMFILE, ORV_E_MD_SYSFS, 30);
  expect_told("open", ENODEV, ORV_OK, 30);
  expect_told("readdir", EIO, ORV_E_MD_SYSFS, 30);
}

TEST_F(md_sysfs, state_that_cannot_be_read_counts_as_empty) {
  put_members("md0", 3, {{"sda"}, {"sdb"}, {"sdc", "faulty"}});
  md_list list;
  tag_md_info& md = list.add("md0");
  liborv_strncpy(md.level, sizeof md.level, "raid5");
  const auto read_again = [&] {
    liborv_strncpy(md.state, sizeof md.state, "clean");
    EXPECT_EQ(get_mdinfo_from_sysblock(list.get()), ORV_OK);
    return items(md.disks);
  };
  const std::string states = "/sys/block/md0/md/dev-";
  machine.remove(states + "sdc/state");
  machine.directory(states + "sdc/state");
  EXPECT_THAT(read_again(), UnorderedElementsAre("sda", "sdb", "sdc"));
  EXPECT_STREQ(md.state, "clean");
  machine.remove(states + "sdb/state");
  machine.directory(states + "sdb/state");
  EXPECT_THAT(read_again(), UnorderedElementsAre("sda", "sdb", "sdc"));
  EXPECT_STREQ(md.state, "inactive");
  EXPECT_EQ(get_disk_state((states + "sdb/state").c_str()), 0);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(md_sysfs, every_read_is_tried_again_when_a_signal_came_in_between) {
  put_members("md0", 2, {{"sda"}, {"sdb"}});
  for (int nth = 1; nth <= 30; ++nth) {
    md_list list;
    tag_md_info& md = list.add("md0");
    liborv_strncpy(md.level, sizeof md.level, "raid0");
    machine.fail("read", EINTR, nth);
    EXPECT_EQ(get_mdinfo_from_sysblock(list.get()), ORV_OK);
    EXPECT_THAT(items(md.disks), UnorderedElementsAre("sda", "sdb")) << nth;
  }
}

TEST_F(md_sysfs, state_words_have_numbers) {
  EXPECT_EQ(disk_state("faulty\n"), 1);
  EXPECT_EQ(disk_state("spare\n"), 2);
  EXPECT_EQ(disk_state("in_sync\n"), 3);
  EXPECT_EQ(disk_state("in_sync"), 3);
  for (const std::string other :
       {"", "\n", "blocked\n", "in_syncs\n", "not faulty\n", "FAULTY\n"}) {
    EXPECT_EQ(disk_state(other), 0) << other;
  }
}

TEST_F(md_sysfs, flags_of_newer_kernels_do_not_hide_the_state) {
  EXPECT_EQ(disk_state("faulty,blocked\n"), 1);
  EXPECT_EQ(disk_state("write_mostly,spare\n"), 2);
  EXPECT_EQ(disk_state("in_sync,write_mostly\n"), 3);
}

TEST_F(md_sysfs, state_file_that_cannot_be_opened_is_printed_and_logged) {
  EXPECT_EQ(get_disk_state("/sys/none"), -1);
  EXPECT_EQ(get_raid_disks("/sys/none"), 0);
  EXPECT_EQ(machine.output(), "cannot cat /sys/none\ncannot cat /sys/none\n");
  EXPECT_EQ(machine.log(),
            "get_disk_state:N return NULL with No such file or directory\n"
            "get_raid_disks:N return NULL with No such file or directory\n");
  EXPECT_EQ(get_disk_state(static_cast<const char*>(nullptr)), -1);
  EXPECT_EQ(get_raid_disks(nullptr), 0);
}

TEST_F(md_sysfs, state_that_cannot_be_read_is_empty) {
  EXPECT_EQ(get_disk_state("/sys"), 0);
  EXPECT_EQ(get_raid_disks("/sys"), 0);
  EXPECT_EQ(machine.output(), "");
}

TEST_F(md_sysfs, number_of_members_is_read_and_bounded) {
  EXPECT_EQ(raid_disks("4\n"), 4);
  EXPECT_EQ(raid_disks(" 16 (15)\n"), 16);
  EXPECT_EQ(raid_disks(""), 0);
  EXPECT_EQ(raid_disks("-3\n"), 0);
  EXPECT_EQ(raid_disks("99999999999999999999\n"), 2147483647);
  EXPECT_EQ(raid_disks(std::string(100000, ' ') + "4"), 0);
}

TEST_F(md_sysfs, interrupted_read_is_repeated) {
  struct sigaction interrupt {};
  interrupt.sa_handler = [](int) {};
  sigaction(SIGUSR1, &interrupt, nullptr);
  ASSERT_EQ(mkfifo("/sys/state", 0600), 0);
  const pthread_t reader = pthread_self();
  std::thread writer([reader] {
    const int file = open("/sys/state", O_WRONLY | O_CLOEXEC);
    for (int i = 0; i < 20; ++i) {
      usleep(2000);
      pthread_kill(reader, SIGUSR1);
    }
    EXPECT_EQ(write(file, "faulty\n", 7), 7);
    close(file);
  });
  EXPECT_EQ(get_disk_state("/sys/state"), 1);
  writer.join();
}
