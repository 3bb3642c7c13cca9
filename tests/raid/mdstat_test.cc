#include <cerrno>

#include "tests/raid/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

/// The kernel's array status, read for names and for rebuild progress.
class mdstat : public sandbox_test {
 protected:
  mdstat() { machine.tool("cat").is_real(); }

  /// Progress that is read for an array "md0" from the line that the kernel shows for it.
  std::string progress(const std::string& rebuild_line,
                       const std::string& state = "clean, degraded, recovering") {
    machine.file("/proc/mdstat",
                 "Personalities : [raid6] [raid5] [raid4] [raid1]\n"
                 "md1 : active raid1 sde[1] sdd[0]\n"
                 "      101376 blocks super 1.2 [2/2] [UU]\n"
                 "      [=>...................]  resync = 99.9% (1/2) finish=0.1min speed=1K/sec\n"
                 "md0 : active raid5 sdc[3] sdb[1] sda[0]\n"
                 "      204800 blocks super 1.2 level 5, 512k chunk, algorithm 2 [3/2] [UU_]\n" +
                     rebuild_line);
    md_list list;
    tag_md_info& md = list.add("md0");
    liborv_strncpy(md.state, sizeof md.state, state.c_str());
    EXPECT_EQ(get_mdinfo_from_mdstat(list.get()), ORV_OK);
    return md.progress;
  }

  static std::string rebuild(const std::string& percent, const std::string& speed) {
    return "      [===>.................]  recovery = " + percent +
           " (18944/102400) finish=0.1min speed=" + speed +
           "\n      bitmap: 1/1 pages [4KB], 65536KB chunk\n";
  }
};

