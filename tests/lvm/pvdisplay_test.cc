#include <cstring>

#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;

/// Names of the physical volumes of a group.
static sandbox::lines names_in(const tag_vg_info& vg) {
  sandbox::lines names;
  for (const tag_pv_info& pv : orv::records(&vg.pvs)) names.emplace_back(pv.pvname);
  return names;
}

class pvdisplay : public storage_machine {
 protected:
  pvdisplay() { listed("vg0"); }

  tag_vg_info& listed(const char* name) {
    tag_vg_info& vg = *orv::append(groups.get());
    orv::set_text(vg.vgname, name);
    return vg;
  }
  int get() { return get_vginfo_from_pvdisplay(groups.get()); }
  tag_vg_info& vg0() { return *groups.begin(); }
  tag_pv_info& only() {
    EXPECT_EQ(names_in(vg0()).size(), 1U);
    return first_volume(vg0());
  }
  /// One volume on md1 with these columns from the size on.
  void figures(const std::string& columns) {
    canned("pvdisplay", "  /dev/md1:vg0:" + columns + "\n");
  }

  orv::scoped_list<tag_vginfo_list> groups;
};

TEST_F(pvdisplay, reads_an_array_with_the_enclosure_of_its_disks) {
  disk("sda", 1);
  array("md1", {"sda in_sync", "sdb in_sync"});
  figures("209715200:-1:8:8:-1:4096:25599:15599:10000:uuid");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_STREQ(only().pvname, "md1");
  EXPECT_STREQ(only().vgname, "vg0");
  EXPECT_STREQ(only().attr, "Allocatable:yes ");
  EXPECT_STREQ(only().enclosure, "0");
  EXPECT_EQ(only().size, 100U);
  EXPECT_EQ(only().used, 39U);  // 39.06
  EXPECT_STREQ(vg0().enclosure, "0");
  EXPECT_EQ(machine.commands().front(), "/sbin/pvdisplay -c > /tmp/pvdisplay.XXXXXX");
  EXPECT_THAT(machine.temp_files(), ElementsAre());
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(machine.output(), "");
}

TEST_F(pvdisplay, names_a_disk_by_its_channel) {
  disk("sda", 1);
  disk("sdc", 3);
  disk("sdd", 5, true);
  volume("/dev/sdc", "vg0");
  volume("/dev/sdd", "vg0");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names_in(vg0()), ElementsAre("3", "5"));
  EXPECT_STREQ(first_volume(vg0()).enclosure, "0");
  EXPECT_STREQ(vg0().enclosure, "1") << "the last volume's";
}

TEST_F(pvdisplay, keeps_the_name_of_a_device_it_does_not_know) {
  for (const char* device : {"/dev/sdz", "/dev/md9", "/dev/mapper/crypt", "sub/loop0"}) {
    volume(device, "vg0");
  }
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names_in(vg0()), ElementsAre("sdz", "md9", "crypt", "loop0"));
  EXPECT_STREQ(vg0().enclosure, "");
}

TEST_F(pvdisplay, tells_whether_extents_can_be_allocated) {
  const std::pair<const char*, const char*> attrs[] = {{"100:1:99", "Allocatable:yes "},
                                                       {"100:0:100", "Allocatable:yes (but full)"},
                                                       {"0:0:0", "Allocatable:NO"},
                                                       {"0:7:0", "Allocatable:NO"}};
  for (const auto& [extents, attr] : attrs) {
    figures(std::string("2048:-1:8:8:-1:4096:") + extents + ":uuid");
    EXPECT_EQ(get(), ORV_OK);
    EXPECT_STREQ(only().attr, attr);
    pv_list_fini(&vg0().pvs);
  }
}

TEST_F(pvdisplay, rounds_sizes_to_nearest) {
  const std::pair<const char*, uint64_t> sizes[] = {
      {"3145727", 1}, {"3145728", 2}, {"1048575", 0}, {"1048576", 1}, {"0", 0}};
  for (const auto& [sectors, size] : sizes) {
    figures(std::string(sectors) + ":-1:8:8:-1:4096:9:9:0:uuid");
    EXPECT_EQ(get(), ORV_OK);
    EXPECT_EQ(only().size, size) << sectors;
    pv_list_fini(&vg0().pvs);
  }
}

