#include "tests/raid/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

/// Creation and re-creation over device names, without any question.
class set_raid_test : public sandbox_test {
 protected:
  set_raid_test() { md_conf_init(&md); }

  void tools_succeed() {
    machine.tool("/usr/local/bin/diskformat").on("...").if_asked();
    machine.tool("/sbin/mdadm").on("...").if_asked();
  }

  void request(const std::string& level, const std::string& disks, const std::string& state = "") {
    liborv_strncpy(md.name, sizeof md.name, "md2");
    liborv_strncpy(md.level, sizeof md.level, level.c_str());
    liborv_strncpy(md.state, sizeof md.state, state.c_str());
    liborv_strncpy(md.disks, sizeof md.disks, disks.c_str());
  }

  /// The command that creates the array on disks that are wiped before.
  std::string creation(const std::string& level, const std::string& disks,
                       const std::string& state = "") {
    tools_succeed();
    machine.forget();
    request(level, disks, state);
    EXPECT_EQ(set_raid(&md), ORV_OK);
    const sandbox::lines commands = machine.commands();
    EXPECT_THAT(commands, SizeIs(static_cast<std::size_t>(count_disks(disks.c_str())) + 1));
    for (std::size_t i = 0; i + 1 < commands.size(); ++i) {
      EXPECT_THAT(commands[i], StartsWith("/usr/local/bin/diskformat /dev/sd"));
    }
    return commands.back();
  }
  std::string re_creation(const std::string& level, const std::string& disks) {
    tools_succeed();
    machine.forget();
    request(level, disks, "foreground");
    EXPECT_EQ(reset_raid(&md), ORV_OK);
    EXPECT_THAT(machine.commands(), SizeIs(1));
    return machine.commands().back();
  }

  /// The log line of a count that the level does not allow.
  std::string refused(int (*operation)(tag_md_info*), const std::string& level,
                      const std::string& disks) {
    machine.forget();
    request(level, disks);
    EXPECT_EQ(operation(&md), -2034);
    EXPECT_EQ(disks, md.disks);
    EXPECT_THAT(machine.commands(), IsEmpty());
    return machine.log();
  }

  static constexpr char creation_of_mirror[] =
      "/sbin/mdadm -C  /dev/md2 -l 1 -n 2 -R /dev/sda /dev/sdb > /dev/null";
  static constexpr char re_creation_of_mirror[] =
      "/sbin/mdadm -C /dev/md2 -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null";

  /// How the log tells that a command ended, but for the reason.
  static std::string ended(const std::string& command, const std::string& how, int exit_code) {
    return "system(\"" + command + "\") return " + how + " with exit(" + std::to_string(exit_code) +
           ") for '";
  }

  static std::string names(int count) {
    std::string list;
    for (int i = 0; i < count; ++i) {
      list += (i == 0 ? "sd" : ",sd");
      list += static_cast<char>('a' + i);
    }
    return list;
  }

  tag_md_info md;
};

