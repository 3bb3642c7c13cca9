#include "tests/service/service_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char netstat_command[] = "netstat -t > /tmp/conn_info.XXXXXX";

class netstat : public connection_machine {
 protected:
  sandbox::answer& tool() { return machine.tool("netstat").on("-t"); }
  /// The connections in an output of netstat.
  sandbox::lines clients_in(std::string_view output) {
    tool().prints(output);
    EXPECT_EQ(get_conninfo_from_netstat(connections.get()), ORV_OK);
    EXPECT_THAT(machine.temp_files(), IsEmpty());
    return listed();
  }
};

TEST_F(netstat, lists_the_clients_of_the_ftp_port) {
  EXPECT_THAT(
      clients_in("Active Internet connections (w/o servers)\n"
                 "Proto Recv-Q Send-Q Local Address  Foreign Address    State\n"
                 "tcp        0      0 nas:ftp        10.11.0.7:47692    ESTABLISHED\n"
                 "tcp        0      0 10.11.0.1:ftp  10.11.0.8:1        TIME_WAIT  \n"),
      ElementsAre("*|Ftp|10.11.0.7|47692    ESTABLISHED", "*|Ftp|10.11.0.8|1        TIME_WAIT"));
  EXPECT_THAT(machine.commands(), ElementsAre(netstat_command));
  expect_silence();
}

TEST_F(netstat, lists_the_data_port_too) {
  EXPECT_THAT(clients_in("tcp 0 0 nas:ftp-data 10.11.0.7:5000 ESTABLISHED\n"),
              ElementsAre("*|Ftp|10.11.0.7|5000 ESTABLISHED"));
}

TEST_F(netstat, ignores_other_lines) {
  EXPECT_THAT(clients_in("\n"
                         "udp 0 0 nas:ftp 10.11.0.7:1 ESTABLISHED\n"
                         "tcp 0 0 nas:ssh 10.11.0.7:2 ESTABLISHED\n"
                         "tcp 0 0 nas:tftp 10.11.0.7:3 ESTABLISHED\n"
                         "tcp 0 0 nas:21 10.11.0.7:4 ESTABLISHED\n"
                         "tcp 0 0 nas:5000 10.11.0.7:ftp ESTABLISHED\n"
                         "tcp 0 0 ftp:ssh 10.11.0.7:5 ESTABLISHED\n"
                         " ftp tcp 0 0 nas:ftp 10.11.0.7:6 ESTABLISHED\n"),
              IsEmpty());
  expect_silence();
}

TEST_F(netstat, trims_lines) {
  EXPECT_THAT(clients_in(" \ttcp 0 0 nas:ftp 10.11.0.7:1 ESTABLISHED \t\r\n"),
              ElementsAre("*|Ftp|10.11.0.7|1 ESTABLISHED"));
}

TEST_F(netstat, logs_clients_without_an_address_and_goes_on) {
  EXPECT_THAT(clients_in("tcp 0 0 nas:ftp pc-7:1 ESTABLISHED\n"
                         "tcp6 0 0 fd00::1:ftp fd00::7:2 ESTABLISHED\n"
                         "tcp 0 0 nas:ftp :3 ESTABLISHED\n"
                         "tcp 0 0 nas:ftp 10.11.0.256:4\n"
                         "tcp 0 0 nas:ftp 10.11.0.7 ESTABLISHED\n"
                         "tcp 0 0 nas:ftp %n%s:5\n"
                         "tcp 0 0 nas:ftp 10.11.0.8:6 LAST_ACK\n"),
              ElementsAre("*|Ftp|10.11.0.8|6 LAST_ACK"));
  EXPECT_EQ(machine.log(),
            "get ftp client ip invalid pc-7\n"
            "get ftp client ip invalid \n"
            "get ftp client ip invalid 10.11.0.256\n"
            "get ftp client ip invalid 10.11.0.7 ESTABLISHED\n"
            "get ftp client ip invalid %n%s\n");
}

