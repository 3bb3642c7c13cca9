#ifndef ORV_COMMON_DEADLINE_H
#define ORV_COMMON_DEADLINE_H

#include <algorithm>
#include <chrono>

namespace orv {

/// A moment by which something must have happened; changes of the clock do not move it.
class deadline {
 public:
  explicit deadline(std::chrono::seconds from_now)
      : moment_(std::chrono::steady_clock::now() + from_now) {}

  /// What is left of the time, 0 when it is over.
  std::chrono::milliseconds left() const {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(moment_ - std::chrono::steady_clock::now());
    return std::max(left, milliseconds(0));
  }

 private:
  std::chrono::steady_clock::time_point moment_;
};

}  // namespace orv

#endif
