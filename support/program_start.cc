#include "support/program_start.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "support/shared_child.h"
#include "support/signals.h"

namespace orv::support {
namespace {

/// What the child is asked to do, and why it could not.
struct attempt {
  const program_start& how;
  int error = 0;
};

/// A daemon that ignores these would pass that on: tools end by the one, and wait by the other.
/// What else is ignored stays so, as a shell has it. Set only where ignored: what stands before
/// `sigaction` in this process, as ThreadSanitizer does, would take the child's for this process's.
void heed_what_is_relied_on() {
  for (const int signal : {SIGPIPE, SIGCHLD}) {
    struct sigaction now {};
    if (sigaction(signal, nullptr, &now) != 0 || now.sa_handler != SIG_IGN) continue;
    now.sa_handler = SIG_DFL;
    sigaction(signal, &now, nullptr);
  }
}

bool open_as(int number, const char* path, int flags) {
  close(number);
  const int opened = open(path, flags, 0666);
  if (opened < 0 || opened == number) return opened == number;
  const bool is_there = dup2(opened, number) == number;
  close(opened);
  return is_there;
}

/// A tool would open a disk as the missing number, and write its complaints onto it.
bool open_null_if_closed(int number) {
  return fcntl(number, F_GETFD) >= 0 || open_as(number, "/dev/null", O_WRONLY);
}

void close_others() {
  constexpr int first = STDERR_FILENO + 1;
  if (close_range(first, ~0U, 0) == 0) return;
  // Kernels before 5.9 close them one by one.
  const long end = sysconf(_SC_OPEN_MAX);
  for (int number = first; number < end; ++number) close(number);
}

bool set_descriptors(const char* output) {
  if (!open_as(STDIN_FILENO, "/dev/null", O_RDONLY) || !open_null_if_closed(STDOUT_FILENO) ||
      !open_null_if_closed(STDERR_FILENO)) {
    return false;
  }
  if (output != nullptr && !open_as(STDOUT_FILENO, output, O_WRONLY | O_CREAT | O_TRUNC)) {
    return false;
  }
  close_others();
  return true;
}

/// Runs in the child.
int become_program(void* argument) noexcept {
  attempt& asked = *static_cast<attempt*>(argument);
  const program_start& how = asked.how;
  heed_what_is_relied_on();
  if ((!how.leads_group || setpgid(0, 0) == 0) && set_descriptors(how.output)) {
    const sigset_t none = set_of({});
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execve(how.path, how.words, how.variables);
  }
  asked.error = errno;
  return EXIT_FAILURE;
}

}  // namespace

pid_t start_program(const program_start& how) {
  // The child needs little of it; what is not touched costs nothing.
  constexpr std::size_t stack_size = 32UL * 1024;
  const auto stack = std::make_unique_for_overwrite<char[]>(stack_size);
  const int saved_errno = errno;
  attempt asked{how};
  const pid_t child =
      run_in_shared_child(become_program, &asked, {stack.get(), stack_size}, SIGCHLD);
  if (child < 0) return child;
  if (asked.error == 0) {
    errno = saved_errno;
    return child;
  }
  while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
  errno = asked.error;
  return -1;
}

}  // namespace orv::support
