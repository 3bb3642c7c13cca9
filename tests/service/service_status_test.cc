#include "tests/service/service_machine.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct query {
  int (*function)();
  const char* daemon;
  const char* answer;  // the temporary file

  std::string command() const {
    return std::string("/bin/busybox pidof ") + daemon + " > " + answer;
  }

  /// In the name of a test.
  friend std::ostream& operator<<(std::ostream& to, const query& each) { return to << each.daemon; }
};

class service_status : public service_machine, public testing::WithParamInterface<query> {
 protected:
  void TearDown() override {
    service_machine::TearDown();
    EXPECT_THAT(machine.temp_files(), IsEmpty());
  }
  /// What is asked for last; Samba's first daemon runs.
  sandbox::answer& pidof() {
    sandbox::fake_tool& busybox = machine.tool("/bin/busybox");
    if (GetParam().function == smb_status_get) busybox.on("pidof smbd").prints("700\n");
    return busybox.on(std::string("pidof ") + GetParam().daemon);
  }
  int ask() { return GetParam().function(); }
};

TEST_P(service_status, is_running_when_a_process_is_found) {
  pidof().prints("812 790\n");
  EXPECT_EQ(ask(), ORV_OK);
  EXPECT_EQ(machine.commands().back(), GetParam().command());
  EXPECT_EQ(machine.log(), "");
  EXPECT_EQ(machine.output(), "");
}

TEST_P(service_status, is_a_failed_command_when_there_is_no_process) {
  pidof().fails(1);
  EXPECT_EQ(ask(), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed(GetParam().command(), "normal with exit(1)")));
}

TEST_P(service_status, tells_an_empty_answer) {
  pidof().prints("");
  EXPECT_EQ(ask(), -1011);
  EXPECT_THAT(machine.log(), testing::StartsWith("share_status_get:N return -1 with "));
}

TEST_P(service_status, tells_an_answer_that_went_away) {
  pidof().runs("rm -f /tmp/*_status.*");
  EXPECT_EQ(ask(), -1011);
  EXPECT_EQ(machine.log(), "share_status_get:N return -1 with No such file or directory\n");
}

TEST_P(service_status, takes_no_number_that_is_out_of_range) {
  pidof().prints("4294967295\n");
  EXPECT_EQ(ask(), -1);
  EXPECT_EQ(machine.log(), "");
}

INSTANTIATE_TEST_SUITE_P(all, service_status,
                         testing::Values(query{smb_status_get, "nmbd", "/tmp/smb_status.XXXXXX"},
                                         query{orv_status_get, "orv", "/tmp/orv_status.XXXXXX"},
                                         query{nfs_status_get, "nfsd", "/tmp/nfs_status.XXXXXX"},
                                         query{ftp_status_get, "vsftpd", "/tmp/ftp_status.XXXXXX"},
                                         query{iscsi_status_get, "ietd",
                                               "/tmp/iscsi_status.XXXXXX"}));

class service_status_file : public service_machine {};

TEST_F(service_status_file, is_needed_to_ask) {
  machine.fail("mkstemp", ENOSPC);
  for (const auto ask :
       {smb_status_get, orv_status_get, nfs_status_get, ftp_status_get, iscsi_status_get}) {
    EXPECT_EQ(ask(), -11000);
  }
  EXPECT_THAT(machine.commands(), IsEmpty());
  EXPECT_EQ(machine.log_lines().back(),
            "system(\"/bin/busybox pidof ietd > /tmp/iscsi_status.XXXXXX\") return normal with "
            "exit(127) for 'No space left on device'");
}

TEST_F(service_status_file, is_removed_when_the_shell_is_killed) {
  machine.remove("/bin/sh");
  machine.file("/bin/sh", "#!/.sandbox/bin/bash\nkill -9 $$\n", 0755);
  EXPECT_EQ(nfs_status_get(), -11000);
  EXPECT_THAT(machine.log_lines(),
              ElementsAre(failed("/bin/busybox pidof nfsd > /tmp/nfs_status.XXXXXX",
                                 "unnormal with exit(0)")));
  EXPECT_THAT(machine.temp_files(), IsEmpty());
}

class smb_status : public service_machine {
 protected:
  void TearDown() override {
    service_machine::TearDown();
    EXPECT_THAT(machine.temp_files(), IsEmpty());
  }
  sandbox::answer& smbd() { return machine.tool("/bin/busybox").on("pidof smbd"); }
  sandbox::answer& nmbd() { return machine.tool("/bin/busybox").on("pidof nmbd"); }
};