TEST_F(pvdisplay, rounds_used_sizes_to_nearest) {
  const std::pair<const char*, uint64_t> sizes[] = {{"127", 0}, {"128", 1}, {"383", 1}, {"384", 2}};
  for (const auto& [extents, used] : sizes) {
    figures(std::string("2048:-1:8:8:-1:4096:999:1:") + extents + ":uuid");
    EXPECT_EQ(get(), ORV_OK);
    EXPECT_EQ(only().used, used) << extents;
    pv_list_fini(&vg0().pvs);
  }
}

TEST_F(pvdisplay, takes_a_used_size_that_does_not_fit_for_the_largest) {
  figures("2048:-1:8:8:-1:4194304:0:0:4398046511104:uuid");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_EQ(only().used, 17592186044416U);  // 2^64 KiB would wrap to nothing used
}

TEST_F(pvdisplay, survives_figures_that_are_no_numbers_or_too_large) {
  figures("18446744073709551615:-1:8:8:-1:x:99999999999999999999:-1:y:uuid");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_EQ(only().size, 8796093022208U);
  EXPECT_EQ(only().used, 0U);
  EXPECT_STREQ(only().attr, "Allocatable:NO");
}

TEST_F(pvdisplay, drops_volumes_of_no_group_and_of_groups_that_are_not_listed) {
  canned("pvdisplay",
         "  \"/dev/sdb\" is a new physical volume of \"1.00 GiB\"\n"
         "  /dev/sdb::2097152:-1:0:0:-1:0:0:0:0:uuid\n"
         "  /dev/sdc:#orphans_lvm2:2097152:-1:0:0:-1:0:0:0:0:uuid\n"
         "  /dev/md1:vg1:2097152:-1:0:0:-1:0:0:0:0:uuid\n"
         "  /dev/md2:vg:2097152:-1:0:0:-1:0:0:0:0:uuid\n"
         "  /dev/md3:vg0\n"
         "\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names_in(vg0()), ElementsAre());
}

TEST_F(pvdisplay, drops_a_volume_of_no_group_whose_size_is_the_name_of_one) {
  const tag_vg_info& number = listed("41943040");
  canned("pvdisplay",
         "  /dev/sdg::41943040:-1:0:0:-1:0:0:0:0:uuid\n"
         "  /dev/md1:41943040:2097152:-1:8:8:-1:4096:9:9:0:uuid\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names_in(number), ElementsAre("md1"));
}

TEST_F(pvdisplay, of_a_controller_drops_such_a_volume_too) {
  const tag_vg_info& number = listed("41943040");
  model("KTA7120U");
  machine.tool("/usr/local/bin/arcadm").on("--display --scan").prints("");
  canned("pvdisplay", "  /dev/sdg::41943040:-1:0:0:-1:0:0:0:0:uuid\n");
  EXPECT_EQ(get_vginfo_from_arcadm(groups.get()), ORV_OK);
  EXPECT_THAT(names_in(number), ElementsAre());
}

TEST_F(pvdisplay, drops_volumes_without_a_path) {
  canned("pvdisplay", "  [unknown]:vg0:2097152:\nmd1:vg0:2/3:\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names_in(vg0()), ElementsAre());
}

TEST_F(pvdisplay, shares_the_volumes_out_among_their_groups) {
  tag_vg_info& vg1 = listed("vg1");
  volume("/dev/md1", "vg1");
  volume("/dev/md2", "vg0");
  volume("/dev/md3", "vg1");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names_in(vg0()), ElementsAre("md2"));
  EXPECT_THAT(names_in(vg1), ElementsAre("md1", "md3"));
}

TEST_F(pvdisplay, finds_the_group_whose_name_was_cut) {
  tag_vg_info& cut = listed(std::string(32, 'v').c_str());
  volume("/dev/md1", std::string(40, 'v'));
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names_in(cut), ElementsAre("md1"));
  EXPECT_EQ(first_volume(cut).vgname, std::string(31, 'v'));
}

TEST_F(pvdisplay, cuts_a_long_device_name_and_survives_long_lines) {
  volume("/dev/" + std::string(40, 'd'), "vg0");
  volume("/dev/" + std::string(100000, 'd'), "vg0");
  volume("/dev/md2", "vg0");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names_in(vg0()), ElementsAre(std::string(31, 'd'), "md2"));
}

TEST_F(pvdisplay, goes_on_when_disks_and_arrays_cannot_be_listed) {
  volume("/dev/sda", "vg0");
  machine.remove("/proc/mdstat");
  machine.remove("/proc/scsi/mvSata");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names_in(vg0()), ElementsAre("sda"));
}

