/// Counts what a piece of code allocates, by malloc or operator new, and makes an allocation fail.
#pragma once

#include <cstddef>

namespace faults {

struct allocation_fault {
  long at = -1;  // the allocation with this number fails; -1: none
  bool for_ever = false;
};

/// From here to `stop_allocations` the calling thread's allocations are counted and may fail.
void watch_allocations(allocation_fault fault);
/// @return how many there were
long stop_allocations();

/// Of the allocations watched last those that nothing has released since.
std::size_t unreleased_allocations();

}  // namespace faults
