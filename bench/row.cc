#include "bench/row.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <exception>

#include "bench/clock.h"
#include "bench/heap.h"
#include "bench/process.h"

namespace bench {
namespace {

constexpr const char* names_of_units[] = {"seconds", "bytes", "count"};

/// What both sides gave when they were measured once.
struct turn {
  double ours;
  double others;
  double own_share;
};

/// The sides take turns, and in beginning too.
turn measure_turn(const row& measured, bool we_begin) {
  turn taken{};
  const auto measure_ours = [&] {
    const double start = processor_time();
    taken.ours = measured.ours();
    taken.own_share = (processor_time() - start) / taken.ours;
  };
  if (we_begin) measure_ours();
  taken.others = measured.others();
  if (!we_begin) measure_ours();
  return taken;
}

/// What a row does to the heap and the environment is none of the next one's.
/// @param taken  turns before these
std::vector<turn> measure_in_process(const row& measured, std::size_t taken, std::size_t count) {
  return items_of_child<turn>(count, [&](std::size_t number) {
    if (number == 0) {
      keep_freed_memory();
      if (measured.prepare) measured.prepare();
    }
    return measure_turn(measured, (taken + number) % 2 == 0);
  });
}

std::vector<turn> measure_turns(const row& measured, std::size_t count) {
  std::vector<turn> turns;
  while (turns.size() < count) {
    const std::size_t taken = turns.size();
    const std::size_t next = std::min(count - taken, static_cast<std::size_t>(measured.rounds));
    const auto more = measure_in_process(measured, taken, next);
    turns.insert(turns.end(), more.begin(), more.end());
  }
  return turns;
}

double median(const std::vector<turn>& turns, double turn::*value) {
  std::vector<double> values;
  for (const turn& each : turns) values.push_back(each.*value);
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

void tell(benchmark::State& state, const row& measured, const std::vector<turn>& turns) {
  const double ours = median(turns, &turn::ours);
  const double others = median(turns, &turn::others);
  state.counters["ours"] = ours;
  state.counters["other"] = others;
  state.counters["ratio"] = others == 0 ? ours : ours / others;
  state.counters["wanted"] = measured.wanted;
  if (measured.tells_own_share) state.counters["own_share"] = median(turns, &turn::own_share);
  state.SetLabel(std::string(names_of_units[static_cast<int>(measured.in)]) + '|' + measured.other +
                 '|' + measured.limit);
}

void measure(benchmark::State& state, const row& measured) {
  const auto turns = measure_turns(measured, static_cast<std::size_t>(state.max_iterations));
  auto next = turns.begin();
  for ([[maybe_unused]] const auto iteration : state) state.SetIterationTime((next++)->ours);
  tell(state, measured, turns);
}

/// A row that cannot be measured says why, in its child on standard error; the others go on.
void run(benchmark::State& state, const row& measured) {
  try {
    measure(state, measured);
  } catch (const std::exception& failure) {
    state.SkipWithError(failure.what());
  }
}

}  // namespace

void register_rows(const rows& all, int rounds) {
  for (const row& each : all) {
    benchmark::RegisterBenchmark(each.name.c_str(),
                                 [each](benchmark::State& state) { run(state, each); })
        ->UseManualTime()
        ->Iterations(rounds == 0 ? each.rounds * each.processes : rounds);
  }
}

side time_of(std::function<void()> work) {
  return [work = std::move(work)] { return timed(work); };
}

}  // namespace bench
