#include <tuple>

#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

class vg_create_request : public storage_machine {
 protected:
  vg_create_request() {
    vg_conf_init(&vg);
    orv::set_text(vg.vgname, "vg1");
    disk("sda", 1);
    disk("sdb", 2);
    array("md2", {"sdb in_sync"});
  }
  ~vg_create_request() override { vg_conf_fini(&vg); }

  tag_pv_info& wants(const std::string& name, const char* enclosure = "0") {
    tag_pv_info& pv = *orv::append(&vg.pvs);
    orv::set_text(pv.pvname, name);
    orv::set_text(pv.enclosure, enclosure);
    return pv;
  }
  void has_tools_for_arrays() { changers({"/sbin/pvcreate", "/sbin/vgcreate"}); }
  void has_tools() {
    has_tools_for_arrays();
    changer("/usr/local/bin/diskformat");
  }

  tag_vg_info vg;
};

TEST_F(vg_create_request, wipes_disks_but_not_arrays_and_makes_the_group) {
  has_tools();
  const tag_pv_info& disk = wants("1");
  wants("md2");
  EXPECT_EQ(vg_create(&vg), ORV_OK);
  EXPECT_STREQ(disk.pvname, "sda");
  EXPECT_THAT(changes(), ElementsAre("/usr/local/bin/diskformat /dev/sda",
                                     "/sbin/pvcreate /dev/sda > /dev/null",
                                     "/sbin/pvcreate /dev/md2 > /dev/null",
                                     "/sbin/vgcreate vg1  /dev/sda /dev/md2 > /dev/null"));
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(machine.output(), "");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(vg_create_request, without_volumes_leaves_the_refusal_to_the_tool) {
  machine.tool("/sbin/vgcreate").on_exactly({"vg1"}).fails(3);
  EXPECT_EQ(vg_create(&vg), -11000);
  EXPECT_THAT(changes(), ElementsAre("/sbin/vgcreate vg1  > /dev/null"));
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/sbin/vgcreate vg1  > /dev/null", 3)));
}

TEST_F(vg_create_request, needs_a_name) {
  orv::set_text(vg.vgname, "");
  wants("1");
  EXPECT_EQ(vg_create(&vg), -2040);
  EXPECT_THAT(machine.log_lines(), ElementsAre("Cannot find vgname!"));
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(vg_create_request, needs_a_new_name) {
  group("vg0");
  group("vg1");
  wants("1");
  EXPECT_EQ(vg_create(&vg), -2041);
  EXPECT_EQ(check_vg(&vg), -2041);
  EXPECT_THAT(machine.log_lines(), ElementsAre("vgname 'vg1' used", "vgname 'vg1' used"));
  EXPECT_THAT(changes(), IsEmpty());
  orv::set_text(vg.vgname, "vg");
  EXPECT_EQ(check_vg(&vg), ORV_OK);
}

TEST_F(vg_create_request, changes_nothing_when_a_volume_is_refused) {
  wants("1");
  wants("2");
  EXPECT_EQ(vg_create(&vg), -2043);
  EXPECT_THAT(machine.log_lines(), ElementsAre("disk channelID '2' used in raid"));
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_create_request, names_the_volume_that_is_refused) {
  disk("sdc", 3);
  hot_spares_are("sdc");
  const std::tuple<const char*, int, const char*> refused[] = {
      {"3", -2043, "disk channelID '3' used hotspare disk"},
      {"4", -2042, "invalid disk channelID: '4'"},
      {"md1", -2044, "cannot find md 'md1'"}};
  wants("1");
  tag_pv_info& pv = wants("");
  for (const auto& [name, result, logged] : refused) {
    machine.forget();
    orv::set_text(first_volume(vg).pvname, "1");
    orv::set_text(pv.pvname, name);
    EXPECT_EQ(vg_create(&vg), result);
    EXPECT_THAT(machine.log_lines(), ElementsAre(logged));
    EXPECT_THAT(changes(), IsEmpty());
  }
}

TEST_F(vg_create_request, never_wipes_a_disk_of_another_group) {
  group("vg0");
  volume("/dev/sda", "vg0");
  wants("1");
  EXPECT_EQ(vg_create(&vg), -2045);
  EXPECT_THAT(machine.log_lines(), ElementsAre("'1' is used in vg"));
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_create_request, changes_nothing_when_groups_cannot_be_listed) {
  wants("1");
  fails_to_list("pvdisplay");
  EXPECT_EQ(vg_create(&vg), -11000);
  machine.remove("/etc/sys_info");
  EXPECT_EQ(vg_create(&vg), -11001);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_create_request, changes_nothing_when_disks_or_arrays_cannot_be_listed) {
  wants("1");
  machine.remove("/proc/mdstat");
  EXPECT_EQ(vg_create(&vg), -11000);
  orv::set_text(first_volume(vg).pvname, "1");
  machine.remove("/proc/scsi/mvSata");
  EXPECT_EQ(vg_create(&vg), -1021);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_create_request, changes_nothing_when_hot_spares_cannot_be_listed) {
  wants("1");
  fails_to_list("hotspare");
  EXPECT_EQ(vg_create(&vg), -11000);
  canned("hotspare", "no such line\n");
  machine.remove("/canned/hotspare.fails");
  EXPECT_EQ(vg_create(&vg), -1024);
  EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(vg_create_request, takes_the_arrays_but_not_the_disks_of_the_controller) {
  model("KTA7120U");
  sandbox::fake_tool& arcadm = machine.tool("/usr/local/bin/arcadm");
  arcadm.on("--misc --scan").prints("0 a/WD/1000/NORMAL/Free\n");
  arcadm.on("--display --scan").prints("====\nmd1 a/5 r/0/Normal x/1000 GB/sdb y/#2 #3\n");
  tag_pv_info& pv = wants("1");
  EXPECT_EQ(vg_create(&vg), -2042);
  EXPECT_THAT(changes(), IsEmpty());
  has_tools_for_arrays();
  orv::set_text(pv.pvname, "md1");
  EXPECT_EQ(vg_create(&vg), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/pvcreate /dev/md1 > /dev/null",
                                     "/sbin/vgcreate vg1  /dev/md1 > /dev/null"));
}

TEST_F(vg_create_request, goes_on_when_a_disk_cannot_be_wiped) {
  has_tools_for_arrays();
  machine.tool("/usr/local/bin/diskformat").fails(2);
  wants("1");
  EXPECT_EQ(vg_create(&vg), ORV_OK);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/usr/local/bin/diskformat /dev/sda", 2)));
}

TEST_F(vg_create_request, stops_at_the_first_volume_that_cannot_be_made) {
  changer("/usr/local/bin/diskformat");
  machine.tool("/sbin/pvcreate").on("/dev/md2").succeeds();
  machine.tool("/sbin/pvcreate").on("/dev/sda").fails(5);
  wants("md2");
  wants("1");
  wants("3");
  disk("sdc", 3);
  EXPECT_EQ(vg_create(&vg), -11000);
  EXPECT_EQ(machine.output(), "cannot create sda\n");
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/sbin/pvcreate /dev/sda > /dev/null", 5)));
  EXPECT_THAT(changes(), ElementsAre("/sbin/pvcreate /dev/md2 > /dev/null",
                                     "/usr/local/bin/diskformat /dev/sda",
                                     "/sbin/pvcreate /dev/sda > /dev/null"));
}

TEST_F(vg_create_request, reports_a_group_that_cannot_be_made) {
  changer("/sbin/pvcreate");
  machine.tool("/sbin/vgcreate").fails(5);
  wants("md2");
  EXPECT_EQ(create_vg(&vg), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed_command("/sbin/vgcreate vg1  /dev/md2 > /dev/null", 5)));
}

TEST_F(vg_create_request, passes_a_strange_name_as_one_word) {
  changer("/sbin/vgcreate");
  for (const hostile_name& hostile : hostile_names) {
    machine.forget();
    orv::set_text(vg.vgname, hostile.name);
    EXPECT_EQ(vg_create(&vg), ORV_OK);
    EXPECT_THAT(machine.calls().back(), ElementsAre("/sbin/vgcreate", hostile.name));
    EXPECT_THAT(changes(),
                ElementsAre(std::string("/sbin/vgcreate ") + hostile.word + "  > /dev/null"));
  }
}

TEST_F(vg_create_request, changes_nothing_for_a_name_that_would_be_an_option) {
  orv::set_text(vg.vgname, "--force");
  wants("1");
  EXPECT_EQ(vg_create(&vg), -11000);
  EXPECT_THAT(changes(), IsEmpty());
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(command_not_run("/sbin/vgcreate --force  /dev/sda > /dev/null",
                                          "Invalid argument")));
}

