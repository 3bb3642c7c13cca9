/// The system log of the machine.
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <thread>

#include "sandbox.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;

using Log = sandbox_test;

TEST_F(Log, KeepsMessagesInOrder) {
  ::openlog("orv", 0, LOG_DAEMON);
  ::syslog(LOG_DAEMON | LOG_ERR, "first: %d\n", 1);
  ::syslog(LOG_DAEMON | LOG_ERR, "no line end");
  ::syslog(LOG_DAEMON | LOG_WARNING, "two\nlines\n");
  EXPECT_EQ(machine.log(), "first: 1\nno line endtwo\nlines\n");
  EXPECT_THAT(machine.log_lines(), ElementsAre("first: 1", "no line end", "two\nlines"));
}

// The ident was set by the test before when both run in one process; here it is set again.
TEST_F(Log, KnowsIdentAndPriority) {
  ::openlog("orv", LOG_PID, LOG_DAEMON);
  ::syslog(LOG_DAEMON | LOG_ERR, "text: x\n");
  ::openlog("other", 0, LOG_DAEMON);
  ::syslog(LOG_USER | LOG_DEBUG, "y");
  const auto records = machine.log_records();
  ASSERT_THAT(records, SizeIs(2));
  EXPECT_EQ(records[0].priority, LOG_DAEMON | LOG_ERR);
  EXPECT_EQ(records[0].ident, "orv");
  EXPECT_EQ(records[0].text, "text: x\n");
  EXPECT_EQ(records[1].priority, LOG_USER | LOG_DEBUG);
  EXPECT_EQ(records[1].ident, "other");
}

TEST_F(Log, DoesNotFillUp) {
  for (int i = 0; i < 500; ++i) ::syslog(LOG_ERR, "%d\n", i);
  const auto messages = machine.log_lines();
  ASSERT_THAT(messages, SizeIs(500));
  EXPECT_EQ(messages.back(), "499");
}

TEST_F(Log, TakesMessagesOfAllThreads) {
  std::thread threads[4];
  for (auto& thread : threads) {
    thread = std::thread([] {
      for (int i = 0; i < 50; ++i) ::syslog(LOG_ERR, "x\n");
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_THAT(machine.log_lines(), SizeIs(200));
}

TEST_F(Log, TakesLongMessages) {
  const std::string text(100'000, 'x');
  ::syslog(LOG_ERR, "%s", text.c_str());
  EXPECT_TRUE(machine.log() == text);
}

TEST_F(Log, KeepsWhatIsNoSyslogMessageAsItIs) {
  const int sender = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const sockaddr_un log = {AF_UNIX, "/dev/log"};
  const std::string messages[] = {"", "<", "<x>", "<12>now", "plain: text", std::string(40, '>')};
  for (const auto& message : messages) {
    ::sendto(sender, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&log),
             sizeof log);
  }
  ::close(sender);
  EXPECT_THAT(machine.log_lines(), ElementsAreArray(messages));
}

TEST_F(Log, HidesSourceLineNumbersOnly) {
  ::syslog(LOG_ERR, "raid_get:123 return -1030 with No such file or directory\n");
  ::syslog(LOG_ERR, "fs_get:7 return with x\n");
  ::syslog(LOG_ERR, "add[45]: return with -1064");
  ::syslog(LOG_ERR, "disk 12:34 md[5] 6 return:8\n");
  EXPECT_EQ(machine.log(),
            "raid_get:N return -1030 with No such file or directory\n"
            "fs_get:N return with x\n"
            "add[N]: return with -1064"
            "disk 12:34 md[5] 6 return:8\n");
}

// The C library still holds a connection to a socket that is gone.
TEST(LogOfTheNextMachine, GetsTheMessagesAndTheIdentStays) {
  {
    const sandbox::machine first;
    ::openlog("orv", 0, LOG_DAEMON);
    ::syslog(LOG_ERR, "one");
    EXPECT_EQ(first.log(), "one");
  }
  const sandbox::machine second;
  EXPECT_THAT(second.log_records(), IsEmpty());
  ::syslog(LOG_ERR, "two");
  EXPECT_EQ(second.log(), "two");
  EXPECT_EQ(second.log_records().at(0).ident, "orv");
}

}  // namespace