TEST_F(smb_status, asks_for_both_daemons_through_one_file) {
  smbd().prints("812 790\n");
  nmbd().prints("791\n");
  EXPECT_EQ(smb_status_get(), ORV_OK);
  EXPECT_THAT(machine.commands(), ElementsAre("/bin/busybox pidof smbd > /tmp/smb_status.XXXXXX",
                                              "/bin/busybox pidof nmbd > /tmp/smb_status.XXXXXX"));
}

TEST_F(smb_status, does_not_take_the_first_answer_for_the_second) {
  smbd().prints("812 790\n");
  nmbd().prints("");
  EXPECT_EQ(smb_status_get(), -1011);
}

TEST_F(smb_status, ends_with_the_first_daemon_when_that_one_does_not_run) {
  smbd().fails(1);
  EXPECT_EQ(smb_status_get(), -11000);
  const std::string asked = "/bin/busybox pidof smbd > /tmp/smb_status.XXXXXX";
  EXPECT_THAT(machine.commands(), ElementsAre(asked));
  EXPECT_THAT(machine.log_lines(), ElementsAre(failed(asked, "normal with exit(1)")));
}

TEST_F(smb_status, ends_with_the_first_daemon_when_its_answer_makes_no_sense) {
  smbd().prints("").then().prints("99999999999\n");
  EXPECT_EQ(smb_status_get(), -1011);
  EXPECT_EQ(smb_status_get(), -1);
  EXPECT_EQ(machine.commands().size(), 2U);
}

class share_status : public service_machine {
 protected:
  int status_of(std::string_view answer) {
    machine.file("/tmp/answer", answer);
    return share_status_get("/tmp/answer");
  }
};

TEST_F(share_status, looks_at_the_first_number_of_the_first_line) {
  for (const char* answer : {"812 790\n", "812", " 812\n", "812 99999999999\n",
                             "812\n99999999999\n", "1\r\n", "4294967294\n"}) {
    EXPECT_EQ(status_of(answer), ORV_OK) << answer;
  }
  EXPECT_EQ(machine.read("/tmp/answer"), "4294967294\n");
  EXPECT_EQ(machine.log(), "");
}

TEST_F(share_status, takes_no_number_that_is_out_of_range) {
  for (const std::string answer : {"4294967295\n", "4294967296 1\n", "99999999999999999999999\n"}) {
    EXPECT_EQ(status_of(answer), -1) << answer;
  }
  EXPECT_EQ(status_of(std::string(100000, '9')), -1);
  EXPECT_EQ(machine.log(), "");
}

TEST_F(share_status, counts_a_negative_number_down_from_32_bits) {
  for (const char* answer : {"-5\n", "-2\n", "-0\n", "-4294967295\n"}) {
    EXPECT_EQ(status_of(answer), ORV_OK) << answer;
  }
  for (const char* answer : {"-1\n", " -1 812\n", "-4294967296\n", "-9223372036854775808\n",
                             "-99999999999999999999999\n"}) {
    EXPECT_EQ(status_of(answer), -1) << answer;
  }
  EXPECT_EQ(machine.log(), "");
}

TEST_F(share_status, takes_what_is_no_number_for_a_process) {
  for (const char* answer : {"\n", " \n", "no such process\n", "x812\n", "\xff\x80\n"}) {
    EXPECT_EQ(status_of(answer), ORV_OK) << answer;
  }
  EXPECT_EQ(status_of(std::string_view("\0812\n", 5)), ORV_OK);
}

TEST_F(share_status, needs_an_answer) {
  EXPECT_EQ(status_of(""), -1011);
  EXPECT_THAT(machine.log(), testing::StartsWith("share_status_get:N return -1 with "));
}

TEST_F(share_status, needs_a_file) {
  for (const char* path : {"/tmp/none", "", static_cast<const char*>(nullptr)}) {
    machine.forget();
    EXPECT_EQ(share_status_get(path), -1011);
    EXPECT_EQ(machine.log(), "share_status_get:N return -1 with No such file or directory\n");
  }
}

TEST_F(share_status, needs_a_file_that_can_be_opened_for_writing_too) {
  machine.mount_tmpfs("/ro");
  machine.file("/ro/answer", "812\n");
  machine.remount_read_only("/ro");
  EXPECT_EQ(share_status_get("/ro/answer"), -1011);
  EXPECT_EQ(machine.log(), "share_status_get:N return -1 with Read-only file system\n");
}

TEST_F(share_status, needs_a_file_that_can_be_examined) {
  machine.file("/tmp/answer", "812\n");
  machine.fail("stat", EACCES);
  EXPECT_EQ(share_status_get("/tmp/answer"), -1011);
  EXPECT_EQ(machine.log(), "share_status_get:N return -1 with Permission denied\n");
}

}  // namespace
