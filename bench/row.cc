#include "bench/row.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <exception>

#include "bench/clock.h"

namespace bench {
namespace {

constexpr const char* names_of_units[] = {"seconds", "bytes", "count"};

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// The two sides take turns, and in beginning too.
class measurement {
 public:
  explicit measurement(const row& measured) : row_(measured) {}

  /// @return what ours gave
  double take() {
    const bool begins = ours_.size() % 2 == 0;
    if (begins) measure_ours();
    others_.push_back(row_.others());
    if (!begins) measure_ours();
    return ours_.back();
  }

  void tell(benchmark::State& state) const {
    const double ours = median(ours_);
    const double others = median(others_);
    state.counters["ours"] = ours;
    state.counters["other"] = others;
    state.counters["ratio"] = others == 0 ? ours : ours / others;
    state.counters["wanted"] = row_.wanted;
    if (row_.tells_own_share) state.counters["own_share"] = median(own_shares_);
    state.SetLabel(std::string(names_of_units[static_cast<int>(row_.in)]) + '|' + row_.other + '|' +
                   row_.limit);
  }

 private:
  void measure_ours() {
    const double start = processor_time();
    ours_.push_back(row_.ours());
    own_shares_.push_back((processor_time() - start) / ours_.back());
  }

  const row& row_;
  std::vector<double> ours_;
  std::vector<double> others_;
  std::vector<double> own_shares_;
};

void measure(benchmark::State& state, const row& measured) {
  if (measured.prepare) measured.prepare();
  measurement taken(measured);
  for ([[maybe_unused]] const auto turn : state) state.SetIterationTime(taken.take());
  taken.tell(state);
}

/// A row that cannot be measured says why; the others go on.
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
        ->Iterations(rounds == 0 ? each.rounds : rounds);
  }
}

side time_of(std::function<void()> work) {
  return [work = std::move(work)] { return timed(work); };
}

}  // namespace bench
