#ifndef ORVCTL_REBUILD_PROGRESS_H
#define ORVCTL_REBUILD_PROGRESS_H

#include <cstdint>
#include <optional>
#include <string>

namespace orvctl {

/// How far the rebuild of an array is.
struct rebuild_progress {
  double percent;
  std::uint64_t bytes_per_second;
};

/// Reads the progress of an array's record, "12.6%(48.00MB/s)"; nothing when it is not rebuilt.
std::optional<rebuild_progress> read_progress(const std::string& text);

}  // namespace orvctl

#endif
