#include <cstring>

#include "tests/share/share_machine.h"

using share_list_operation = share_test;
using testing::ElementsAre;

TEST_F(share_list_operation, add_copies_every_field_but_the_status) {
  tag_share_config share = a_share("a", "nfs");
  share.used = 9;
  share.writable = 0;
  set_field(share.status, "odd");
  share_list list;
  EXPECT_EQ(add_share_to_sharelist(&share, list.get()), ORV_OK);
  EXPECT_EQ(told(list.only()), told(share));
  EXPECT_EQ(list.only().size, 7U);
  EXPECT_EQ(list.only().used, 9U);
  EXPECT_STREQ(list.only().status, "N.A.");
}

TEST_F(share_list_operation, add_refuses_exactly_the_same_name) {
  share_list list;
  list.add(a_share("a")).add(a_share("A")).add(a_share("a.1", "iscsi"));
  tag_share_config share = a_share("a", "nfs");
  EXPECT_EQ(add_share_to_sharelist(&share, list.get()), -1);
  EXPECT_EQ(list.records().size(), 3U);
  EXPECT_STREQ(list.records()[0]->service, "samba");
}

TEST_F(share_list_operation, mod_changes_settings_and_leaves_path_and_service) {
  share_list list;
  list.add(a_share("a")).add(a_share("b"));
  tag_share_config change = a_share("b", "nfs");
  set_field(change.path, "/other");
  set_field(change.comment, "new");
  set_field(change.valid_users, "bob,eve");
  change.writable = 0;
  change.size = 99;
  EXPECT_EQ(mod_share_to_sharelist(&change, nullptr, list.get()), ORV_OK);
  EXPECT_THAT(list.told(),
              ElementsAre("a|of a|/mnt/a|samba|ann|rw", "b|new|/mnt/b|samba|bob,eve|ro"));
  EXPECT_EQ(list.records()[1]->size, 7U);
}

TEST_F(share_list_operation, mod_gives_path_and_service_to_a_share_without_service) {
  share_list list;
  list.add(a_share("a", ""));
  tag_share_config change = a_share("a", "nfs");
  set_field(change.path, "/other");
  EXPECT_EQ(mod_share_to_sharelist(&change, "ignored", list.get()), ORV_OK);
  EXPECT_THAT(list.told(), ElementsAre("a|of a|/other|nfs|ann|rw"));
}

TEST_F(share_list_operation, mod_appends_a_missing_share) {
  share_list list;
  tag_share_config change = a_share("a");
  EXPECT_EQ(mod_share_to_sharelist(&change, "", list.get()), -1);
  EXPECT_EQ(told(list.only()), told(change));
  EXPECT_EQ(list.only().size, 0U);
}

TEST_F(share_list_operation, iscsi_names_are_compared_up_to_their_first_dot) {
  share_list list;
  list.add(a_share("vol.20240101120000", "iSCSI")).add(a_share("dir.1", "samba"));
  tag_share_config change = a_share("vol", "iscsi");
  set_field(change.comment, "new");
  EXPECT_EQ(mod_share_to_sharelist(&change, nullptr, list.get()), ORV_OK);
  EXPECT_STREQ(list.records()[0]->comment, "new");
  EXPECT_EQ(del_share_to_sharelist("dir", list.get()), -1);
  EXPECT_EQ(del_share_to_sharelist("vol.20240101120000", list.get()), -1);
  EXPECT_EQ(del_share_to_sharelist("vol", list.get()), ORV_OK);
  EXPECT_EQ(del_share_to_sharelist("dir.1", list.get()), ORV_OK);
  EXPECT_EQ(list.records().size(), 0U);
}

TEST_F(share_list_operation, del_removes_the_first_match) {
  share_list list;
  EXPECT_EQ(del_share_to_sharelist("a", list.get()), -1);
  list.add(a_share("b")).add(a_share("a.1", "iscsi")).add(a_share("a"));
  EXPECT_EQ(del_share_to_sharelist("a", list.get()), ORV_OK);
  EXPECT_THAT(list.told(), ElementsAre("b|of b|/mnt/b|samba|ann|rw", "a|of a|/mnt/a|samba|ann|rw"));
  EXPECT_EQ(del_share_to_sharelist("x", list.get()), -1);
}

TEST_F(share_list_operation, fine_finds_the_exact_name) {
  share_list list;
  list.add(a_share("a.1", "iscsi")).add(a_share("a"));
  EXPECT_EQ(fine_share_in_list(list.get(), "a"), list.records()[1]);
  EXPECT_EQ(fine_share_in_list(list.get(), "A"), nullptr);
  EXPECT_EQ(fine_share_in_list(list.get(), nullptr), nullptr);
  EXPECT_EQ(fine_share_in_list(nullptr, "a"), nullptr);
}

