#include <cerrno>
#include <climits>

#include "tests/raid/machine_with_disks.h"
#include "tests/sandbox/bend.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class hot_spares : public machine_with_disks {
 protected:
  void tools_succeed() {
    machine.tool("/usr/local/bin/hotspare").on("-a ...").if_asked();
    machine.tool("/usr/local/bin/hotspare").on("-r ...").if_asked();
    machine.tool("/usr/local/bin/diskformat").on("...").if_asked();
  }

  /// In how many of the calls of open(2) its failure keeps a disk from becoming a spare.
  int refusals_when_open_fails(int error, const std::string& why);

  /// The kernel uses the device from the first open(2) on that finds the note of its wiping.
  void use_once_wiped(const std::string& device) {
    sandbox::before("open", [this, device] {
      if (machine.exists("/told/wiped")) return machine.in_use(device);
      use_once_wiped(device);
    });
  }

  disk_request request;
};

class hot_spares_of_a_controller : public machine_with_controller {};

TEST_F(hot_spares, are_added_and_removed_by_the_tool) {
  tools_succeed();
  EXPECT_EQ(disk_set_hotspare("sda", 1), 0);
  EXPECT_EQ(disk_set_hotspare("sda", -1), 0);
  EXPECT_THAT(machine.commands(), ElementsAre("/usr/local/bin/hotspare -a /dev/sda",
                                              "/usr/local/bin/hotspare -r /dev/sda"));
}

TEST_F(hot_spares, other_flags_run_nothing) {
  EXPECT_EQ(disk_set_hotspare("sda", 5), 6);
  EXPECT_EQ(disk_set_hotspare("sda", 0), 1);
  EXPECT_EQ(disk_set_hotspare("sda", -2), -1);
  EXPECT_EQ(disk_set_hotspare("sda", INT_MAX), INT_MAX);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(hot_spares, failures_of_the_tools_are_logged) {
  machine.tool("/usr/local/bin/hotspare").on("-a /dev/sda").fails(3);
  machine.tool("/usr/local/bin/diskformat").on("/dev/sda").fails(4);
  EXPECT_EQ(disk_set_hotspare("sda", 1), -1);
  EXPECT_EQ(clear_disk("sda"), -1);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(StartsWith(failed_command("/usr/local/bin/hotspare -a /dev/sda", 3)),
                          StartsWith(failed_command("/usr/local/bin/diskformat /dev/sda", 4))));
}

TEST_F(hot_spares, disk_that_the_kernel_uses_is_not_wiped) {
  machine.in_use("/dev/sda");
  EXPECT_EQ(clear_disk("sda"), -1);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/usr/local/bin/diskformat /dev/sda", 127) +
                          "Device or resource busy'"));
}

TEST_F(hot_spares, disk_that_the_kernel_cannot_be_asked_about_is_not_wiped) {
  machine.fail("open", EMFILE, 1);
  EXPECT_EQ(clear_disk("sda"), -1);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(machine.log(), testing::HasSubstr("for 'Too many open files'"));
}

TEST_F(hot_spares, disk_without_a_name_is_not_touched) {
  EXPECT_EQ(disk_set_hotspare("", 1), -1);
  EXPECT_EQ(disk_set_hotspare(nullptr, -1), -1);
  EXPECT_EQ(clear_disk(nullptr), -1);
  EXPECT_EQ(clear_disk(""), -1);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(machine.log_lines().size(), 4u);
}

TEST_F(hot_spares, strange_disk_name_stays_one_word) {
  const std::string name = "sda;reboot $(halt) 'x\n-b";
  machine.tool("/usr/local/bin/hotspare").on_exactly({"-a", "/dev/" + name}).times(1);
  machine.tool("/usr/local/bin/hotspare").on_exactly({"-r", "/dev/-x"}).times(1);
  machine.tool("/usr/local/bin/diskformat").on_exactly({"/dev/" + name}).times(1);
  EXPECT_EQ(disk_set_hotspare(name.c_str(), 1), 0);
  EXPECT_EQ(disk_set_hotspare("-x", -1), 0);
  EXPECT_EQ(clear_disk(name.c_str()), 0);
}

TEST_F(hot_spares, command_that_would_be_cut_is_not_run) {
  constexpr char wipe[] = "/usr/local/bin/diskformat /dev/";
  const std::string name(256 - sizeof wipe, 'x');
  machine.tool("/usr/local/bin/diskformat").on_exactly({"/dev/" + name});
  EXPECT_EQ(clear_disk(name.c_str()), 0);
  EXPECT_EQ(clear_disk((name + "x").c_str()), -1);
  EXPECT_EQ(disk_set_hotspare((name + "x").c_str(), 1), -1);
  EXPECT_EQ(machine.commands().size(), 1u);
  const auto says_why = testing::EndsWith("for 'File name too long'");
  EXPECT_THAT(machine.log_lines(), ElementsAre(says_why, says_why));
}