TEST_F(mdstat, arrays_are_listed_in_its_order) {
  machine.file("/proc/mdstat",
               "Personalities : [raid6] [raid5] [raid4]\n"
               "md127 : active raid5 sdc[3] sdb[1] sda[0]\n"
               "      204800 blocks super 1.2 level 5, 512k chunk, algorithm 2 [3/2] [UU_]\n"
               "      bitmap: 1/1 pages [4KB], 65536KB chunk\n"
               "\n"
               "  md0: inactive sdd[0](S)\n"
               "      101376 blocks super 1.2\n"
               "md_home : active raid1 sde[0]\n"
               "md3 without a colon\n"
               "unused devices: <none>\n");
  md_list list;
  EXPECT_EQ(get_mdinfo_from_proc(list.get()), ORV_OK);
  EXPECT_THAT(list.names(), ElementsAre("md127", "md0", "md_home"));
  EXPECT_STREQ(list.only().state, "inactive");
  EXPECT_STREQ(list.only().level, "");
  EXPECT_THAT(machine.commands(), ElementsAre("cat /proc/mdstat > /tmp/mdstat.XXXXXX"));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(mdstat, names_are_cut_and_odd_bytes_are_read_past) {
  const std::string name = "md" + std::string(60, '1');
  machine.file("/proc/mdstat", std::string("\0\xff:\n", 4) + name + " : active\n" +
                                   std::string(100000, 'm') + "\nmd5 : active");
  md_list list;
  EXPECT_EQ(get_mdinfo_from_proc(list.get()), ORV_OK);
  EXPECT_THAT(list.names(), ElementsAre(name.substr(0, 31), "md5"));
}

TEST_F(mdstat, empty_status_has_no_array) {
  machine.file("/proc/mdstat", "");
  md_list list;
  EXPECT_EQ(get_mdinfo_from_proc(list.get()), ORV_OK);
  EXPECT_THAT(list.names(), IsEmpty());
}

TEST_F(mdstat, failure_to_copy_it_is_logged_and_leaves_no_file) {
  md_list list;
  EXPECT_EQ(get_mdinfo_from_proc(list.get()), -11000);
  EXPECT_EQ(get_mdinfo_from_mdstat(list.get()), -11000);
  const std::string line =
      "system(\"cat /proc/mdstat > /tmp/mdstat.XXXXXX\") return normal with exit(1)";
  EXPECT_THAT(machine.log_lines(), ElementsAre(StartsWith(line), StartsWith(line)));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(mdstat, nothing_is_run_without_a_temporary_file) {
  machine.fail("mkstemp", ENOSPC);
  md_list list;
  EXPECT_EQ(get_mdinfo_from_proc(list.get()), -11000);
  EXPECT_EQ(get_mdinfo_from_mdstat(list.get()), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(machine.log_lines().size(), 2u);
}

TEST_F(mdstat, copy_that_cannot_be_opened_is_printed_and_logged) {
  machine.file("/proc/mdstat", "md0 : active\n");
  md_list list;
  machine.fail("fopen", EACCES);
  EXPECT_EQ(get_mdinfo_from_proc(list.get()), -1033);
  liborv_strncpy(list.add("md0").state, 48, "resyncing");
  EXPECT_EQ(get_mdinfo_from_mdstat(list.get()), -1033);
  EXPECT_THAT(machine.output(),
              testing::MatchesRegex(
                  "cannot open /tmp/mdstat\\.......\ncannot open /tmp/mdstat\\.......\n"));
  EXPECT_EQ(machine.log(),
            "get_mdinfo_from_proc:N return -1033 with Permission denied\n"
            "get_mdinfo_from_mdstat:N return -1033 with Permission denied\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(mdstat, null_list_is_refused) {
  EXPECT_EQ(get_mdinfo_from_proc(nullptr), ORV_E_FAILED);
  EXPECT_EQ(get_mdinfo_from_mdstat(nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(mdstat, progress_is_the_percentage_and_the_speed_in_whole_mib) {
  EXPECT_EQ(progress(rebuild("18.4%", "9472K/sec")), "18.4%(9.00MB/s)");
  EXPECT_EQ(progress(rebuild(" 0.5%", "1500K/sec")), "0.5%(1.00MB/s)");
  EXPECT_EQ(progress(rebuild("100.0%", "1023K/sec")), "100.0%(0.00MB/s)");
  EXPECT_EQ(progress(rebuild("1%", "204800K/sec"), "active, resyncing"), "1%(200.00MB/s)");
}

TEST_F(mdstat, blanks_before_the_speed_are_passed_over) {
  EXPECT_EQ(progress(rebuild("18.4%", "  2048K/sec")), "18.4%(2.00MB/s)");
  EXPECT_EQ(progress(rebuild("18.4%", "\t2048K/sec")), "18.4%(2.00MB/s)");
}

TEST_F(mdstat, progress_is_read_only_for_arrays_that_rebuild) {
  for (const char* state : {"clean", "clean, degraded", "active, checking", "inactive", "",
                            "recoveringly", "not-resyncing"}) {
    EXPECT_EQ(progress(rebuild("18.4%", "9472K/sec"), state), "") << state;
  }
  EXPECT_EQ(progress(rebuild("1%", "1024K/sec"), "clean,resyncing (PENDING)"), "1%(1.00MB/s)");
}

TEST_F(mdstat, rebuild_that_waits_has_no_progress) {
  EXPECT_EQ(progress("      \tresync=DELAYED\n"), "");
  EXPECT_EQ(progress("      \tresync=PENDING\n"), "");
  EXPECT_EQ(progress("      bitmap: 1/1 pages [4KB], 65536KB chunk\n"), "");
  EXPECT_EQ(progress(""), "");
}

TEST_F(mdstat, line_that_was_cut_is_not_read_past_its_end) {
  EXPECT_EQ(progress("      [===>.....]  recovery ="), "");
  EXPECT_EQ(progress("      [===>.....]  recovery = 18"), "");
  EXPECT_EQ(progress("      [===>.....]  recovery = 18.4%"), "18.4");
  EXPECT_EQ(progress("      [===>.....]  recovery = 18.4% (1/2) finish=0.1min speed"), "18.4");
  EXPECT_EQ(progress("      [===>.....]  recovery = 18.4% (1/2) finish=0.1min speed="), "18.4");
  EXPECT_EQ(progress("      [===>.....]  recovery = 18.4% (1/2) finish=0.1min speed=2048"),
            "18.4%(2.00MB/s)");
}

TEST_F(mdstat, progress_never_outgrows_its_field) {
  EXPECT_EQ(progress(rebuild(std::string(60, '9') + "%", "9472K/sec")), std::string(31, '9'));
  EXPECT_EQ(progress(rebuild("1%", std::string(60, '9'))), "1%(18014398509481984.00MB/s)");
}

TEST_F(mdstat, array_that_it_does_not_list_has_no_progress) {
  machine.file("/proc/mdstat", "md1 : active raid5\n\n" + rebuild("18.4%", "9472K/sec"));
  md_list list;
  for (const char* name : {"md0", "md11", "md"}) {
    liborv_strncpy(list.add(name).state, 48, "recovering");
  }
  EXPECT_EQ(get_mdinfo_from_mdstat(list.get()), ORV_OK);
  for (const tag_md_info* md : list.records()) EXPECT_STREQ(md->progress, "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}
