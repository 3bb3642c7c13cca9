#include <cstring>

#include "tests/share/share_machine.h"

using share_record = share_test;

static tag_share_config filled() {
  tag_share_config share;
  std::memset(static_cast<void*>(&share), 0x7f, sizeof share);
  return share;
}

TEST_F(share_record, is_writable_and_without_a_status_at_first) {
  tag_share_config share = filled();
  share_conf_init(&share);
  EXPECT_EQ(told(share), "|||||rw");
  EXPECT_STREQ(share.status, "N.A.");
  EXPECT_EQ(share.size, 0U);
  EXPECT_EQ(share.used, 0U);
}

TEST_F(share_record, is_all_zero_when_released) {
  tag_share_config share = filled();
  EXPECT_EQ(share_conf_fini(&share), ORV_OK);
  const std::string zeros(offsetof(tag_share_config, list), '\0');
  EXPECT_EQ(std::memcmp(&share, zeros.data(), zeros.size()), 0);
}

TEST_F(share_record, is_shown_as_one_line) {
  tag_share_config share = a_share("photos");
  share.used = 256;
  const std::string line = "photos\tsamba\t/mnt/photos\tann\trw\t7GB\t2.50GB\tof photos\tN.A.\n";
  EXPECT_EQ(share_conf_show(&share), static_cast<int>(line.size()));
  EXPECT_EQ(machine.output(), line);
}

TEST_F(share_record, shows_what_is_empty) {
  tag_share_config share;
  share_conf_init(&share);
  share.status[0] = '\0';
  share.writable = 0;
  share.used = 5;
  share_conf_show(&share);
  EXPECT_EQ(machine.output(), "\t\t\t*\tro\t0GB\t0.00GB\t(Null)\tN.A.\n");
  EXPECT_STREQ(share.status, "N.A.");
  EXPECT_EQ(share.used, 0U);
}

TEST_F(share_record, list_begins_as_a_new_record_and_empty) {
  tag_shareconf_list list;
  std::memset(static_cast<void*>(&list), 0x7f, sizeof list);
  share_list_init(&list);
  tag_share_config fresh{};
  share_conf_init(&fresh);
  EXPECT_EQ(std::memcmp(&list, &fresh, offsetof(tag_share_config, list)), 0);
  EXPECT_EQ(list.list.next, &list.list);
  EXPECT_EQ(list.list.prev, &list.list);
}

TEST_F(share_record, list_shows_nothing_when_empty) {
  share_list list;
  share_list_show(list.get());
  EXPECT_EQ(machine.output(), "");
}

TEST_F(share_record, list_may_be_released_twice_and_filled_again) {
  tag_shareconf_list list;
  share_list_init(&list);
  tag_share_config share = a_share("a");
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(add_share_to_sharelist(&share, &list), ORV_OK);
    EXPECT_EQ(list.list.next, list.list.prev);
    EXPECT_NE(list.list.next, &list.list);
    for (int release = 0; release < 2; ++release) {
      EXPECT_EQ(share_list_fini(&list), 0);
      EXPECT_EQ(list.list.next, &list.list);
      EXPECT_EQ(list.list.prev, &list.list);
    }
  }
  EXPECT_EQ(machine.output() + machine.log(), "");
}

TEST_F(share_record, list_is_shown_in_order_and_released) {
  tag_shareconf_list list;
  share_list_init(&list);
  for (const char* name : {"b", "a"}) {
    tag_share_config share = a_share(name);
    add_share_to_sharelist(&share, &list);
  }
  share_list_show(&list);
  EXPECT_EQ(machine.output(),
            "b\tsamba\t/mnt/b\tann\trw\t7GB\t0.00GB\tof b\tN.A.\n"
            "a\tsamba\t/mnt/a\tann\trw\t7GB\t0.00GB\tof a\tN.A.\n");
  EXPECT_EQ(share_list_fini(&list), 0);
  EXPECT_EQ(list.list.next, &list.list);
  EXPECT_EQ(list.list.prev, &list.list);
}

TEST_F(share_record, null_is_told_or_logged) {
  share_conf_init(nullptr);
  share_list_init(nullptr);
  EXPECT_EQ(share_list_fini(nullptr), -1);
  share_list_show(nullptr);
  EXPECT_EQ(machine.output(), "Can't destory NULL list\nCan't show NULL list\n");
  EXPECT_EQ(share_conf_fini(nullptr), ORV_E_FAILED);
  EXPECT_EQ(share_conf_show(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), refusal("share_conf_fini", -1, "Invalid argument") +
                               refusal("share_conf_show", -1, "Invalid argument"));
}
