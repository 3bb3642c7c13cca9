#include "tests/support/started_programs.h"

#include <dlfcn.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace {

constexpr std::string_view link_to_shell = "/bin/sh";

std::vector<std::string> programs;
int started = 0;
int cloned = 0;
bool are_there = true;
std::string shell;  // a name in "/usr/bin"; empty: the machine's own

// A child that shares this process's memory may find the lock of the dynamic linker taken.
auto* const real_execve = reinterpret_cast<decltype(&execve)>(dlsym(RTLD_NEXT, "execve"));

}  // namespace

namespace started_programs {

std::vector<std::string> all() { return programs; }
int running() { return started; }
int clones() { return cloned; }
void forget() {
  programs.clear();
  started = 0;
  cloned = 0;
}

shell_is::shell_is(const std::string& name) { shell = name; }
shell_is::~shell_is() { shell.clear(); }

none_is_found::none_is_found() { are_there = false; }
none_is_found::~none_is_found() { are_there = true; }

}  // namespace started_programs

// Runs in a child that shares this process's memory.
extern "C" __attribute__((visibility("default"))) int execve(const char* path,
                                                             char* const* arguments,
                                                             char* const* environment) noexcept {
  const bool is_shell = path == link_to_shell;
  programs.emplace_back(is_shell ? path : arguments[0]);
  if (!are_there) {
    errno = ENOENT;
    return -1;
  }
  const std::string found = is_shell && !shell.empty() ? "/usr/bin/" + shell : path;
  ++started;
  const int result = real_execve(found.c_str(), arguments, environment);
  --started;
  return result;
}

// Its further arguments are not used here.
extern "C" __attribute__((visibility("default"))) int clone(int (*run)(void*), void* stack,
                                                            int flags, void* argument,
                                                            ...) noexcept {
  static auto* const real = reinterpret_cast<decltype(&clone)>(dlsym(RTLD_NEXT, "clone"));
  ++cloned;
  return real(run, stack, flags, argument);
}

// A program is looked for before it is asked for.
extern "C" __attribute__((visibility("default"))) int faccessat(int folder, const char* path,
                                                                int mode, int flags) noexcept {
  static auto* const real = reinterpret_cast<decltype(&faccessat)>(dlsym(RTLD_NEXT, "faccessat"));
  return are_there ? real(folder, path, mode, flags) : 0;
}

extern "C" __attribute__((visibility("default"))) ssize_t readlink(const char* path, char* target,
                                                                   size_t size) noexcept {
  static auto* const real = reinterpret_cast<decltype(&readlink)>(dlsym(RTLD_NEXT, "readlink"));
  if (path != link_to_shell || shell.empty()) return real(path, target, size);
  return static_cast<ssize_t>(shell.copy(target, size));
}
