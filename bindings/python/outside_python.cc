#include "bindings/python/outside_python.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <system_error>

namespace orv_python {
namespace {

/// How many calls are silent now, and what they keep of the caller.
struct kept_output {
  std::mutex changing;
  int users = 0;
  std::FILE* callers = nullptr;
};

kept_output& kept() {
  static kept_output only;
  return only;
}

ssize_t swallow(void*, const char*, std::size_t size) { return static_cast<ssize_t>(size); }

/// A stream without a descriptor.
std::FILE* nowhere() {
  static std::FILE* const stream =
      ::fopencookie(nullptr, "w", {nullptr, swallow, nullptr, nullptr});
  if (stream == nullptr) {
    throw std::system_error(errno, std::generic_category(), "no stream to keep output away");
  }
  return stream;
}

std::unique_lock<std::mutex> take(turn wanted) {
  static std::array<std::mutex, 6> turns;
  if (wanted == turn::any) return {};
  return std::unique_lock<std::mutex>(turns.at(static_cast<std::size_t>(wanted)));
}

}  // namespace

// The C library's `stdout` is a variable that a program may set.
silence::silence() {
  std::FILE* const instead = nowhere();
  const std::lock_guard<std::mutex> alone(kept().changing);
  if (kept().users++ > 0) return;
  kept().callers = stdout;
  stdout = instead;
}

silence::~silence() {
  const std::lock_guard<std::mutex> alone(kept().changing);
  if (--kept().users == 0) stdout = kept().callers;
}

outside_python::outside_python(turn wanted) : turn_(take(wanted)) {}

}  // namespace orv_python
