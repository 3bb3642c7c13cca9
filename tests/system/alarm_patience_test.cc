#include <dlfcn.h>
#include <malloc.h>
#include <orv/support.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

#include "tests/sandbox/bend.h"
#include "tests/system/alarm_daemon.h"

using testing::AllOf;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;

extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace {

constexpr std::size_t unit = 516;

std::size_t allocated_bytes() {
  if (__sanitizer_get_current_allocated_bytes != nullptr) {
    return __sanitizer_get_current_allocated_bytes();
  }
  return mallinfo2().uordblks;
}

/// A daemon that does with a connection what the test says. It ends with its client at the latest.
class rude_daemon {
 public:
  using manner = void (*)(int client);

  explicit rude_daemon(manner behave, int queue = 8, int clients = 1) {
    listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un name = {AF_UNIX, "/dev/alarm.socket"};
    EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
    EXPECT_EQ(listen(listener_, queue), 0);
    if (behave == nullptr) return;
    serving_ = std::thread([this, behave, clients] {
      for (int i = 0; i < clients; ++i) {
        const int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        behave(client);
        close(client);
      }
    });
  }
  ~rude_daemon() {
    if (serving_.joinable()) serving_.join();
    close(listener_);
  }
  rude_daemon(const rude_daemon&) = delete;
  rude_daemon& operator=(const rude_daemon&) = delete;

 private:
  int listener_;
  std::thread serving_;
};

bool sends(int client, const std::string& bytes) {
  return send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
         static_cast<ssize_t>(bytes.size());
}

/// The header of an answer of so many alarms.
std::string header(char alarms) {
  std::string bytes(unit, '\0');
  bytes[4] = alarms;
  return bytes;
}

bool is_gone(int client) {
  pollfd end = {client, POLLRDHUP, 0};
  return poll(&end, 1, 0) > 0 && (end.revents & (POLLHUP | POLLRDHUP)) != 0;
}

void never_answers(int client) {
  while (!is_gone(client)) usleep(1000);
}

void ends_in_the_midst(int client) {
  sends(client, header(2) + std::string(unit + 10, 'x'));
  never_answers(client);
}

/// A byte now and then is progress, but no answer.
void trickles(int client) {
  while (sends(client, "x")) usleep(20000);
}

void trickles_alarms(int client) {
  sends(client, header('\xff'));
  while (sends(client, std::string(100, 'x'))) usleep(50000);
}

std::atomic<std::size_t> poured = 0;

void pours_two_gigabytes(int client) {
  constexpr std::size_t much = 2UL << 30;
  const std::string part(1 << 16, '\xff');
  for (poured = 0; poured < much && sends(client, part); poured += part.size()) {
  }
}

/// The thread whose waits end at once, and how long the first of them would have been.
std::thread::id without_patience;
int asked_patience = 0;

}  // namespace

// The C library's, as the library under test finds it.
extern "C" __attribute__((visibility("default"))) int poll(pollfd* events, nfds_t count,
                                                           int timeout) {
  static const auto own = reinterpret_cast<int (*)(pollfd*, nfds_t, int)>(dlsym(RTLD_NEXT, "poll"));
  if (without_patience != std::this_thread::get_id()) return own(events, count, timeout);
  if (asked_patience == 0) asked_patience = timeout;
  return own(events, count, 0);
}

class alarm_patience : public alarm_test {
 protected:
  ~alarm_patience() override { orv_set_tool_timeout(0); }

  /// A question under a limit of one second, which is shorter than the client's own patience.
  int ask() {
    orv_set_tool_timeout(1);
    return timed([this] { return alarm_get(&list); });
  }

  template <class Call>
  int timed(Call call) {
    const auto begin = std::chrono::steady_clock::now();
    const int result = call();
    seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return result;
  }

  double seconds = 0;
};

TEST_F(alarm_patience, daemon_that_never_answers_is_given_up) {
  const rude_daemon daemon(never_answers);
  EXPECT_EQ(ask(), ORV_E_ALARM_REPLY);
  EXPECT_THAT(seconds, AllOf(Ge(1), Le(1.5)));
  EXPECT_EQ(machine.log(), "Could not recv pdu '/dev/alarm.socket' for 'Connection timed out'");
}

TEST_F(alarm_patience, daemon_that_takes_no_connection_is_given_up) {
  const rude_daemon daemon(nullptr, 0);
  const int first = alarm_socket_open();  // fills the daemon's queue
  ASSERT_GE(first, 0);
  EXPECT_EQ(ask(), ORV_E_ALARM_CONNECT);
  EXPECT_THAT(seconds, AllOf(Ge(1), Le(1.5)));
  EXPECT_EQ(machine.log(),
            "Could not connect to socket /dev/alarm.socket for 'Connection timed out'");
  close(first);
  EXPECT_THAT(machine.open_descriptors(), testing::SizeIs(1));  // the daemon's
}

