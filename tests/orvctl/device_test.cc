/// Disks' health, alarms, interfaces, host name and clock. The clock is never set: what the library
/// hands to the system is written down.
#include <sched.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "tests/disk/smart_output.h"
#include "tests/orvctl/appliance.h"
#include "tests/system/alarm_daemon.h"
#include "tools/orvctl/table.h"

using orvctl::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::vector<long> set_clocks;

}  // namespace

// Comes before the C library's, for the library under test too.
extern "C" __attribute__((visibility("default"))) int settimeofday(
    const timeval* time, const struct timezone*) noexcept {
  set_clocks.push_back(time == nullptr ? 0 : time->tv_sec);
  return 0;
}

namespace {

class smart_verbs : public appliance {
 protected:
  void summary(const std::string& disk, const std::string& text) {
    machine.tool(smartctl).on("-d marvell -T permissive -Hi /dev/" + disk).prints(text);
  }
  void details(const std::string& disk, const std::string& table) {
    machine.tool(smartctl)
        .on("-d marvell -T permissive -Hi --attributes /dev/" + disk)
        .prints(summary_output + table);
  }
};

TEST_F(smart_verbs, show_the_health_of_all_disks) {
  for (const char* disk : {"sda", "sdc", "sdd"}) summary(disk, summary_output);
  summary("sdb", "no disk\n");
  const outcome got = orvctl("smart list");
  EXPECT_EQ(got.status, 0);
  EXPECT_THAT(
      got.out,
      HasSubstr(
          "ENCLOSURE CHANNEL DEVICE HEALTH MODEL        SERIAL NUMBER FIRMWARE CAPACITY SMART\n"
          "        1       1 sda    PASSED ST31000340NS 9QJ2ABCD      SN06      932 GiB Enabled\n"
          "        1       2 sdb    -      -            -             -               - -\n"));
}

TEST_F(smart_verbs, give_the_whole_summary_as_json) {
  summary("sdb", summary_output);
  EXPECT_EQ(json::parse(orvctl("smart list 2 --enclosure 1 --json").out),
            json::parse(R"({"format_version": 2, "disk_health": [{"enclosure": "1", "channel": 2,
                "device": "sdb", "health": "PASSED", "model": "ST31000340NS",
                "serial_number": "9QJ2ABCD", "firmware": "SN06",
                "capacity_bytes": 1000204886016, "ata_version": "8",
                "ata_standard": "ATA-8-ACS revision 4",
                "smart_support": "Available - device has SMART capability.",
                "smart_enabled": "Enabled"}]})"));
}

TEST_F(smart_verbs, show_attributes) {
  details("sdb",
          smartctl_line("3", "Spin_Up_Time") + smartctl_line("194", "Temperature_Celsius", "31"));
  details("sdc", "");
  EXPECT_EQ(orvctl("smart show 2,3 --enclosure 1").out,
            "ENCLOSURE CHANNEL DEVICE  ID ATTRIBUTE           VALUE WORST THRESHOLD RAW STATUS\n"
            "        1       2 sdb      3 Spin_Up_Time          100    99        44   0 -\n"
            "        1       2 sdb    194 Temperature_Celsius   100    99        44  31 -\n");
  const json disks =
      json::parse(orvctl("smart show 2,3 --enclosure 1 --json").out)["disk_attributes"];
  EXPECT_EQ(disks[0]["attributes"][1],
            json::parse(R"({"id": "194", "name": "Temperature_Celsius", "value": 100, "worst": 99,
                "threshold": 44, "raw": 31, "status": "-"})"));
  EXPECT_EQ(disks[1]["attributes"], json::array());
}

TEST_F(smart_verbs, take_a_device) {
  details("sdc", smartctl_line("3", "Spin_Up_Time"));
  EXPECT_EQ(json::parse(orvctl("smart show sdc --json").out)["disk_attributes"][0]["channel"], 3);
  details("sdd", "");
  EXPECT_EQ(orvctl("smart show sdd").err, "There are no disk attributes.\n");
}

