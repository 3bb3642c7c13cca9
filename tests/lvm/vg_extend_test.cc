#include <tuple>

#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

class vg_extend_request : public storage_machine {
 protected:
  vg_extend_request() {
    disk("sda", 1);
    disk("sdb", 2);
    disk("sdc", 3);
    array("md2", {"sda in_sync"});
    group("vg0");
    volume("/dev/sdb", "vg0");
  }
};

TEST_F(vg_extend_request, adds_a_disk_by_its_device_name_without_wiping_it) {
  changers({"/sbin/pvcreate", "/sbin/vgextend"});
  EXPECT_EQ(vg_extend("vg0", "3", "0"), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/pvcreate /dev/sdc > /dev/null",
                                     "/sbin/vgextend vg0 /dev/sdc > /dev/null"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(vg_extend_request, adds_an_array) {
  changers({"/sbin/pvcreate", "/sbin/vgextend"});
  EXPECT_EQ(vg_extend("vg0", "md2", "0"), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/pvcreate /dev/md2 > /dev/null",
                                     "/sbin/vgextend vg0 /dev/md2 > /dev/null"));
}

TEST_F(vg_extend_request, needs_a_group_of_this_name_and_enclosure) {
  disk("sdx", 3, true);
  EXPECT_EQ(vg_extend("vg0", "3", "1"), -2040);
  EXPECT_EQ(vg_extend("vg0", "md2", nullptr), -2040);
  EXPECT_EQ(vg_extend("vg1", "3", "0"), -2040);
  EXPECT_EQ(vg_extend("", "3", "0"), -2040);
  EXPECT_EQ(vg_extend(nullptr, "3", "0"), -2040);
  EXPECT_THAT(changes(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(vg_extend_request, passes_on_why_a_volume_is_refused) {
  hot_spares_are("sdc");
  const std::tuple<const char*, int, const char*> refused[] = {
      {"1", -2043, "disk channelID '1' used in raid"},
      {"2", -2045, "'2' is used in vg"},
      {"3", -2043, "disk channelID '3' used hotspare disk"},
      {"4", -2042, "invalid disk channelID: '4'"},
      {"", -2042, "invalid disk channelID: ''"},
      {nullptr, -2042, "invalid disk channelID: ''"},
      {"md1", -2044, "cannot find md 'md1'"}};
  for (const auto& [name, result, logged] : refused) {
    machine.forget();
    EXPECT_EQ(vg_extend("vg0", name, "0"), result) << logged;
    EXPECT_THAT(machine.log_lines(), ElementsAre(logged));
    EXPECT_THAT(changes(), IsEmpty());
  }
}

TEST_F(vg_extend_request, does_not_cut_a_long_name_into_another_one) {
  for (std::size_t commas = 28; commas < 32; ++commas) {
    EXPECT_EQ(vg_extend("vg0", (std::string(commas, ',') + "34").c_str(), "0"), -2042);
  }
  EXPECT_EQ(vg_extend("vg0", std::string(1000, '3').c_str(), "0"), -2042);
  EXPECT_EQ(vg_extend("vg0", ("md2" + std::string(1000, 'x')).c_str(), "0"), -2044);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_extend_request, changes_nothing_when_a_list_cannot_be_read) {
  fails_to_list("vgdisplay");
  EXPECT_EQ(vg_extend("vg0", "3", "0"), -11000);
  machine.remove("/canned/vgdisplay.fails");
  machine.remove("/proc/mdstat");
  EXPECT_EQ(vg_extend("vg0", "3", "0"), -11000);
  arrays_are("");
  canned("hotspare", "no such line\n");
  EXPECT_EQ(vg_extend("vg0", "3", "0"), -1024);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_extend_request, adds_nothing_when_the_volume_cannot_be_made) {
  machine.tool("/sbin/pvcreate").fails(5);
  EXPECT_EQ(vg_extend("vg0", "3", "0"), -11000);
  EXPECT_THAT(changes(), ElementsAre("/sbin/pvcreate /dev/sdc > /dev/null"));
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/sbin/pvcreate /dev/sdc > /dev/null", 5)));
}

TEST_F(vg_extend_request, reports_a_group_that_cannot_be_extended) {
  changer("/sbin/pvcreate");
  machine.tool("/sbin/vgextend").fails(5);
  EXPECT_EQ(vg_extend("vg0", "3", "0"), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/sbin/vgextend vg0 /dev/sdc > /dev/null", 5)));
}

TEST_F(vg_extend_request, makes_no_volume_for_a_command_that_cannot_be_run) {
  char device[] = "sdc";
  EXPECT_EQ(extend_vg("-f", device), -11000);
  EXPECT_EQ(extend_vg("", device), -11000);
  EXPECT_EQ(extend_vg(nullptr, device), -11000);
  EXPECT_EQ(extend_vg("vg0", nullptr), -11000);
  EXPECT_EQ(extend_vg(std::string(300, 'v').c_str(), device), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(vg_extend_request, passes_strange_names_as_one_word_each) {
  changers({"/sbin/pvcreate", "/sbin/vgextend"});
  for (const hostile_name& hostile : hostile_names) {
    machine.forget();
    std::string device = hostile.name;
    EXPECT_EQ(extend_vg(hostile.name, device.data()), ORV_OK);
    EXPECT_THAT(machine.calls(),
                ElementsAre(ElementsAre("/sbin/pvcreate", "/dev/" + device),
                            ElementsAre("/sbin/vgextend", hostile.name, "/dev/" + device)));
  }
}
