#ifndef ORVCTL_PROGRESS_BAR_H
#define ORVCTL_PROGRESS_BAR_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace orvctl {

/// How far some long work is.
struct work_progress {
  std::string name;                           ///< of what is worked on, such as "md0"
  std::string state;                          ///< what is done, such as "recovering"
  std::optional<double> percent;              ///< nothing while it waits for its turn
  std::uint64_t bytes_per_second = 0;         ///< 0 when not known
  std::optional<std::uint64_t> seconds_left;  ///< nothing when not known
};

/// "md0 recovering 12.6%, 48.0 MiB/s, 3 min left".
std::string progress_line(const work_progress& work);

/// The same with a bar, as wide as a terminal at most.
std::string progress_bar(const work_progress& work, std::size_t columns);

/// "1 h 40 min", "3 min", "20 s".
std::string duration_text(std::uint64_t seconds);

}  // namespace orvctl

#endif
