/// The machine as a whole: its walls, its coming and going.
#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <spawn.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "code.h"
#include "programs/records.h"
#include "sandbox.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

using Machine = sandbox_test;

TEST_F(Machine, LetsNothingThroughToTheNext) {
  machine.file("/etc/left_behind", "");
  machine.tool("left_behind").succeeds().if_asked();
}

TEST(MachineAfterAnother, IsAsNew) {
  {
    sandbox::machine first;
    first.file("/etc/left_behind", "");
    first.tool("t").succeeds();
    sandbox::run("t");
  }
  const sandbox::machine second;
  EXPECT_THAT(second.list("/etc"), IsEmpty());
  EXPECT_THAT(second.commands(), IsEmpty());
  EXPECT_THAT(second.calls(), IsEmpty());
}

TEST(MachineWhenGone, LeavesTheProcessWhereItWas) {
  char before[4096];
  ASSERT_NE(::getcwd(before, sizeof before), nullptr);
  const char* path = std::getenv("PATH");
  const std::string path_before = path == nullptr ? "" : path;
  {
    const sandbox::machine machine;
    char during[4096];
    ASSERT_NE(::getcwd(during, sizeof during), nullptr);
    EXPECT_STREQ(during, "/");
    EXPECT_EQ(::access("/proc/self/status", F_OK), -1);
    EXPECT_STREQ(std::getenv("PATH"),
                 "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin");
  }
  char after[4096];
  ASSERT_NE(::getcwd(after, sizeof after), nullptr);
  EXPECT_STREQ(before, after);
  EXPECT_STREQ(path_before.c_str(), std::getenv("PATH"));
  EXPECT_EQ(::access("/proc/self/status", F_OK), 0);
}

TEST(MachineWhenGone, HoldsNoDescriptor) {
  const auto open_ones = [] {
    int count = 0;
    for (int i = 0; i < 256; ++i) count += ::fcntl(i, F_GETFD) >= 0 ? 1 : 0;
    return count;
  };
  const int before = open_ones();
  { const sandbox::machine machine; }
  EXPECT_EQ(open_ones(), before);
}

TEST(MachineWhenGone, TakesItsMountsAlong) {
  const auto mounts = [] { return sandbox::run("exit $(wc -l < /proc/self/mounts)"); };
  const int before = mounts();
  {
    sandbox::machine machine;
    machine.mount_tmpfs("/mnt/data");
    machine.mount_tmpfs("/mnt/data/below");
  }
  EXPECT_EQ(mounts(), before);
}

TEST_F(Machine, CannotChangeItsProgramsAndDevices) {
  EXPECT_EQ(::unlink("/.sandbox/bin/bash"), -1);
  EXPECT_EQ(::chmod("/dev/null", 0600), -1);
}

TEST_F(Machine, CanBeWithoutAShell) {
  machine.remove("/bin/sh");
  EXPECT_EQ(sandbox::exit_code_of("true"), 127);
  EXPECT_THAT(machine.commands(), IsEmpty());
}

// As the code under test may do.
void start_tool(sandbox::lines words, const std::string& output) {
  std::vector<char*> arguments;
  for (auto& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  if (!output.empty())
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT,
                                       0600);
  pid_t child = 0;
  EXPECT_EQ(::posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ), 0);
  ::posix_spawn_file_actions_destroy(&actions);
  int status = -1;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST_F(Machine, CanHaveAShellOfAName) {
  machine.shell_is("dash");
  EXPECT_EQ(std::filesystem::read_symlink("/bin/sh"), "dash");
  machine.tool("t").succeeds();
  EXPECT_EQ(sandbox::run("t 1 > /tmp/out; t 2"), 0);
  EXPECT_THAT(machine.commands(), ElementsAre("t 1 > /tmp/out; t 2"));
  for (const auto& call : machine.call_records()) EXPECT_TRUE(call.by_shell);
}

