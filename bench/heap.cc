#include "bench/heap.h"

#include <malloc.h>

#include <algorithm>
#include <limits>

#define INTERPOSED __attribute__((visibility("default")))

namespace {

/// Blocks that were there before the watch began and are freed meanwhile are few.
bool is_watched = false;
long bytes = 0;
long highest = 0;

}  // namespace

namespace bench {

void keep_freed_memory() {
  mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
  mallopt(M_MMAP_MAX, 0);
}

heap_watch::heap_watch() {
  bytes = highest = 0;
  is_watched = true;
}

heap_watch::~heap_watch() { is_watched = false; }

std::size_t heap_watch::kept() const { return static_cast<std::size_t>(std::max(bytes, 0L)); }

std::size_t heap_watch::peak() const { return static_cast<std::size_t>(highest); }

}  // namespace bench

#ifndef __SANITIZE_ADDRESS__

namespace {

/// With what the allocator keeps before each block.
long size_of(void* block) {
  constexpr long block_head = 8;
  return static_cast<long>(malloc_usable_size(block)) + block_head;
}

void* counted(void* block) {
  if (!is_watched || block == nullptr) return block;
  bytes += size_of(block);
  highest = std::max(highest, bytes);
  return block;
}

void discount(void* block) {
  if (is_watched && block != nullptr) bytes -= size_of(block);
}

}  // namespace

extern "C" {

void* __libc_malloc(std::size_t);               // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t, std::size_t);  // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void*, std::size_t);       // NOLINT(bugprone-reserved-identifier)
void __libc_free(void*);                        // NOLINT(bugprone-reserved-identifier)

INTERPOSED void* malloc(std::size_t size) noexcept { return counted(__libc_malloc(size)); }

INTERPOSED void* calloc(std::size_t count, std::size_t size) noexcept {
  return counted(__libc_calloc(count, size));
}

INTERPOSED void* realloc(void* block, std::size_t size) noexcept {
  discount(block);
  return counted(__libc_realloc(block, size));
}

INTERPOSED void free(void* block) noexcept {
  discount(block);
  __libc_free(block);
}

}  // extern "C"

#endif
