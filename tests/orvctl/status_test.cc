#include "tests/orvctl/whole_appliance.h"
#include "tests/system/alarm_daemon.h"

using orvctl::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class status_screen : public whole_appliance {
 protected:
  static std::string shown() {
    const outcome got = orvctl("status");
    EXPECT_EQ(got.status, 0) << got.err;
    EXPECT_EQ(got.err, "");
    return got.out;
  }

  static json given() {
    const outcome got = orvctl("status --json");
    EXPECT_EQ(got.status, 0) << got.out;
    return json::parse(got.out)["status"];
  }

  static void expect_problem(const std::string& severity, const std::string& kind,
                             const std::string& subject, const std::string& message) {
    const json wanted = {
        {"severity", severity}, {"kind", kind}, {"subject", subject}, {"message", message}};
    const json problems = given()["problems"];
    EXPECT_NE(std::find(problems.begin(), problems.end(), wanted), problems.end())
        << wanted << " is not among " << problems.dump(2);
  }

  /// md1 is whole.
  void end_rebuild() {
    machine.file("/proc/mdstat",
                 "Personalities : [raid6] [raid5] [raid4] [raid1]\n"
                 "md0 : active raid5 sdc[2] sdb[1] sda[0]\n"
                 "      1953259520 blocks super 1.2 level 5, 512k chunk [3/3] [UUU]\n");
  }
};

TEST_F(status_screen, says_what_is_wrong_first) {
  const std::string text = shown();
  EXPECT_THAT(text, StartsWith("What is wrong:\n"));
  EXPECT_THAT(text, HasSubstr("clean, degraded, recovering 12.6%(48.00MB/s)\n"));
  EXPECT_LT(text.find("md1"), text.find("Machine"));
}

TEST_F(status_screen, shows_the_whole_machine) {
  EXPECT_THAT(shown(),
              AllOf(HasSubstr("\nMachine  nas1, KTA7120X, software 2.4, hardware B\n"),
                    HasSubstr("started 2024-05-01 10:00:00\n"),
                    HasSubstr("temperature 41, power supply normal, fans fan1:3200,fan2:3150\n"),
                    HasSubstr("4 disks (1 hot spare), 2 arrays, 1 volume group, 1 pool\n"),
                    HasSubstr("samba runs, nfs does not run"), HasSubstr("1 share, 2 clients\n"),
                    HasSubstr("\nArrays\nNAME LEVEL STATE"),
                    HasSubstr("\nFile systems\nMOUNT POINT STATE")));
}

TEST_F(status_screen, says_that_nothing_is_wrong) {
  end_rebuild();
  alarm_daemon daemon(machine);
  EXPECT_THAT(shown(), StartsWith("Nothing is wrong.\n\nMachine"));
  EXPECT_EQ(given()["state"], "ok");
  EXPECT_EQ(given()["problems"], json::array());
}

TEST_F(status_screen, judges_arrays) {
  expect_problem("warning", "array", "md1", "clean, degraded, recovering 12.6%(48.00MB/s)");
  end_rebuild();
  machine.file("/sys/block/md0/md/dev-sda/state", "faulty\n");
  tell("md0",
       "/dev/md0:\n        Raid Level : raid5\n"
       "        Array Size : 1953259520 (1862.77 GiB 2000.14 GB)\n"
       "             State : clean, degraded \n");
  expect_problem("critical", "array", "md0", "clean, degraded");
}

TEST_F(status_screen, judges_disks) {
  machine.file("/sys/block/sdd/device/state", "offline\n");
  std::string failing = summary_output;
  failing.replace(failing.find("PASSED"), 6, "FAILED!");
  disk_says("sdb", failing);
  expect_problem("critical", "disk", "sdd (channel 4 of enclosure 1)", "is offline");
  expect_problem("critical", "disk", "sdb (channel 2 of enclosure 1)", "its health is FAILED!");
}

TEST_F(status_screen, judges_file_systems) {
  machine.statfs("/mnt/data", {4096, 1000000, 70000});
  expect_problem("warning", "file system", "/mnt/data", "is 92% full");
  machine.statfs("/mnt/data", {4096, 1000000, 10000});
  expect_problem("critical", "file system", "/mnt/data", "is 99% full");
  machine.file("/proc/mounts", "");
  expect_problem("warning", "file system", "/mnt/data", "is not mounted");
}

