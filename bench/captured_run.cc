// What it costs to run a tool and have its output.
#include <orv/scoped.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "bench/appliance.h"
#include "bench/clock.h"
#include "bench/getters.h"
#include "bench/process.h"
#include "bench/row.h"

namespace bench {
namespace {

constexpr char limit[] =
    "making, opening and removing the temporary file; the rest is the tool's own";

/// Temporary file, command runner, `cat`, parsing, removal.
void run_captured() {
  orv::array_list arrays;
  orv::check(arrays.read(get_mdinfo_from_proc));
  expect_records(arrays);
}

void run_directly() { run_program({"/usr/bin/cat", "/proc/mdstat"}, "/tmp/direct"); }

/// Memory that this process has touched, as that of a large daemon.
class touched_memory {
 public:
  touched_memory()
      : start_(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
    if (start_ == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "2 GiB");
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    for (std::size_t at = 0; at < size; at += page) {
      static_cast<volatile char*>(start_)[at] = 1;
    }
  }
  ~touched_memory() { munmap(start_, size); }
  touched_memory(const touched_memory&) = delete;
  touched_memory& operator=(const touched_memory&) = delete;

 private:
  static constexpr std::size_t size = 2UL << 30;
  void* start_;
};

/// The mean of several runs: a change of the process's size would cost more than one of them.
double mean_of_runs() {
  constexpr int runs = 20;
  return timed([] {
           for (int i = 0; i < runs; ++i) run_captured();
         }) /
         runs;
}

double captured_in_large_process() {
  const touched_memory memory;
  return mean_of_runs();
}

}  // namespace

void add_captured_run(rows& all) {
  const auto prepare = [] { set_storage({.disks = 4, .arrays = 1, .pools = 1}); };
  all.push_back({"captured run of cat", "posix_spawn of cat into a file", 2.0, limit, prepare,
                 time_of(run_captured), time_of(run_directly), 400});
  all.push_back({"captured run, caller with 2 GiB", "the same in a small process", 1.3,
                 "the child shares the caller's memory until the tool runs", prepare,
                 captured_in_large_process, mean_of_runs, 5});
}

}  // namespace bench
