// Calls the library a great many times from one process, while a second process does the same, and
// then compares what the process holds with what it held at the beginning.
//
//   soak CALLS    in a new appliance of orvsim
#include <fcntl.h>
#include <orv/errors.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <utility>

#include "tests/soak/calls.h"
#include "tests/soak/measures.h"

namespace soak {
namespace {

constexpr std::size_t allocated_tolerance = 4096;
constexpr std::size_t resident_tolerance = 1024 * 1024;

/// How often each kind of call gave each code.
using tally = std::map<std::pair<std::string, int>, unsigned long>;

class worker {
 public:
  worker(std::vector<cycle> cycles, unsigned seed)
      : queries_(queries()), cycles_(std::move(cycles)), random_(seed) {
    std::vector<double> weights;
    for (const call& each : queries_) weights.push_back(each.weight);
    for (const cycle& each : cycles_) weights.push_back(each.weight);
    choice_ = std::discrete_distribution<std::size_t>(weights.begin(), weights.end());
  }

  void make_one() {
    const std::size_t chosen = choice_(random_);
    if (chosen < queries_.size()) {
      const call& asked = queries_[chosen];
      count(asked.name, asked.make(), asked.refusals);
    } else {
      advance(cycles_[chosen - queries_.size()]);
    }
  }

  /// Another process changes what this one asks for.
  void expect_races() {
    for (call& each : queries_) {
      each.refusals.insert(each.refusals.end(), each.races.begin(), each.races.end());
    }
  }

  /// Every cycle to its end, so that nothing of it is there.
  void settle() {
    for (cycle& each : cycles_) {
      while (each.stage != 0) advance(each);
    }
  }

  /// Every kind of call once, and every cycle: what the first call of each keeps is kept by then.
  void make_all() {
    for (const call& each : queries_) count(each.name, each.make(), each.refusals);
    for (cycle& each : cycles_) advance(each);
    settle();
  }

  unsigned long unexpected() const { return unexpected_; }
  unsigned long made() const { return made_; }

  /// The tally, which is empty then and holds no memory.
  tally take_results() { return std::exchange(results_, {}); }

 private:
  void advance(cycle& of) {
    static constexpr const char* words[] = {" add", " change", " remove"};
    const std::string name = of.name + words[of.stage];
    const std::function<int()>& step = of.stage == 0   ? of.add
                                       : of.stage == 1 ? of.change
                                                       : of.remove;
    const int result = count(name, step(), of.refusals);
    // What was refused since the other process holds a file is asked for again when it comes again.
    const bool is_done = result != ORV_E_SHARES_LOCKED && result != ORV_E_SERVICE_LOCKED;
    if (is_done) of.stage = (of.stage + 1) % 3;
  }

  int count(const std::string& name, int result, const std::vector<int>& refusals) {
    ++made_;
    ++results_[{name, result}];
    bool expected = result == ORV_OK;
    for (const int code : refusals) expected = expected || code == result;
    if (!expected) {
      ++unexpected_;
      std::fprintf(stderr, "%s gave %d (%s)\n", name.c_str(), result, orv_strerror(result));
    }
    return result;
  }

  std::vector<call> queries_;
  std::vector<cycle> cycles_;
  std::minstd_rand random_;
  std::discrete_distribution<std::size_t> choice_;
  tally results_;
  unsigned long made_ = 0;
  unsigned long unexpected_ = 0;
};

volatile sig_atomic_t is_over = 0;

/// The second process: the same calls, until it is told that it is over.
[[noreturn]] void be_load() {
  struct sigaction end {};
  end.sa_handler = [](int) { is_over = 1; };
  sigaction(SIGTERM, &end, nullptr);
  worker load(share_cycles("load"), 2);
  load.expect_races();
  while (is_over == 0) {
    load.make_one();
    usleep(20000);  // the first process is the one to hurry
  }
  load.settle();
  std::fprintf(stderr, "the second process made %lu calls\n", load.made());
  _exit(load.unexpected() == 0 ? 0 : 1);
}

pid_t start_load() {
  const pid_t load = fork();
  if (load == 0) be_load();
  return load;
}

bool has_ended_well(pid_t process) {
  int status = 0;
  kill(process, SIGTERM);
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return status == 0;
}

bool expect(bool holds, const char* what) {
  if (!holds) std::fprintf(stderr, "FAILED: %s\n", what);
  return holds;
}

bool is_as_before(const measures& before, const measures& after) {
  bool same = expect(after.allocated <= before.allocated + allocated_tolerance, "memory is lost");
  same &= expect(after.resident <= before.resident + resident_tolerance, "the process has grown");
  same &= expect(after.descriptors == before.descriptors, "descriptors are not as before");
  same &= expect(after.threads == before.threads, "threads are left");
  same &= expect(!after.has_children, "children are left");
  same &= expect(after.temporary == before.temporary, "/tmp is not as before");
  return same;
}

/// The calls of the first process, with a line on what it holds twenty times.
void make_calls(worker& first, unsigned long wanted) {
  const auto begin = std::chrono::steady_clock::now();
  const unsigned long start = first.made();
  unsigned long next = 0;
  while (first.made() - start < wanted) {
    first.make_one();
    if (first.made() - start < next) continue;
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    std::fprintf(stderr, "%7lu calls, %5.0f s: %s\n", first.made() - start, took.count(),
                 text_of(measure()).c_str());
    next += std::max(wanted / 20, 1UL);
  }
}

void show(const tally& results) {
  for (const auto& [what, times] : results) {
    std::fprintf(stderr, "%-32s %6d %8lu\n", what.first.c_str(), what.second, times);
  }
}

int run(unsigned long wanted) {
  if (prepare_machine() != ORV_OK) return 2;
  std::vector<cycle> cycles = machine_cycles();
  for (cycle& each : share_cycles("main")) cycles.push_back(std::move(each));
  worker first(std::move(cycles), 1);
  const pid_t load = start_load();
  first.make_all();
  make_calls(first, wanted / 50);  // the warm-up
  first.settle();
  bool good = expect(has_ended_well(load), "the second process met an unexpected code");
  show(first.take_results());
  const measures before = measure();

  const pid_t second_load = start_load();
  make_calls(first, wanted);
  first.settle();
  good &= expect(has_ended_well(second_load), "the second process met an unexpected code");
  show(first.take_results());
  const measures after = measure();

  std::fprintf(stderr, "before: %s\nafter:  %s\n", text_of(before).c_str(), text_of(after).c_str());
  good &= expect(first.unexpected() == 0, "a call met an unexpected code");
  good &= is_as_before(before, after);
  return good ? 0 : 1;
}

}  // namespace
}  // namespace soak

int main(int argc, char** argv) {
  const unsigned long calls = argc == 2 ? std::strtoul(argv[1], nullptr, 10) : 0;
  if (calls < 50) {
    std::fprintf(stderr, "usage: soak CALLS, at least 50\n");
    return 2;
  }
  // The library and its tools print.
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  close(nowhere);
  return soak::run(calls);
}