TEST_F(smart_verbs, know_disks_of_the_list_only) {
  for (const std::string disk : {"sdx", "9", "1", "1,,2", "-"}) {
    const outcome got = orvctl("smart show " + disk);
    EXPECT_EQ(got.status, 3) << disk;
    EXPECT_THAT(got.err, HasSubstr("ORV_E_NO_DISK (-2033)")) << disk;
  }
}

TEST_F(smart_verbs, tell_when_the_last_disk_says_nothing) {
  summary("sda", "no disk\n");
  const outcome got = orvctl("smart list sda");
  EXPECT_EQ(got.status, 1);
  EXPECT_THAT(got.err, HasSubstr("ORV_E_FAILED (-1)"));
}

using smart_verbs_of_a_controller = appliance_with_controller;

TEST_F(smart_verbs_of_a_controller, have_attributes_only) {
  const outcome got = orvctl("smart list");
  EXPECT_EQ(got.status, 1);
  EXPECT_THAT(got.err, HasSubstr("ORV_E_SMART_MODE (-11002): this device model has no SMART "
                                 "summary\n  What to do: run 'orvctl smart show'"));
  machine.tool(arcadm).on("--misc -s -i 0").prints("Spin Up Time : 97 (21) OK\n");
  EXPECT_THAT(orvctl("smart show 1").out,
              HasSubstr("  0 Spin Up Time     0    97        21   0 OK\n"));
}

using alarm_verbs = appliance;

TEST_F(alarm_verbs, show_alarms) {
  alarm_daemon daemon(machine);
  EXPECT_EQ(orvctl("alarm list").err, "There are no alarms.\n");
  daemon.has("7|1267430400|disk|Disk 3 failed\n8|1267430401|fan|\n");
  setenv("TZ", "UTC0", 1);
  EXPECT_EQ(orvctl("alarm list").out,
            "ID TIME                NAME TEXT\n"
            " 7 2010-03-01 08:00:00 disk Disk 3 failed\n"
            " 8 2010-03-01 08:00:01 fan  -\n");
  EXPECT_EQ(json::parse(orvctl("alarm list --json").out)["alarms"][1],
            json::parse(R"({"id": "8", "time": "2010-03-01 08:00:01", "name": "fan",
                "text": null})"));
  unsetenv("TZ");
}

TEST_F(alarm_verbs, say_that_no_daemon_answers) {
  const outcome got = orvctl("alarm list");
  EXPECT_EQ(got.status, 1);
  EXPECT_THAT(got.err, HasSubstr("ORV_E_ALARM_CONNECT (-1080)"));
}

class net_verbs : public appliance {
 protected:
  net_verbs() { EXPECT_EQ(unshare(CLONE_NEWNET), 0); }

  static void ip(const std::string& words) {
    EXPECT_EQ(std::system(("/.sandbox/bin/busybox ip " + words).c_str()), 0) << words;
  }
};

TEST_F(net_verbs, show_interfaces_that_are_up) {
  EXPECT_EQ(orvctl("net list").err, "There are no interfaces.\n");
  ip("link add eth0 address 00:1b:21:0a:0b:0c type veth");
  ip("addr add 192.168.1.10/24 dev eth0");
  ip("link set eth0 up");
  machine.file("/etc/network/interfaces",
               "auto eth0\niface eth0 inet static\n gateway 192.168.1.1\n");
  EXPECT_EQ(orvctl("net list").out,
            "NAME ADDRESS      NETMASK       GATEWAY     MAC\n"
            "eth0 192.168.1.10 255.255.255.0 192.168.1.1 00:1b:21:0a:0b:0c\n");
  machine.remove("/etc/network/interfaces");
  EXPECT_EQ(json::parse(orvctl("net list --json").out)["interfaces"][0],
            json::parse(R"({"name": "eth0", "address": "192.168.1.10",
                "netmask": "255.255.255.0", "gateway": null, "mac": "00:1b:21:0a:0b:0c"})"));
}

