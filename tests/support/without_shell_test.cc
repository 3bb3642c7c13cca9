// What comes of plain command lines that are run without a shell.
#include "tests/support/without_shell.h"

#include <linux/sched.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <atomic>
#include <thread>

namespace {

INSTANTIATE_TEST_SUITE_P(of, without_shell, testing::Values("dash", "bash"), by_name);

TEST_P(without_shell, gives_the_arguments_the_output_and_the_exit_status) {
  script("tool", "#!/bin/sh\nfor word; do echo \"<$word>\"; done; echo no >&2; exit $1\n");
  for (const std::string end : {"", " > out", " > out ", " > /dev/null", " > ./out"}) {
    needs_no_shell("./tool 3  a=b %s /dev/sda,/dev/sdb -x --long=1 a@b+c:d" + end);
    needs_no_shell("  ./tool 0" + end);
  }
  for (int status = 0; status < 256; status += 5)
    needs_no_shell("./tool " + std::to_string(status));
  needs_no_shell("cat -u -- /proc/self/cmdline > out");
}

TEST_P(without_shell, leaves_to_the_shell_what_cannot_be_started) {
  script("no_program", "exit 3", 0644);
  script("no_interpreter", "#!/nowhere\n");
  script("empty", "");
  script("plain_script", "echo by the shell; exit 4");
  fs::create_directory("folder");
  for (const std::string program :
       {"nowhere", "./nowhere", "/nowhere/tool", "./no_program", "./no_interpreter", "./empty",
        "./plain_script", "./folder", "./no_program/tool"}) {
    is_left_to_the_shell(program);
    is_left_to_the_shell(program + " a > out");
  }
  EXPECT_EQ(is_the_same("nowhere").status, 127 << 8);
  EXPECT_EQ(is_the_same("./no_program").status, 126 << 8);
  EXPECT_EQ(is_the_same("./plain_script").status, 4 << 8);
}

TEST_P(without_shell, leaves_to_the_shell_an_output_that_cannot_be_opened) {
  script("tool", "#!/bin/sh\necho ran >> ran\n");
  fs::create_directory("folder");
  for (const std::string output : {"folder", "nowhere/out", "work/../out", "tool/out"}) {
    EXPECT_EQ(is_left_to_the_shell("./tool > " + output).status, (is_bash() ? 1 : 2) << 8);
  }
  EXPECT_FALSE(fs::exists("ran"));
}

TEST_P(without_shell, opens_the_output_as_a_shell_does) {
  const mode_t former = umask(0);
  for (const mode_t mask : {0000U, 0022U, 0077U, 0777U}) {
    umask(mask);
    needs_no_shell("cat /proc/version > out");
  }
  umask(former);
  script("kept", "much longer than what is written", 0604);
  needs_no_shell("cat /dev/null > kept");
  EXPECT_EQ(text_of("kept"), "");
  struct stat examined {};
  stat("kept", &examined);
  EXPECT_EQ(examined.st_mode & 0777U, 0604U);
}

TEST_P(without_shell, tells_of_every_signal_as_the_shell_does) {
  script("die", "#!/bin/sh\nulimit -c 0\nkill -$1 $$\nexit 9\n");
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    if (signal == SIGSTOP || signal == SIGTSTP || signal == SIGTTIN || signal == SIGTTOU) continue;
    is_tried_without("./die " + std::to_string(signal) + " > out");
  }
  EXPECT_EQ(is_tried_without("./die 9 > out").status, (128 + SIGKILL) << 8);
  EXPECT_EQ(is_tried_without("./die 15 > out").errors, is_bash() ? "" : "Terminated\n");
  EXPECT_EQ(is_tried_without("./die 9").status, is_bash() ? SIGKILL : (128 + SIGKILL) << 8);
}

TEST_P(without_shell, starts_tools_in_the_same_state) {
  const auto look = [this] {
    for (const char* const line :
         {"grep SigBlk /proc/self/status > out", "grep SigIgn /proc/self/status > out",
          "grep SigCgt /proc/self/status > out", "grep Umask /proc/self/status > out",
          "readlink /proc/self/fd/0 > out", "ls /proc/self/fd > out", "cat /proc/self/limits > out",
          "cat /proc/self/oom_score_adj > out", "readlink /proc/self/cwd > out"}) {
      needs_no_shell(line);
    }
  };
  look();
  const int inherited = open("/", O_RDONLY);  // not close-on-exec, as in a careless caller
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  struct sigaction former[3] = {};
  sigaction(SIGINT, &ignore, &former[0]);
  sigaction(SIGPIPE, &ignore, &former[1]);
  sigaction(SIGRTMIN + 3, &ignore, &former[2]);
  sigset_t some;
  sigset_t before;
  sigemptyset(&some);
  sigaddset(&some, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &some, &before);
  look();
  const auto signals = [this](const std::string& kind) {
    needs_no_shell("grep " + kind + " /proc/self/status > out");
    return std::stoull(text_of("out").substr(kind.size() + 1), nullptr, 16);
  };
  const auto bit = [](int signal) { return 1ULL << (signal - 1); };
  EXPECT_EQ(signals("SigBlk"), 0U);
  EXPECT_EQ(signals("SigIgn") & (bit(SIGINT) | bit(SIGPIPE) | bit(SIGRTMIN + 3)),
            bit(SIGINT) | bit(SIGRTMIN + 3));
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  sigaction(SIGINT, &former[0], nullptr);
  sigaction(SIGPIPE, &former[1], nullptr);
  sigaction(SIGRTMIN + 3, &former[2], nullptr);
  close(inherited);
}

