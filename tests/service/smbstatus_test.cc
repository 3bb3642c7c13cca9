#include <cstring>

#include "tests/service/service_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

constexpr char smbstatus_command[] = "smbstatus > /tmp/smbconn_info.XXXXXX";

class smbstatus : public connection_machine {
 protected:
  sandbox::answer& tool() { return machine.tool("smbstatus").on(""); }
  /// The connections in an output of smbstatus.
  sandbox::lines clients_in(std::string_view output) {
    tool().prints(output);
    EXPECT_EQ(get_conninfo_from_smbstatus(connections.get()), ORV_OK);
    expect_silence();
    return listed();
  }
  /// The same of an output with these rows in its tables.
  sandbox::lines clients_of(const std::string& processes, const std::string& services = "") {
    return clients_in(
        "\nSamba version 3.5.6\nPID     Username      Group         Machine\n"
        "-------------------------------------------------------------------\n" +
        processes +
        "\nService      pid     machine       Connected at\n"
        "-------------------------------------------------------\n" +
        services + "\nNo locked files\n\n");
  }
};

TEST_F(smbstatus, lists_clients_with_address_share_and_user) {
  EXPECT_THAT(clients_of("1200      user1         users         pc-7         (10.11.0.7)\n"
                         "1300      user2         users         pc-8         (10.11.0.8)\n",
                         "data         1300   pc-8          Sat Nov 21 07:53:59 2026\n"
                         "backup       1200   pc-7          Sat Nov 21 07:53:59 2026\n"),
              ElementsAre("backup|CIFS|10.11.0.7|user1", "data|CIFS|10.11.0.8|user2"));
  EXPECT_THAT(machine.commands(), ElementsAre(smbstatus_command));
}

TEST_F(smbstatus, leaves_clients_of_other_services_in_the_list_alone) {
  orv::append(connections.get());  // nothing is known of it yet
  machine.tool("smbstatus").prints("");
  EXPECT_EQ(get_conninfo_from_smbstatus(connections.get()), ORV_OK);
  EXPECT_THAT(listed(), ElementsAre("|||"));
}

