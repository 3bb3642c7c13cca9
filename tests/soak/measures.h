#ifndef ORV_TESTS_SOAK_MEASURES_H
#define ORV_TESTS_SOAK_MEASURES_H

#include <cstddef>
#include <string>
#include <vector>

namespace soak {

/// What a process holds.
struct measures {
  std::size_t allocated;               ///< bytes on the heap
  std::size_t resident;                ///< bytes of memory, 0 where that tells nothing
  std::vector<int> descriptors;        ///< open ones
  int threads;                         ///< 0 where "/proc" does not tell
  bool has_children;                   ///< running ones, or ended ones that nobody asked for
  std::vector<std::string> temporary;  ///< names in /tmp
};

measures measure();

std::string text_of(const measures& found);

}  // namespace soak

#endif