TEST_F(pvdisplay, fails_with_its_tool) {
  fails_to_list("pvdisplay");
  for (const auto source : {get_vginfo_from_pvdisplay, get_vginfo_from_arcadm}) {
    machine.forget();
    EXPECT_EQ(source(groups.get()), -11000);
    EXPECT_THAT(machine.log_lines(),
                ElementsAre(failed_command("/sbin/pvdisplay -c > /tmp/pvdisplay.XXXXXX")));
    EXPECT_THAT(machine.commands(), ElementsAre("/sbin/pvdisplay -c > /tmp/pvdisplay.XXXXXX"));
  }
  EXPECT_THAT(machine.temp_files(), ElementsAre());
}

TEST_F(pvdisplay, leaves_the_output_in_place_when_it_cannot_be_opened) {
  machine.fail("fopen", EMFILE, 1);
  EXPECT_EQ(get(), -1042);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre("get_vginfo_from_pvdisplay:N return 0 with Too many open files"));
  machine.forget();
  machine.fail("fstat", EIO, 1);
  EXPECT_EQ(get_vginfo_from_arcadm(groups.get()), -1042);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre("get_vginfo_from_arcadm:N return 0 with Input/output error"));
  EXPECT_THAT(machine.output(),
              testing::MatchesRegex("(cannot open /tmp/pvdisplay\\.[A-Za-z0-9]{6}\n)+"));
  EXPECT_THAT(machine.temp_files(), ElementsAre("pvdisplay.XXXXXX", "pvdisplay.XXXXXX"));
  EXPECT_THAT(machine.open_descriptors(), ElementsAre());
}

TEST_F(pvdisplay, runs_nothing_without_a_temporary_file) {
  machine.fail("mkstemp", EACCES);
  EXPECT_EQ(get(), -11000);
  EXPECT_THAT(machine.commands(), ElementsAre());
}

TEST_F(pvdisplay, needs_a_list) {
  EXPECT_EQ(get_vginfo_from_pvdisplay(nullptr), ORV_E_FAILED);
  EXPECT_EQ(get_vginfo_from_arcadm(nullptr), ORV_E_FAILED);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre("get_vginfo_from_pvdisplay:N return -1 with Invalid argument",
                          "get_vginfo_from_arcadm:N return -1 with Invalid argument"));
}

/// The model on which a RAID controller shows its arrays as sd devices.
class pvdisplay_with_controller : public pvdisplay {
 protected:
  pvdisplay_with_controller() {
    model("KTA7120U");
    machine.tool("/usr/local/bin/arcadm")
        .on("--display --scan")
        .runs("cat /canned/arrays")
        .if_asked();
    canned("arrays", "====\nmd1 a/5 r/0/Normal x/1000 GB/sdb y/#1 #2 #3\n");
  }
  int get() { return get_vginfo_from_arcadm(groups.get()); }
};

TEST_F(pvdisplay_with_controller, names_an_array_by_its_record) {
  volume("/dev/sdb", "vg0");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_STREQ(only().pvname, "md1");
  EXPECT_STREQ(only().enclosure, "0");
  EXPECT_STREQ(only().vgname, "vg0");
  EXPECT_STREQ(only().attr, "Allocatable:yes ");
  EXPECT_EQ(only().size, 10U);
  EXPECT_STREQ(vg0().enclosure, "0");
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/pvdisplay -c > /tmp/pvdisplay.XXXXXX",
                                              "/usr/local/bin/arcadm --display --scan > "
                                              "/tmp/mdstat.XXXXXX"));
}

TEST_F(pvdisplay_with_controller, keeps_the_name_of_other_devices) {
  volume("/dev/sdc", "vg0");
  volume("/dev/md1", "vg0");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_THAT(names_in(vg0()), ElementsAre("sdc", "md1"));
  EXPECT_STREQ(vg0().enclosure, "");
}

TEST_F(pvdisplay_with_controller, keeps_an_empty_record_for_a_volume_without_a_path) {
  canned("pvdisplay", "  [unknown]:vg0:2097152:-1:8:8:-1:4096:9:9:0:uuid\n");
  EXPECT_EQ(get(), ORV_OK);
  EXPECT_STREQ(only().pvname, "");
  EXPECT_STREQ(only().vgname, "");
  EXPECT_STREQ(only().attr, "");
  EXPECT_EQ(only().size, 0U);
}
