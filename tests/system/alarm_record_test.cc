#include <orv/alarm.h>
#include <orv/support.h>

#include <cstdlib>
#include <cstring>

#include "tests/system/alarm_daemon.h"

class alarm_record : public alarm_test {
 protected:
  void add(const tag_alarm_info& alarm) {
    auto* const record = static_cast<tag_alarm_info*>(std::malloc(sizeof alarm));
    *record = alarm;
    record->node = {&list.node, list.node.prev};
    list.node.prev->next = &record->node;
    list.node.prev = &record->node;
  }

  const tag_alarm_info first = {"7", "disk", "2010-03-01 08:00:00", "Disk 3 failed", {}};
  const tag_alarm_info second = {"8", "fan", "2010-03-01 08:00:01", "", {}};
};

TEST_F(alarm_record, is_zeroed_but_for_its_link) {
  for (void (*clear)(tag_alarm_info*) : {alarm_conf_init, alarm_conf_fini}) {
    tag_alarm_info alarm;
    std::memset(&alarm, 'x', sizeof alarm);
    list_node* const link = alarm.node.next;
    clear(&alarm);
    const tag_alarm_info zero{};
    EXPECT_EQ(std::memcmp(&alarm, &zero, 348), 0);
    EXPECT_EQ(alarm.node.next, link);
  }
}

TEST_F(alarm_record, is_printed_without_a_line_end) {
  EXPECT_EQ(alarm_conf_show(&first), 16);  // what prints the text
  EXPECT_EQ(machine.output(), "7\tdisk\t2010-03-01 08:00:00\t'Disk 3 failed'");
}

TEST_F(alarm_record, list_is_printed_in_one_line) {
  add(first);
  add(second);
  alarm_list_show(&list);
  EXPECT_EQ(machine.output(),
            "7\tdisk\t2010-03-01 08:00:00\t'Disk 3 failed'8\tfan\t2010-03-01 08:00:01\t''");
}

TEST_F(alarm_record, empty_list_says_so) {
  alarm_list_show(&list);
  EXPECT_EQ(machine.output(), "There is no alarm!");
}

TEST_F(alarm_record, list_is_released_and_can_be_filled_again) {
  add(first);
  add(second);
  EXPECT_EQ(alarm_list_fini(&list), 0);
  EXPECT_EQ(list.node.next, &list.node);
  EXPECT_EQ(list.node.prev, &list.node);
  EXPECT_EQ(alarm_list_fini(&list), 0);
  add(second);
  EXPECT_EQ(alarms().size(), 1U);
}

TEST_F(alarm_record, anchor_is_cleared_with_the_list) {
  tag_alarm_list other;
  std::memset(static_cast<void*>(&other), 'x', sizeof other);
  alarm_list_init(&other);
  EXPECT_EQ(other.id[0], '\0');
  EXPECT_EQ(other.text[255], '\0');
  EXPECT_EQ(other.node.next, &other.node);
}

TEST_F(alarm_record, that_is_missing_is_told_or_left_alone) {
  EXPECT_EQ(alarm_list_fini(nullptr), -1);
  alarm_list_show(nullptr);
  EXPECT_EQ(machine.output(), "Can't destory NULL list\nCan't show NULL list\n");
  alarm_list_init(nullptr);
  alarm_conf_init(nullptr);
  alarm_conf_fini(nullptr);
  EXPECT_EQ(alarm_conf_show(nullptr), ORV_E_FAILED);
}