TEST_F(Machine, NotesWhatIsRunWithoutItsShell) {
  machine.shell_is("dash");
  machine.tool("/bin/t").runs("/bin/inner 2");
  machine.tool("/bin/inner").succeeds();
  start_tool({"/bin/t", "1"}, "/tmp/out.a");
  start_tool({"/bin/t"}, "/dev/null");
  start_tool({"/bin/t", "-x"}, "");
  EXPECT_THAT(machine.commands(),
              ElementsAre("/bin/t 1 > /tmp/out.a", "/bin/t > /dev/null", "/bin/t -x"));
  const auto calls = machine.call_records();
  ASSERT_EQ(calls.size(), 6U);
  for (const auto& call : calls) EXPECT_EQ(call.by_shell, call.path == "/bin/inner");
}

TEST(MachineWhenGone, LeavesTheEnvironmentAsItWas) {
  ::setenv("ORV_TEST", "1=2", 1);
  {
    sandbox::machine machine;
    machine.shell_is("bash");
    EXPECT_EQ(std::getenv("ORV_TEST"), nullptr);
  }
  EXPECT_STREQ(std::getenv("ORV_TEST"), "1=2");
  ::unsetenv("ORV_TEST");
}

TEST_F(Machine, RunsScriptsOfTheTest) {
  machine.file("/etc/init.d/samba", "#!/bin/sh\necho \"$1 ${0##*/}\"\n", 0755);
  EXPECT_EQ(sandbox::run("/etc/init.d/samba start"), 0);
  EXPECT_EQ(machine.output(), "start samba\n");
  EXPECT_THAT(machine.commands(), ElementsAre("/etc/init.d/samba start"));
}

TEST_F(Machine, ForgetsWhatHappened) {
  machine.tool("t").succeeds();
  sandbox::run("t 1");
  ::syslog(LOG_ERR, "one");
  machine.forget();
  sandbox::run("t 2");
  ::syslog(LOG_ERR, "two");
  EXPECT_THAT(machine.commands(), ElementsAre("t 2"));
  EXPECT_THAT(machine.calls(), ElementsAre(ElementsAre("t", "2")));
  EXPECT_EQ(machine.log(), "two");
}

TEST_F(Machine, KnowsDescriptorsThatTheCodeHolds) {
  machine.file("/etc/hosts", "");
  ::syslog(LOG_ERR, "connects");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
  const int file = ::open("/etc/hosts", O_RDONLY | O_CLOEXEC);
  EXPECT_THAT(machine.open_descriptors(), ElementsAre(StartsWith(std::to_string(file) + " ")));
  EXPECT_THAT(machine.open_descriptors(), ElementsAre(testing::EndsWith("/etc/hosts")));
  ::close(file);
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

TEST_F(Machine, ReadsFixturesOfTheSourceTree) {
  EXPECT_THAT(fixture("../sandbox/machine_test.cc"), StartsWith("/// The machine as a whole"));
  EXPECT_THROW(fixture("no/such/fixture"), std::runtime_error);
}

void fail_on_a_machine() {
  const sandbox::machine machine;
  sandbox::run("echo by the code");
  ::syslog(LOG_ERR, "logged");
  EXPECT_EQ(1, 2) << "by the test";
}

// In a child of its own, since GoogleTest's means catch failures before they are printed.
TEST(MachineOfAFailedTest, TellsWhatHappened) {
  constexpr char marker[] = "ORV_SANDBOX_FAILS";
  if (std::getenv(marker) != nullptr) return fail_on_a_machine();
  ::setenv(marker, "1", 1);
  FILE* child = ::popen("exec /proc/$PPID/exe --gtest_filter=MachineOfAFailedTest.*", "re");
  ::unsetenv(marker);
  ASSERT_NE(child, nullptr);
  const auto report = sandbox::rest_of_file(::fileno(child));
  EXPECT_NE(::pclose(child), 0);
  EXPECT_THAT(report, HasSubstr("machine_test.cc"));
  EXPECT_THAT(report, HasSubstr("by the test"));
  EXPECT_THAT(report, HasSubstr("The machine ran:\n  echo by the code\n"));
  EXPECT_THAT(report, HasSubstr("It logged:\nlogged\n"));
  EXPECT_THAT(report, HasSubstr("It printed:\nby the code\n"));
}

TEST_F(Machine, CapturesOutputButNotTheFailuresOfItsTest) {
  std::printf("by the code");
  EXPECT_NONFATAL_FAILURE(ADD_FAILURE() << "by the test", "by the test");
  EXPECT_EQ(machine.output(), "by the code");
}

}  // namespace
