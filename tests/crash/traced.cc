#include "tests/crash/traced.h"

#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <set>
#include <stdexcept>

// The header of the kernel has the rest; it cannot be read beside <sys/ptrace.h>.
#ifndef PTRACE_O_EXITKILL
#define PTRACE_O_EXITKILL (1 << 20)
#endif

/// Every five seconds AddressSanitizer would give memory back between two calls of the library:
/// some hundred system calls that are none of its own.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();  // NOLINT
extern "C" const char* __asan_default_options() {  // NOLINT(bugprone-reserved-identifier)
  return "allocator_release_to_os_interval_ms=-1";
}

namespace {

constexpr int stop_of_a_call = SIGTRAP | 0x80;

class tracer {
 public:
  tracer(pid_t process, int kill_at) : process_(process), kill_at_(kill_at) {}

  traced_run follow() {
    begin(process_);
    int status = 0;
    for (pid_t stopped = 0; (stopped = waitpid(-1, &status, __WALL)) > 0;) {
      if (WIFSTOPPED(status)) {
        handle_stop(stopped, status);
      } else {
        handle_end(stopped, status);
      }
    }
    return run_;
  }

 private:
  void begin(pid_t process) {
    int status = 0;
    if (waitpid(process, &status, __WALL) != process || !WIFSTOPPED(status)) {
      throw std::runtime_error("the process cannot be traced");
    }
    constexpr long options = PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE |
                             PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK | PTRACE_O_TRACEEXEC;
    if (ptrace(PTRACE_SETOPTIONS, process, nullptr, options) != 0) {
      throw std::runtime_error("the process cannot be traced");
    }
    traced_.insert(process);
    go_on(process);
  }

  static void go_on(pid_t process, int signal = 0) {
    ptrace(PTRACE_SYSCALL, process, nullptr, static_cast<long>(signal));
  }

  void handle_stop(pid_t process, int status) {
    const int signal = WSTOPSIG(status);
    if (status >> 16 == PTRACE_EVENT_EXEC) {
      traced_.erase(process);
      ptrace(PTRACE_DETACH, process, nullptr, nullptr);
    } else if (signal == stop_of_a_call) {
      handle_call(process);
    } else if (status >> 16 != 0 || signal == SIGSTOP) {
      traced_.insert(process);
      go_on(process);
    } else {
      go_on(process, signal);
    }
  }

  void handle_call(pid_t process) {
    __ptrace_syscall_info info{};
    ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof info, &info);
    if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
      if (++run_.calls == kill_at_) return kill_all();
      if (info.entry.nr == SYS_fsync || info.entry.nr == SYS_fdatasync) {
        count_sync(process, static_cast<int>(info.entry.args[0]));
      }
    }
    go_on(process);
  }

  void kill_all() {
    run_.was_killed = true;
    for (const pid_t process : traced_) kill(process, SIGKILL);
  }

  void count_sync(pid_t process, int number) {
    const int handle = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
    const int file = static_cast<int>(syscall(SYS_pidfd_getfd, handle, number, 0));
    struct stat found {};
    if (fstat(file, &found) != 0) throw std::runtime_error("what is synced cannot be examined");
    ++(S_ISDIR(found.st_mode) ? run_.directory_syncs : run_.file_syncs);
    close(file);
    close(handle);
  }

  void handle_end(pid_t process, int status) {
    traced_.erase(process);
    if (process == process_ && WIFEXITED(status)) run_.exit_code = WEXITSTATUS(status);
  }

  pid_t process_;
  int kill_at_;
  std::set<pid_t> traced_;
  traced_run run_;
};

}  // namespace

traced_run run_traced(const std::function<int()>& act, int kill_at) {
  prctl(PR_SET_CHILD_SUBREAPER, 1);  // to wait for the tools of a process that was killed
  const pid_t process = fork();
  if (process == 0) {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    _exit(act());
  }
  return tracer(process, kill_at).follow();
}
