#ifndef ORV_COMMON_SECRET_TEXT_H
#define ORV_COMMON_SECRET_TEXT_H

#include <cstring>
#include <memory>
#include <string>

/// What may hold a password is cleared before its memory goes to somebody else: a core of the
/// process, or a page of it on a disk, does not show what a call was given or has read. The rest is
/// not to copy a password to where nobody clears it: into a `std::string`, or the buffer of a
/// stream (`without_buffer`).

/// Of a function that clears an argument: AddressSanitizer lets it have a copy.
#define ORV_CLEARS_ARGUMENT __attribute__((no_sanitize("address")))

namespace orv {

/// Clears an object without pointers at the end of its scope.
template <class Plain>
class cleared_at_end {
 public:
  explicit cleared_at_end(Plain& object) : object_(object) {}
  ~cleared_at_end() { explicit_bzero(&object_, sizeof object_); }
  cleared_at_end(const cleared_at_end&) = delete;
  cleared_at_end& operator=(const cleared_at_end&) = delete;

 private:
  Plain& object_;
};

/// Clears, at the end of its scope, the stack below: what the functions called in between, those of
/// the C library too, have left there. The variables of its own function clear themselves.
class cleared_stack {
 public:
  cleared_stack() = default;
  ~cleared_stack();
  cleared_stack(const cleared_stack&) = delete;
  cleared_stack& operator=(const cleared_stack&) = delete;
};

/// Clears what it gives back.
template <class T>
struct clearing_allocator {
  using value_type = T;
  clearing_allocator() = default;
  template <class Other>
  clearing_allocator(const clearing_allocator<Other>& /*other*/) {}

  T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
  void deallocate(T* first, std::size_t count) {
    explicit_bzero(static_cast<void*>(first), count * sizeof(T));
    std::allocator<T>().deallocate(first, count);
  }
  bool operator==(const clearing_allocator& /*other*/) const { return true; }
};

/// A string that may hold a password.
class secret_text
    : public std::basic_string<char, std::char_traits<char>, clearing_allocator<char>> {
 public:
  using basic_string::basic_string;
  secret_text() = default;
  secret_text(const secret_text&) = default;
  secret_text(secret_text&&) = default;
  secret_text& operator=(const secret_text&) = default;
  secret_text& operator=(secret_text&&) = default;
  /// A short text stands in the object itself.
  ~secret_text() { explicit_bzero(data(), capacity()); }
};

}  // namespace orv

#endif