TEST_F(set_raid_test, wipes_every_member_and_creates_the_array) {
  tools_succeed();
  request("raid1", "sda,sdb");
  EXPECT_EQ(set_raid(&md), ORV_OK);
  EXPECT_THAT(
      machine.commands(),
      ElementsAre("/usr/local/bin/diskformat /dev/sda", "/usr/local/bin/diskformat /dev/sdb",
                  "/sbin/mdadm -C  /dev/md2 -l 1 -n 2 -R /dev/sda /dev/sdb > /dev/null"));
  EXPECT_STREQ(md.disks, "/dev/sda /dev/sdb");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(set_raid_test, levels_have_their_numbers) {
  EXPECT_EQ(creation("raid0", "sda,sdb"),
            "/sbin/mdadm -C  /dev/md2 -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null");
  EXPECT_EQ(
      creation("raid6", "sda,sdb,sdc,sdd"),
      "/sbin/mdadm -C  /dev/md2 -l 6 -n 4 -R /dev/sda /dev/sdb /dev/sdc /dev/sdd > /dev/null");
  EXPECT_EQ(creation("linear", "sda,sdb"),
            "/sbin/mdadm -C /dev/md2 -l linear -n 2 -R /dev/sda /dev/sdb > /dev/null");
  EXPECT_EQ(creation("raid10", "sda,sdb"),
            "/sbin/mdadm -C  /dev/md2 -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null");
}

TEST_F(set_raid_test, foreground_initialisation_is_asked_for_in_any_case) {
  EXPECT_EQ(creation("raid1", "sda,sdb", "foreground"),
            "/sbin/mdadm -C /dev/md2 --fg-init -l 1 -n 2 -R /dev/sda /dev/sdb > /dev/null");
  EXPECT_EQ(creation("raid0", "sda,sdb", "ForeGround"),
            "/sbin/mdadm -C /dev/md2 --fg-init -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null");
  EXPECT_EQ(creation("linear", "sda,sdb", "foreground"),
            "/sbin/mdadm -C /dev/md2 -l linear -n 2 -R /dev/sda /dev/sdb > /dev/null");
  EXPECT_EQ(creation("raid1", "sda,sdb", "foregrounds"),
            "/sbin/mdadm -C  /dev/md2 -l 1 -n 2 -R /dev/sda /dev/sdb > /dev/null");
}

TEST_F(set_raid_test, raid5_gets_a_bitmap_on_kernels_newer_than_2_6_29) {
  machine.kernel_release("2.6.30");
  EXPECT_EQ(creation("raid5", "sda,sdb,sdc"),
            "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384  /dev/md2 -l 5 -n 3 -R /dev/sda "
            "/dev/sdb /dev/sdc > /dev/null");
  EXPECT_EQ(creation("raid5", "sda,sdb,sdc", "foreground"),
            "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384 /dev/md2 --fg-init -l 5 -n 3 -R "
            "/dev/sda /dev/sdb /dev/sdc > /dev/null");
}

TEST_F(set_raid_test, raid5_gets_no_bitmap_on_older_kernels) {
  machine.kernel_release("2.6.29");
  EXPECT_EQ(creation("raid5", "sda,sdb,sdc"),
            "/sbin/mdadm -C /dev/md2 -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc > /dev/null");
  EXPECT_EQ(
      creation("raid5", "sda,sdb,sdc", "foreground"),
      "/sbin/mdadm -C /dev/md2 --fg-init -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc > /dev/null");
}

TEST_F(set_raid_test, count_of_members_must_fit_the_level) {
  EXPECT_EQ(refused(set_raid, "raid1", names(3)), "disks num 3 exceed [2, 2] in raid1");
  EXPECT_EQ(refused(set_raid, "raid1", names(1)), "disks num 1 exceed [2, 2] in raid1");
  EXPECT_EQ(refused(set_raid, "raid5", names(2)), "disks num 2 exceed [3, 16] in raid5");
  EXPECT_EQ(refused(set_raid, "raid5", names(17)), "disks num 17 exceed [3, 16] in raid5");
  EXPECT_EQ(refused(set_raid, "raid6", names(3)), "disks num 3 exceed [4, 16] in raid6");
  EXPECT_EQ(refused(set_raid, "raid0", names(1)), "disks num 1 exceed [2, 16] in raid0");
  EXPECT_EQ(refused(set_raid, "linear", names(17)), "disks num 17 exceed [2, 16] in linear");
  EXPECT_EQ(refused(set_raid, "raid0", ""), "disks num 0 exceed [2, 16] in raid0");
  EXPECT_EQ(refused(set_raid, "raid0", ",,,"), "disks num 0 exceed [2, 16] in raid0");
}

TEST_F(set_raid_test, sixteen_members_do_not_fit_the_record_but_the_command) {
  std::string paths;
  for (char c = 'a'; c < 'a' + 16; ++c) paths += std::string(" /dev/sd") + c;
  EXPECT_EQ(
      creation("raid5", names(16), "foreground"),
      "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384 /dev/md2 --fg-init -l 5 -n 16 -R" +
          paths + " > /dev/null");
  EXPECT_EQ(md.disks, paths.substr(1, 127));
  EXPECT_EQ(re_creation("raid6", names(16)),
            "/sbin/mdadm -C /dev/md2 -l 6 -n 16 -R" + paths + " > /dev/null");
  EXPECT_EQ(md.disks, paths.substr(1, 127));
}

TEST_F(set_raid_test, failure_of_mdadm_is_logged_and_leaves_the_members_wiped) {
  machine.tool("/usr/local/bin/diskformat").on("...");
  machine.tool("/sbin/mdadm").on("-C ...").fails(2);
  request("raid1", "sda,sdb");
  EXPECT_EQ(set_raid(&md), -11000);
  EXPECT_THAT(machine.commands(),
              ElementsAre("/usr/local/bin/diskformat /dev/sda",
                          "/usr/local/bin/diskformat /dev/sdb", creation_of_mirror));
  EXPECT_THAT(machine.log_lines(), ElementsAre(StartsWith(ended(creation_of_mirror, "normal", 2))));
  EXPECT_STREQ(md.name, "md2");
  EXPECT_STREQ(md.disks, "/dev/sda /dev/sdb");
}

TEST_F(set_raid_test, failure_of_mdadm_to_create_anew_is_logged) {
  machine.tool("/sbin/mdadm").on("-C ...").fails(2);
  request("raid1", "sda,sdb");
  EXPECT_EQ(reset_raid(&md), -11000);
  EXPECT_THAT(machine.commands(), ElementsAre(re_creation_of_mirror));
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(StartsWith(ended(re_creation_of_mirror, "normal", 2))));
  EXPECT_STREQ(md.disks, "/dev/sda /dev/sdb");
}