TEST_F(hot_spares, tool_that_is_killed_is_logged) {
  machine.tool("/usr/local/bin/diskformat").dies_of(SIGKILL);
  EXPECT_EQ(clear_disk("sda"), -1);
  EXPECT_THAT(machine.log(), StartsWith("system(\"/usr/local/bin/diskformat /dev/sda\") return "
                                        "unnormal with exit(0) for '"));
}

TEST_F(hot_spares, disk_is_wiped_before_it_becomes_a_spare) {
  tools_succeed();
  request.add(2, "1", 1);
  request.add(3, "1", -1);
  request.add(4, "1", 0);
  request.add(5, "1", 7);
  EXPECT_EQ(disks_hotspare_set(request.get()), 0);
  EXPECT_THAT(changes(), ElementsAre("/usr/local/bin/diskformat /dev/sdb",
                                     "/usr/local/bin/hotspare -a /dev/sdb",
                                     "/usr/local/bin/hotspare -r /dev/sdc"));
}

TEST_F(hot_spares, disk_that_the_kernel_uses_becomes_no_spare) {
  tools_succeed();
  machine.in_use("/dev/sdb");
  machine.in_use("/dev/sdc");
  request.add(2, "1", 1);
  request.add(3, "1", -1);
  request.add(4, "1", 1);
  EXPECT_EQ(disks_hotspare_set(request.get()), 0);
  EXPECT_THAT(changes(), ElementsAre("/usr/local/bin/hotspare -r /dev/sdc",
                                     "/usr/local/bin/diskformat /dev/sdd",
                                     "/usr/local/bin/hotspare -a /dev/sdd"));
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/usr/local/bin/diskformat /dev/sdb", 127) +
                          "Device or resource busy'"));
}

/// Of a disk that is refused, which is logged once, no tool hears.
int hot_spares::refusals_when_open_fails(int error, const std::string& why) {
  constexpr int more_calls_than_there_are = 10;
  int refusals = 0;
  for (int nth = 1; nth <= more_calls_than_there_are; ++nth) {
    machine.forget();
    machine.fail("open", error, nth);
    const int code = disks_hotspare_set(request.get());
    machine.fail("open", error, INT_MAX);  // No call of the machine's own.
    const sandbox::lines run = changes();
    if (run.empty() && code == ORV_OK) {
      ++refusals;
      EXPECT_THAT(
          machine.log_lines(),
          ElementsAre(failed_command("/usr/local/bin/diskformat /dev/sdb", 127) + why + "'"));
    } else if (code == ORV_OK) {
      EXPECT_THAT(run, ElementsAre("/usr/local/bin/diskformat /dev/sdb",
                                   "/usr/local/bin/hotspare -a /dev/sdb"))
          << nth;
    } else {
      EXPECT_THAT(run, IsEmpty()) << nth;
    }
  }
  return refusals;
}

TEST_F(hot_spares, disk_of_which_the_kernel_is_asked_once_is_wiped_and_made_a_spare_or_neither) {
  tools_succeed();
  request.add(2, "1", 1);
  EXPECT_EQ(refusals_when_open_fails(EBUSY, "Device or resource busy"), 1);
  EXPECT_EQ(refusals_when_open_fails(EMFILE, "Too many open files"), 1);
}