TEST_F(status_screen, judges_services_that_are_needed) {
  EXPECT_THAT(given()["problems"].dump(), Not(HasSubstr("\"service\""))) << "nobody needs nfs";
  runs("smbd", false);
  expect_problem("warning", "service", "samba", "has shares and does not run");
  done("share add vol --service iscsi --path /dev/vg1/data --size 12");
  expect_problem("warning", "service", "iscsi", "has shares and does not run");
}

TEST_F(status_screen, judges_the_hardware) {
  machine.file("/tmp/nas_state.conf", "[misc]\ntemp(cpu)=41\nfan1=3200\nfan2=0\npower=failed\n");
  expect_problem("critical", "fan", "fan2", "stands still");
  const json problems = given()["problems"];
  EXPECT_THAT(problems.dump(), HasSubstr(R"("power supply","subject":null,"message":"is failed")"));
}

TEST_F(status_screen, shows_alarms_before_everything_else) {
  alarm_daemon daemon(machine);
  daemon.has("7|1267430400|disk|Disk 3 failed\n");
  expect_problem("critical", "alarm", "disk", "Disk 3 failed");
  EXPECT_EQ(given()["problems"][0]["kind"], "alarm");
  EXPECT_EQ(given()["state"], "critical");
}

TEST_F(status_screen, goes_on_without_a_list_that_cannot_be_read) {
  fail_to_tell("groups");
  const json status = given();
  EXPECT_THAT(status["problems"].dump(), HasSubstr("\"volume groups\""));
  EXPECT_EQ(status["counts"]["disks"], 4);
}

TEST_F(status_screen, takes_no_words) {
  for (const char* words : {"status all", "status --wrong", "report all", "metrics all"}) {
    const outcome got = orvctl(words);
    EXPECT_EQ(got.status, 2) << words;
    EXPECT_EQ(got.out, "") << words;
  }
}

using support_report = whole_appliance;

TEST_F(support_report, has_all_lists_versions_and_logs) {
  machine.tool("/sbin/mdadm").on("--version").complains("mdadm - v4.2\n");
  const json report = json::parse(orvctl("report --json").out)["report"];
  EXPECT_EQ(report["commands"]["disk list"]["disks"].size(), 4u);
  EXPECT_EQ(report["commands"]["raid list"]["arrays"].size(), 2u);
  EXPECT_EQ(report["commands"]["alarm list"]["error"]["name"], "ORV_E_ALARM_CONNECT");
  EXPECT_EQ(report["commands"]["host show"]["host_name"], "nas1");
  EXPECT_EQ(report["commands"].size(), 22u);
  EXPECT_EQ(report["versions"]["mdadm"], "mdadm - v4.2");
  EXPECT_EQ(report["versions"]["smartctl"], "smartctl version 5.38");
  EXPECT_EQ(report["versions"]["samba"], nullptr);
  EXPECT_THAT(std::string(report["files"]["/proc/mdstat"]), HasSubstr("md0 : active raid5"));
}

TEST_F(support_report, shows_no_password) {
  machine.tool("/sbin/mdadm").on("--version").if_asked();
  const json report = json::parse(orvctl("report --json").out)["report"];
  EXPECT_EQ(report["log"],
            json::parse(R"json(["Mar  1 08:00:00 nas1 orv: raid_create:12 return -1 with Success",
                            "Mar  1 08:00:02 nas1 orv[77]: (left out: it may hold a password)"])json"));
  EXPECT_THAT(report.dump(), AllOf(Not(HasSubstr("rosebud")), Not(HasSubstr("secret of ann"))));
  EXPECT_THAT(orvctl("report").out,
              AllOf(Not(HasSubstr("rosebud")), Not(HasSubstr("secret of ann"))));
}

TEST_F(support_report, is_a_text_too) {
  machine.tool("/sbin/mdadm").on("--version").if_asked();
  const outcome got = orvctl("report");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.err, "");
  EXPECT_THAT(got.out,
              AllOf(HasSubstr("\n=== orvctl disk list ===\nENCLOSURE CHANNEL DEVICE"),
                    HasSubstr("\n=== orvctl alarm list ===\norvctl: alarm list: ORV_E_ALARM"),
                    HasSubstr("\n=== versions ===\norvctl: "), HasSubstr("\n=== /proc/mdstat ==="),
                    HasSubstr("\n=== log ===\nMar  1 08:00:00 nas1 orv: raid_create")));
}