TEST_F(set_raid_test, shell_of_mdadm_that_is_killed_is_logged) {
  machine.remove("/bin/sh");
  machine.file("/bin/sh", "#!/.sandbox/bin/bash\n[[ $* != *mdadm* ]] || kill -9 $$\n", 0755);
  request("raid1", "sda,sdb");
  EXPECT_EQ(set_raid(&md), -11000);
  request("raid1", "sda,sdb");
  EXPECT_EQ(reset_raid(&md), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(StartsWith(ended(creation_of_mirror, "unnormal", 0)),
                          StartsWith(ended(re_creation_of_mirror, "unnormal", 0))));
}

/// Also with a shell that is left out where a command line is plain.
TEST_F(set_raid_test, arrays_are_created_by_a_shell_and_nothing_else_is) {
  machine.shell_is("dash");
  tools_succeed();
  request("raid1", "sda,sdb");
  EXPECT_EQ(set_raid(&md), ORV_OK);
  EXPECT_EQ(add_raid(&md, "sdc"), ORV_OK);
  request("raid1", "sda,sdb");
  EXPECT_EQ(reset_raid(&md), ORV_OK);
  sandbox::lines run_by_shell, run_without_shell;
  for (const sandbox::call_record& call : machine.call_records()) {
    (call.by_shell ? run_by_shell : run_without_shell)
        .push_back(call.words[0] + ' ' + call.words[1]);
  }
  EXPECT_THAT(run_by_shell, ElementsAre("/sbin/mdadm -C", "/sbin/mdadm -C"));
  EXPECT_THAT(run_without_shell,
              ElementsAre("/usr/local/bin/diskformat /dev/sda",
                          "/usr/local/bin/diskformat /dev/sdb", "/sbin/mdadm --manage"));
}

TEST_F(set_raid_test, member_that_cannot_be_wiped_does_not_stop_the_creation) {
  machine.tool("/usr/local/bin/diskformat").on("/dev/sda").fails(1);
  machine.tool("/usr/local/bin/diskformat").on("/dev/sdb");
  machine.tool("/sbin/mdadm").on("-C ...");
  request("raid0", "sda,sdb");
  EXPECT_EQ(set_raid(&md), ORV_OK);
  EXPECT_THAT(machine.log_lines(), SizeIs(1));
}

