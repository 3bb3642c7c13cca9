#include "tests/lvm/list_commands.h"
#include "tests/lvm/storage_machine.h"

using testing::ElementsAre;
using testing::ElementsAreArray;

class getting_groups : public storage_machine {
 protected:
  /// The volumes are listed, but for the function of this name nothing can be read of them.
  void expect_volumes_not_opened(int (*get)(tag_vginfo_list*), const std::string& function) {
    machine.forget();
    EXPECT_EQ(get(groups.get()), -1042);
    EXPECT_THAT(machine.output(),
                testing::MatchesRegex("cannot open /tmp/pvdisplay\\.[A-Za-z0-9]{6}\n"));
    EXPECT_THAT(machine.log_lines(), ElementsAre(function + ":N return 0 with Input/output error"));
    EXPECT_THAT(machine.temp_files(), ElementsAre("pvdisplay.XXXXXX"));
    EXPECT_THAT(machine.open_descriptors(), ElementsAre());
    machine.remove("/tmp");
    machine.directory("/tmp");
  }

  orv::scoped_list<tag_vginfo_list> groups;
};

TEST_F(getting_groups, lists_groups_with_their_volumes) {
  disk("sdc", 3);
  group("vg0", 100, 40);
  group("vg1");
  volume("/dev/md1", "vg1");
  volume("/dev/sdc", "vg0");
  EXPECT_EQ(vg_get(groups.get()), ORV_OK);
  vg_list_show(groups.get());
  EXPECT_EQ(machine.output(),
            "vg0\tresizable\t0\t100G\t40G\n"
            "3\tAllocatable:yes \t0\t10G\t0G\tvg0\n"
            "vg1\tresizable\t\t100G\t0G\n"
            "md1\tAllocatable:yes \t\t10G\t0G\tvg1\n");
  EXPECT_THAT(machine.commands(), ElementsAreArray(list_commands::groups()));
  EXPECT_THAT(machine.temp_files(), ElementsAre());
  EXPECT_THAT(machine.open_descriptors(), ElementsAre());
}

TEST_F(getting_groups, asks_no_volumes_when_the_groups_cannot_be_listed) {
  fails_to_list("vgdisplay");
  EXPECT_EQ(vg_get(groups.get()), -11000);
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/vgdisplay -c > /tmp/vgdisplay.XXXXXX"));
}

TEST_F(getting_groups, reports_groups_that_cannot_be_opened) {
  machine.fail("fopen", EMFILE, 1);
  EXPECT_EQ(vg_get(groups.get()), -1040);
}

TEST_F(getting_groups, keeps_the_groups_when_the_volumes_cannot_be_listed) {
  group("vg0");
  fails_to_list("pvdisplay");
  EXPECT_EQ(vg_get(groups.get()), -11000);
  EXPECT_FALSE(orv::is_empty(groups.get()));
}

TEST_F(getting_groups, leaves_the_list_of_volumes_in_place_when_it_cannot_be_opened_or_examined) {
  const std::pair<int (*)(tag_vginfo_list*), const char*> sources[] = {
      {get_vginfo_from_pvdisplay, "get_vginfo_from_pvdisplay"},
      {get_vginfo_from_arcadm, "get_vginfo_from_arcadm"}};
  for (const char* function : {"fopen", "fstat"}) {
    for (const auto& [source, name] : sources) {
      machine.fail(function, EIO, 1);
      expect_volumes_not_opened(source, name);
    }
  }
}

TEST_F(getting_groups, reports_volumes_that_cannot_be_opened_or_examined) {
  group("vg0");
  // The list of groups comes first, and then the model, which is not examined.
  for (const auto& [function, call] : {std::pair("fopen", 3), {"fstat", 2}}) {
    for (const auto& [product, name] : {std::pair("KTA7120X", "get_vginfo_from_pvdisplay"),
                                        {"KTA7120U", "get_vginfo_from_arcadm"}}) {
      model(product);
      machine.fail(function, EIO, call);
      expect_volumes_not_opened(vg_get, name);
      EXPECT_STREQ((*groups.begin()).vgname, "vg0");
      vg_list_fini(groups.get());
    }
  }
}

TEST_F(getting_groups, removes_the_lists_of_groups_and_volumes_on_a_controller) {
  model("KTA7120U");
  machine.tool("/usr/local/bin/arcadm")
      .on("--display --scan")
      .prints("====\nmd1 a/5 r/0/Normal x/1000 GB/sdb y/#1 #2\n");
  group("vg0");
  volume("/dev/sdb", "vg0");
  EXPECT_EQ(vg_get(groups.get()), ORV_OK);
  EXPECT_STREQ(first_volume(*groups.begin()).pvname, "md1");
  EXPECT_THAT(machine.temp_files(), ElementsAre("mdstat.XXXXXX")) << "the arrays stay readable";
  EXPECT_THAT(machine.open_descriptors(), ElementsAre());
}

TEST_F(getting_groups, needs_the_device_model) {
  group("vg0");
  machine.remove("/etc/sys_info");
  EXPECT_EQ(vg_get(groups.get()), -11001);
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/vgdisplay -c > /tmp/vgdisplay.XXXXXX"));
  EXPECT_THAT(machine.log_lines(),
              ElementsAre("devmodel_get:N return -1001 with No such file or directory"));
}

TEST_F(getting_groups, names_arrays_by_the_controller_on_its_model_only) {
  group("vg0");
  volume("/dev/sdb", "vg0");
  machine.tool("/usr/local/bin/arcadm")
      .on("--display --scan")
      .prints("====\nmd1 a/5 r/0/Normal x/1000 GB/sdb y/#1 #2\n");
  for (const char* name : {"KTA7120U", "KTA7120", "KTA7120UX", "kta7120u"}) {
    model(name);
    EXPECT_EQ(vg_get(groups.get()), ORV_OK);
    const bool by_controller = name == std::string("KTA7120U");
    EXPECT_STREQ(first_volume(*groups.begin()).pvname, by_controller ? "md1" : "sdb");
    vg_list_fini(groups.get());
  }
}

TEST_F(getting_groups, needs_a_list) { EXPECT_EQ(vg_get(nullptr), ORV_E_FAILED); }
