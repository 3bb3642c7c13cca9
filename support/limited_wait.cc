#include "support/limited_wait.h"

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <mutex>

#include "support/process_group.h"

namespace orv::support {
namespace {

using clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds grace{2000};
constexpr milliseconds for_the_last_signal{1000};
constexpr milliseconds first_look{1};
constexpr milliseconds longest_look{50};

int left_until(clock::time_point deadline) {
  const auto left = std::chrono::ceil<milliseconds>(deadline - clock::now()).count();
  return static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
}

/// Tells when a child has ended, without taking its status.
class exit_watch {
 public:
  explicit exit_watch(pid_t child)
      : child_(child), descriptor_(static_cast<int>(syscall(SYS_pidfd_open, child, 0))) {}
  ~exit_watch() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  exit_watch(const exit_watch&) = delete;
  exit_watch& operator=(const exit_watch&) = delete;

  /// False when the deadline comes first.
  bool ends_by(clock::time_point deadline) const {
    for (milliseconds look = first_look; !has_ended(); look = std::min(2 * look, longest_look)) {
      const int left = left_until(deadline);
      if (left == 0) return false;
      // Where the kernel or the process has no descriptor to spare, the child is looked at again
      // and again.
      pollfd end = {descriptor_, POLLIN, 0};
      poll(&end, 1, descriptor_ >= 0 ? left : std::min(left, static_cast<int>(look.count())));
    }
    return true;
  }

 private:
  bool has_ended() const {
    siginfo_t found{};
    const int result =
        waitid(P_PID, static_cast<id_t>(child_), &found, WEXITED | WNOHANG | WNOWAIT);
    return result == 0 ? found.si_pid == child_ : errno != EINTR;
  }

  pid_t child_;
  int descriptor_;
};

int status_of(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return status;
}

/// Children that did not end, whose status is asked for when there is time.
class stuck_children {
 public:
  void add(pid_t child) {
    const std::lock_guard<std::mutex> alone(changing_);
    const auto place = std::find(children_.begin(), children_.end(), 0);
    if (place != children_.end()) *place = child;
  }
  void forget_the_ended() {
    const std::lock_guard<std::mutex> alone(changing_);
    for (pid_t& child : children_) {
      if (child != 0 && waitpid(child, nullptr, WNOHANG) != 0) child = 0;
    }
  }

 private:
  std::mutex changing_;
  std::array<pid_t, 64> children_{};
};

constinit stuck_children stuck;

/// The leader's number stays the group's own until its status is taken: no signal goes astray.
void wait_for_group(pid_t group, const exit_watch& leader, clock::time_point deadline) {
  if (!leader.ends_by(deadline)) return;
  for (milliseconds look = first_look; !has_ended(group); look = std::min(2 * look, longest_look)) {
    const int left = left_until(deadline);
    if (left == 0) return;
    poll(nullptr, 0, std::min(left, static_cast<int>(look.count())));
  }
}

int end_group(pid_t group, const exit_watch& leader) {
  kill(-group, SIGTERM);
  kill(-group, SIGCONT);  // what is stopped takes no other signal
  wait_for_group(group, leader, clock::now() + grace);
  kill(-group, SIGKILL);
  if (!leader.ends_by(clock::now() + for_the_last_signal)) {
    stuck.add(group);
    return SIGKILL;
  }
  const int status = status_of(group);
  return status < 0 || WIFSIGNALED(status) ? status : SIGTERM;
}

}  // namespace

ending wait_at_most(pid_t child, unsigned seconds) {
  stuck.forget_the_ended();
  const exit_watch watch(child);
  if (watch.ends_by(clock::now() + std::chrono::seconds(seconds))) return {status_of(child)};
  return {end_group(child, watch), true};
}

}  // namespace orv::support