TEST_F(set_raid_test, no_disk_is_wiped_for_an_array_that_cannot_be_created) {
  request("raid1", "sda,sdb");
  md.name[0] = '\0';
  EXPECT_EQ(set_raid(&md), -11000);
  request("raid0",
          "sdaaaaa,sdbaaaa,sdcaaaa,sddaaaa,sdeaaaa,sdfaaaa,sdgaaaa,sdhaaaa,sdiaaaa,sdjaaaa,"
          "sdkaaaa,sdlaaaa,sdmaaaa,sdnaaaa,sdoaaaa,sdpaaaa");
  EXPECT_EQ(set_raid(&md), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(machine.log_lines(), SizeIs(2));
}

TEST_F(set_raid_test, names_reach_the_tools_as_one_word) {
  machine.tool("/usr/local/bin/diskformat").on("...");
  machine.tool("/sbin/mdadm").on("...");
  request("raid0", "sd a,$(b)'");
  liborv_strncpy(md.name, sizeof md.name, "m;d\n2");
  EXPECT_EQ(set_raid(&md), ORV_OK);
  EXPECT_THAT(machine.calls(),
              ElementsAre(ElementsAre("/usr/local/bin/diskformat", "/dev/sd a"),
                          ElementsAre("/usr/local/bin/diskformat", "/dev/$(b)'"),
                          ElementsAre("/sbin/mdadm", "-C", "/dev/m;d\n2", "-l", "0", "-n", "2",
                                      "-R", "/dev/sd a", "/dev/$(b)'")));
}

TEST_F(set_raid_test, array_is_made_anew_without_wiping) {
  EXPECT_EQ(re_creation("raid5", "sda,sdb,sdc"),
            "/sbin/mdadm -C /dev/md2 -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc > /dev/null");
  EXPECT_STREQ(md.disks, "/dev/sda /dev/sdb /dev/sdc");
  EXPECT_EQ(re_creation("raid0", "sda,sdb"),
            "/sbin/mdadm -C /dev/md2 -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null");
}

TEST_F(set_raid_test, mirror_and_linear_array_are_made_anew_as_a_stripe) {
  EXPECT_EQ(re_creation("raid1", "sda,sdb"),
            "/sbin/mdadm -C /dev/md2 -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null");
  EXPECT_EQ(re_creation("linear", "sda,sdb"),
            "/sbin/mdadm -C /dev/md2 -l 0 -n 2 -R /dev/sda /dev/sdb > /dev/null");
  EXPECT_EQ(re_creation("raid1", "sda,sdb,sdc"),
            "/sbin/mdadm -C /dev/md2 -l 0 -n 3 -R /dev/sda /dev/sdb /dev/sdc > /dev/null");
}

TEST_F(set_raid_test, re_creation_has_limits_too) {
  EXPECT_EQ(refused(reset_raid, "raid5", names(2)), "disks num 2 exceed [3, 16] in raid5");
  EXPECT_EQ(refused(reset_raid, "raid6", names(3)), "disks num 3 exceed [4, 16] in raid6");
  EXPECT_EQ(refused(reset_raid, "raid1", names(1)), "disks num 1 exceed [2, 16] in raid1");
  EXPECT_EQ(refused(reset_raid, "raid1", names(17)), "disks num 17 exceed [2, 16] in raid1");
  EXPECT_EQ(refused(reset_raid, "raid0", ""), "disks num 0 exceed [2, 16] in raid0");
}

TEST_F(set_raid_test, null_records_are_refused) {
  EXPECT_EQ(set_raid(nullptr), ORV_E_FAILED);
  EXPECT_EQ(reset_raid(nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(set_raid_test, every_disk_of_a_list_is_wiped) {
  machine.tool("/usr/local/bin/diskformat").on("...");
  const char* const list = "sda,,sdb";
  EXPECT_EQ(init_raid_disks(list), list);
  EXPECT_THAT(machine.commands(), ElementsAre("/usr/local/bin/diskformat /dev/sda",
                                              "/usr/local/bin/diskformat /dev/sdb"));
  EXPECT_EQ(init_raid_disks(nullptr), nullptr);
}

TEST_F(set_raid_test, name_at_the_end_of_an_overlong_list_is_not_wiped_by_half) {
  machine.tool("/usr/local/bin/diskformat").on("...");
  const std::string fits(251, ',');
  init_raid_disks((fits + "sdaa,sdb").c_str());
  init_raid_disks((fits + ",sdaa").c_str());
  EXPECT_THAT(machine.commands(), ElementsAre("/usr/local/bin/diskformat /dev/sdaa"));
}
