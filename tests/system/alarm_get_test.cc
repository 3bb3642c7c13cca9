#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <ctime>

#include "tests/system/alarm_daemon.h"
#include "tests/system/no_more_descriptors.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class alarm_get_test : public alarm_test {
 protected:
  alarm_get_test() {
    setenv("TZ", "UTC0", 1);
    tzset();
  }
  ~alarm_get_test() override { unsetenv("TZ"); }

  using reply = std::pair<int, sandbox::lines>;

  /// What a question to the daemon gives: the code and the alarms.
  reply ask() {
    alarm_list_fini(&list);
    const int result = alarm_get(&list);
    return {result, alarms()};
  }

  static std::string own_path() { return "alarm.socket." + std::to_string(getpid()); }

  const std::string three =
      "7|1267430400|disk|Disk 3 failed\n"
      "8|1267430401|fan|\n"
      "-9|-1|power|Supply 2: no voltage | unit 1\n";
  const sandbox::lines all_three = {"7|2010-03-01 08:00:00|disk|Disk 3 failed",
                                    "8|2010-03-01 08:00:01|fan|",
                                    "-9|1969-12-31 23:59:59|power|Supply 2: no voltage | unit 1"};
  /// Bytes of the answer that announces three alarms and brings them.
  static constexpr int unit = 516;
  static constexpr int whole = 4 * unit;
};

TEST_F(alarm_get_test, alarms_come_in_the_order_of_the_daemon) {
  alarm_daemon daemon(machine);
  daemon.has(three);
  EXPECT_EQ(ask(), reply(ORV_OK, all_three));
  EXPECT_EQ(machine.log(), "");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  EXPECT_THAT(machine.commands(), IsEmpty());
}