TEST_F(vg_create_request, changes_nothing_for_more_volumes_than_a_command_holds) {
  for (int i = 0; i < 40; ++i) wants("sd" + std::string(1, static_cast<char>('a' + i % 26)));
  EXPECT_EQ(create_vg(&vg), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_THAT(machine.log(), testing::HasSubstr("exit(127) for 'File name too long'"));
}

TEST_F(vg_create_request, makes_sixteen_volumes) {
  has_tools();
  std::string paths;
  for (char letter = 'a'; letter < 'q'; ++letter) {
    wants(std::string("sd") + letter);
    paths += std::string(" /dev/sd") + letter;
  }
  EXPECT_EQ(create_vg(&vg), ORV_OK);
  EXPECT_EQ(changes().back(), "/sbin/vgcreate vg1 " + paths + " > /dev/null");
}

TEST_F(vg_create_request, is_needed) {
  EXPECT_EQ(vg_create(nullptr), ORV_E_FAILED);
  EXPECT_EQ(create_vg(nullptr), ORV_E_FAILED);
  EXPECT_EQ(check_vg(nullptr), ORV_E_FAILED);
  EXPECT_EQ(create_pv(nullptr), -11000);
  EXPECT_EQ(create_pv(""), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(vg_create_request, of_one_volume_quotes_a_strange_device) {
  changer("/sbin/pvcreate");
  EXPECT_EQ(create_pv("a;reboot"), ORV_OK);
  EXPECT_THAT(changes(), ElementsAre("/sbin/pvcreate /dev/'a;reboot' > /dev/null"));
}
