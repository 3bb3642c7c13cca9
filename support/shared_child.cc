#include "support/shared_child.h"

#include <linux/sched.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>

#include <cerrno>
#include <cstdint>

#include "support/signals.h"

namespace orv::support {
namespace {

/// The child has the thread's own state: it would be the one to be cancelled.
class not_to_be_cancelled {
 public:
  not_to_be_cancelled() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_); }
  ~not_to_be_cancelled() { pthread_setcancelstate(previous_, nullptr); }
  not_to_be_cancelled(const not_to_be_cancelled&) = delete;
  not_to_be_cancelled& operator=(const not_to_be_cancelled&) = delete;

 private:
  int previous_ = PTHREAD_CANCEL_ENABLE;
};

struct work {
  int (*run)(void*) noexcept;
  void* argument;
  std::span<char> stack;
  int end_signal;
};

constexpr int shared = CLONE_VM | CLONE_VFORK;

#if defined(__x86_64__) && defined(__LP64__)
/// By clone3(2), for which the C library has no function. The child has an empty stack, with
/// nothing to return to: the instructions here call the function, and end the child with what that
/// returns. An exception would unwind into this process's frames: the function throws none.
/// @return the child's number, or -errno
long clone_without_handlers(const work& asked) {
  clone_args how{};
  how.flags = shared | CLONE_CLEAR_SIGHAND;
  how.exit_signal = static_cast<unsigned>(asked.end_signal);
  how.stack = reinterpret_cast<std::uintptr_t>(asked.stack.data());
  how.stack_size = asked.stack.size();
  long child = SYS_clone3;
  asm volatile(
      "syscall\n\t"
      "test %%rax, %%rax\n\t"
      "jnz 1f\n\t"
      "and $-16, %%rsp\n\t"
      "mov %[argument], %%rdi\n\t"
      "call *%[run]\n\t"
      "mov %%eax, %%edi\n\t"
      "mov %[exit], %%eax\n\t"
      "syscall\n"
      "1:"
      : "+&a"(child)
      : [how] "D"(&how), [size] "S"(sizeof how), [run] "r"(asked.run),
        [argument] "r"(asked.argument), [exit] "i"(SYS_exit)
      : "rcx", "r11", "cc", "memory");
  return child;
}
#else
long clone_without_handlers(const work& /*how*/) { return -ENOSYS; }
#endif

/// To ask for each of them takes longer than all else that the child does before it is a tool.
void drop_handlers() {
  struct sigaction by_default {};
  by_default.sa_handler = SIG_DFL;
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction now {};
    if (sigaction(signal, nullptr, &now) != 0) continue;
    const bool is_handled = now.sa_handler != SIG_DFL && now.sa_handler != SIG_IGN;
    if (is_handled) sigaction(signal, &by_default, nullptr);
  }
}

int run_without_handlers(void* given) noexcept {
  const work& asked = *static_cast<work*>(given);
  drop_handlers();
  return asked.run(asked.argument);
}

}  // namespace

pid_t run_in_shared_child(int (*run)(void*) noexcept, void* argument, std::span<char> stack,
                          int end_signal) {
  const not_to_be_cancelled whole;
  const signals_blocked blocked(all_signals());
  work asked{run, argument, stack, end_signal};
  const long child = clone_without_handlers(asked);
  if (child > 0) return static_cast<pid_t>(child);
  // A kernel before 5.5, or something that confines the process, does not let it.
  return clone(run_without_handlers, stack.data() + stack.size(), shared | end_signal, &asked);
}

}  // namespace orv::support
