#include <orv/support.h>
#include <syslog.h>

#include <cerrno>

#include "tests/sandbox/sandbox.h"

class error_log : public sandbox_test {};

TEST_F(error_log, is_the_system_log_with_our_ident_facility_and_priority) {
  openlog("daemon", 0, LOG_USER);
  liborv_log_error("%s:%d return %d with %s\n", "vg_get", 12, -1040, "why");
  const auto records = machine.log_records();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].ident, "orv");
  EXPECT_EQ(records[0].priority, LOG_DAEMON | LOG_ERR);
  EXPECT_EQ(records[0].text, "vg_get:12 return -1040 with why\n");
}

TEST_F(error_log, returns_minus_one_and_keeps_errno) {
  errno = ENOSPC;
  EXPECT_EQ(liborv_log_error("plain, 100%% and no line end"), -1);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(machine.log_records().at(0).text, "plain, 100% and no line end");
}

TEST_F(error_log, takes_texts_of_any_length) {
  const std::string text(5000, 'x');
  liborv_log_error("%s", text.c_str());
  EXPECT_EQ(machine.log_records().at(0).text, text);
}

TEST_F(error_log, takes_a_missing_format_for_the_empty_text) {
  const char* const none = machine.log().empty() ? nullptr : "%d";
  EXPECT_EQ(liborv_log_error(none, 0), -1);
  errno = EIO;
  orv_perror_msg(none, 0);
  EXPECT_EQ(machine.log(), ": Input/output error\n");
}

TEST_F(error_log, adds_the_reason_to_a_message) {
  errno = ENOENT;
  orv_perror_msg("%s", "/etc/passwd");
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(machine.log(), "/etc/passwd: No such file or directory\n");
}

TEST_F(error_log, paths_of_the_account_files_are_known) {
  EXPECT_STREQ(orv_path_passwd_file, "/etc/passwd");
  EXPECT_STREQ(orv_path_shadow_file, "/etc/shadow");
}
