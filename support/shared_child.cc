#include "support/shared_child.h"

#include <pthread.h>
#include <sched.h>

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

}  // namespace

pid_t run_in_shared_child(int (*run)(void*), void* argument, std::span<char> stack,
                          int end_signal) {
  const not_to_be_cancelled whole;
  const signals_blocked blocked(all_signals());
  return clone(run, stack.data() + stack.size(), CLONE_VM | CLONE_VFORK | end_signal, argument);
}

}  // namespace orv::support