TEST_F(hot_spares, disk_that_the_kernel_begins_to_use_while_it_is_wiped_becomes_a_spare) {
  tools_succeed();
  machine.tool("/usr/local/bin/diskformat").on("/dev/sdb").runs("echo > /told/wiped");
  use_once_wiped("/dev/sdb");
  request.add(2, "1", 1);
  EXPECT_EQ(disks_hotspare_set(request.get()), 0);
  EXPECT_THAT(changes(), ElementsAre("/usr/local/bin/diskformat /dev/sdb",
                                     "/usr/local/bin/hotspare -a /dev/sdb"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(clear_disk("sdb"), -1);  // From now on it is in use.
}

TEST_F(hot_spares, channel_of_another_enclosure_is_skipped) {
  put_in_main_chassis(3, "sdm");
  request.add(1, "0", 1);
  request.add(9, "1", 1);
  request.add(3, "2", -1);
  EXPECT_EQ(disks_hotspare_set(request.get()), 0);
  EXPECT_THAT(changes(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
  tools_succeed();
  request.add(3, "0", -1);
  disks_hotspare_set(request.get());
  EXPECT_THAT(changes(), ElementsAre("/usr/local/bin/hotspare -r /dev/sdm"));
}

TEST_F(hot_spares, result_is_good_whatever_the_tools_return) {
  machine.tool("/usr/local/bin/hotspare").on("-a ...").fails(1);
  machine.tool("/usr/local/bin/diskformat").on("...").fails(1);
  request.add(1, "1", 1);
  request.add(2, "1", 1);
  EXPECT_EQ(disks_hotspare_set(request.get()), 0);
  const std::string format = "/usr/local/bin/diskformat /dev/sd";
  const std::string add = "/usr/local/bin/hotspare -a /dev/sd";
  EXPECT_THAT(changes(), ElementsAre(format + "a", add + "a", format + "b", add + "b"));
  EXPECT_THAT(
      machine.log_lines(),
      ElementsAre(StartsWith(failed_command(format + "a")), StartsWith(failed_command(add + "a")),
                  StartsWith(failed_command(format + "b")), StartsWith(failed_command(add + "b"))));
}

TEST_F(hot_spares, nothing_is_run_when_the_disks_cannot_be_read) {
  hot_spares_unknown();
  request.add(1, "1", 1);
  EXPECT_EQ(disks_hotspare_set(request.get()), -11000);
  EXPECT_EQ(disks_clear(request.get()), -11000);
  machine.remove("/proc/scsi");
  EXPECT_EQ(disks_hotspare_set(request.get()), -1021);
  EXPECT_EQ(disks_clear(request.get()), -1021);
  EXPECT_THAT(changes(), IsEmpty());
  EXPECT_EQ(machine.output(), "");
}

TEST_F(hot_spares, empty_request_is_done_at_once) {
  EXPECT_EQ(disks_hotspare_set(request.get()), 0);
  EXPECT_EQ(disks_clear(request.get()), 0);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(disks_hotspare_set(nullptr), ORV_E_FAILED);
  EXPECT_EQ(disks_clear(nullptr), ORV_E_FAILED);
}

TEST_F(hot_spares, clearing_prints_every_request_and_wipes_what_is_there) {
  machine.tool("/usr/local/bin/diskformat").on("/dev/sda").fails(1);
  machine.tool("/usr/local/bin/diskformat").on("/dev/sdf");
  request.add(1, "1", 0, "x");
  request.add(7, "1");
  request.add(6, "1");
  EXPECT_EQ(disks_clear(request.get()), 0);
  EXPECT_EQ(machine.output(),
            "disk : ch = 1, devcie = 1, name = x\n"
            "disk : ch = 7, devcie = 1, name = \n"
            "disk : ch = 6, devcie = 1, name = \n");
  EXPECT_THAT(changes(), ElementsAre("/usr/local/bin/diskformat /dev/sda",
                                     "/usr/local/bin/diskformat /dev/sdf"));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(hot_spares, clearing_passes_over_a_channel_of_another_enclosure) {
  put_in_main_chassis(3, "sdm");
  request.add(1, "0", 0, "sda");
  request.add(3, "2");
  EXPECT_EQ(disks_clear(request.get()), 0);
  EXPECT_EQ(machine.output(),
            "disk : ch = 1, devcie = 0, name = sda\n"
            "disk : ch = 3, devcie = 2, name = \n");
  EXPECT_THAT(changes(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(hot_spares, first_of_two_disks_of_one_channel_is_taken) {
  tools_succeed();
  put_disks("1", "bus 2, slot 1", {"0 0 *sdx", "0 1 *sdy", "0 1 *sda", "0 2 *sdb"});
  request.add(2, "1", 1);
  EXPECT_EQ(disks_hotspare_set(request.get()), 0);
  EXPECT_EQ(disks_clear(request.get()), 0);
  EXPECT_THAT(changes(), ElementsAre("/usr/local/bin/diskformat /dev/sdy",
                                     "/usr/local/bin/hotspare -a /dev/sdy",
                                     "/usr/local/bin/diskformat /dev/sdy"));
}

TEST_F(hot_spares, clearing_passes_over_a_disk_that_the_kernel_uses) {
  machine.tool("/usr/local/bin/diskformat").on("/dev/sdf");
  machine.in_use("/dev/sda");
  request.add(1, "1");
  request.add(6, "1");
  EXPECT_EQ(disks_clear(request.get()), 0);
  EXPECT_THAT(changes(), ElementsAre("/usr/local/bin/diskformat /dev/sdf"));
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/usr/local/bin/diskformat /dev/sda", 127) +
                          "Device or resource busy'"));
}

TEST_F(hot_spares_of_a_controller, are_refused_since_its_disks_have_no_device) {
  disk_request request;
  request.add(3, "0", 1);
  EXPECT_EQ(disks_hotspare_set(request.get()), -2033);
  EXPECT_EQ(disks_clear(request.get()), -2033);
  EXPECT_EQ(machine.log(),
            "disks_hotspare_set:N return -2033 with No such device\n"
            "disks_clear:N return -2033 with No such device\n");
  EXPECT_THAT(changes(), IsEmpty());
  EXPECT_EQ(machine.output(), "");
}

TEST_F(hot_spares_of_a_controller, requests_that_change_nothing_are_no_error) {
  disk_request request;
  request.add(3, "0", 0);
  request.add(4, "0", 1);
  EXPECT_EQ(disks_hotspare_set(request.get()), 0);
  EXPECT_THAT(changes(), IsEmpty());
}
