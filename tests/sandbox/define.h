/// How a test program defines a function of the C library, and what it does itself.
#pragma once

#include <dlfcn.h>

namespace sandbox::libc {

// The C library's own function of this name. It is looked up once: a process that was made by clone
// and shares its memory with a killed one may find the lock of the dynamic linker taken.
template <auto self, class... arguments>
auto real(const char* symbol, arguments... values) {
  static const auto function = reinterpret_cast<decltype(self)>(::dlsym(RTLD_NEXT, symbol));
  return function(values...);
}

}  // namespace sandbox::libc

// A definition of the C library's `symbol`. The label keeps it clear of the headers, which rename
// functions for large files and differ in what they declare noexcept.
#define DEFINE(result, symbol, ...)                                                                \
  extern "C" __attribute__((visibility("default"))) result own_##symbol(__VA_ARGS__) asm(#symbol); \
  extern "C" result own_##symbol(__VA_ARGS__)
