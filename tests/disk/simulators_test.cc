#include <orv/raid.h>
#include <orv/system.h>

#include "tests/disk/machine_with_disks.h"

using testing::ElementsAre;
using testing::IsEmpty;

/// The simulators of the appliance's hardware say what the library reads.
class simulators : public disk_test {
 protected:
  void install(const std::string& name) {
    machine.tool("/usr/local/bin/" + name).runs(fixture("../simulators/" + name));
  }

  int run(const std::string& name, const std::string& arguments) {
    install(name);
    const int status = liborv_system(("/usr/local/bin/" + name + " " + arguments).c_str());
    machine.forget();
    return status;
  }

  void put_disks(const std::string& bays) {
    ASSERT_EQ(run("mvsata", bays), 0);
    machine.tool("cat").is_real();
  }

  sandbox::lines spares() {
    EXPECT_EQ(get_global_hotspare(&list), ORV_OK);
    sandbox::lines names;
    for (const tag_disk_info* disk : disks()) {
      if (disk->hotspare == 1) names.emplace_back(disk->name);
    }
    return names;
  }
};

TEST_F(simulators, every_bay_of_every_enclosure_is_found) {
  std::string bays;
  sandbox::lines expected;
  for (char enclosure = '0'; enclosure <= '4'; ++enclosure) {
    for (int bay = 1; bay <= 16; ++bay) {
      const std::string name = std::string("s") + static_cast<char>(enclosure - '0' + 'v') +
                               static_cast<char>('a' + bay - 1);
      const std::string place = std::to_string(bay) + "@" + enclosure;
      bays.append(" ").append(name).append("=").append(place);
      expected.push_back(name + " " + place);
    }
  }
  put_disks(bays);
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), ORV_OK);
  EXPECT_EQ(places(), expected);
}

TEST_F(simulators, bays_are_emptied_before_they_are_filled_anew) {
  put_disks("sda=1 sdb=2");
  put_disks("sdb=1@2");
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), ORV_OK);
  EXPECT_THAT(places(), ElementsAre("sdb 1@2"));
  put_disks("");
  disk_list_fini(&list);
  EXPECT_EQ(get_diskinfo_from_mvSata(&list), ORV_OK);
  EXPECT_THAT(disks(), IsEmpty());
}

TEST_F(simulators, hot_spares_are_added_listed_and_removed) {
  install("hotspare");
  for (const char* name : {"sda", "sdb", "sdc"}) {
    add(name, 1, "0");
    machine.file(std::string("/dev/") + name, "");
  }
  EXPECT_THAT(spares(), IsEmpty());
  EXPECT_EQ(disk_set_hotspare("sdc", 1), 0);
  EXPECT_EQ(disk_set_hotspare("sda", 1), 0);
  EXPECT_THAT(spares(), ElementsAre("sda", "sdc"));
  EXPECT_EQ(disk_set_hotspare("sda", -1), 0);
  for (tag_disk_info* disk : disks()) disk->hotspare = 0;
  EXPECT_THAT(spares(), ElementsAre("sdc"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(simulators, hot_spare_tool_refuses_what_makes_no_sense) {
  install("hotspare");
  machine.file("/dev/sda", "");
  EXPECT_EQ(disk_set_hotspare("sda", 1), 0);
  EXPECT_NE(disk_set_hotspare("sda", 1), 0);
  EXPECT_NE(disk_set_hotspare("sdb", 1), 0);
  EXPECT_NE(disk_set_hotspare("sdb", -1), 0);
  EXPECT_NE(disk_set_hotspare("md0", 1), 0);
  EXPECT_EQ(machine.log_lines().size(), 4U);
}

TEST_F(simulators, disk_format_tool_refuses_what_is_no_disk) {
  install("diskformat");
  machine.file("/dev/sda", "");
  EXPECT_NE(clear_disk("sda"), 0);
  EXPECT_NE(clear_disk("md0"), 0);
  EXPECT_EQ(machine.log_lines().size(), 2U);
}

TEST_F(simulators, controller_tells_of_its_disks_and_arrays) {
  ASSERT_EQ(run("sysinfo", "KTA7120U"), 0);
  install("arcadm");
  machine.file("/var/lib/orv-sim/arcadm.conf",
               "disk|0|ST31000340NS|1000|Normal|Raid Set # 000\n"
               "disk|1\n"
               "disk|11|WDC WD10|500|Failed|Hot Spare\n"
               "raid|md0|5|64K|Normal|1862|sdb|1 2 12\n");
  EXPECT_EQ(disks_info_get(&list), ORV_OK);
  disk_list_show(&list);
  EXPECT_EQ(machine.output(),
            "''\t'1'\t'1000'\t'Normal'\t'ST31000340NS'\t'Raid Set # 000'\t'0'\t'0'\n"
            "''\t'12'\t'500'\t'Failed'\t'WDC WD10'\t'Hot Spare'\t'0'\t'1'\n");
  machine.forget();

  tag_mdinfo_list arrays;
  md_list_init(&arrays);
  EXPECT_EQ(raid_get(&arrays), ORV_OK);
  md_list_show(&arrays);
  md_list_fini(&arrays);
  EXPECT_EQ(machine.output(), "md0\traid5\tNormal\t100%\tsdb\t1862GB\t0GB\t1,2,12\tNone\n");
}

TEST_F(simulators, platform_tells_its_model_temperature_fans_and_power) {
  ASSERT_EQ(run("sysinfo", "KTA7120E"), 0);
  install("pwstate");
  const auto told = [](int (*get)(char*, int)) {
    char text[256] = "";
    EXPECT_EQ(get(text, sizeof text), 0);
    return std::string(text);
  };
  EXPECT_EQ(told(devmodel_get), "KTA7120E");
  EXPECT_EQ(told(softversion_get), "2.4.1");
  EXPECT_EQ(told(hardversion_get), "1.0");
  EXPECT_EQ(told(tmp_get), "47");
  EXPECT_EQ(told(fan_speed_get), "fan1:3010,fan2:3020,fan3:3030,fan4:3040");
  EXPECT_EQ(told(pwstate_get), "normal");
  machine.file("/var/lib/orv-sim/power", "failed\n");
  EXPECT_EQ(told(pwstate_get), "failed");
  EXPECT_EQ(told(starttime_get).size(), sizeof "2010-01-01 00:00:00" - 1);
  EXPECT_EQ(machine.log(), "");
}
