#include <orv/system.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <regex>

#include "tests/system/getter.h"

class host : public system_test {};

TEST_F(host, name_is_the_first_line_of_its_file) {
  machine.file("/etc/hostname", "nas-7\nsecond\n");
  EXPECT_EQ(ask(hostname_get), (answer_of_getter{ORV_OK, "nas-7"}));
  EXPECT_EQ(ask<4>(hostname_get), (answer_of_getter{ORV_OK, "nas"}));
}

TEST_F(host, name_without_a_line_end_is_read) {
  machine.file("/etc/hostname", "nas-7");
  EXPECT_EQ(ask(hostname_get), (answer_of_getter{ORV_OK, "nas-7"}));
}

TEST_F(host, name_that_cannot_be_read_leaves_the_buffer) {
  EXPECT_EQ(ask(hostname_get), (answer_of_getter{-1006, "before"}));
  EXPECT_EQ(machine.log(), "hostname_get:N return -1006 with No such file or directory\n");
  machine.file("/etc/hostname", "");
  EXPECT_EQ(ask(hostname_get), (answer_of_getter{-1006, "before"}));
  machine.file("/etc/hostname", "nas-7\n");
  EXPECT_EQ(hostname_get(nullptr, 8), -1006);
}

TEST_F(host, name_in_a_file_that_cannot_be_changed_counts_as_unreadable) {
  machine.mount_tmpfs("/etc");
  machine.file("/etc/hostname", "nas-7\n");
  machine.remount_read_only("/etc");
  EXPECT_EQ(ask(hostname_get), (answer_of_getter{-1006, "before"}));
}

TEST_F(host, name_fits_the_buffer) {
  machine.file("/etc/hostname", std::string(100000, 'n') + "\n");
  EXPECT_EQ(ask(hostname_get), (answer_of_getter{ORV_OK, std::string(127, 'n')}));
  EXPECT_EQ(ask<1>(hostname_get), (answer_of_getter{ORV_OK, ""}));
  EXPECT_EQ(ask<0>(hostname_get), (answer_of_getter{-1006, "before"}));
}

TEST_F(host, start_time_is_the_first_line_of_its_file) {
  machine.file("/etc/nas_start_time.conf", "2026-03-01 08:00:00\n");
  EXPECT_EQ(ask(starttime_get), (answer_of_getter{ORV_OK, "2026-03-01 08:00:00"}));
}

TEST_F(host, start_time_that_cannot_be_read_is_reported) {
  EXPECT_EQ(ask(starttime_get), (answer_of_getter{-1004, "before"}));
  EXPECT_EQ(machine.log(), "starttime_get:N return -1004 with No such file or directory\n");
  machine.file("/etc/nas_start_time.conf", "");
  EXPECT_EQ(ask(starttime_get), (answer_of_getter{-1004, "before"}));
  machine.file("/etc/nas_start_time.conf", "2026-03-01 08:00:00\n");
  EXPECT_EQ(ask<0>(starttime_get), (answer_of_getter{-1004, "before"}));
  EXPECT_EQ(starttime_get(nullptr, 8), -1004);
}

TEST_F(host, start_time_in_a_file_that_cannot_be_changed_counts_as_unreadable) {
  machine.mount_tmpfs("/etc");
  machine.file("/etc/nas_start_time.conf", "2026-03-01 08:00:00\n");
  machine.remount_read_only("/etc");
  EXPECT_EQ(ask(starttime_get), (answer_of_getter{-1004, "before"}));
}

TEST_F(host, time_has_date_and_time) {
  const answer_of_getter now = ask(systime_get);
  EXPECT_EQ(now.result, ORV_OK);
  EXPECT_TRUE(std::regex_match(now.text, std::regex("[0-9]{4}-[0-9]{2}-[0-9]{2} "
                                                    "[0-9]{2}:[0-9]{2}:[0-9]{2}")))
      << now.text;
  EXPECT_EQ(ask<5>(systime_get).text, now.text.substr(0, 4));
}

TEST_F(host, time_is_that_of_the_time_zone_as_it_is_now) {
  const auto hour_there = [](long seconds_east) {
    const std::time_t there = std::time(nullptr) + seconds_east;
    char hour[32];
    std::strftime(hour, sizeof hour, "%Y-%m-%d %H", std::gmtime(&there));
    return std::string(hour);
  };
  for (const auto& [zone, seconds_east] : {std::pair{"EAST-7", 25200L}, {"WEST+5", -18000L}}) {
    setenv("TZ", zone, 1);
    std::string before;
    std::string told;
    do {  // again when an hour ends just now
      before = hour_there(seconds_east);
      told = ask(systime_get).text.substr(0, 13);
    } while (before != hour_there(seconds_east));
    EXPECT_EQ(told, before) << zone;
  }
  unsetenv("TZ");
  tzset();
}

TEST_F(host, time_that_the_clock_does_not_tell_is_reported) {
  machine.fail("time", EFAULT);
  EXPECT_EQ(ask(systime_get), (answer_of_getter{-1005, "before"}));
  EXPECT_EQ(machine.log(), "systime_get:N return -1005 with Bad address\n");
  EXPECT_EQ(systime_get(nullptr, 8), -1005);
}
