#include <fcntl.h>
#include <orv/support.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "tests/sandbox/sandbox.h"

using testing::ElementsAre;
using testing::IsEmpty;

class liborv_system_ : public sandbox_test {
 protected:
  sandbox::call_record only_call() {
    const auto calls = machine.call_records();
    EXPECT_EQ(calls.size(), 1U);
    return calls.at(0);
  }
};

TEST_F(liborv_system_, returns_the_raw_wait_status) {
  EXPECT_EQ(liborv_system("exit 0"), 0);
  const int exited = liborv_system("exit 5");
  EXPECT_EQ(exited & 0x7f, 0);
  EXPECT_EQ((exited >> 8) & 0xff, 5);
  const int killed = liborv_system("kill -9 $$");
  EXPECT_EQ(killed & 0x7f, SIGKILL);
}

TEST_F(liborv_system_, gives_the_text_to_the_shell_as_it_is) {
  machine.tool("/sbin/mdadm").succeeds();
  EXPECT_EQ(liborv_system("/sbin/mdadm  -S '/dev/md 0' > /dev/null"), 0);
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/mdadm  -S '/dev/md 0' > /dev/null"));
  EXPECT_THAT(machine.calls(), ElementsAre(ElementsAre("/sbin/mdadm", "-S", "/dev/md 0")));
}

TEST_F(liborv_system_, runs_tools_with_the_c_locale_and_no_input_or_descriptor) {
  setenv("LC_ALL", "de_DE.UTF-8", 1);
  setenv("ORV_TEST", "kept", 1);
  const int inherited = open("/", O_RDONLY);  // not close-on-exec, as in a careless caller
  machine.tool("/bin/tool").succeeds();
  EXPECT_EQ(liborv_system("/bin/tool"), 0);
  close(inherited);
  const auto call = only_call();
  EXPECT_EQ(call.environment.at("LC_ALL"), "C");
  EXPECT_EQ(call.environment.at("ORV_TEST"), "kept");
  EXPECT_EQ(call.input, "/dev/null");
  EXPECT_THAT(call.descriptors, IsEmpty());
  unsetenv("LC_ALL");
  unsetenv("ORV_TEST");
}

TEST_F(liborv_system_, lets_the_command_print_where_the_caller_prints) {
  EXPECT_EQ(liborv_system("echo text"), 0);
  EXPECT_EQ(machine.output(), "text\n");
}

TEST_F(liborv_system_, gives_a_command_output_that_the_caller_has_closed) {
  const int errors = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
  close(STDERR_FILENO);
  const int status = liborv_system("echo text >&2");
  dup2(errors, STDERR_FILENO);
  close(errors);
  EXPECT_EQ(status, 0);
}

TEST_F(liborv_system_, fails_without_a_process_for_the_command) {
  machine.fail("clone", ENOMEM);
  for (const char* const line : {"true", "cat /proc/version > /tmp/x", "echo text; true"}) {
    errno = 0;
    EXPECT_EQ(liborv_system(line), -1) << line;
    EXPECT_EQ(errno, ENOMEM) << line;
  }
  EXPECT_NE(access("/tmp/x", F_OK), 0);
}

TEST_F(liborv_system_, runs_tools_with_no_signal_blocked) {
  sigset_t term;
  sigemptyset(&term);
  sigaddset(&term, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &term, nullptr);
  const int status = liborv_system("kill -15 $$; exit 3");
  pthread_sigmask(SIG_UNBLOCK, &term, nullptr);
  EXPECT_EQ(status & 0x7f, SIGTERM);
}

TEST_F(liborv_system_, waits_through_interruptions) {
  struct sigaction wake {};
  wake.sa_handler = [](int) {};  // no SA_RESTART: the wait is interrupted
  struct sigaction old {};
  sigaction(SIGUSR1, &wake, &old);
  const std::string script = "kill -USR1 " + std::to_string(getpid()) + "; exit 4";
  EXPECT_EQ(liborv_system(script.c_str()), 4 << 8);
  sigaction(SIGUSR1, &old, nullptr);
}

TEST_F(liborv_system_, keeps_its_child_from_the_callers_signal_handler) {
  struct sigaction reap {};
  reap.sa_handler = [](int) {
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
  };
  struct sigaction old {};
  sigaction(SIGCHLD, &reap, &old);
  EXPECT_EQ(liborv_system("exit 6"), 6 << 8);
  sigaction(SIGCHLD, &old, nullptr);
}

