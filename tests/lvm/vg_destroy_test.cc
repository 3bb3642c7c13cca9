#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

class vg_destroy_request : public storage_machine {
 protected:
  vg_destroy_request() {
    disk("sda", 1);
    disk("sdb", 1, true);
    group("vg0", 100, 60);
    group("vg1");
    volume("/dev/md1", "vg1");
    volume("/dev/sdb", "vg1");
  }
};

TEST_F(vg_destroy_request, removes_the_group_and_its_volumes_by_device_name) {
  changers({"/sbin/vgremove", "/sbin/pvremove"});
  EXPECT_EQ(vg_destroy("vg1"), ORV_OK);
  EXPECT_THAT(changes(),
              ElementsAre("/sbin/vgremove vg1 > /dev/null", "/sbin/pvremove /dev/md1 > /dev/null",
                          "/sbin/pvremove /dev/sdb > /dev/null"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(machine.output(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(vg_destroy_request, needs_a_group) {
  for (const char* name : {"vg2", "vg", "", "vg11", "-f"}) EXPECT_EQ(vg_destroy(name), -2046);
  EXPECT_EQ(vg_destroy(nullptr), -2046);
  EXPECT_THAT(changes(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(vg_destroy_request, keeps_a_group_that_holds_pools) {
  EXPECT_EQ(vg_destroy("vg0"), -2047);
  EXPECT_THAT(changes(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(vg_destroy_request, keeps_a_group_with_a_single_extent_in_use) {
  for (const char* const allocated : {"1", "255"}) {
    canned("vgdisplay", std::string("  vg1:r/w:772:-1:0:1:0:-1:0:1:1:104857600:4096:25600:") +
                            allocated + ":25345:uuid\n");
    EXPECT_EQ(vg_destroy("vg1"), -2047) << allocated;
  }
  EXPECT_THAT(changes(), IsEmpty());
  EXPECT_EQ(machine.log(), "");
}

TEST_F(vg_destroy_request, changes_nothing_when_a_list_cannot_be_read) {
  fails_to_list("pvdisplay");
  EXPECT_EQ(vg_destroy("vg1"), -11000);
  machine.remove("/canned/pvdisplay.fails");
  machine.remove("/proc/scsi/mvSata");
  EXPECT_EQ(vg_destroy("vg1"), -1021);
  machine.remove("/etc/sys_info");
  EXPECT_EQ(vg_destroy("vg1"), -11001);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_destroy_request, reports_the_last_volume_and_not_the_group) {
  machine.tool("/sbin/vgremove").fails(5);
  changer("/sbin/pvremove");
  EXPECT_EQ(vg_destroy("vg1"), ORV_OK);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/sbin/vgremove vg1 > /dev/null", 5)));
  EXPECT_THAT(changes(),
              ElementsAre("/sbin/vgremove vg1 > /dev/null", "/sbin/pvremove /dev/md1 > /dev/null",
                          "/sbin/pvremove /dev/sdb > /dev/null"));
}

TEST_F(vg_destroy_request, reports_a_group_without_volumes) {
  machine.tool("/sbin/vgremove").fails(5);
  group("vg2");
  EXPECT_EQ(vg_destroy("vg2"), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/sbin/vgremove vg2 > /dev/null", 5)));
  EXPECT_THAT(changes(), ElementsAre("/sbin/vgremove vg2 > /dev/null"));
}

TEST_F(vg_destroy_request, stops_at_the_first_volume_that_cannot_be_removed) {
  changer("/sbin/vgremove");
  machine.tool("/sbin/pvremove").on("/dev/md1").fails(5);
  EXPECT_EQ(vg_destroy("vg1"), -11000);
  EXPECT_EQ(machine.output(), "cannot del md1\n");
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/sbin/pvremove /dev/md1 > /dev/null", 5)));
  EXPECT_THAT(changes(),
              ElementsAre("/sbin/vgremove vg1 > /dev/null", "/sbin/pvremove /dev/md1 > /dev/null"));
}

class vg_removal : public vg_destroy_request {
 protected:
  vg_removal() {
    vg_conf_init(&vg);
    orv::set_text(vg.vgname, "vg1");
  }
  ~vg_removal() override { vg_conf_fini(&vg); }

  tag_pv_info& volume_named(const char* name, const char* enclosure) {
    tag_pv_info& pv = *orv::append(&vg.pvs);
    orv::set_text(pv.pvname, name);
    orv::set_text(pv.enclosure, enclosure);
    return pv;
  }

  tag_vg_info vg;
};

TEST_F(vg_removal, translates_each_volume_in_its_own_enclosure) {
  changers({"/sbin/vgremove", "/sbin/pvremove"});
  orv::set_text(vg.enclosure, "1");
  const tag_pv_info& pv = volume_named("1", "0");
  volume_named("1", "1");
  EXPECT_EQ(del_vg(&vg), ORV_OK);
  EXPECT_STREQ(pv.pvname, "sda");
  EXPECT_THAT(changes(),
              ElementsAre("/sbin/vgremove vg1 > /dev/null", "/sbin/pvremove /dev/sda > /dev/null",
                          "/sbin/pvremove /dev/sdb > /dev/null"));
}

TEST_F(vg_removal, stops_at_a_channel_without_a_disk) {
  changer("/sbin/vgremove");
  machine.tool("/sbin/pvremove").on("/dev/9").fails(5);
  volume_named("9", "0");
  volume_named("1", "0");
  EXPECT_EQ(del_vg(&vg), -11000);
  EXPECT_EQ(machine.output(), "cannot del 9\n");
}

TEST_F(vg_removal, runs_nothing_for_a_nameless_volume) {
  changer("/sbin/vgremove");
  volume_named("", "0");
  EXPECT_EQ(del_vg(&vg), -11000);
  EXPECT_EQ(machine.output(), "cannot del \n");
  EXPECT_THAT(changes(), ElementsAre("/sbin/vgremove vg1 > /dev/null"));
}

TEST_F(vg_removal, needs_a_group_and_a_device) {
  EXPECT_EQ(del_vg(nullptr), ORV_E_FAILED);
  EXPECT_EQ(del_pv(nullptr), -11000);
  EXPECT_EQ(del_pv(""), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(vg_removal, passes_a_strange_name_as_one_word) {
  changers({"/sbin/vgremove", "/sbin/pvremove"});
  for (const hostile_name& hostile : hostile_names) {
    machine.forget();
    orv::set_text(vg.vgname, hostile.name);
    EXPECT_EQ(del_vg(&vg), ORV_OK);
    EXPECT_EQ(del_pv(hostile.name), ORV_OK);
    const std::string word = hostile.word;
    EXPECT_THAT(changes(), ElementsAre("/sbin/vgremove " + word + " > /dev/null",
                                       "/sbin/pvremove /dev/" + word + " > /dev/null"));
  }
}
