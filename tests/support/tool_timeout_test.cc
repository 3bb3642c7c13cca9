#include <dlfcn.h>
#include <orv/support.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <string>
#include <thread>

#include "tests/sandbox/libc.h"
#include "tests/sandbox/sandbox.h"

using testing::AllOf;
using testing::AnyOf;
using testing::ElementsAre;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;

namespace {

std::atomic<bool> without_process_descriptors = false;
std::atomic<bool> without_sigkill = false;

template <class function>
function* next(function*, const char* name) {
  return reinterpret_cast<function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The C library's, as the library under test finds them.
extern "C" __attribute__((visibility("default"))) long syscall(long number, ...) noexcept {
  std::array<long, 6> values{};
  va_list given;
  va_start(given, number);
  for (long& value : values) value = va_arg(given, long);
  va_end(given);
  if (number == SYS_pidfd_open && without_process_descriptors) {
    errno = ENOSYS;
    return -1;
  }
  static const auto own = next(&syscall, "syscall");
  return own(number, values[0], values[1], values[2], values[3], values[4], values[5]);
}

extern "C" __attribute__((visibility("default"))) int kill(pid_t to, int signal) noexcept {
  if (signal == SIGKILL && without_sigkill) return 0;
  if (sandbox::libc::fails("kill")) return -1;
  static const auto own = next(&kill, "kill");
  return own(to, signal);
}

/// Seconds that a machine with other work may take for what is done at once; what is not ended
/// sleeps for longer.
constexpr int patience = 20;
constexpr int patience_ms = patience * 1000;

constexpr int not_told = -1;  // by which signal a process ended

/// How a command ended, and when.
struct run {
  int status;
  int error;
  double seconds;
};

class orv_set_tool_timeout_ : public sandbox_test {
 protected:
  orv_set_tool_timeout_() {
    // What the commands leave behind becomes a child of this process.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    // A "/proc" that tells of this process tells of all.
    machine.file("/proc/" + std::to_string(getpid()) + "/stat", "1 (test) S 1 1");
  }
  ~orv_set_tool_timeout_() override {
    orv_set_tool_timeout(0);
    without_process_descriptors = false;
    without_sigkill = false;
    EXPECT_TRUE(are_all_gone()) << "a process is left";
    prctl(PR_SET_CHILD_SUBREAPER, 0);
  }

  /// Whether what the commands left behind ends.
  static bool are_all_gone() {
    for (int i = 0; i < patience_ms; ++i) {
      while (waitpid(-1, nullptr, WNOHANG) > 0) {
      }
      if (waitpid(-1, nullptr, WNOHANG) < 0) return true;
      usleep(1000);
    }
    return false;
  }

  run run_within(unsigned seconds, const std::string& command) {
    orv_set_tool_timeout(seconds);
    const auto begin = std::chrono::steady_clock::now();
    errno = 0;
    const int status = liborv_system(command.c_str());
    const int error = errno;
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    orv_set_tool_timeout(0);
    EXPECT_THAT(machine.open_descriptors(), IsEmpty());
    return {status, error, took.count()};
  }

  /// The same for a second; once more where a machine with other work has let it pass before the
  /// scripts wrote these files.
  run run_for_a_second(const std::string& command, const std::vector<std::string>& files) {
    for (int tries = 1;; ++tries) {
      const run made = run_within(1, command);
      const auto is_there = [&](const std::string& path) { return machine.exists(path); };
      if (tries == patience || std::all_of(files.begin(), files.end(), is_there)) return made;
    }
  }

  static void expect_ended(const run& made, int signal, double from) {
    EXPECT_EQ(made.status, signal);
    EXPECT_EQ(made.error, ETIMEDOUT);
    EXPECT_THAT(made.seconds, AllOf(Ge(from), Le(from + patience)));
  }

  /// The shell of a command sleeps; by a program that is no tool.
  static std::string sleep_command(const std::string& seconds) {
    return "/.sandbox/bin/applets/sleep " + seconds + "; ";
  }

  /// The number that a script has written to a file.
  pid_t number_in(const std::string& path) { return std::stoi(machine.read(path)); }

  /// The signal that ended a process which the commands left behind; 0: it goes on. It becomes a
  /// child of this process once its own parent is gone; `not_told`: the parent took its status
  /// before.
  static int signal_that_ended(pid_t process) {
    int status = 0;
    for (int i = 0; i < patience_ms; ++i) {
      const pid_t found = waitpid(process, &status, WNOHANG);
      if (found == process) return WTERMSIG(status);
      if (found < 0 && kill(process, 0) != 0) return not_told;
      usleep(1000);
    }
    return 0;
  }

  static bool goes_on(pid_t process) {
    usleep(100'000);
    return waitpid(process, nullptr, WNOHANG) != process && kill(process, 0) == 0;
  }

  static void end(pid_t process) {
    kill(process, SIGKILL);
    EXPECT_EQ(waitpid(process, nullptr, 0), process);
  }
};

/// What holds for a plain command line, which the shell runs or, where it is known by its name, the
/// library itself.
class orv_set_tool_timeout_of_tool : public orv_set_tool_timeout_,
                                     public testing::WithParamInterface<const char*> {
 protected:
  orv_set_tool_timeout_of_tool() {
    if (is_without_shell()) machine.shell_is(GetParam());
  }
  ~orv_set_tool_timeout_of_tool() override {
    for (const auto& call : machine.call_records()) EXPECT_NE(call.by_shell, is_without_shell());
  }

  static bool is_without_shell() { return GetParam() != std::string("other"); }
};

INSTANTIATE_TEST_SUITE_P(of, orv_set_tool_timeout_of_tool, testing::Values("other", "dash", "bash"),
                         [](const auto& shell) { return std::string(shell.param); });

TEST_F(orv_set_tool_timeout_, gives_the_limit_before) {
  EXPECT_EQ(orv_tool_timeout(), 0U);
  EXPECT_EQ(orv_set_tool_timeout(7), 0U);
  EXPECT_EQ(orv_tool_timeout(), 7U);
  EXPECT_EQ(orv_set_tool_timeout(0), 7U);
  EXPECT_EQ(orv_tool_timeout(), 0U);
}

TEST_F(orv_set_tool_timeout_, limit_belongs_to_its_thread) {
  orv_set_tool_timeout(7);
  std::thread([] { EXPECT_EQ(orv_set_tool_timeout(8), 0U); }).join();
  EXPECT_EQ(orv_tool_timeout(), 7U);
}

TEST_F(orv_set_tool_timeout_, command_that_ends_in_time_ends_as_without_a_limit) {
  for (const char* command : {"exit 0", "exit 5", "kill -9 $$", "/bin/none", "kill -15 $$"}) {
    machine.tool("/bin/none").is_missing();
    const run free = run_within(0, command);
    const run limited = run_within(60, command);
    EXPECT_EQ(free.status, limited.status) << command;
    EXPECT_EQ(limited.error, 0) << command;
    EXPECT_LE(limited.seconds, patience) << command;
  }
  EXPECT_EQ(run_within(0xffffffff, "exit 3").status, 3 << 8);
}

TEST_F(orv_set_tool_timeout_, no_command_and_no_shell_are_reported_as_without_a_limit) {
  orv_set_tool_timeout(1);
  EXPECT_EQ(liborv_system(nullptr), -1);
  EXPECT_EQ(errno, EINVAL);
  machine.remove("/bin/sh");
  EXPECT_EQ(liborv_system("exit 0"), 127 << 8);
  EXPECT_EQ(errno, ENOENT);
}

TEST_P(orv_set_tool_timeout_of_tool, tool_that_sleeps_is_ended) {
  machine.tool("/bin/tool").runs("echo $$ > /tmp/tool; exec sleep 60");
  expect_ended(run_for_a_second("/bin/tool > /dev/null", {"/tmp/tool"}), SIGTERM, 1);
  EXPECT_THAT(signal_that_ended(number_in("/tmp/tool")), AnyOf(SIGTERM, not_told));
}

TEST_P(orv_set_tool_timeout_of_tool, tool_that_ends_in_time_ends_as_without_a_limit) {
  machine.tool("/bin/works").succeeds();
  machine.tool("/bin/fails").fails(5);
  machine.tool("/bin/dies").dies_of(SIGKILL);
  machine.tool("/bin/none").is_missing();
  for (const std::string command : {"/bin/works", "/bin/fails", "/bin/dies", "/bin/none"}) {
    for (const std::string output : {"", " > /tmp/output"}) {
      const run free = run_within(0, command + output);
      const run limited = run_within(60, command + output);
      EXPECT_EQ(free.status, limited.status) << command << output;
      EXPECT_EQ(free.error, limited.error) << command << output;
      EXPECT_LE(limited.seconds, patience) << command << output;
    }
  }
}

TEST_P(orv_set_tool_timeout_of_tool, kernel_without_process_descriptors_has_the_same_limit) {
  without_process_descriptors = true;
  machine.tool("/bin/works").takes(std::chrono::milliseconds(200)).fails(4);
  EXPECT_EQ(run_within(20, "/bin/works").status, 4 << 8);
  machine.tool("/bin/tool").takes(std::chrono::seconds(60));
  expect_ended(run_within(1, "/bin/tool"), SIGTERM, 1);
}

TEST_F(orv_set_tool_timeout_, every_process_of_a_pipeline_is_ended) {
  machine.tool("/bin/first").runs("echo $$ > /tmp/first; exec sleep 60");
  machine.tool("/bin/second").runs("echo $$ > /tmp/second; exec sleep 60");
  expect_ended(run_for_a_second("/bin/first | /bin/second", {"/tmp/first", "/tmp/second"}), SIGTERM,
               1);
  EXPECT_THAT(signal_that_ended(number_in("/tmp/first")), AnyOf(SIGTERM, not_told));
  EXPECT_THAT(signal_that_ended(number_in("/tmp/second")), AnyOf(SIGTERM, not_told));
}

TEST_F(orv_set_tool_timeout_, tool_that_ignores_sigterm_is_killed_after_the_grace) {
  machine.tool("/bin/tool").runs("trap '' TERM; echo $$ > /tmp/tool; sleep 60; sleep 60");
  expect_ended(run_for_a_second("trap '' TERM; /bin/tool; exit 0", {"/tmp/tool"}), SIGKILL, 3);
  EXPECT_THAT(signal_that_ended(number_in("/tmp/tool")), AnyOf(SIGKILL, not_told));
}

TEST_F(orv_set_tool_timeout_, tool_that_outlives_its_shell_has_the_grace_too) {
  // The group's other processes are known from "/proc": this one cleans up for half a second.
  machine.tool("/bin/tool")
      .runs(
          "mkdir /proc/$$; echo \"$$ (a) b) S 1 $(cat /tmp/group) 1\" > /proc/$$/stat;"
          "trap 'sleep 0.5; echo clean > /tmp/clean; echo \"0 (a) Z 1 0\" > /proc/$$/stat; exit' "
          "TERM;"
          "while :; do sleep 0.05; done");
  expect_ended(run_for_a_second("echo $$ > /tmp/group; /bin/tool; exit 0", {"/tmp/clean"}), SIGTERM,
               1.5);
  EXPECT_EQ(machine.read("/tmp/clean"), "clean\n");
}

TEST_P(orv_set_tool_timeout_of_tool, tool_has_the_whole_grace_where_proc_does_not_tell) {
  machine.remove("/proc/" + std::to_string(getpid()));
  machine.tool("/bin/tool").runs("trap '' TERM; echo $$ > /tmp/tool; sleep 60; sleep 60");
  expect_ended(run_for_a_second("/bin/tool", {"/tmp/tool"}), SIGTERM, 3);
  EXPECT_THAT(signal_that_ended(number_in("/tmp/tool")), AnyOf(SIGKILL, not_told));
}

TEST_F(orv_set_tool_timeout_, tool_has_the_whole_grace_without_proc) {
  machine.remove("/proc");
  expect_ended(run_within(1, sleep_command("60")), SIGTERM, 3);
}

TEST_F(orv_set_tool_timeout_, what_proc_does_not_tell_of_a_process_is_not_waited_for) {
  machine.file("/proc/12x/stat", "12 (a) S 1 1");
  machine.directory("/proc/4000001");
  for (const char* const text : {"", "4000002 (a", "4000002 (a) S 1 x 1", "4000002 (a) X 1 1"}) {
    machine.file("/proc/4000002/stat", text);
    expect_ended(run_within(1, sleep_command("60")), SIGTERM, 1);
  }
}

TEST_F(orv_set_tool_timeout_, command_that_takes_sigterm_for_success_has_failed_all_the_same) {
  expect_ended(run_within(1, "trap 'exit 0' TERM; " + sleep_command("60")), SIGTERM, 1);
}

TEST_F(orv_set_tool_timeout_, stopped_tool_is_ended) {
  expect_ended(run_within(1, "kill -STOP $$; exit 0"), SIGTERM, 1);
}

TEST_P(orv_set_tool_timeout_of_tool, daemon_that_a_tool_starts_goes_on) {
  machine.tool("/bin/tool").runs("set -m; sleep 60 > /dev/null & echo $! > /tmp/daemon");
  const run made = run_within(5, "/bin/tool > /dev/null");
  EXPECT_EQ(made.status, 0);
  EXPECT_LE(made.seconds, patience);
  const pid_t daemon = number_in("/tmp/daemon");
  EXPECT_TRUE(goes_on(daemon));
  end(daemon);
}

TEST_P(orv_set_tool_timeout_of_tool, daemon_that_left_the_group_neither_blocks_nor_is_ended) {
  machine.tool("/bin/tool")
      .runs("trap '' TERM; set -m; sleep 60 & echo $! > /tmp/daemon; wait; sleep 60");
  machine.remove("/proc/" + std::to_string(getpid()));
  expect_ended(run_for_a_second("/bin/tool > /tmp/output", {"/tmp/daemon"}), SIGTERM, 3);
  const pid_t daemon = number_in("/tmp/daemon");
  EXPECT_TRUE(goes_on(daemon));
  end(daemon);
}

TEST_P(orv_set_tool_timeout_of_tool, process_that_holds_the_output_open_blocks_nothing) {
  machine.tool("/bin/tool").runs("echo text; sleep 60 & echo $! > /tmp/holder");
  for (const unsigned limit : {0U, 5U}) {
    const run made = run_within(limit, "/bin/tool > /tmp/output");
    EXPECT_EQ(made.status, 0);
    EXPECT_LE(made.seconds, patience);
    EXPECT_EQ(machine.read("/tmp/output"), "text\n");
    end(number_in("/tmp/holder"));
  }
}

TEST_F(orv_set_tool_timeout_, only_a_limited_command_has_a_group_of_its_own) {
  static volatile sig_atomic_t came = 0;
  struct sigaction note {};
  note.sa_handler = [](int) { came = came + 1; };
  note.sa_flags = SA_RESTART;
  struct sigaction old {};
  sigaction(SIGUSR1, &note, &old);
  setpgid(0, 0);
  const std::string tell_the_group = "trap '' USR1; kill -USR1 0";
  EXPECT_EQ(run_within(5, tell_the_group).status, 0);
  EXPECT_EQ(came, 0);
  EXPECT_EQ(run_within(0, tell_the_group).status, 0);
  EXPECT_EQ(came, 1);
  sigaction(SIGUSR1, &old, nullptr);
}

TEST_F(orv_set_tool_timeout_, kernel_without_process_descriptors_waits_for_a_shell) {
  without_process_descriptors = true;
  const run in_time = run_within(5, sleep_command("0.2") + "exit 4");
  EXPECT_EQ(in_time.status, 4 << 8);
  EXPECT_LE(in_time.seconds, patience);
}

TEST_F(orv_set_tool_timeout_, process_that_sigkill_does_not_end_is_waited_for_no_longer) {
  without_sigkill = true;
  expect_ended(run_for_a_second("echo $$ > /tmp/shell; trap '' TERM; " + sleep_command("60"),
                                {"/tmp/shell"}),
               SIGKILL, 4);
  without_sigkill = false;
  const pid_t shell = number_in("/tmp/shell");
  EXPECT_EQ(waitpid(shell, nullptr, WNOHANG), 0);
  kill(-shell, SIGKILL);
  siginfo_t ended{};
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(shell), &ended, WEXITED | WNOWAIT), 0);
  EXPECT_EQ(run_within(1, "exit 0").status, 0);
  EXPECT_EQ(waitpid(shell, nullptr, 0), -1);  // its status has been taken by now
}

TEST_F(orv_set_tool_timeout_, interrupted_waits_go_on) {
  struct sigaction wake {};
  wake.sa_handler = [](int) {};  // no SA_RESTART: the wait is interrupted
  struct sigaction old {};
  sigaction(SIGUSR1, &wake, &old);
  const std::string often =
      "for i in 1 2 3 4 5 6 7 8 9; do kill -USR1 " + std::to_string(getpid()) + "; done; ";
  EXPECT_EQ(run_within(5, often + "exit 4").status, 4 << 8);
  expect_ended(run_within(1, often + sleep_command("60")), SIGTERM, 1);
  sigaction(SIGUSR1, &old, nullptr);
}

TEST_F(orv_set_tool_timeout_, process_that_ignores_its_children_cannot_wait) {
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  struct sigaction old {};
  sigaction(SIGCHLD, &ignore, &old);
  const run made = run_within(5, "exit 0");
  sigaction(SIGCHLD, &old, nullptr);
  EXPECT_EQ(made.status, -1);
  EXPECT_EQ(made.error, ECHILD);
  EXPECT_LE(made.seconds, patience);
}

TEST_F(orv_set_tool_timeout_, caller_keeps_its_signals) {
  sigset_t before;
  sigset_t after;
  pthread_sigmask(SIG_SETMASK, nullptr, &before);
  expect_ended(run_within(1, sleep_command("60")), SIGTERM, 1);
  pthread_sigmask(SIG_SETMASK, nullptr, &after);
  for (int signal = 1; signal < SIGRTMAX; ++signal) {
    EXPECT_EQ(sigismember(&before, signal), sigismember(&after, signal)) << signal;
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 || signal == SIGPROF) continue;
    if (signal != SIGSEGV && signal != SIGBUS && signal != SIGFPE) {  // the sanitizer's
      EXPECT_EQ(action.sa_handler, SIG_DFL) << signal;
    }
  }
}

TEST_F(orv_set_tool_timeout_, threads_with_and_without_a_limit_do_not_disturb_each_other) {
  std::vector<std::thread> threads;
  std::array<int, 6> statuses{};
  for (std::size_t i = 0; i < statuses.size(); ++i) {
    threads.emplace_back([i, &statuses] {
      orv_set_tool_timeout(static_cast<unsigned>(i % 3));
      const bool is_ended = i % 3 == 1;
      statuses[i] =
          liborv_system((is_ended ? sleep_command("60") : sleep_command("1.5") + "exit 7").c_str());
    });
  }
  for (std::thread& each : threads) each.join();
  EXPECT_THAT(statuses, ElementsAre(7 << 8, SIGTERM, 7 << 8, 7 << 8, SIGTERM, 7 << 8));
  EXPECT_THAT(machine.open_descriptors(), IsEmpty());
}