void expect_no_status_of_ignored_child() {
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  struct sigaction old {};
  sigaction(SIGCHLD, &ignore, &old);
  EXPECT_EQ(liborv_system("/bin/tool"), -1);
  EXPECT_EQ(errno, ECHILD);
  sigaction(SIGCHLD, &old, nullptr);
}

TEST_F(liborv_system_, cannot_wait_in_a_process_that_ignores_its_children) {
  machine.tool("/bin/tool").succeeds();
  expect_no_status_of_ignored_child();
}

TEST_F(liborv_system_, keeps_errno_when_the_command_ran) {
  errno = ENOSPC;
  EXPECT_NE(liborv_system("exit 1"), 0);
  EXPECT_EQ(errno, ENOSPC);
}

TEST_F(liborv_system_, keeps_errno_when_a_signal_ended_the_command) {
  errno = ENOSPC;
  EXPECT_EQ(liborv_system("kill -9 $$") & 0x7f, SIGKILL);
  EXPECT_EQ(errno, ENOSPC);
}

TEST_F(liborv_system_, refuses_no_command_and_reports_a_missing_shell) {
  EXPECT_EQ(liborv_system(nullptr), -1);
  EXPECT_EQ(errno, EINVAL);
  machine.remove("/bin/sh");
  EXPECT_EQ(liborv_system("exit 0"), 127 << 8);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(liborv_system_, leaves_no_descriptor_behind) {
  liborv_system("exit 1");
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}

/// On a machine whose shell is known, a plain command line is run without it.
class liborv_system_of_known_shell : public liborv_system_,
                                     public testing::WithParamInterface<const char*> {
 protected:
  liborv_system_of_known_shell() { machine.shell_is(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(of, liborv_system_of_known_shell, testing::Values("dash", "bash"),
                         [](const auto& shell) { return std::string(shell.param); });

TEST_P(liborv_system_of_known_shell, runs_a_plain_command_line_itself) {
  machine.tool("/sbin/mdadm").prints("text").fails(3);
  EXPECT_EQ(liborv_system("/sbin/mdadm  --detail /dev/md0 > /tmp/out"), 3 << 8);
  EXPECT_FALSE(only_call().by_shell);
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/mdadm --detail /dev/md0 > /tmp/out"));
  EXPECT_EQ(machine.read("/tmp/out"), "text");
  EXPECT_EQ(only_call().environment.at("LC_ALL"), "C");
  EXPECT_EQ(only_call().input, "/dev/null");
  EXPECT_THAT(only_call().descriptors, IsEmpty());
}

TEST_P(liborv_system_of_known_shell, leaves_others_to_the_shell) {
  machine.tool("/sbin/mdadm").succeeds();
  EXPECT_EQ(liborv_system("/sbin/mdadm -S '/dev/md0'"), 0);
  EXPECT_TRUE(only_call().by_shell);
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/mdadm -S '/dev/md0'"));
}

TEST_P(liborv_system_of_known_shell, lets_it_say_that_a_tool_is_missing) {
  machine.tool("/sbin/mdadm").is_missing();
  EXPECT_EQ(liborv_system("/sbin/mdadm -S /dev/md0 > /dev/null"), 127 << 8);
  EXPECT_THAT(machine.commands(), ElementsAre("/sbin/mdadm -S /dev/md0 > /dev/null"));
}

TEST_P(liborv_system_of_known_shell, needs_none_for_a_tool_that_is_there) {
  machine.tool("/bin/tool").fails(4);
  machine.remove(std::string("/bin/") + GetParam());
  EXPECT_EQ(liborv_system("/bin/tool"), 4 << 8);
  EXPECT_EQ(liborv_system("exit 0"), 127 << 8);
  EXPECT_EQ(errno, ENOENT);
}

TEST_P(liborv_system_of_known_shell, cannot_wait_in_a_process_that_ignores_its_children) {
  machine.tool("/bin/tool").succeeds();
  expect_no_status_of_ignored_child();
  EXPECT_THAT(machine.calls(), ElementsAre(ElementsAre("/bin/tool")));
}