// The host name is that of the sandbox's own UTS namespace.
using host_verbs = appliance;

TEST_F(host_verbs, show_and_set_the_host_name) {
  EXPECT_THAT(orvctl("host show").err, HasSubstr("ORV_E_HOSTNAME (-1006)"));
  EXPECT_EQ(orvctl("host set storage-7.example").err, "The host name is storage-7.example.\n");
  EXPECT_EQ(machine.read("/etc/hostname"), "storage-7.example");
  char applied[256] = "";
  EXPECT_EQ(gethostname(applied, sizeof applied), 0);
  EXPECT_STREQ(applied, "storage-7.example");
  EXPECT_EQ(orvctl("host show").out, "storage-7.example\n");
  EXPECT_EQ(json::parse(orvctl("host show --json").out)["host_name"], "storage-7.example");
}

TEST_F(host_verbs, take_no_name_that_no_host_has) {
  machine.file("/etc/hostname", "before\n");
  const std::string longest(64, 'n');
  for (const std::string& name : {std::string(), std::string("a b"), std::string("a\nb"),
                                  std::string(".x"), std::string("n\xc3\xa4s"), longest + "n"}) {
    const outcome got = run({"host", "set", "--", name}, "", false);
    EXPECT_EQ(got.status, 2) << name;
    EXPECT_THAT(got.err, HasSubstr("is not a host name of up to 64 letters")) << name;
  }
  EXPECT_EQ(run({"host", "set", "--", "-x"}, "", false).status, 2);
  EXPECT_EQ(machine.read("/etc/hostname"), "before\n");
  EXPECT_EQ(orvctl("host set " + longest).status, 0);
}

class clock_verbs : public appliance {
 protected:
  clock_verbs() {
    set_clocks.clear();
    setenv("TZ", "UTC0", 1);
  }
  ~clock_verbs() override { unsetenv("TZ"); }
};

TEST_F(clock_verbs, show_the_time) {
  EXPECT_THAT(orvctl("clock show").out, testing::MatchesRegex("[0-9]{4}-[0-9-]+ [0-9:]{8}\n"));
  EXPECT_TRUE(json::parse(orvctl("clock show --json").out)["time"].is_string());
}

TEST_F(clock_verbs, set_the_time) {
  machine.tool("hwclock").on("-u -w").times(2);
  EXPECT_EQ(orvctl("clock set 2010-03-01 08:00:01").err, "Set the clock to 2010-03-01 08:00:01.\n");
  EXPECT_EQ(run({"clock", "set", "2024-02-29 23:59:59"}, "", false).status, 0);
  EXPECT_THAT(set_clocks, ElementsAre(1267430401, 1709251199));
}

TEST_F(clock_verbs, take_no_time_that_is_none) {
  for (const std::string words :
       {"2023-02-29 08:00:00", "2010-13-01 08:00:00", "2010-00-01 08:00:00", "2010-3-1 08:00:00",
        "10-03-01 08:00:00", "2010-03-00 08:00:00", "-010-03-01 08:00:00", "2010-03--1 08:00:00",
        "2010-03-01 24:00:00", "2010-03-01 08:60:00", "2010-03-01 08:00:60", "2010-03-01 8:00:00",
        "2010-03-01 08:00", "2010-03-01", "now", "2010-03-01 +8:00:00"}) {
    EXPECT_EQ(orvctl("clock set -- " + words).status, 2) << words;
  }
  EXPECT_THAT(set_clocks, IsEmpty());
  EXPECT_THAT(machine.commands(), IsEmpty());
}

using processes = appliance;

TEST_F(processes, are_written_to_a_file) {
  machine.tool("ps").on("aux").prints("USER PID\n");
  EXPECT_EQ(orvctl("system processes /tmp/list").err,
            "Wrote the list of processes to /tmp/list.\n");
  EXPECT_EQ(machine.read("/tmp/list"), "USER PID\n");
  EXPECT_EQ(orvctl("system processes /none/list").status, 1);
}

}  // namespace