TEST_F(smbstatus, tells_output_that_cannot_be_read) {
  tool().prints("\nSamba version 3.5.6\n");
  machine.fail("fread", EIO);
  EXPECT_EQ(get_conninfo_from_smbstatus(connections.get()), -1065);
  EXPECT_EQ(machine.log(), "get_conninfo_from_smbstatus:N return -1065 with Input/output error\n");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(smbstatus, gives_a_client_that_is_listed_already_its_share) {
  tag_share_conn* const known = orv::append(connections.get());
  std::strcpy(known->protocol, "1200");
  std::strcpy(known->share, "old");
  EXPECT_THAT(clients_of("",
                         "data         1200   pc-8          Sat Nov 21 07:53:59 2026\n"
                         "backup       1200   pc-7          Sat Nov 21 07:53:59 2026\n"),
              ElementsAre(testing::StartsWith("data|CIFS|")));
}

TEST_F(smbstatus, shows_the_first_of_several_shares) {
  EXPECT_THAT(clients_of("12 user1 users pc-7 (10.11.0.7)\n",
                         "IPC$ 12 pc-7\ndata 12 pc-7\nbackup 12 pc-7\nIPC$ 12 pc-7\n"),
              ElementsAre("data|CIFS|10.11.0.7|user1"));
}

TEST_F(smbstatus, shows_the_control_share_when_there_is_no_other) {
  EXPECT_THAT(clients_of("12 user1 users pc-7 (10.11.0.7)\n13 user2 users pc-8 (10.11.0.8)\n",
                         "IPC$ 12 pc-7\n"),
              ElementsAre("IPC$|CIFS|10.11.0.7|user1", "IPC$|CIFS|10.11.0.8|user2"));
}

TEST_F(smbstatus, leaves_out_an_address_that_is_not_known) {
  EXPECT_THAT(
      clients_of("12 user1 users pc-7\n"
                 "13 user1 users pc-7 (pc-7)\n"
                 "14 user1 users 10.11.0.7\n"
                 "15 user1 users pc-7 ()\n"
                 "16 user1 users pc-7 (10.11.0.256)\n"
                 "17 user1\n"
                 "18\n"),
      ElementsAre("IPC$|CIFS||user1", "IPC$|CIFS||user1", "IPC$|CIFS||user1", "IPC$|CIFS||user1",
                  "IPC$|CIFS||user1", "IPC$|CIFS||user1", "IPC$|CIFS||"));
}

TEST_F(smbstatus, takes_the_address_behind_a_machine_that_is_an_address) {
  EXPECT_THAT(clients_of("12 user1 users 10.11.0.9 (10.11.0.7)\n"
                         "13 user1 users 10.11.0.9 (ipv4:10.11.0.8:50000) SMB3_11 - -\n"),
              ElementsAre("IPC$|CIFS|10.11.0.7|user1", "IPC$|CIFS|10.11.0.8|user1"));
}

TEST_F(smbstatus, takes_the_address_of_present_versions_out_of_its_form) {
  EXPECT_THAT(clients_of("12 user1 users pc-7 (ipv4:10.11.0.7:50000)  SMB3_11  -  partial(AES)\n"
                         "13 user1 domain users pc-8 (ipv4:10.11.0.8:50000)  SMB3_11  -  -\n"
                         "14 user1 users (ipv4:1.1.1.1:1) (ipv4:10.11.0.9:50000)\n"
                         "15 (auth in progress) (auth in progress) 10.11.0.10 (ipv4:10.11.0.10:4)\n"
                         "16 user1 users fd00::7 (ipv6:fd00::7:50000)  SMB3_11  -  -\n"
                         "17 user1 users pc-7 (ipv4:10.11.0.7\n"
                         "18 user1 users pc-7 (ipv4:\n"),
              ElementsAre("IPC$|CIFS|10.11.0.7|user1", "IPC$|CIFS|10.11.0.8|user1",
                          "IPC$|CIFS|10.11.0.9|user1", "IPC$|CIFS|10.11.0.10|(auth",
                          "IPC$|CIFS||user1", "IPC$|CIFS|10.11.0.7|user1", "IPC$|CIFS||user1"));
}

TEST_F(smbstatus, skips_rows_without_a_process_number) {
  EXPECT_THAT(clients_of("1:12 user1 users pc-7 (10.11.0.7)\nuser1 12 users pc-7 (10.11.0.7)\n"
                         "-13 user1\n14x user1\n15 user2 users pc-8 (10.11.0.8)\n",
                         "data 1:15\ndata\nmy share 15 pc-8\ndata 15x\nbackup 15\n"),
              ElementsAre("backup|CIFS|10.11.0.8|user2"));
}

TEST_F(smbstatus, gives_no_share_to_another_process) {
  EXPECT_THAT(clients_of("12 user1 users pc-7 (10.11.0.7)\n", "data 1\ndata 123\ndata CIFS\n"),
              ElementsAre("IPC$|CIFS|10.11.0.7|user1"));
}

TEST_F(smbstatus, gives_the_share_to_every_session_of_a_process) {
  EXPECT_THAT(clients_of("12 user1 users pc-7 (10.11.0.7)\n12 user2 users pc-7 (10.11.0.7)\n",
                         "data 12 pc-7\n"),
              ElementsAre("data|CIFS|10.11.0.7|user1", "data|CIFS|10.11.0.7|user2"));
}

TEST_F(smbstatus, reads_rows_only_between_dashes_and_an_empty_line) {
  EXPECT_THAT(clients_in("12 user1\n-\n13 user2\n \t\n14 user3\n--\ndata 13\n\ndata2 13\n"),
              ElementsAre("data|CIFS||user2"));
}

TEST_F(smbstatus, ignores_the_third_table_and_what_follows) {
  EXPECT_THAT(
      clients_in("---\n12 user1\n\n---\nIPC$ 12\n\n---\ndata 12\n13 user2\n\n---\ndata 12\n"),
      ElementsAre("IPC$|CIFS||user1"));
}

TEST_F(smbstatus, begins_the_next_table_without_an_empty_line_too) {
  EXPECT_THAT(clients_in("---\n12 user1\n---\ndata 12\n"), ElementsAre("data|CIFS||user1"));
}

TEST_F(smbstatus, leaves_clients_of_other_services_alone) {
  for (const char* protocol : {"Ftp", "iSCSI"}) {
    tag_share_conn* const other = orv::append(connections.get());
    std::strcpy(other->protocol, protocol);
    std::strcpy(other->share, "*");
  }
  EXPECT_THAT(clients_of("12 user1\n", "data Ftp\ndata iSCSI\ndata 12\n"),
              ElementsAre("*|Ftp||", "*|iSCSI||", "data|CIFS||user1"));
}

TEST_F(smbstatus, cuts_what_is_too_long) {
  const std::string name(130, 'n');
  EXPECT_THAT(clients_of("12 " + name + " users pc-7 (10.11.0.7)\n", name + " 12 pc-7\n"),
              ElementsAre(name.substr(0, 127) + "|CIFS|10.11.0.7|" + name.substr(0, 127)));
}

TEST_F(smbstatus, survives_binary_output_and_very_long_lines) {
  std::string noise;
  for (int i = 0; i < 5000; ++i) noise += static_cast<char>(i * 37 % 256);
  EXPECT_THAT(clients_in(noise + '\n' + std::string(100000, '-') + "\n12 user1 " +
                         std::string(100000, 'x') + "\n\n----\n" + std::string(100000, 'x') +
                         "\ndata 12\n"),
              ElementsAre("data|CIFS||user1"));
}

TEST_F(smbstatus, lists_nobody_when_the_tool_says_nothing) {
  EXPECT_THAT(clients_in(""), IsEmpty());
}

TEST_F(smbstatus, reads_what_samba_4_prints) {
  EXPECT_THAT(clients_in(fixture("smbstatus/no_clients.txt")), IsEmpty());
  EXPECT_THAT(clients_in(fixture("smbstatus/one_client.txt")),
              ElementsAre("data|CIFS|10.11.0.7|user1"));
}

// A share with a blank in its name does not look like one in the table.
TEST_F(smbstatus, reads_what_samba_4_prints_of_several_clients) {
  EXPECT_THAT(clients_in(fixture("smbstatus/clients.txt")),
              UnorderedElementsAre("data|CIFS|10.11.0.7|user1", "IPC$|CIFS|10.11.0.7|user1",
                                   "backup|CIFS|10.11.0.7|user2", "data|CIFS||user2",
                                   "IPC$|CIFS|10.11.0.7|administrator-of-all"));
}

TEST_F(smbstatus, reads_what_samba_4_prints_of_open_files) {
  EXPECT_THAT(clients_in(fixture("smbstatus/open_file.txt")),
              UnorderedElementsAre("data|CIFS|10.11.0.7|user1", "IPC$|CIFS|10.11.0.7|user1",
                                   "backup|CIFS|10.11.0.7|user2", "backup|CIFS|10.11.0.7|user2",
                                   "data|CIFS||user2", "IPC$|CIFS|10.11.0.7|administrator-of-all"));
}

TEST_F(smbstatus, tells_that_the_tool_failed) {
  tool().prints("---\n12 user1\n").fails(1);
  EXPECT_EQ(get_conninfo_from_smbstatus(connections.get()), -11000);
  EXPECT_THAT(machine.log_lines(), ElementsAre(failed(smbstatus_command, "normal with exit(1)")));
  EXPECT_THAT(listed(), IsEmpty());
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(smbstatus, tells_output_that_cannot_be_opened) {
  tool().prints("---\n12 user1\n");
  machine.fail("fopen", EMFILE);
  EXPECT_EQ(get_conninfo_from_smbstatus(connections.get()), -1065);
  EXPECT_EQ(machine.log(), "cannot open /tmp/smbconn_info.XXXXXX");
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

TEST_F(smbstatus, runs_nothing_without_a_temporary_file) {
  machine.fail("mkstemp", ENOSPC);
  EXPECT_EQ(get_conninfo_from_smbstatus(connections.get()), -11000);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(smbstatus, needs_a_list) {
  EXPECT_EQ(get_conninfo_from_smbstatus(nullptr), ORV_E_FAILED);
  EXPECT_EQ(machine.log(), "get_conninfo_from_smbstatus:N return -1 with Invalid argument\n");
}

}  // namespace
