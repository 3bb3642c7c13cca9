#include <cstring>

#include "tests/service/service_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A machine with one client of each service.
class conn_get : public connection_machine {
 protected:
  conn_get() {
    machine.tool("cat").is_real();
    machine.file("/proc/net/iet/session",
                 "tid:1 name:target\n\tsid:1 initiator:iqn.pc\n\t\tcid:0 ip:10.11.0.9\n");
  }
  void ftp_client() { machine.tool("netstat").prints("tcp 0 0 nas:ftp 10.11.0.7:47692\n"); }
  void smb_client() { machine.tool("smbstatus").prints(fixture("smbstatus/one_client.txt")); }
};

TEST_F(conn_get, lists_ftp_then_smb_then_iscsi_clients) {
  ftp_client();
  smb_client();
  EXPECT_EQ(share_conn_get(connections.get()), ORV_OK);
  EXPECT_THAT(listed(), ElementsAre("*|Ftp|10.11.0.7|47692", "data|CIFS|10.11.0.7|user1",
                                    "target|iSCSI|10.11.0.9|iqn.pc"));
  EXPECT_THAT(machine.commands(), ElementsAre("netstat -t > /tmp/conn_info.XXXXXX",
                                              "smbstatus > /tmp/smbconn_info.XXXXXX",
                                              "cat /proc/net/iet/session > /tmp/iscsi.XXXXXX"));
  expect_silence();
}

TEST_F(conn_get, lists_the_others_when_the_target_is_not_loaded) {
  ftp_client();
  smb_client();
  machine.remove("/proc/net/iet");
  EXPECT_EQ(share_conn_get(connections.get()), ORV_OK);
  EXPECT_THAT(listed(), ElementsAre("*|Ftp|10.11.0.7|47692", "data|CIFS|10.11.0.7|user1"));
  expect_silence();
}

TEST_F(conn_get, initialises_the_list_that_it_gets) {
  ftp_client();
  smb_client();
  tag_shareconn_list list;
  std::memset(static_cast<void*>(&list), 'x', sizeof list);
  EXPECT_EQ(share_conn_get(&list), ORV_OK);
  EXPECT_STREQ(list.share, "");
  EXPECT_STREQ(list.user, "");
  conn_list_show(&list);
  EXPECT_EQ(machine.output(),
            "               *\tFtp\t10.11.0.7\t'47692'\n"
            "            data\tCIFS\t10.11.0.7\t'user1'\n"
            "          target\tiSCSI\t10.11.0.9\t'iqn.pc'\n");
  EXPECT_EQ(conn_list_fini(&list), 0);
}

TEST_F(conn_get, may_fill_a_list_again_once_it_is_released) {
  ftp_client();
  smb_client();
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(share_conn_get(connections.get()), ORV_OK);
    EXPECT_EQ(listed().size(), 3U);
    conn_list_fini(connections.get());
  }
}

TEST_F(conn_get, ends_with_the_ftp_clients_when_they_cannot_be_listed) {
  machine.tool("netstat").fails(1);
  EXPECT_EQ(share_conn_get(connections.get()), -11000);
  EXPECT_THAT(machine.commands(), ElementsAre("netstat -t > /tmp/conn_info.XXXXXX"));
  EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(conn_get, keeps_the_ftp_clients_when_the_smb_clients_cannot_be_listed) {
  ftp_client();
  machine.tool("smbstatus").runs("rm -f /tmp/smbconn_info.*");
  EXPECT_EQ(share_conn_get(connections.get()), -1065);
  EXPECT_THAT(listed(), ElementsAre("*|Ftp|10.11.0.7|47692"));
  EXPECT_EQ(machine.commands().size(), 2U);
}

TEST_F(conn_get, asks_for_no_sessions_when_the_smb_tool_failed) {
  ftp_client();
  machine.tool("smbstatus").fails(1);
  EXPECT_EQ(share_conn_get(connections.get()), -11000);
  EXPECT_THAT(listed(), ElementsAre("*|Ftp|10.11.0.7|47692"));
  EXPECT_THAT(machine.commands(), ElementsAre("netstat -t > /tmp/conn_info.XXXXXX",
                                              "smbstatus > /tmp/smbconn_info.XXXXXX"));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(conn_get, keeps_the_others_when_the_sessions_cannot_be_listed) {
  ftp_client();
  smb_client();
  machine.fail("fopen", EMFILE, 3);
  EXPECT_EQ(share_conn_get(connections.get()), -1060);
  EXPECT_THAT(listed(), ElementsAre("*|Ftp|10.11.0.7|47692", "data|CIFS|10.11.0.7|user1"));
  EXPECT_EQ(machine.log(), "get_conninfo_from_session:N return 0 with Too many open files\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(conn_get, needs_a_list) {
  EXPECT_EQ(share_conn_get(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "share_conn_get:N return -1 with Invalid argument\n");
}

}  // namespace
