#include "bend.h"

#include <atomic>
#include <ctime>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "define.h"
#include "libc.h"

namespace sandbox {
namespace {

using action = std::function<void()>;

std::mutex guard;
std::map<std::string, action, std::less<>> actions;

constinit std::atomic<bool> whole_seconds = false;
// How much later each reading of the clock is, and how much later it has become so far.
constinit std::atomic<time_t> clock_step = 0;
constinit std::atomic<time_t> clock_advance = 0;

action take_action(std::string_view function) {
  const std::lock_guard lock(guard);
  const auto found = actions.find(function);
  if (found == actions.end()) return {};
  action taken = std::move(found->second);
  actions.erase(found);
  return taken;
}

}  // namespace

void before(std::string_view function, std::function<void()> act) {
  libc::make_bendable(function);
  const std::lock_guard lock(guard);
  actions.insert_or_assign(std::string(function), std::move(act));
}

void hasten(std::chrono::seconds step) { clock_step = step.count(); }

void know_whole_seconds_only() { whole_seconds = true; }

namespace libc {

void bend_nothing() {
  const std::lock_guard lock(guard);
  actions.clear();
  whole_seconds = false;
  clock_step = 0;
}

void do_what_comes_before(std::string_view function) {
  if (const action act = take_action(function)) act();
}

int bent_stat(int result, struct stat* found) {
  if (whole_seconds && result == 0) {
    for (timespec* const time : {&found->st_atim, &found->st_mtim, &found->st_ctim})
      time->tv_nsec = 0;
  }
  return result;
}

}  // namespace libc
}  // namespace sandbox

DEFINE(int, clock_gettime, clockid_t clock, timespec* now) {
  const int result = sandbox::libc::real<own_clock_gettime>("clock_gettime", clock, now);
  if (result == 0 && clock == CLOCK_MONOTONIC)
    now->tv_sec += sandbox::clock_advance += sandbox::clock_step;
  return result;
}
