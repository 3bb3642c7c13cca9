#ifndef ORV_SUPPORT_SIGNALS_H
#define ORV_SUPPORT_SIGNALS_H

#include <signal.h>

#include <initializer_list>

namespace orv::support {

inline sigset_t set_of(std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : signals) sigaddset(&set, signal);
  return set;
}

inline sigset_t all_signals() {
  sigset_t set;
  sigfillset(&set);
  return set;
}

/// Signals that do not reach this thread until the object goes out of scope.
class signals_blocked {
 public:
  explicit signals_blocked(const sigset_t& signals) {
    pthread_sigmask(SIG_BLOCK, &signals, &previous_);
  }
  ~signals_blocked() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
  signals_blocked(const signals_blocked&) = delete;
  signals_blocked& operator=(const signals_blocked&) = delete;

 private:
  sigset_t previous_{};
};

}  // namespace orv::support

#endif
