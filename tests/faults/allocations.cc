#include "allocations.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>

#include "tests/sandbox/libc.h"

// The allocator below ours: that of the sanitizer where there is one, else that of the C library.
extern "C" {
void* __interceptor_malloc(std::size_t size) __attribute__((weak));
void* __interceptor_calloc(std::size_t count, std::size_t size) __attribute__((weak));
void* __interceptor_realloc(void* old, std::size_t size) __attribute__((weak));
void __interceptor_free(void* memory) __attribute__((weak));
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* old, std::size_t size);
void __libc_free(void* memory);
}

namespace {

constinit thread_local bool watching = false;
constinit faults::allocation_fault fault;
constinit long allocations = 0;

/// The addresses of what is not released yet; without any memory of its own.
class address_set {
 public:
  void clear() {
    const std::lock_guard lock(guard_);
    slots_.fill(nullptr);
    size_ = 0;
  }
  void add(void* address) {
    const std::lock_guard lock(guard_);
    if (size_ == most) std::abort();
    slots_[place_of(address)] = address;
    ++size_;
  }
  void remove(void* address) {
    if (size_ == 0) return;
    const std::lock_guard lock(guard_);
    std::size_t place = place_of(address);
    if (slots_[place] == nullptr) return;
    slots_[place] = nullptr;
    --size_;
    // What stands behind it may have wanted its place.
    for (place = next(place); slots_[place] != nullptr; place = next(place)) {
      void* const moved = slots_[place];
      slots_[place] = nullptr;
      slots_[place_of(moved)] = moved;
    }
  }
  std::size_t size() const { return size_; }

 private:
  static constexpr std::size_t capacity = 1U << 16;
  static constexpr std::size_t most = capacity / 2;
  static std::size_t next(std::size_t place) { return (place + 1) % capacity; }
  std::size_t place_of(void* address) const {
    std::size_t place = (reinterpret_cast<std::uintptr_t>(address) >> 4) * 2654435761U % capacity;
    while (slots_[place] != nullptr && slots_[place] != address) place = next(place);
    return place;
  }

  std::mutex guard_;
  std::array<void*, capacity> slots_{};
  std::atomic<std::size_t> size_ = 0;
};

constinit address_set unreleased;

bool is_watched() { return watching && !sandbox::libc::is_busy(); }

/// True when this allocation is to fail.
bool fails() {
  if (!is_watched()) return false;
  const long number = allocations++;
  return fault.at >= 0 && (number == fault.at || (fault.for_ever && number > fault.at));
}

void* without_memory() {
  errno = ENOMEM;
  return nullptr;
}

void* noted(void* memory) {
  if (memory != nullptr && is_watched()) unreleased.add(memory);
  return memory;
}

void* or_throw(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

#define ORV_EXPORTED __attribute__((visibility("default")))

extern "C" ORV_EXPORTED void* malloc(std::size_t size) {
  if (fails()) return without_memory();
  return noted(__interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size));
}

extern "C" ORV_EXPORTED void* calloc(std::size_t count, std::size_t size) {
  if (fails()) return without_memory();
  return noted(__interceptor_calloc != nullptr ? __interceptor_calloc(count, size)
                                               : __libc_calloc(count, size));
}

extern "C" ORV_EXPORTED void* realloc(void* old, std::size_t size) {
  if (fails()) return without_memory();
  unreleased.remove(old);
  return noted(__interceptor_realloc != nullptr ? __interceptor_realloc(old, size)
                                                : __libc_realloc(old, size));
}

extern "C" ORV_EXPORTED void free(void* memory) {
  if (memory == nullptr) return;
  unreleased.remove(memory);
  if (__interceptor_free != nullptr) {
    __interceptor_free(memory);
  } else {
    __libc_free(memory);
  }
}

ORV_EXPORTED void* operator new(std::size_t size) { return or_throw(malloc(size)); }
ORV_EXPORTED void* operator new[](std::size_t size) { return or_throw(malloc(size)); }
ORV_EXPORTED void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return malloc(size);
}
ORV_EXPORTED void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return malloc(size);
}
ORV_EXPORTED void operator delete(void* memory) noexcept { free(memory); }
ORV_EXPORTED void operator delete[](void* memory) noexcept { free(memory); }
ORV_EXPORTED void operator delete(void* memory, std::size_t) noexcept { free(memory); }
ORV_EXPORTED void operator delete[](void* memory, std::size_t) noexcept { free(memory); }

namespace faults {

void watch_allocations(allocation_fault wanted) {
  fault = wanted;
  allocations = 0;
  unreleased.clear();
  watching = true;
}

long stop_allocations() {
  watching = false;
  return allocations;
}

std::size_t unreleased_allocations() { return unreleased.size(); }

}  // namespace faults
