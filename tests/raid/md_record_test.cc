#include <cstring>

#include "tests/raid/machine_with_disks.h"

class md_record : public sandbox_test {};

TEST_F(md_record, starts_inactive_and_ends_cleared_without_touching_its_link) {
  tag_md_info md;
  std::memset(&md, 'x', sizeof md);
  list_node* const next = md.list.next;
  md_conf_init(&md);
  EXPECT_STREQ(md.name, "");
  EXPECT_STREQ(md.level, "");
  EXPECT_STREQ(md.state, "inactive");
  EXPECT_STREQ(md.progress, "");
  EXPECT_EQ(md.size + md.size2, 0u);
  EXPECT_STREQ(md.disks, "");
  EXPECT_STREQ(md.spares, "");
  EXPECT_STREQ(md.enclosure, "");
  EXPECT_EQ(md.list.next, next);
  md_conf_fini(&md);
  EXPECT_STREQ(md.state, "");
  EXPECT_EQ(md.list.next, next);
}

TEST_F(md_record, shows_its_fields_in_order) {
  md_list list;
  tag_md_info& md = list.add("md3");
  liborv_strncpy(md.level, sizeof md.level, "raid5");
  liborv_strncpy(md.progress, sizeof md.progress, "18.4%(9.00MB/s)");
  liborv_strncpy(md.enclosure, sizeof md.enclosure, "0");
  liborv_strncpy(md.disks, sizeof md.disks, "sda,sdb,*(M)");
  liborv_strncpy(md.spares, sizeof md.spares, "sdd");
  md.size = 1862;
  md.size2 = 7;
  const std::string line =
      "md3\traid5\tinactive\t18.4%(9.00MB/s)\t0\t1862GB\t7GB\tsda,sdb,*(M)\tsdd\n";
  EXPECT_EQ(md_conf_show(&md), static_cast<int>(line.size()));
  EXPECT_EQ(machine.output(), line);
}

TEST_F(md_record, keeps_the_texts_that_it_shows_for_empty_fields) {
  md_list list;
  tag_md_info& md = list.add("md0");
  md_conf_show(&md);
  EXPECT_EQ(machine.output(), "md0\t\tinactive\t100%\tN.A.\t0GB\t0GB\t\tNone\n");
  EXPECT_STREQ(md.progress, "100%");
  EXPECT_STREQ(md.enclosure, "N.A.");
  EXPECT_STREQ(md.spares, "None");
}

TEST_F(md_record, shows_linear_in_any_case_as_jbod_and_keeps_the_level) {
  md_list list;
  for (const char* level : {"linear", "LINEAR", "linea"}) {
    tag_md_info& md = list.add("md0");
    liborv_strncpy(md.level, sizeof md.level, level);
    md_conf_show(&md);
    EXPECT_STREQ(md.level, level);
  }
  EXPECT_THAT(machine.output(),
              testing::MatchesRegex("md0\tJBOD\t.*\nmd0\tJBOD\t.*\nmd0\tlinea\t.*\n"));
}

TEST_F(md_record, list_shows_its_arrays_in_order) {
  md_list list;
  md_list_show(list.get());
  EXPECT_EQ(machine.output(), "");
  list.add("md1");
  list.add("md0");
  md_list_show(list.get());
  EXPECT_THAT(machine.output(), testing::MatchesRegex("md1\t.*\nmd0\t.*\n"));
}

TEST_F(md_record, list_is_empty_after_its_release_and_can_be_filled_again) {
  md_list list;
  list.add("md0");
  EXPECT_EQ(md_list_fini(list.get()), 0);
  EXPECT_EQ(list.get()->list.next, &list.get()->list);
  EXPECT_EQ(list.get()->list.prev, &list.get()->list);
  EXPECT_EQ(md_list_fini(list.get()), 0);
  list.add("md1");
  EXPECT_THAT(list.names(), testing::ElementsAre("md1"));
}

TEST_F(md_record, null_lists_and_records_are_refused) {
  md_list_init(nullptr);
  md_conf_init(nullptr);
  md_conf_fini(nullptr);
  EXPECT_EQ(md_list_fini(nullptr), -1);
  md_list_show(nullptr);
  EXPECT_EQ(machine.output(), "Can't destory NULL list\nCan't show NULL list\n");
  EXPECT_EQ(md_conf_show(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "md_conf_show:N return -1 with Invalid argument\n");
}

TEST_F(md_record, text_is_copied_to_a_file_up_to_280_bytes) {
  machine.file("/proc/mdstat", std::string(300, 'm'));
  EXPECT_EQ(get_mdinfo_to_file("/proc/mdstat", "/tmp/copy"), 0);
  EXPECT_EQ(machine.read("/tmp/copy"), std::string(280, 'm'));
  EXPECT_EQ(machine.mode("/tmp/copy") & 07777, 0644u);
  machine.file("/proc/mdstat", "new");
  get_mdinfo_to_file("/proc/mdstat", "/tmp/copy");
  EXPECT_EQ(machine.read("/tmp/copy"), "new" + std::string(277, 'm'));
  EXPECT_THAT(machine.open_descriptors(), testing::IsEmpty());
}
