/// The rows of the table. Each is a benchmark that measures two sides in turns and gives the
/// medians and their ratio.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// What is measured once: seconds, bytes, or a count.
using side = std::function<double()>;

enum class unit { seconds, bytes, count };

struct row {
  std::string name;
  std::string other;  ///< what the other side is
  double wanted;      ///< largest ratio of ours to the other side; 0 when none is asked for
  std::string limit;  ///< what limits it
  std::function<void()> prepare;
  side ours;
  side others;
  int rounds = 15;  ///< of one process
  unit in = unit::seconds;
  /// Whether the share of our own processor time in ours is reported.
  bool tells_own_share = false;
  int processes = 1;  ///< one after the other, each with the machine set up anew
};

/// Each part of the table adds its rows.
using rows = std::vector<row>;
void add_captured_run(rows& all);
void add_getters(rows& all);
void add_readers(rows& all);
void add_share_get(rows& all);
void add_share_changes(rows& all);
void add_growth(rows& all);
void add_users(rows& all);
void add_memory(rows& all);
void add_peers(rows& all);

/// Registers rows as benchmarks. @param rounds  in all, instead of each row's own, when not 0
void register_rows(const rows& all, int rounds);

/// A side that does the same work each time.
side time_of(std::function<void()> work);

}  // namespace bench
