/// What the library takes of the heap.
#pragma once

#include <cstddef>

namespace bench {

/// From now on this process keeps the memory that it frees, as a daemon does whose heap does not
/// end with its largest list: the C library gives nothing back to the kernel.
void keep_freed_memory();

/// Watches the heap from its making to its end. With AddressSanitizer, whose allocator is another
/// one, it sees nothing.
class heap_watch {
 public:
  heap_watch();
  ~heap_watch();
  heap_watch(const heap_watch&) = delete;
  heap_watch& operator=(const heap_watch&) = delete;

  /// Bytes, the allocator's own among them.
  std::size_t kept() const;
  std::size_t peak() const;
};

}  // namespace bench
