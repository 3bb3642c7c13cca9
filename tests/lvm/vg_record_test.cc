#include <cstring>

#include "tests/lvm/storage_machine.h"

class vg_record : public sandbox_test {
 protected:
  static void fill(tag_pv_info& pv) {
    std::strcpy(pv.pvname, "md1");
    std::strcpy(pv.attr, "Allocatable:yes ");
    std::strcpy(pv.enclosure, "0");
    pv.size = 10;
    pv.used = 4;
    std::strcpy(pv.vgname, "vg0");
  }
  static void fill(tag_vg_info& vg) {
    std::strcpy(vg.vgname, "vg0");
    std::strcpy(vg.attr, "resizable");
    std::strcpy(vg.enclosure, "1");
    vg.size = 5000000000;
    vg.used = 7;
  }
};

TEST_F(vg_record, of_a_volume_is_cleared_but_for_its_link) {
  tag_pv_info pv;
  for (const auto clear : {pv_conf_init, pv_conf_fini}) {
    std::memset(static_cast<void*>(&pv), 'x', sizeof pv);
    list_node* const link = pv.list.next;
    clear(&pv);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(&pv), offsetof(tag_pv_info, list)),
              std::string(offsetof(tag_pv_info, list), '\0'));
    EXPECT_EQ(pv.list.next, link);
  }
}

TEST_F(vg_record, of_a_group_begins_without_volumes) {
  tag_vg_info vg;
  std::memset(static_cast<void*>(&vg), 'x', sizeof vg);
  list_node* const link = vg.list.next;
  vg_conf_init(&vg);
  EXPECT_STREQ(vg.vgname, "");
  EXPECT_STREQ(vg.attr, "");
  EXPECT_STREQ(vg.enclosure, "");
  EXPECT_EQ(vg.size, 0U);
  EXPECT_EQ(vg.used, 0U);
  EXPECT_EQ(vg.pvs.list.next, &vg.pvs.list);
  EXPECT_EQ(vg.pvs.list.prev, &vg.pvs.list);
  EXPECT_EQ(vg.list.next, link);
}

TEST_F(vg_record, of_a_group_releases_its_volumes) {
  tag_vg_info vg;
  vg_conf_init(&vg);
  fill(vg);
  orv::append(&vg.pvs);
  orv::append(&vg.pvs);
  vg_conf_fini(&vg);
  EXPECT_STREQ(vg.vgname, "");
  EXPECT_TRUE(orv::is_empty(&vg.pvs));
  vg_conf_fini(&vg);
}

TEST_F(vg_record, shows_a_volume_as_one_line) {
  tag_pv_info pv{};
  fill(pv);
  const std::string line = "md1\tAllocatable:yes \t0\t10G\t4G\tvg0\n";
  EXPECT_EQ(pv_conf_show(&pv), static_cast<int>(line.size()));
  EXPECT_EQ(machine.output(), line);
}

TEST_F(vg_record, shows_a_group_and_then_its_volumes) {
  orv::scoped_list<tag_vginfo_list> groups;
  tag_vg_info* const vg = orv::append(groups.get());
  fill(*vg);
  const std::string group_line = "vg0\tresizable\t1\t5000000000G\t7G\n";
  EXPECT_EQ(vg_conf_show(vg), static_cast<int>(group_line.size()));
  fill(*orv::append(&vg->pvs));
  vg_list_show(groups.get());
  const std::string volume_line = "md1\tAllocatable:yes \t0\t10G\t4G\tvg0\n";
  EXPECT_EQ(machine.output(), group_line + group_line + volume_line);
  EXPECT_EQ(vg_conf_show(vg), static_cast<int>(volume_line.size()));
}

TEST_F(vg_record, lists_are_released_and_may_be_filled_again) {
  tag_vginfo_list groups;
  vg_list_init(&groups);
  EXPECT_EQ(vg_list_fini(&groups), 0);
  for (int round = 0; round < 2; ++round) {
    orv::append(&orv::append(&groups)->pvs);
    EXPECT_EQ(vg_list_fini(&groups), 0);
    EXPECT_TRUE(orv::is_empty(&groups));
  }
  tag_pvinfo_list volumes;
  pv_list_init(&volumes);
  orv::append(&volumes);
  EXPECT_EQ(pv_list_fini(&volumes), 0);
  pv_list_show(&volumes);
  vg_list_show(&groups);
  EXPECT_EQ(machine.output(), "");
}

TEST_F(vg_record, lists_that_are_not_there_are_told) {
  EXPECT_EQ(pv_list_fini(nullptr), -1);
  EXPECT_EQ(vg_list_fini(nullptr), -1);
  pv_list_show(nullptr);
  vg_list_show(nullptr);
  EXPECT_EQ(machine.output(),
            "Can't destory NULL list\nCan't destory NULL list\n"
            "Can't show NULL list\nCan't show NULL list\n");
}

TEST_F(vg_record, operations_without_a_record_do_nothing) {
  pv_conf_init(nullptr);
  pv_conf_fini(nullptr);
  vg_conf_init(nullptr);
  vg_conf_fini(nullptr);
  pv_list_init(nullptr);
  vg_list_init(nullptr);
  EXPECT_EQ(pv_conf_show(nullptr), ORV_E_FAILED);
  EXPECT_EQ(vg_conf_show(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.output(), "");
}
