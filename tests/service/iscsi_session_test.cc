#include "tests/service/service_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char session_path[] = "/proc/net/iet/session";
constexpr char copy_command[] = "cat /proc/net/iet/session > /tmp/iscsi.XXXXXX";
constexpr char target_name[] = "iqn.2006-05.org.orv:data";
constexpr char initiator[] = "iqn.1993-08.org.debian:01:abc";

class iscsi_session : public connection_machine {
 protected:
  /// The connections in the target's list of sessions.
  sandbox::lines clients_in(std::string_view sessions) {
    machine.tool("cat").is_real();
    machine.file(session_path, sessions);
    EXPECT_EQ(get_conninfo_from_session(connections.get()), ORV_OK);
    expect_silence();
    return listed();
  }
};

TEST_F(iscsi_session, lists_sessions_with_target_and_initiator) {
  EXPECT_THAT(clients_in("tid:2 name:iqn.2006-05.org.orv:backup\n"
                         "tid:1 name:iqn.2006-05.org.orv:data\n"
                         "\tsid:562949990973952 initiator:iqn.1993-08.org.debian:01:abc\n"
                         "\t\tcid:0 ip:10.11.0.7 state:active hd:none dd:none\n"),
              ElementsAre(std::string(target_name) + "|iSCSI|10.11.0.7|" + initiator));
  EXPECT_THAT(machine.commands(), ElementsAre(copy_command));
}

TEST_F(iscsi_session, keeps_the_order_of_the_sessions) {
  EXPECT_THAT(clients_in("tid:1 name:a\n sid:1 initiator:i1\n  cid:0 ip:10.11.0.7 state:active\n"
                         " sid:2 initiator:i2\n  cid:0 ip:10.11.0.8 state:active\n"
                         "tid:2 name:b\n sid:3 initiator:i3\n  cid:0 ip:10.11.0.9\n"),
              ElementsAre("a|iSCSI|10.11.0.7|i1", "a|iSCSI|10.11.0.8|i2", "b|iSCSI|10.11.0.9|i3"));
}

TEST_F(iscsi_session, keeps_the_address_of_the_first_connection) {
  EXPECT_THAT(clients_in("tid:1 name:a\nsid:1 initiator:i\ncid:0 ip:10.11.0.7 state:active\n"
                         "cid:1 ip:10.11.0.8 state:active\n"),
              ElementsAre("a|iSCSI|10.11.0.7|i"));
}

TEST_F(iscsi_session, takes_no_later_address_for_one_that_is_none) {
  EXPECT_THAT(clients_in("tid:1 name:a\nsid:1 initiator:i1\ncid:0 ip:[fd00::7] state:active\n"
                         "cid:1 ip:10.11.0.8\nsid:2 initiator:i2\ncid:0\ncid:1 ip:10.11.0.8\n"),
              ElementsAre("a|iSCSI||i1", "a|iSCSI||i2"));
}

TEST_F(iscsi_session, has_no_address_without_a_connection) {
  EXPECT_THAT(
      clients_in("tid:1 name:a\nsid:1 initiator:i1\nsid:2 initiator:i2\ncid:0 ip:10.11.0.7\n"),
      ElementsAre("a|iSCSI||i1", "a|iSCSI|10.11.0.7|i2"));
}

TEST_F(iscsi_session, skips_lines_that_make_no_sense) {
  EXPECT_THAT(clients_in("cid:0 ip:10.11.0.1\n\n:\n::\nsession\nxtid:1 name:x\nTID:1 name:x\n"
                         "tid:1 name:a\nxsid:1 initiator:x\nsid\nsid:1\nsid:1 initiator:i\n"
                         "xcid:0 ip:10.11.0.2\n"),
              ElementsAre("a|iSCSI||i"));
}

TEST_F(iscsi_session, takes_no_other_target_or_session_for_one_that_is_cut) {
  EXPECT_THAT(clients_in("tid:1 name:a\nsid:1 initiator:i1\nsid:2\ncid:0 ip:10.11.0.7\n"
                         "tid:2\nsid:3 initiator:i3\ncid:0 ip:10.11.0.8"),
              ElementsAre("a|iSCSI||i1", "|iSCSI|10.11.0.8|i3"));
}

TEST_F(iscsi_session, cuts_what_is_too_long) {
  const std::string name(130, 'n');
  EXPECT_THAT(clients_in("tid:1 name:" + name + "\nsid:1 initiator:" + name + '\n'),
              ElementsAre(name.substr(0, 127) + "|iSCSI||" + name.substr(0, 127)));
}

TEST_F(iscsi_session, survives_binary_lists_and_very_long_lines) {
  std::string noise;
  for (int i = 0; i < 5000; ++i) noise += static_cast<char>(i * 37 % 256);
  EXPECT_THAT(clients_in(noise + "\ntid:1 name:" + std::string(100000, 'n') +
                         "\nsid:1 initiator:" + std::string(100000, 'i') + "\ncid:0 ip:10.11.0.7"),
              ElementsAre(std::string(127, 'n') + "|iSCSI|10.11.0.7|" + std::string(127, 'i')));
}

TEST_F(iscsi_session, lists_nobody_when_nobody_is_there) {
  EXPECT_THAT(clients_in(""), IsEmpty());
  EXPECT_THAT(clients_in("tid:1 name:iqn.2006-05.org.orv:data\n"), IsEmpty());
}

TEST_F(iscsi_session, asks_nothing_when_the_target_is_not_loaded) {
  EXPECT_EQ(get_conninfo_from_session(connections.get()), ORV_OK);
  EXPECT_THAT(machine.commands(), IsEmpty());
  expect_silence();
}

TEST_F(iscsi_session, tells_that_the_list_cannot_be_copied) {
  machine.directory(session_path);
  machine.tool("cat").is_real();
  EXPECT_EQ(get_conninfo_from_session(connections.get()), -11000);
  EXPECT_THAT(machine.log_lines(), ElementsAre(failed(copy_command, "normal with exit(1)")));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(iscsi_session, tells_a_copy_that_cannot_be_opened) {
  machine.file(session_path, "tid:1 name:a\n");
  machine.tool("cat").runs("rm -f /tmp/iscsi.*");
  EXPECT_EQ(get_conninfo_from_session(connections.get()), -1060);
  EXPECT_EQ(machine.log(), "get_conninfo_from_session:N return 0 with No such file or directory\n");
}

TEST_F(iscsi_session, tells_a_copy_that_cannot_be_read) {
  machine.file(session_path, "tid:1 name:a\n");
  machine.tool("cat").is_real();
  machine.fail("fread", EIO);
  EXPECT_EQ(get_conninfo_from_session(connections.get()), -1060);
  EXPECT_EQ(machine.log(), "get_conninfo_from_session:N return 0 with Input/output error\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(iscsi_session, runs_nothing_without_a_temporary_file) {
  machine.file(session_path, "tid:1 name:a\n");
  machine.fail("mkstemp", ENOSPC);
  EXPECT_EQ(get_conninfo_from_session(connections.get()), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(iscsi_session, needs_a_list) {
  EXPECT_EQ(get_conninfo_from_session(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "get_conninfo_from_session:N return -1 with Invalid argument\n");
}

}  // namespace
