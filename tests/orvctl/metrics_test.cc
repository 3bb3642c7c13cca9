#include "tests/orvctl/whole_appliance.h"
#include "tests/system/alarm_daemon.h"
#include "tools/orvctl/metric_families.h"

using orvctl::json;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class machine_metrics : public whole_appliance {
 protected:
  static std::string measured() {
    const outcome got = orvctl("metrics");
    EXPECT_EQ(got.status, 0) << got.err;
    EXPECT_EQ(got.err, "");
    return got.out;
  }
};

TEST_F(machine_metrics, tell_health_and_temperature_of_disks) {
  std::string failing = summary_output;
  failing.replace(failing.find("PASSED"), 6, "FAILED!");
  disk_says("sdb", failing);
  EXPECT_THAT(
      measured(),
      AllOf(HasSubstr("orv_disk_info{enclosure=\"1\",channel=\"1\",device=\"sda\","
                      "model=\"ST31000340NS\",serial_number=\"9QJ2ABCD\",firmware=\"SN06\"} 1\n"),
            HasSubstr("# TYPE orv_disk_temperature_celsius gauge\n"
                      "# UNIT orv_disk_temperature_celsius celsius\n"),
            HasSubstr("orv_disk_temperature_celsius{enclosure=\"1\",channel=\"1\",device=\"sda\"} "
                      "31\n"),
            HasSubstr("orv_disk_healthy{enclosure=\"1\",channel=\"1\",device=\"sda\"} 1\n"),
            HasSubstr("orv_disk_healthy{enclosure=\"1\",channel=\"2\",device=\"sdb\"} 0\n"),
            HasSubstr("orv_disk_hot_spare{enclosure=\"1\",channel=\"4\",device=\"sdd\"} 1\n"),
            HasSubstr("device=\"sda\",attribute=\"Reallocated_Sector_Ct\"} 3\n")));
}

TEST_F(machine_metrics, tell_the_state_of_arrays_and_how_far_a_rebuild_is) {
  EXPECT_THAT(measured(),
              AllOf(HasSubstr("orv_array_state{array=\"md0\",state=\"clean\"} 1\n"),
                    HasSubstr("orv_array_state{array=\"md0\",state=\"degraded\"} 0\n"),
                    HasSubstr("orv_array_state{array=\"md1\",state=\"degraded\"} 1\n"),
                    HasSubstr("orv_array_members{array=\"md0\",state=\"active\"} 3\n"),
                    HasSubstr("orv_array_members{array=\"md1\",state=\"spare\"} 1\n"),
                    HasSubstr("\norv_array_rebuild_progress_ratio{array=\"md1\"} 0.126\n"),
                    HasSubstr("orv_array_rebuild_speed_bytes_per_second{array=\"md1\"} 50331648\n"),
                    Not(HasSubstr("progress_ratio{array=\"md0\"}"))));
}

TEST_F(machine_metrics, tell_sizes_clients_sensors_and_services) {
  EXPECT_THAT(
      measured(),
      AllOf(HasSubstr("orv_file_system_size_bytes{mount_point=\"/mnt/data\","
                      "device=\"/dev/vg1/data\"} 10737418240\n"),
            HasSubstr("orv_pool_size_bytes{volume_group=\"vg1\",pool=\"data\"} "),
            HasSubstr("orv_clients{protocol=\"CIFS\"} 1\n"),
            HasSubstr("orv_clients{protocol=\"iSCSI\"} 0\n"),
            HasSubstr("orv_shares{service=\"samba\"} 1\n"),
            HasSubstr("orv_service_running{service=\"nfs\"} 0\n"),
            HasSubstr("orv_fan_speed_rpm{fan=\"fan1\"} 3200\n"),
            HasSubstr("orv_temperature_celsius 41\n"), HasSubstr("orv_power_supply_normal 1\n"),
            HasSubstr("orv_list_readable{list=\"alarms\"} 0\n")));
}

TEST_F(machine_metrics, tell_alarms) {
  alarm_daemon daemon(machine);
  daemon.has("7|1267430400|disk|Disk 3 \"sdc\" failed\n7|1267430401|disk|again\n");
  EXPECT_THAT(measured(), AllOf(HasSubstr("orv_alarms 2\n"),
                                HasSubstr("orv_alarm_raised{id=\"7\",name=\"disk\"} 1\n"),
                                HasSubstr("orv_problems{severity=\"critical\"} 2\n")));
}

TEST_F(machine_metrics, end_as_the_format_wants) { EXPECT_THAT(measured(), EndsWith("\n# EOF\n")); }

TEST_F(machine_metrics, are_json_too) {
  const json all = json::parse(orvctl("metrics --json").out)["metrics"];
  for (const json& family : all) {
    if (family["name"] != "orv_temperature_celsius") continue;
    EXPECT_EQ(family["unit"], "celsius");
    EXPECT_EQ(family["samples"], json::parse(R"([{"labels": {}, "value": 41}])"));
    return;
  }
  FAIL() << "no temperature";
}

TEST(metric_text, escapes_labels) {
  orvctl::metric_families to;
  to.begin("orv_thing", "A thing.");
  to.add({{"name", "a\"b\\c\nd\xff"}}, true);
  EXPECT_THAT(to.text(), HasSubstr("orv_thing{name=\"a\\\"b\\\\c\\nd\xef\xbf\xbd\"} 1\n"));
}

TEST(metric_text, has_each_value_once_and_no_empty_family) {
  orvctl::metric_families to;
  to.begin("orv_thing", "A thing.");
  to.add({}, 1);
  to.add({}, 2);
  to.begin("orv_other", "None.");
  to.add({}, nullptr);
  EXPECT_EQ(to.text(), "# TYPE orv_thing gauge\n# HELP orv_thing A thing.\norv_thing 1\n# EOF\n");
}
