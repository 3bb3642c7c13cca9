#include <cstdlib>
#include <cstring>

#include "tests/system/netcard_list.h"

class netcard_record : public netcard_test {
 protected:
  void add(const tag_netcard& added) {
    auto* const record = static_cast<tag_netcard*>(std::malloc(sizeof added));
    *record = added;
    record->node = {&list.node, list.node.prev};
    list.node.prev->next = &record->node;
    list.node.prev = &record->node;
  }

  const tag_netcard card = {
      "eth0", "192.168.1.10", "255.255.255.0", "192.168.1.1", "00:1b:21:0a:0b:0c", 1, {}};
  const std::string printed =
      "eth0\t192.168.1.10\t255.255.255.0\n\t192.168.1.1\t00:1b:21:0a:0b:0c\n";
};

TEST_F(netcard_record, starts_with_state_1_and_is_released_with_0) {
  tag_netcard changed;
  std::memset(&changed, 'x', sizeof changed);
  list_node* const link = changed.node.next;
  netcard_info_init(&changed);
  tag_netcard expected{};
  expected.state = 1;
  EXPECT_EQ(std::memcmp(&changed, &expected, 92), 0);
  netcard_info_fini(&changed);
  expected.state = 0;
  EXPECT_EQ(std::memcmp(&changed, &expected, 92), 0);
  EXPECT_EQ(changed.node.next, link);
}

TEST_F(netcard_record, is_printed_on_two_lines) {
  EXPECT_EQ(netcard_info_show(&card), 19);  // what prints the MAC address
  EXPECT_EQ(machine.output(), printed);
}

TEST_F(netcard_record, list_is_shown_in_its_order) {
  netcard_list_show(&list);
  EXPECT_EQ(machine.output(), "");
  add(card);
  add({"eth1", "10.0.0.1", "255.0.0.0", "", "", 1, {}});
  netcard_list_show(&list);
  EXPECT_EQ(machine.output(), printed + "eth1\t10.0.0.1\t255.0.0.0\n\t\t\n");
}

TEST_F(netcard_record, anchor_is_a_cleared_record) {
  tag_netcard_list other;
  std::memset(static_cast<void*>(&other), 'x', sizeof other);
  netcard_list_init(&other);
  EXPECT_EQ(other.state, 1);
  EXPECT_EQ(other.mac[23], '\0');
  EXPECT_EQ(other.node.next, &other.node);
  EXPECT_EQ(other.node.prev, &other.node);
}

TEST_F(netcard_record, list_is_released_and_can_be_filled_again) {
  add(card);
  add(card);
  EXPECT_EQ(netcard_list_fini(&list), 0);
  EXPECT_EQ(list.node.next, &list.node);
  EXPECT_EQ(netcard_list_fini(&list), 0);
  add(card);
  EXPECT_EQ(cards().size(), 1U);
}

TEST_F(netcard_record, that_is_missing_is_told_or_left_alone) {
  EXPECT_EQ(netcard_list_fini(nullptr), -1);
  netcard_list_show(nullptr);
  EXPECT_EQ(machine.output(), "Can't destory NULL list\nCan't show NULL list\n");
  netcard_list_init(nullptr);
  netcard_info_init(nullptr);
  netcard_info_fini(nullptr);
  EXPECT_EQ(netcard_info_show(nullptr), ORV_E_FAILED);
}
