#include "bench/watch.h"

#include <dlfcn.h>
#include <malloc.h>
#include <orv/support.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#define INTERPOSED __attribute__((visibility("default")))

namespace {

bench::watched* watched_now = nullptr;

/// The heap is not counted in blocks that were there before the watch began; those that it frees
/// meanwhile are few.
bool counts_heap = false;
long heap_now = 0;
long heap_peak = 0;

/// What the allocator keeps before each block.
constexpr long block_head = 8;

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void count_open(const char* path) {
  if (watched_now != nullptr) ++watched_now->opens[path];
}

void count_sync(int file) {
  struct stat examined {};
  if (watched_now == nullptr || fstat(file, &examined) != 0) return;
  ++(S_ISDIR(examined.st_mode) ? watched_now->directory_syncs : watched_now->file_syncs);
}

void* counted(void* block) {
  if (!counts_heap || block == nullptr) return block;
  heap_now += static_cast<long>(malloc_usable_size(block)) + block_head;
  heap_peak = std::max(heap_peak, heap_now);
  return block;
}

void discount(void* block) {
  if (!counts_heap || block == nullptr) return;
  heap_now -= static_cast<long>(malloc_usable_size(block)) + block_head;
}

}  // namespace

namespace bench {

watch::watch() { watched_now = &seen_; }
watch::~watch() { watched_now = nullptr; }

heap_watch::heap_watch() {
  heap_now = heap_peak = 0;
  counts_heap = true;
}
heap_watch::~heap_watch() { counts_heap = false; }
std::size_t heap_watch::kept() const { return static_cast<std::size_t>(std::max(heap_now, 0L)); }
std::size_t heap_watch::peak() const { return static_cast<std::size_t>(heap_peak); }

}  // namespace bench

INTERPOSED int liborv_system(const char* cmd) {
  static auto* const real = next<int(const char*)>("_Z13liborv_systemPKc");
  if (watched_now != nullptr) watched_now->commands.emplace_back(cmd);
  return real(cmd);
}

extern "C" {

INTERPOSED FILE* fopen64(const char* path, const char* mode) {
  static auto* const real = next<FILE*(const char*, const char*)>("fopen64");
  count_open(path);
  return real(path, mode);
}

INTERPOSED int open64(const char* path, int flags, ...) {
  static auto* const real = next<int(const char*, int, mode_t)>("open64");
  va_list values;
  va_start(values, flags);
  const mode_t mode = va_arg(values, mode_t);
  va_end(values);
  count_open(path);
  return real(path, flags, mode);
}

INTERPOSED int fsync(int file) {
  static auto* const real = next<int(int)>("fsync");
  count_sync(file);
  return real(file);
}

INTERPOSED int fdatasync(int file) {
  static auto* const real = next<int(int)>("fdatasync");
  count_sync(file);
  return real(file);
}

// AddressSanitizer has an allocator of its own: nothing is counted there.
#ifndef __SANITIZE_ADDRESS__

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

#endif

}  // extern "C"