TEST_P(without_shell, gives_a_tool_nothing_where_its_caller_has_closed_something) {
  const pid_t child = fork();
  if (child == 0) {
    for (const int number : {0, 1, 2}) close(number);
    const bool ran = liborv_system("readlink /proc/self/fd/0 > input") == 0 &&
                     liborv_system("readlink /proc/self/fd/2 > errors") == 0 &&
                     liborv_system("cat /proc/version") == 0;
    _exit(ran ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(text_of("input"), "/dev/null\n");
  EXPECT_EQ(text_of("errors"), "/dev/null\n");
}

std::atomic<bool> handled_elsewhere = false;
pid_t caller = 0;
void note_where(int) {
  if (getpid() != caller) handled_elsewhere = true;
}

/// Starts tools in a process group to which signals are sent meanwhile. @return exit status
int run_beside_signals() {
  setpgid(0, 0);
  caller = getpid();
  struct sigaction noting {};
  noting.sa_handler = note_where;
  sigaction(SIGWINCH, &noting, nullptr);  // which a tool takes no notice of
  std::atomic<bool> is_done = false;
  std::thread sender([&] {
    while (!is_done) kill(0, SIGWINCH);
  });
  int failed = 0;
  for (int run = 0; run < 500; ++run) failed += liborv_system("true") != 0 ? 1 : 0;
  is_done = true;
  sender.join();
  return failed != 0 ? 2 : handled_elsewhere ? 3 : 0;
}

TEST_P(without_shell, runs_no_handler_of_the_caller_in_the_child) {
  const pid_t child = fork();
  if (child == 0) _exit(run_beside_signals());
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST_P(without_shell, lets_a_tool_wait_where_the_caller_ignores_its_children) {
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  struct sigaction former {};
  sigaction(SIGCHLD, &ignore, &former);
  run("grep SigIgn /proc/self/status > out");
  sigaction(SIGCHLD, &former, nullptr);
  const auto ignored = std::stoull(text_of("out").substr(sizeof "SigIgn:"), nullptr, 16);
  EXPECT_EQ(ignored & 1ULL << (SIGCHLD - 1), 0U);
}

#if defined(__x86_64__) && defined(__LP64__)
/// Makes such a child, which ends at once.
bool kernel_leaves_handlers_out() {
  clone_args how{};
  how.flags = CLONE_CLEAR_SIGHAND;
  how.exit_signal = SIGCHLD;
  const auto child = static_cast<pid_t>(syscall(SYS_clone3, &how, sizeof how));
  if (child == 0) _exit(0);
  if (child > 0) waitpid(child, nullptr, 0);
  return child > 0;
}
#else
bool kernel_leaves_handlers_out() { return false; }
#endif

TEST_P(without_shell, asks_for_no_handlers_where_the_kernel_leaves_them_out) {
  const bool is_refused = std::getenv("ORV_WITHOUT_CLONE3") != nullptr;
  EXPECT_FALSE(is_refused && kernel_leaves_handlers_out());
  run("true");
  EXPECT_EQ(started_programs::clones(), kernel_leaves_handlers_out() ? 0 : 1);
}

TEST_P(without_shell, keeps_to_the_time_limit) {
  script("sleep_on", "#!/bin/sh\ntrap '' TERM\nsleep 1.5\n");
  orv_set_tool_timeout(1);
  const outcome made = run("sleep 7");
  const outcome stubborn = run("./sleep_on");
  const outcome in_time = run("cat /dev/null");
  orv_set_tool_timeout(0);
  EXPECT_EQ(made.status, SIGTERM);
  EXPECT_EQ(made.reason, ETIMEDOUT);
  EXPECT_EQ(stubborn.status, SIGTERM);
  EXPECT_EQ(stubborn.reason, ETIMEDOUT);
  EXPECT_EQ(in_time.status, 0);
}

}  // namespace