TEST_F(alarm_patience, daemon_that_stops_in_the_midst_is_given_up) {
  const rude_daemon daemon(ends_in_the_midst);
  EXPECT_EQ(ask(), ORV_E_ALARM_ITEM);
  EXPECT_THAT(seconds, AllOf(Ge(1), Le(1.5)));
  EXPECT_EQ(alarms().size(), 1U);
  EXPECT_EQ(machine.log(), "Could not recv item '/dev/alarm.socket' for 'Connection timed out'");
}

TEST_F(alarm_patience, bytes_that_trickle_in_do_not_prolong_it) {
  {
    const rude_daemon daemon(trickles);
    EXPECT_EQ(ask(), ORV_E_ALARM_REPLY);
    EXPECT_THAT(seconds, AllOf(Ge(1), Le(1.5)));
  }
  machine.remove("/dev/alarm.socket");
  const rude_daemon daemon(trickles_alarms);
  EXPECT_EQ(ask(), ORV_E_ALARM_ITEM);
  EXPECT_THAT(seconds, AllOf(Ge(1), Le(1.5)));
}

TEST_F(alarm_patience, of_two_gigabytes_only_one_answer_is_read) {
  const rude_daemon daemon(pours_two_gigabytes);
  const std::size_t before = allocated_bytes();
  EXPECT_EQ(ask(), ORV_OK);
  EXPECT_LE(seconds, 0.9);
  EXPECT_EQ(alarms().size(), 255U);
  EXPECT_LE(allocated_bytes(), before + 255 * 2 * sizeof(tag_alarm_info));
  // What was sent is what was read, and what the connection holds: the client is gone by now.
  usleep(100000);
  EXPECT_LE(poured, 1U << 20);
}

TEST_F(alarm_patience, connection_is_as_patient_as_the_question) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  orv_set_tool_timeout(1);
  EXPECT_EQ(timed([&] { return alarm_socket_get(&list, ends[0]); }), ORV_E_ALARM_REPLY);
  EXPECT_THAT(seconds, AllOf(Ge(1), Le(1.5)));
  // A connection that takes no question, since it is full.
  const std::string much(1 << 20, 'x');
  while (send(ends[0], much.data(), much.size(), MSG_DONTWAIT) > 0) {
  }
  while (send(ends[0], "x", 1, MSG_DONTWAIT) > 0) {
  }
  EXPECT_EQ(timed([&] { return alarm_socket_get(&list, ends[0]); }), ORV_E_ALARM_SEND);
  EXPECT_THAT(seconds, AllOf(Ge(1), Le(1.5)));
  close(ends[0]);
  close(ends[1]);
}

TEST_F(alarm_patience, interrupted_answer_is_read_to_its_end) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  ASSERT_TRUE(sends(ends[1], header(1) + header('x')));
  machine.fail("recv", EINTR, 2);
  EXPECT_EQ(alarm_socket_get(&list, ends[0]), ORV_OK);
  EXPECT_EQ(alarms().size(), 1U);
  close(ends[0]);
  close(ends[1]);
}

TEST_F(alarm_patience, interrupted_connecting_goes_on_until_the_end) {
  const rude_daemon daemon(nullptr);
  machine.fail("connect", EINTR, 1);
  const int socket = alarm_socket_open();
  EXPECT_GE(socket, 0);
  close(socket);
  machine.fail("connect", EINTR);
  sandbox::hasten(std::chrono::seconds(7));
  EXPECT_EQ(alarm_socket_open(), ORV_E_ALARM_CONNECT);
  EXPECT_EQ(machine.log(),
            "Could not connect to socket /dev/alarm.socket for 'Connection timed out'");
}

TEST_F(alarm_patience, connection_that_was_opened_waits_as_its_owner_wants) {
  const rude_daemon daemon(nullptr);
  const int socket = alarm_socket_open();
  timeval limit{1, 1};
  socklen_t size = sizeof limit;
  ASSERT_EQ(getsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, &size), 0);
  EXPECT_EQ(limit.tv_sec * 1000000 + limit.tv_usec, 0);
  close(socket);
}

TEST_F(alarm_patience, is_half_a_minute_without_a_limit_or_with_a_longer_one) {
  const rude_daemon daemon(never_answers, 8, 2);
  for (const unsigned limit : {0U, 3600U}) {
    orv_set_tool_timeout(limit);
    asked_patience = 0;
    without_patience = std::this_thread::get_id();
    EXPECT_EQ(timed([this] { return alarm_get(&list); }), ORV_E_ALARM_REPLY);
    without_patience = std::thread::id();
    EXPECT_THAT(asked_patience, AllOf(Ge(29000), Le(30000))) << limit;
    EXPECT_LE(seconds, 1) << limit;
  }
}
