#include <cstring>

#include "tests/user/user_machine.h"

using testing::IsEmpty;

namespace {

class user_record : public user_test {
 protected:
  static tag_user_info bob() {
    tag_user_info user = request("bob", "secret");
    user.uid = 600;
    user.gid = 601;
    std::strcpy(user.type, "NAS");
    return user;
  }
};

TEST_F(user_record, is_shown_as_one_line) {
  const tag_user_info user = bob();
  EXPECT_EQ(user_info_show(&user), 5);  // what prints the gid and the line end
  EXPECT_EQ(machine.output(), "600\tbob\tsecret\t601\n");
}

TEST_F(user_record, is_shown_within_its_fields_when_no_text_ends) {
  tag_user_info user;
  std::memset(&user, 'x', sizeof user);
  user.uid = -2000000000;
  user.gid = -2000000000;
  EXPECT_EQ(user_info_show(&user), 13);
  const std::string name(sizeof user.name, 'x');
  const std::string password(sizeof user.password, 'x');
  EXPECT_EQ(machine.output(), "-2000000000\t" + name + '\t' + password + "\t-2000000000\n");
}

TEST_F(user_record, is_cleared_but_for_its_type_and_link) {
  for (const auto clear : {user_info_init, user_info_fini}) {
    tag_user_info user = bob();
    list_node node{};
    user.node = {&node, &node};
    clear(&user);
    EXPECT_EQ(user.uid, 0);
    EXPECT_EQ(user.gid, 0);
    EXPECT_EQ(std::string(user.name, sizeof user.name), std::string(sizeof user.name, '\0'));
    EXPECT_EQ(std::string(user.password, sizeof user.password),
              std::string(sizeof user.password, '\0'));
    EXPECT_STREQ(user.type, "NAS");
    EXPECT_EQ(user.node.next, &node);
    EXPECT_EQ(user.node.prev, &node);
  }
}

TEST_F(user_record, list_is_cleared_like_a_record_and_made_empty) {
  tag_user_info_list list{};
  list.uid = 7;
  std::strcpy(list.password, "secret");
  std::strcpy(list.type, "SAN");
  user_list_init(&list);
  EXPECT_EQ(list.uid, 0);
  EXPECT_STREQ(list.password, "");
  EXPECT_STREQ(list.type, "SAN");
  EXPECT_EQ(list.node.next, &list.node);
  EXPECT_EQ(list.node.prev, &list.node);
}

TEST_F(user_record, list_is_shown_in_its_order_and_released) {
  user_list list;
  list.add("bob", "secret");
  list.add("ann", "").gid = -1;
  user_list_show(list.get());
  EXPECT_EQ(machine.output(), "0\tbob\tsecret\t0\n0\tann\t\t-1\n");
  EXPECT_EQ(user_list_fini(list.get()), 0);
  EXPECT_THAT(list.records(), IsEmpty());
  EXPECT_EQ(user_list_fini(list.get()), 0);
  machine.forget();
  user_list_show(list.get());
  EXPECT_EQ(machine.output(), "");
}

TEST_F(user_record, that_is_missing_is_not_touched) {
  user_info_init(nullptr);
  user_info_fini(nullptr);
  user_list_init(nullptr);
  EXPECT_EQ(user_info_show(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "user_info_show:N return -1 with Invalid argument\n");
  user_list_show(nullptr);
  EXPECT_EQ(user_list_fini(nullptr), -1);
  EXPECT_EQ(machine.output(), "Can't show NULL list\nCan't destory NULL list\n");
}

}  // namespace