TEST_F(netstat, keeps_what_a_cut_line_holds) {
  EXPECT_THAT(clients_in("tcp\ntcp 0 0 nas:ftp\ntcp 0 0 nas\ntcp 0 0 nas:ftp 10.11.0.7:47\n"
                         "tcp 0 0 nas:ftp 10.11.0.7:\ntcp 0 0 nas:ftp 10.11.0.7"),
              ElementsAre("*|Ftp|10.11.0.7|47", "*|Ftp|10.11.0.7|", "*|Ftp|10.11.0.7|"));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(netstat, cuts_what_is_too_long) {
  EXPECT_THAT(clients_in("tcp 0 0 nas:ftp 10.11.0.7:" + std::string(200, '1') + "\n"),
              ElementsAre("*|Ftp|10.11.0.7|" + std::string(127, '1')));
}

TEST_F(netstat, survives_binary_output_and_very_long_lines) {
  std::string noise;
  for (int i = 0; i < 5000; ++i) noise += static_cast<char>(i * 37 % 256);
  EXPECT_THAT(clients_in(noise + "\ntcp 0 0 nas:ftp 10.11.0.7:1" + std::string(100000, ' ') +
                         "tcp 0 0 nas:ftp 10.11.0.8:2\ntcp 0 0 nas:ftp 10.11.0.9:3"),
              ElementsAre("*|Ftp|10.11.0.7|1", "*|Ftp|10.11.0.9|3"));
}

TEST_F(netstat, lists_nobody_when_the_tool_says_nothing) {
  EXPECT_THAT(clients_in(""), IsEmpty());
  expect_silence();
}

TEST_F(netstat, reads_what_the_real_tool_prints) {
  EXPECT_THAT(clients_in(fixture("netstat/clients.txt")),
              ElementsAre("*|Ftp|10.11.0.7|55664         ESTABLISHED",
                          "*|Ftp|10.11.0.7|55650         ESTABLISHED"));
  EXPECT_EQ(machine.log(), "get ftp client ip invalid nas\nget ftp client ip invalid localhost\n");
}

TEST_F(netstat, reads_what_the_real_tool_prints_of_a_server_that_listens_on_ipv6) {
  EXPECT_THAT(clients_in(fixture("netstat/clients_of_ipv6_server.txt")),
              ElementsAre("*|Ftp|10.11.0.7|55664         FIN_WAIT2",
                          "*|Ftp|10.11.0.7|55650         FIN_WAIT2",
                          "*|Ftp|10.11.0.7|55674         ESTABLISHED"));
}

TEST_F(netstat, reads_that_there_are_no_connections) {
  EXPECT_THAT(clients_in(fixture("netstat/no_clients.txt")), IsEmpty());
  expect_silence();
}

TEST_F(netstat, appends_to_what_is_listed) {
  clients_in("tcp 0 0 nas:ftp 10.11.0.7:1\n");
  EXPECT_THAT(clients_in("tcp 0 0 nas:ftp 10.11.0.7:1\n"),
              ElementsAre("*|Ftp|10.11.0.7|1", "*|Ftp|10.11.0.7|1"));
}

TEST_F(netstat, tells_that_the_tool_failed) {
  tool().prints("tcp 0 0 nas:ftp 10.11.0.7:1\n").fails(4);
  EXPECT_EQ(get_conninfo_from_netstat(connections.get()), -11000);
  EXPECT_THAT(machine.log_lines(), ElementsAre(failed(netstat_command, "normal with exit(4)")));
  EXPECT_THAT(listed(), IsEmpty());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(netstat, tells_output_that_cannot_be_read) {
  tool().prints("tcp 0 0 nas:ftp 10.11.0.7:1\n");
  machine.fail("fread", EIO);
  EXPECT_EQ(get_conninfo_from_netstat(connections.get()), -1064);
  EXPECT_EQ(machine.log(), "get_conninfo_from_netstat:N return -1064 with Input/output error\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(netstat, tells_output_that_cannot_be_opened) {
  tool().prints("tcp 0 0 nas:ftp 10.11.0.7:1\n");
  machine.fail("fopen", EMFILE);
  EXPECT_EQ(get_conninfo_from_netstat(connections.get()), -1064);
  EXPECT_EQ(machine.log(), "cannot open /tmp/conn_info.XXXXXX\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(netstat, tells_output_that_went_away) {
  tool().runs("rm -f /tmp/conn_info.*");
  EXPECT_EQ(get_conninfo_from_netstat(connections.get()), -1064);
  EXPECT_EQ(machine.log(), "cannot open /tmp/conn_info.XXXXXX\n");
}

TEST_F(netstat, runs_nothing_without_a_temporary_file) {
  machine.fail("mkstemp", ENOSPC);
  EXPECT_EQ(get_conninfo_from_netstat(connections.get()), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(netstat, needs_a_list) {
  EXPECT_EQ(get_conninfo_from_netstat(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "get_conninfo_from_netstat:N return -1 with Invalid argument\n");
}

}  // namespace
