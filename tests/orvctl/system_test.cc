#include "tests/orvctl/appliance.h"
#include "tools/orvctl/errors.h"
#include "tools/orvctl/table.h"

using orvctl::json;
using testing::HasSubstr;
using testing::MatchesRegex;

class system_verbs : public appliance {
 protected:
  system_verbs() {
    machine.file("/etc/sys_info",
                 "[version]\nsoftware=2.4\nhardware=B\n[product]\ntype=KTA7120X\n");
    machine.file("/tmp/nas_state.conf", "[misc]\ntemp(cpu)=41\nfan1=3200\npower=normal\n");
  }
};

TEST_F(system_verbs, show_every_fact_that_can_be_read) {
  machine.file("/etc/hostname", "nas1\n");
  machine.file("/etc/nas_start_time.conf", "2024-05-01 10:00:00\n");
  const outcome got = orvctl("system info");
  EXPECT_EQ(got.status, 0);
  EXPECT_THAT(got.out, MatchesRegex("WHAT             VALUE\n"
                                    "Model            KTA7120X\n"
                                    "Host name        nas1\n"
                                    "Software version 2.4\n"
                                    "Hardware version B\n"
                                    "Time             [0-9-]+ [0-9:]+\n"
                                    "Start time       2024-05-01 10:00:00\n"
                                    "Temperature      41\n"
                                    "Fans             fan1:3200\n"
                                    "Power supply     normal\n"));
}

TEST_F(system_verbs, say_what_cannot_be_read_without_spoiling_the_rest) {
  const outcome got = orvctl("system info");
  EXPECT_EQ(got.status, 0);
  EXPECT_THAT(got.out, HasSubstr("Model            KTA7120X\n"
                                 "Host name        (the host name cannot be read)\n"
                                 "Software version 2.4\n"));
}

TEST_F(system_verbs, give_facts_as_json) {
  json document = json::parse(orvctl("system info --json").out);
  EXPECT_TRUE(document["system"]["time"].is_string());
  document["system"].erase("time");
  EXPECT_EQ(document, json::parse(R"({"format_version": 2, "system": {"model": "KTA7120X",
      "host_name": null, "software_version": "2.4", "hardware_version": "B", "start_time": null,
      "temperature_celsius": 41,
      "fans": [{"name": "fan1", "speed_rpm": 3200}], "power_supply": "normal"},
      "unreadable": {"host_name": "ORV_E_HOSTNAME", "start_time": "ORV_E_START_TIME"}})"));
}

TEST_F(system_verbs, list_every_result_code) {
  const json codes = json::parse(orvctl("system codes --json").out)["codes"];
  EXPECT_EQ(codes.size(), orvctl::all_codes().size());
  EXPECT_EQ(codes[1], json::parse(R"({"code": -1, "name": "ORV_E_FAILED", "exit_status": 1,
      "meaning": "the request could not be carried out or an argument is missing",
      "advice": "see the system log, entries of 'orv': they name the step that failed"})"));
  EXPECT_THAT(orvctl("system codes").out, HasSubstr("\n -2030 ORV_E_DISK_USED "));
}
