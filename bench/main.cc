// Measures every row of the table and writes the result as JSON; bench/run prints the table.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string_view>
#include <vector>

#include "bench/machine.h"
#include "bench/row.h"

namespace {

struct options {
  const char* json = nullptr;
  const char* ours = nullptr;
  const char* others = nullptr;
  int rounds = 0;
};

int usage() {
  std::cerr << "usage: orv_bench [--rounds=N] --json=FILE [--benchmark_...]\n"
               "       orv_bench --ours=ROW | --others=ROW    one side once, for a profiler\n";
  return 2;
}

/// The value of an option "--NAME=VALUE"; NULL for another one.
const char* value_of(const char* word, std::string_view option) {
  return std::string_view(word).starts_with(option) ? word + option.size() : nullptr;
}

bool understood(const char* word, options& wanted) {
  if (const char* const rounds = value_of(word, "--rounds=")) {
    wanted.rounds = std::atoi(rounds);
  } else if (const char* const path = value_of(word, "--json=")) {
    wanted.json = path;
  } else if (const char* const row = value_of(word, "--ours=")) {
    wanted.ours = row;
  } else if (const char* const compared = value_of(word, "--others=")) {
    wanted.others = compared;
  } else {
    return false;
  }
  return true;
}

bench::rows all_rows() {
  bench::rows all;
  for (auto* const add : {bench::add_captured_run, bench::add_getters, bench::add_readers,
                          bench::add_share_get, bench::add_share_changes, bench::add_growth,
                          bench::add_users, bench::add_memory, bench::add_peers}) {
    add(all);
  }
  return all;
}

/// Knows whether a row could not be measured.
class reporter : public benchmark::JSONReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) complete_ = complete_ && !run.error_occurred;
    JSONReporter::ReportRuns(runs);
  }
  bool complete() const { return complete_; }

 private:
  bool complete_ = true;
};

int run_once(std::string_view name, bench::side bench::row::*measured) {
  for (const bench::row& each : all_rows()) {
    if (each.name != name) continue;
    if (each.prepare) each.prepare();
    (each.*measured)();
    return 0;
  }
  return usage();
}

/// What the library prints is none of the table's.
void silence_library() {
  const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nothing, STDOUT_FILENO);
}

}  // namespace

int main(int count, char** words) {
  benchmark::Initialize(&count, words);
  options wanted;
  for (int i = 1; i < count; ++i) {
    if (!understood(words[i], wanted)) return usage();
  }
  if (wanted.ours != nullptr || wanted.others != nullptr) {
    bench::enter_machine();
    silence_library();
    return wanted.ours != nullptr ? run_once(wanted.ours, &bench::row::ours)
                                  : run_once(wanted.others, &bench::row::others);
  }
  std::ofstream file(wanted.json == nullptr ? "" : wanted.json);
  if (!file) return usage();
  benchmark::CPUInfo::Get();  // from the real /proc
  bench::enter_machine();
  silence_library();
  bench::register_rows(all_rows(), wanted.rounds);
  reporter json;
  json.SetOutputStream(&file);
  json.SetErrorStream(&std::cerr);
  const std::size_t run = benchmark::RunSpecifiedBenchmarks(&json);
  return run > 0 && json.complete() && file.flush() ? 0 : 1;
}