TEST_F(alarm_get_test, no_alarm_is_an_empty_list) {
  alarm_daemon daemon(machine);
  EXPECT_EQ(ask(), reply(ORV_OK, {}));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(alarm_get_test, both_names_do_the_same_and_append) {
  alarm_daemon daemon(machine);
  daemon.has("1|0|a|b\n");
  EXPECT_EQ(alarm_get(&list), ORV_OK);
  EXPECT_EQ(get_alarminfo_from_socket(&list), ORV_OK);
  EXPECT_THAT(alarms(), ElementsAre("1|1970-01-01 00:00:00|a|b", "1|1970-01-01 00:00:00|a|b"));
}

TEST_F(alarm_get_test, a_process_can_ask_again_and_again_and_its_path_stays) {
  alarm_daemon daemon(machine);
  daemon.has(three);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(ask().first, ORV_OK);
  EXPECT_THAT(machine.list("/dev"), testing::Contains(own_path()));
  machine.remove("/dev/" + own_path());
  machine.file("/dev/" + own_path(), "left by an earlier process of this number");
  EXPECT_EQ(ask().first, ORV_OK);
}

TEST_F(alarm_get_test, time_is_local) {
  setenv("TZ", "JST-9", 1);
  alarm_daemon daemon(machine);
  daemon.has("7|1267430400|disk|x\n");
  EXPECT_THAT(ask().second, ElementsAre("7|2010-03-01 17:00:00|disk|x"));
}

TEST_F(alarm_get_test, time_follows_a_change_of_the_time_zone) {
  alarm_daemon daemon(machine);
  daemon.has("7|1267430400|disk|x\n");
  EXPECT_THAT(ask().second, ElementsAre("7|2010-03-01 08:00:00|disk|x"));
  setenv("TZ", "JST-9", 1);
  EXPECT_THAT(ask().second, ElementsAre("7|2010-03-01 17:00:00|disk|x"));
}

TEST_F(alarm_get_test, times_and_numbers_have_32_bits) {
  alarm_daemon daemon(machine);
  daemon.has("2147483647|2147483647|a|\n-2147483648|-2147483648|b|\n");
  EXPECT_THAT(ask().second,
              ElementsAre("2147483|2038-01-19 03:14:07|a|", "-214748|1901-12-13 20:45:52|b|"));
}

TEST_F(alarm_get_test, texts_that_fill_their_field_are_cut) {
  alarm_daemon daemon(machine);
  daemon.has("1|0|" + std::string(64, 'n') + "|" + std::string(256, 't') + "\n");
  EXPECT_THAT(ask().second, ElementsAre("1|1970-01-01 00:00:00|" + std::string(63, 'n') + "|" +
                                        std::string(255, 't')));
}

TEST_F(alarm_get_test, texts_may_hold_anything) {
  alarm_daemon daemon(machine);
  daemon.has("1|0|\xc3\xbc\x01\x7f\t%s|'\"\\$(x)\xff\n");
  EXPECT_THAT(ask().second,
              ElementsAre("1|1970-01-01 00:00:00|\xc3\xbc\x01\x7f\t%s|'\"\\$(x)\xff"));
}

TEST_F(alarm_get_test, empty_name_ends_the_list_and_is_in_it) {
  alarm_daemon daemon(machine);
  daemon.has("7|0|disk|a\n8|0||b\n9|0|fan|c\n");
  EXPECT_EQ(ask(), reply(ORV_OK, {"7|1970-01-01 00:00:00|disk|a", "8|1970-01-01 00:00:00||b"}));
  EXPECT_EQ(machine.log(), "");
}

TEST_F(alarm_get_test, list_may_have_255_alarms) {
  alarm_daemon daemon(machine);
  std::string alarms_of_daemon;
  for (int i = 1; i <= 300; ++i) alarms_of_daemon += std::to_string(i) + "|0|a|b\n";
  daemon.has(alarms_of_daemon);
  const auto [result, found] = ask();
  EXPECT_EQ(result, ORV_OK);
  ASSERT_EQ(found.size(), 255U);
  EXPECT_EQ(found.back(), "255|1970-01-01 00:00:00|a|b");
}

TEST_F(alarm_get_test, answer_may_be_split_at_any_byte) {
  alarm_daemon daemon(machine);
  daemon.has(three);
  for (int split = 1; split < whole; ++split) {
    daemon.sends(std::to_string(split));
    ASSERT_EQ(ask(), reply(ORV_OK, all_three)) << split;
  }
  EXPECT_EQ(machine.log(), "");
}

TEST_F(alarm_get_test, answer_may_come_byte_by_byte) {
  alarm_daemon daemon(machine);
  daemon.has(three);
  std::string pieces;
  for (int i = 0; i < whole; ++i) pieces += "1 ";
  daemon.sends(pieces);
  EXPECT_EQ(ask(), reply(ORV_OK, all_three));
}

TEST_F(alarm_get_test, answer_that_is_cut_gives_the_alarms_that_are_whole) {
  alarm_daemon daemon(machine);
  daemon.has(three);
  for (int cut = 0; cut < whole; ++cut) {
    daemon.sends(std::to_string(cut) + " cut");
    const auto [result, found] = ask();
    ASSERT_EQ(result, cut < unit ? -1083 : -1084) << cut;
    const auto arrived = static_cast<std::size_t>(cut < unit ? 0 : cut / unit - 1);
    ASSERT_EQ(found, sandbox::lines(all_three.begin(),
                                    all_three.begin() + static_cast<ptrdiff_t>(arrived)))
        << cut;
  }
}

TEST_F(alarm_get_test, answer_that_is_cut_is_logged) {
  alarm_daemon daemon(machine);
  daemon.has(three);
  daemon.sends("cut");
  EXPECT_EQ(ask().first, -1083);
  EXPECT_EQ(machine.log(), "Could not recv pdu '/dev/alarm.socket' for 'No data available'");
  machine.forget();
  daemon.sends("1000 cut");
  EXPECT_EQ(ask().first, -1084);
  EXPECT_EQ(machine.log(), "Could not recv item '/dev/alarm.socket' for 'No data available'");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(alarm_get_test, waiting_for_the_answer_may_be_interrupted) {
  alarm_daemon daemon(machine);
  daemon.has(three);
  daemon.sends("pause 100 pause 500 pause");
  struct sigaction interrupt {};
  struct sigaction before {};
  static volatile sig_atomic_t interrupts = 0;
  interrupt.sa_handler = [](int) { interrupts = interrupts + 1; };
  sigaction(SIGALRM, &interrupt, &before);
  const itimerval often = {{0, 2000}, {0, 2000}};
  setitimer(ITIMER_REAL, &often, nullptr);
  const auto answer = ask();
  const itimerval never{};
  setitimer(ITIMER_REAL, &never, nullptr);
  sigaction(SIGALRM, &before, nullptr);
  EXPECT_EQ(answer, reply(ORV_OK, all_three));
  EXPECT_GT(interrupts, 10);
}

TEST_F(alarm_get_test, without_a_daemon_is_reported) {
  EXPECT_EQ(alarm_get(&list), -1080);
  EXPECT_EQ(machine.log(),
            "Could not connect to socket /dev/alarm.socket for 'No such file or directory'");
  EXPECT_THAT(machine.list("/dev"), testing::Contains(own_path()));
  { const alarm_daemon daemon(machine); }
  machine.forget();
  machine.file("/dev/alarm.socket", "");
  EXPECT_EQ(alarm_socket_open(), -1080);
  EXPECT_EQ(machine.log(),
            "Could not connect to socket /dev/alarm.socket for 'Connection refused'");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(alarm_get_test, path_of_the_client_that_cannot_be_bound_is_reported) {
  const alarm_daemon daemon(machine);
  machine.directory("/dev/" + own_path());
  EXPECT_EQ(alarm_get(&list), -1081);
  EXPECT_EQ(machine.log(),
            "Could not bind to socket /dev/" + own_path() + " for 'Address already in use'");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(alarm_get_test, opens_a_connection_from_the_path_of_the_process) {
  const alarm_daemon daemon(machine);
  const int socket = alarm_socket_open();
  ASSERT_GE(socket, 0);
  sockaddr_un name{};
  socklen_t size = sizeof name;
  ASSERT_EQ(getsockname(socket, reinterpret_cast<sockaddr*>(&name), &size), 0);
  EXPECT_EQ(std::string(name.sun_path), "/dev/" + own_path());
  EXPECT_EQ(fcntl(socket, F_GETFD), FD_CLOEXEC);
  close(socket);
}

TEST_F(alarm_get_test, two_processes_can_be_connected_at_once) {
  const alarm_daemon daemon(machine);
  const int socket = alarm_socket_open();
  ASSERT_GE(socket, 0);
  const pid_t other = fork();
  if (other == 0) _exit(alarm_socket_open() >= 0 ? 0 : 1);
  int status = -1;
  ASSERT_EQ(waitpid(other, &status, 0), other);
  EXPECT_EQ(status, 0);
  EXPECT_THAT(machine.list("/dev"),
              testing::IsSupersetOf({own_path(), "alarm.socket." + std::to_string(other)}));
  close(socket);
}

TEST_F(alarm_get_test, socket_that_cannot_be_made_is_reported) {
  EXPECT_EQ(alarm_socket_open(), -1080);  // which opens the log
  machine.forget();
  {
    const no_more_descriptors left;
    EXPECT_EQ(alarm_get(&list), -1081);
  }
  EXPECT_EQ(machine.log(),
            "Could not bind to socket /dev/" + own_path() + " for 'Too many open files'");
}

TEST_F(alarm_get_test, list_that_is_missing_asks_nothing) {
  EXPECT_EQ(alarm_get(nullptr), ORV_E_FAILED);
  EXPECT_EQ(get_alarminfo_from_socket(nullptr), ORV_E_FAILED);
  EXPECT_EQ(alarm_socket_get(nullptr, 0), ORV_E_FAILED);
  EXPECT_FALSE(machine.exists("/dev/" + own_path()));
}

/// The exchange on a connection whose other end the test holds.
class alarm_exchange : public alarm_get_test {
 protected:
  alarm_exchange() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0); }
  ~alarm_exchange() override {
    close(ends[0]);
    close(ends[1]);
  }

  int ends[2] = {-1, -1};
};

TEST_F(alarm_exchange, asks_with_one_unit_that_holds_the_command_only) {
  std::string answer(unit, '\xff');
  answer[4] = 0;
  ASSERT_EQ(write(ends[1], answer.data(), answer.size()), unit);
  EXPECT_EQ(alarm_socket_get(&list, ends[0]), ORV_OK);
  EXPECT_THAT(alarms(), IsEmpty());
  char question[2 * unit];
  ASSERT_EQ(read(ends[1], question, sizeof question), unit);
  std::string expected(unit, '\0');
  expected[0] = 1;
  EXPECT_EQ(std::string(question, unit), expected);
}

TEST_F(alarm_exchange, reads_no_more_than_the_announced_alarms) {
  std::string answer(3 * unit, 'x');
  answer[4] = 1;
  ASSERT_EQ(write(ends[1], answer.data(), answer.size()), 3 * unit);
  EXPECT_EQ(alarm_socket_get(&list, ends[0]), ORV_OK);
  EXPECT_EQ(alarms().size(), 1U);
  char rest[2 * unit];
  EXPECT_EQ(recv(ends[0], rest, sizeof rest, MSG_DONTWAIT), unit);
}

TEST_F(alarm_exchange, daemon_that_is_gone_is_reported_without_a_signal) {
  close(ends[1]);
  EXPECT_EQ(alarm_socket_get(&list, ends[0]), -1082);
  EXPECT_EQ(machine.log(), "Could not send pdu '/dev/alarm.socket' for 'Broken pipe'");
  machine.forget();
  EXPECT_EQ(alarm_socket_get(&list, -1), -1082);
  EXPECT_EQ(machine.log(), "Could not send pdu '/dev/alarm.socket' for 'Bad file descriptor'");
}

TEST_F(alarm_exchange, daemon_that_ends_without_reading_is_reported) {
  std::string answer(unit + 10, 'x');
  answer[4] = 2;
  ASSERT_EQ(write(ends[1], answer.data(), answer.size()), unit + 10);
  shutdown(ends[1], SHUT_WR);
  EXPECT_EQ(alarm_socket_get(&list, ends[0]), -1084);
  EXPECT_THAT(alarms(), IsEmpty());
}
