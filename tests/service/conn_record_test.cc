#include <cstring>

#include "tests/service/service_machine.h"

namespace {

class conn_record : public connection_machine {
 protected:
  static tag_share_conn client() {
    tag_share_conn connection{};
    std::strcpy(connection.share, "data");
    std::strcpy(connection.protocol, "CIFS");
    std::strcpy(connection.ip, "10.11.0.7");
    std::strcpy(connection.user, "user1");
    return connection;
  }
};

TEST_F(conn_record, is_shown_as_one_line) {
  const tag_share_conn connection = client();
  EXPECT_EQ(conn_conf_show(&connection), 9);  // what prints the user
  EXPECT_EQ(machine.output(), "            data\tCIFS\t10.11.0.7\t'user1'\n");
}

TEST_F(conn_record, shows_empty_and_long_fields_as_they_are) {
  tag_share_conn connection{};
  conn_conf_show(&connection);
  std::memset(connection.share, 's', sizeof connection.share - 1);
  std::memset(connection.user, 'u', sizeof connection.user - 1);
  conn_conf_show(&connection);
  EXPECT_EQ(machine.output(), "                \t\t\t''\n" + std::string(127, 's') + "\t\t\t'" +
                                  std::string(127, 'u') + "'\n");
}

TEST_F(conn_record, is_cleared_but_for_its_link) {
  for (const auto clear : {conn_conf_init, conn_conf_fini}) {
    tag_share_conn connection;
    std::memset(static_cast<void*>(&connection), 'x', sizeof connection);
    connection.node = {&connection.node, nullptr};
    clear(&connection);
    tag_share_conn cleared{};
    EXPECT_EQ(std::memcmp(&connection, &cleared, offsetof(tag_share_conn, node)), 0);
    EXPECT_EQ(connection.node.next, &connection.node);
    EXPECT_EQ(connection.node.prev, nullptr);
  }
}

TEST_F(conn_record, that_is_missing_is_not_touched) {
  conn_conf_init(nullptr);
  conn_conf_fini(nullptr);
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(conn_conf_show(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "conn_conf_show:N return -1 with Invalid argument\n");
  EXPECT_EQ(machine.output(), "");
}

using conn_list = conn_record;

TEST_F(conn_list, begins_cleared_and_empty) {
  tag_shareconn_list list;
  std::memset(static_cast<void*>(&list), 'x', sizeof list);
  conn_list_init(&list);
  EXPECT_EQ(list.node.next, &list.node);
  EXPECT_EQ(list.node.prev, &list.node);
  tag_shareconn_list cleared{};
  EXPECT_EQ(std::memcmp(&list, &cleared, offsetof(tag_share_conn, node)), 0);
  conn_list_show(&list);
  EXPECT_EQ(machine.output(), "");
}

TEST_F(conn_list, shows_its_records_in_order_and_releases_them) {
  tag_shareconn_list* const list = connections.get();
  std::strcpy(orv::append(list)->user, "first");
  std::strcpy(orv::append(list)->user, "second");
  conn_list_show(list);
  EXPECT_EQ(machine.output(), "                \t\t\t'first'\n                \t\t\t'second'\n");
  EXPECT_EQ(conn_list_fini(list), 0);
  EXPECT_EQ(list->node.next, &list->node);
  EXPECT_EQ(list->node.prev, &list->node);
  EXPECT_EQ(conn_list_fini(list), 0);
}

TEST_F(conn_list, that_is_missing_is_told) {
  conn_list_init(nullptr);
  EXPECT_EQ(conn_list_fini(nullptr), -1);
  conn_list_show(nullptr);
  EXPECT_EQ(machine.output(), "Can't destory NULL list\nCan't show NULL list\n");
}

}  // namespace