TEST_F(share_list_operation, mod_recy_clears_the_service_all_of_it) {
  share_list list;
  list.add(a_share("a", "samba"));
  tag_share_config change = a_share("a", "");
  set_field(change.comment, "new");
  change.writable = 0;
  EXPECT_EQ(mod_recy_list(&change, list.get()), ORV_OK);
  EXPECT_THAT(list.told(), ElementsAre("a|new|/mnt/a||ann|ro"));
  const char zeros[sizeof(tag_share_config::service)] = "";
  EXPECT_EQ(std::memcmp(list.only().service, zeros, sizeof zeros), 0);
}

TEST_F(share_list_operation, mod_recy_sets_a_service_and_appends_what_is_missing) {
  share_list list;
  list.add(a_share("a", "samba"));
  tag_share_config change = a_share("a", "nfs");
  EXPECT_EQ(mod_recy_list(&change, list.get()), ORV_OK);
  EXPECT_STREQ(list.only().service, "nfs");
  change = a_share("vol", "iscsi");
  EXPECT_EQ(mod_recy_list(&change, list.get()), -1);
  change = a_share("vol.1", "iscsi");
  EXPECT_EQ(mod_recy_list(&change, list.get()), -1);
  EXPECT_EQ(told(*list.records().at(2)), told(change));
}

TEST_F(share_list_operation, null_is_the_name_of_no_share) {
  share_list list;
  list.add(a_share("")).add(a_share(".1", "iscsi"));
  EXPECT_EQ(del_share_to_sharelist(nullptr, list.get()), -1);
  EXPECT_EQ(list.records().size(), 2U);
  EXPECT_EQ(machine.log(), refusal("del_share_to_sharelist", -1, "Invalid argument"));
  EXPECT_EQ(fine_share_in_list(list.get(), nullptr), nullptr);
  EXPECT_EQ(fine_share_in_list(list.get(), ""), list.records()[0]);
  EXPECT_EQ(del_share_to_sharelist("", list.get()), ORV_OK);
  EXPECT_EQ(list.records().size(), 1U);
}

TEST_F(share_list_operation, null_is_logged) {
  tag_share_config share = a_share("a");
  share_list list;
  EXPECT_EQ(add_share_to_sharelist(nullptr, list.get()), -1);
  EXPECT_EQ(add_share_to_sharelist(&share, nullptr), -1);
  EXPECT_EQ(mod_share_to_sharelist(nullptr, nullptr, list.get()), -1);
  EXPECT_EQ(mod_share_to_sharelist(&share, nullptr, nullptr), -1);
  EXPECT_EQ(mod_recy_list(nullptr, list.get()), -1);
  EXPECT_EQ(mod_recy_list(&share, nullptr), -1);
  EXPECT_EQ(del_share_to_sharelist("a", nullptr), -1);
  EXPECT_EQ(del_share_to_sharelist(nullptr, list.get()), -1);
  EXPECT_EQ(machine.log_lines().size(), 8U);
  EXPECT_EQ(list.records().size(), 0U);
}

TEST_F(share_list_operation, fields_without_an_end_are_read_to_their_size) {
  tag_share_config share;
  std::memset(static_cast<void*>(&share), 'x', sizeof share);
  share_list list;
  EXPECT_EQ(add_share_to_sharelist(&share, list.get()), ORV_OK);
  EXPECT_EQ(std::string(list.only().name), std::string(32, 'x'));
  EXPECT_EQ(std::string(list.only().valid_users), std::string(255, 'x'));
}

TEST_F(share_list_operation, service_words_are_joined_when_they_are_set) {
  char services[32] = "";
  EXPECT_EQ(share_conf_set_value(services, "samba", "0"), ORV_OK);
  EXPECT_EQ(share_conf_set_value(services, "samba", "10"), ORV_OK);
  EXPECT_EQ(share_conf_set_value(services, "samba", nullptr), ORV_OK);
  EXPECT_STREQ(services, "");
  share_conf_set_value(services, "samba", "1");
  share_conf_set_value(services, "nfs", "1");
  EXPECT_STREQ(services, "samba,nfs");
  for (int i = 0; i < 9; ++i) share_conf_set_value(services, "nfs", "1");
  EXPECT_EQ(std::string(services).size(), 31U);
  EXPECT_EQ(share_conf_set_value(nullptr, "nfs", "1"), -1);
  machine.forget();
  EXPECT_EQ(share_conf_set_value(nullptr, "nfs", "0"), ORV_OK);
  EXPECT_EQ(share_conf_set_value(nullptr, "nfs", nullptr), ORV_OK);
  EXPECT_EQ(machine.log(), "");
}
